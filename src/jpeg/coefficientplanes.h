#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace pivotel {

// One component of a JPEG frame as quantised DCT blocks, each block's 64 values in zigzag order
// (the order every scan reads them in), blocks row after row.
struct ComponentPlane {
    int id = 0;                   // as the frame header names it
    int hsamp = 1, vsamp = 1;     // sampling factors
    int quanttable = 0;           // slot of its quantisation table
    int dctable = 0, actable = 0; // Huffman table slots
    int widthblocks = 0, heightblocks = 0;
    // widthblocks * heightblocks * 64 values, left uninitialised until the blocks are copied in:
    // zeroing tens of megabytes first would cost as much as copying them.
    std::unique_ptr<int16_t[]> values;
    // The DC of each block again, side by side: the DC scans read nothing else, and one value
    // from every 128 bytes would cost them a cache miss a block.
    std::unique_ptr<int16_t[]> dcs;

    std::size_t count() const { return std::size_t(widthblocks) * std::size_t(heightblocks); }
    void allocate() {
        values.reset(new int16_t[count() * 64]);
        dcs.reset(new int16_t[count()]);
    }
    int dc(int row, int column) const {
        return dcs[std::size_t(row) * std::size_t(widthblocks) + std::size_t(column)];
    }
    const int16_t* block(int row, int column) const {
        return values.get() + (std::size_t(row) * std::size_t(widthblocks) + std::size_t(column)) * 64;
    }
};

// The components with the frame's size in pixels, which fixes how MCUs tile them.
struct CoefficientPlanes {
    int width = 0, height = 0;
    std::vector<ComponentPlane> components;

    int maxhsamp() const {
        int most = 1;
        for (const ComponentPlane& c : components)
            most = c.hsamp > most ? c.hsamp : most;
        return most;
    }
    int maxvsamp() const {
        int most = 1;
        for (const ComponentPlane& c : components)
            most = c.vsamp > most ? c.vsamp : most;
        return most;
    }
};

} // namespace pivotel
