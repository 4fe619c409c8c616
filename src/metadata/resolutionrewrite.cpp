#include "metadata/resolutionrewrite.h"

#include "metadata/exiftool.h"
#include "metadata/xmpfile.h"

#include <exempi/xmpconsts.h>

namespace pivotel {

namespace {

// Whether the photo's EXIF block says upright at `dpi`, as the tool reads it.
Result<bool> exifagrees(ExifTool& tool, const QString& path, qint64 dpi) {
    const ToolResult read =
        tool.run({QStringLiteral("-n"), QStringLiteral("-T"), QStringLiteral("-IFD0:Orientation"),
                  QStringLiteral("-IFD0:XResolution"), QStringLiteral("-IFD0:YResolution"), path});
    if (!read.ok())
        return Status::failure(QStringLiteral("checking the orientation tag failed: ") + read.failuretext());
    const QStringList values = QString::fromUtf8(read.out).trimmed().split(QLatin1Char('\t'));
    const auto isdpi = [dpi](const QString& text) {
        bool number = false;
        const double value = text.toDouble(&number);
        return number && value == double(dpi);
    };
    return values.size() == 3 && values[0] == QLatin1String("1") && isdpi(values[1]) && isdpi(values[2]);
}

} // namespace

Status xmpupright(const QString& path, qint64 dpi) {
    auto file = XmpFile::openforupdate(path);
    if (!file)
        return file.status();
    XmpMeta meta;
    // A packet the library can't read would be replaced by one holding only these three.
    if (!file.value().getxmp(meta))
        return Status::failure(QStringLiteral("the XMP library can't read the photo's metadata"));
    const QString text = QString::number(dpi);
    if (!meta.setproperty(NS_TIFF, "Orientation", QStringLiteral("1")) ||
        !meta.setproperty(NS_TIFF, "XResolution", text) || !meta.setproperty(NS_TIFF, "YResolution", text))
        return Status::failure(xmperrortext());
    if (!file.value().canputxmp(meta))
        return Status::failure(QStringLiteral("the XMP library can't write this file"));
    if (!file.value().putxmp(meta))
        return Status::failure(xmperrortext());
    return file.value().closesafely();
}

Status updatedpinonstore(ExifTool& tool, const QString& path, qint64 dpi) {
    const Status library = xmpupright(path, dpi);
    if (!tool.exists()) {
        if (library)
            return library;
        return Status::failure(
            QStringLiteral("the orientation tag can't be set upright: %1, and the metadata tool is missing")
                .arg(library.reason()));
    }
    if (library) {
        const auto agrees = exifagrees(tool, path, dpi);
        if (!agrees)
            return agrees.status();
        if (agrees.value())
            return Status::success();
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
