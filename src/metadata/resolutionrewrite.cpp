#include "metadata/resolutionrewrite.h"

#include "metadata/exiftool.h"
#include "metadata/xmpfile.h"

#include <exempi/xmpconsts.h>

namespace pivotel {

Status xmpupright(const QString& path, qint64 dpi, Resolution resolution) {
    auto file = XmpFile::openforupdate(path);
    if (!file)
        return file.status();
    XmpMeta meta;
    // The library reads the photo's metadata into the packet; one it can't read would be replaced
    // by a packet holding only these three properties.
    if (!file.value().getxmp(meta))
        return Status::failure(QStringLiteral("the XMP library can't read the photo's metadata"));
    if (!meta.setproperty(NS_TIFF, "Orientation", QStringLiteral("1")))
        return Status::failure(xmperrortext());
    // The library has read the EXIF block's resolution into the packet along with the rest.
    const bool known = meta.hasproperty(NS_TIFF, "XResolution") && meta.hasproperty(NS_TIFF, "YResolution");
    if (resolution == Resolution::Given || !known) {
        const QString text = QString::number(dpi);
        if (!meta.setproperty(NS_TIFF, "XResolution", text) ||
            !meta.setproperty(NS_TIFF, "YResolution", text))
            return Status::failure(xmperrortext());
    }
    if (!file.value().canputxmp(meta))
        return Status::failure(QStringLiteral("the XMP library can't write this file"));
    if (!file.value().putxmp(meta))
        return Status::failure(xmperrortext());
    return file.value().closesafely();
}

Status updatedpinonstore(ExifTool& tool, const QString& path, qint64 dpi) {
    if (!tool.exists()) {
        Status library = xmpupright(path, dpi, Resolution::KeepKnown);
        if (!library)
            return Status::failure(
                QStringLiteral("the orientation tag can't be set upright: %1 (the metadata tool is missing)")
                    .arg(library.reason()));
        return library;
    }
    const QString text = QString::number(dpi);
    const ToolResult written =
        tool.run({path, QStringLiteral("-Orientation=Horizontal"), QStringLiteral("-XResolution=") + text,
                  QStringLiteral("-YResolution=") + text, QStringLiteral("-overwrite_original_in_place")});
    if (!written.ok())
        return Status::failure(QStringLiteral("the orientation tag can't be set upright: ") +
                               written.failuretext());
    return Status::success();
}

} // namespace pivotel
