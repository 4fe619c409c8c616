#pragma once

#include <QString>
#include <functional>

namespace pivotel {

// What a folder scan hands to its caller.
struct ScanCallbacks {
    // A file with a JPEG extension of the folder scan. Answers whether the file was a valid
    // JPEG, which is what the count line's refresh counts.
    std::function<bool(const QString& name, const QString& path)> file;
    // At every hundredth item of one folder (only for an item that was a valid JPEG).
    std::function<void()> hundredth;
    // After every item, so that a window can stay alive through a long scan.
    std::function<void()> yield;
    // Asked before every item: true ends the whole scan there.
    std::function<bool()> stop;
    // Called when a call of the scan begins and ends, the nested ones too.
    std::function<void()> begin;
    std::function<void()> end;
};

// Walks `folder` depth first, in name order, and hands each file to the callbacks. With
// `recursive` a sub folder is scanned where it is met, so its rows stand there; without it,
// only the files directly in the folder are taken. Packages (".app", ".bundle",
// ".photoslibrary", ...) are skipped whole, and a link back to a folder above can't loop.
void loadrecursive(const QString& folder, bool recursive, const ScanCallbacks& callbacks);

} // namespace pivotel
