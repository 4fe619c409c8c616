#include "metadata/resolutionrewrite.h"

#include "metadata/exiftool.h"
#include "metadata/xmpfile.h"

#include <cmath>
#include <exempi/xmpconsts.h>

namespace pivotel {

Status xmpupright(const QString& path, qint64 dpi) {
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
    if (!known) {
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

namespace {

QString number(double value) {
    return QString::number(value, 'g', 10);
}

// The XMP library's way, for a tool that is missing or refused. An XMP orientation must be set:
// left as it was, it would turn the photo again in a viewer that reads it. Tags the EXIF block
// lacks are only missing: the photo shows upright without them.
Status bylibrary(const QString& path, const UprightPatch& patch, const QString& why, QStringList& notes) {
    if (!patch.hasxmp && patch.orientationset && !patch.missingresolution)
        return Status::success(); // only sizes the library can't reach
    const qint64 dpi = std::llround(patch.missingresolution.value_or(ExifResolution{}).y);
    Status library = xmpupright(path, dpi);
    if (!library && patch.hasxmp)
        return Status::failure(
            QStringLiteral("the orientation tag can't be set upright: %1 (%2)").arg(library.reason(), why));
    if (!library)
        notes
            << QStringLiteral("its missing orientation and resolution tags could not be added (%1)").arg(why);
    return Status::success();
}

// What the tool reads as the XMP orientation after its write, when that isn't upright: empty
// for a packet that reads 1 or gives none.
QString xmporientationleft(ExifTool& tool, const QString& path) {
    const ToolResult read = tool.run(
        {QStringLiteral("-n"), QStringLiteral("-s3"), QStringLiteral("-XMP-tiff:Orientation"), path});
    if (!read.ok())
        return QStringLiteral("its XMP orientation can't be read back (%1)").arg(read.failuretext());
    for (const QByteArray& line : read.out.split('\n')) {
        const QByteArray value = line.trimmed();
        if (!value.isEmpty() && value != "1")
            return QStringLiteral("its XMP orientation still reads %1").arg(QString::fromUtf8(value));
    }
    return {};
}

} // namespace

void preparewriters(ExifTool& tool, const QString& photo) {
    if (tool.exists())
        tool.preload({QStringLiteral("-if"), QStringLiteral("0"), QStringLiteral("-n"), QStringLiteral("-wm"),
                      QStringLiteral("w"), QStringLiteral("-Orientation=1"),
                      QStringLiteral("-ExifImageWidth=1"), QStringLiteral("-XMP-tiff:ImageWidth=1"), photo});
}

Status updatedpinonstore(ExifTool& tool, const QString& path, const UprightPatch& patch, QStringList& notes) {
    if (!patch.needswriters())
        return Status::success();
    if (!tool.exists())
        return bylibrary(path, patch, QStringLiteral("the metadata tool is missing"), notes);
    const QString width = QString::number(patch.size.width());
    const QString height = QString::number(patch.size.height());
    if (patch.hasxmp || !patch.dimensionsset) {
        // Only tags the photo has: -wm w adds none. The EXIF block, already set upright in place,
        // is the tool's only where its size entries couldn't be: the tool would lay the whole
        // block out anew, dropping what no entry points at.
        // The schemas named: another one's property of the same name (PRISM's orientation, a
        // word) is not the photo's.
        QStringList arguments{QStringLiteral("-n"),
                              QStringLiteral("-wm"),
                              QStringLiteral("w"),
                              QStringLiteral("-XMP-tiff:Orientation=1"),
                              QStringLiteral("-XMP-exif:ExifImageWidth=") + width,
                              QStringLiteral("-XMP-exif:ExifImageHeight=") + height,
                              QStringLiteral("-XMP-tiff:ImageWidth=") + width,
                              QStringLiteral("-XMP-tiff:ImageHeight=") + height};
        if (!patch.dimensionsset)
            arguments << QStringLiteral("-EXIF:ExifImageWidth=") + width
                      << QStringLiteral("-EXIF:ExifImageHeight=") + height;
        const ToolResult written =
            tool.run(arguments << QStringLiteral("-overwrite_original_in_place") << path);
        // The tool may pass over a packet it reads only in part (a property given twice, say)
        // and write nothing: what it reads back is what viewers that honour XMP will show.
        const QString left = written.ok() ? xmporientationleft(tool, path) : QString();
        if (!written.ok() || !left.isEmpty()) {
            const QString why = written.ok() ? left : written.failuretext();
            if (Status library = bylibrary(path, patch, why, notes); !library)
                return library;
            notes << QStringLiteral("the metadata tool %1 (%2): the orientation was set without it")
                         .arg(written.ok() ? QStringLiteral("couldn't set it upright")
                                           : QStringLiteral("refused it"),
                              why);
            return Status::success();
        }
    }
    if (patch.orientationset && !patch.missingresolution)
        return Status::success();
    QStringList arguments{QStringLiteral("-n"), QStringLiteral("-EXIF:Orientation=1")};
    if (const auto& resolution = patch.missingresolution) {
        arguments << QStringLiteral("-EXIF:XResolution=") + number(resolution->x)
                  << QStringLiteral("-EXIF:YResolution=") + number(resolution->y)
                  << QStringLiteral("-EXIF:ResolutionUnit=") + QString::number(resolution->unit);
    }
    const ToolResult added = tool.run(arguments << QStringLiteral("-overwrite_original_in_place") << path);
    // Without the tags the photo still shows upright: say what it lacks rather than refuse it.
    if (!added.ok())
        notes << QStringLiteral("its missing orientation and resolution tags could not be added (%1)")
                     .arg(added.failuretext());
    return Status::success();
}

} // namespace pivotel
