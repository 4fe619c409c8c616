#include "jpeg/blockturn.h"

#include "jpeg/libjpegextras.h"

namespace pivotel {

BlockTurn::Recipe BlockTurn::recipe(Kind kind) {
    Recipe r;
    for (int k = 0; k < 64; ++k) {
        const int n = jpeg_natural_order[k]; // the turned block's coefficient at zigzag k
        const int row = n / 8, column = n % 8;
        const bool transposed =
            kind == Transpose || kind == TurnRight || kind == TurnLeft || kind == Transverse;
        r.from[std::size_t(k)] = uint8_t(transposed ? column * 8 + row : n);
        // A mirror flips the sign of the odd frequencies across it.
        bool flip = false;
        switch (kind) {
        case FlipColumns:
        case TurnRight:
            flip = column % 2;
            break;
        case FlipRows:
        case TurnLeft:
            flip = row % 2;
            break;
        case FlipBoth:
        case Transverse:
            flip = (row + column) % 2;
            break;
        case Copy:
        case Transpose:
        case Kinds:
            break;
        }
        r.flip[std::size_t(k)] = flip ? -1 : 0;
    }
    return r;
}

BlockTurn::BlockTurn(JpegTransform op, int sourcewidth, int sourceheight, const CoefficientPlanes& out)
    : op_(op) {
    const int mcuwidth = 8 * out.maxhsamp(), mcuheight = 8 * out.maxvsamp();
    switch (op) {
    case JpegTransform::Rotate90:
        mirrorcolumns_ = sourceheight / mcuwidth;
        break;
    case JpegTransform::Rotate270:
        mirrorrows_ = sourcewidth / mcuheight;
        break;
    case JpegTransform::Rotate180:
        mirrorcolumns_ = sourcewidth / mcuwidth;
        mirrorrows_ = sourceheight / mcuheight;
        break;
    case JpegTransform::FlipHorizontal:
        mirrorcolumns_ = sourcewidth / mcuwidth;
        break;
    case JpegTransform::FlipVertical:
        mirrorrows_ = sourceheight / mcuheight;
        break;
    case JpegTransform::Transverse:
        mirrorcolumns_ = sourceheight / mcuwidth;
        mirrorrows_ = sourcewidth / mcuheight;
        break;
    case JpegTransform::Transpose:
    case JpegTransform::None:
        break;
    }
    for (int kind = 0; kind < Kinds; ++kind)
        recipes_[std::size_t(kind)] = recipe(Kind(kind));
}

long long BlockTurn::placerow(CoefficientPlanes& out, int component, int row, const short* blocks,
                              int count) const {
    ComponentPlane& plane = out.components[std::size_t(component)];
    const int columns = mirrorcolumns_ * plane.hsamp, rows = mirrorrows_ * plane.vsamp;
    long long placed = 0;
    for (int column = 0; column < count; ++column, blocks += 64) {
        int x = column, y = row;
        Kind kind = Copy;
        switch (op_) {
        case JpegTransform::Rotate90: // source rows become columns, right to left
            x = row < columns ? columns - 1 - row : row;
            y = column;
            kind = row < columns ? TurnRight : Transpose;
            break;
        case JpegTransform::Rotate270: // source columns become rows, bottom to top
            x = row;
            y = column < rows ? rows - 1 - column : column;
            kind = column < rows ? TurnLeft : Transpose;
            break;
        case JpegTransform::Rotate180: {
            const bool across = column < columns, down = row < rows;
            x = across ? columns - 1 - column : column;
            y = down ? rows - 1 - row : row;
            kind = across && down ? FlipBoth : across ? FlipColumns : down ? FlipRows : Copy;
            break;
        }
        case JpegTransform::FlipHorizontal:
            x = column < columns ? columns - 1 - column : column;
            kind = column < columns ? FlipColumns : Copy;
            break;
        case JpegTransform::FlipVertical:
            y = row < rows ? rows - 1 - row : row;
            kind = row < rows ? FlipRows : Copy;
            break;
        case JpegTransform::Transpose: // source rows become columns, left to right
            x = row;
            y = column;
            kind = Transpose;
            break;
        case JpegTransform::Transverse: { // source rows become columns right to left, bottom to top
            const bool across = row < columns, down = column < rows;
            x = across ? columns - 1 - row : row;
            y = down ? rows - 1 - column : column;
            kind = across && down ? Transverse : across ? TurnRight : down ? TurnLeft : Transpose;
            break;
        }
        case JpegTransform::None:
            break;
        }
        if (x >= plane.widthblocks || y >= plane.heightblocks) // trimmed off
            continue;
        const Recipe& r = recipes_[std::size_t(kind)];
        int16_t* to =
            plane.values.get() + (std::size_t(y) * std::size_t(plane.widthblocks) + std::size_t(x)) * 64;
        for (int k = 0; k < 64; ++k) {
            const int16_t value = blocks[r.from[std::size_t(k)]];
            to[k] = int16_t((value ^ r.flip[std::size_t(k)]) - r.flip[std::size_t(k)]);
        }
        plane.dcs[std::size_t(y) * std::size_t(plane.widthblocks) + std::size_t(x)] = to[0];
        ++placed;
    }
    return placed;
}

} // namespace pivotel
