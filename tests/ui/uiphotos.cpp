#include "uiphotos.h"

#include "support/testphotos.h"

#include <QByteArray>

namespace pivotel::test {

void writephoto(const QString& path, int width, int height, int orientation) {
    writepattern(path, width, height);
    if (orientation == 0)
        return;
    // A big-endian TIFF structure with one IFD of one entry: Orientation (0x0112), SHORT, 1.
    QByteArray exif("Exif\0\0MM\0\x2a\0\0\0\x08\0\x01\x01\x12\0\x03\0\0\0\x01", 24);
    exif.append(char(0)).append(char(orientation)).append(2, '\0');
    exif.append(4, '\0'); // no next IFD
    insertsegment(path, 0xE1, exif);
}

} // namespace pivotel::test
