#include "engine/losslessrotate.h"

#include "metadata/exiftool.h"
#include "photolist/labels.h"
#include "support/fileio.h"
#include "support/turbojpeg.h"
#include "support/xnumber.h"

namespace pivotel {

namespace {

int transformop(Action action) {
    switch (action) {
    case Action::Rotate90:
        return TJXOP_ROT90;
    case Action::Rotate270:
        return TJXOP_ROT270;
    case Action::Rotate180:
        return TJXOP_ROT180;
    case Action::MirrorHorizontal:
        return TJXOP_HFLIP;
    case Action::None:
        break;
    }
    return TJXOP_NONE;
}

} // namespace

Status readresolution(ExifTool& tool, const QString& path, qint64& jpgdpi) {
    if (!tool.exists())
        return Status::success();
    const ToolResult result = tool.run({QStringLiteral("-XResolution"), QStringLiteral("-s"),
                                        QStringLiteral("-s"), QStringLiteral("-s"), path});
    // A guess would be written into the photo by the metadata step: better not to turn it.
    if (!result.ok())
        return Status::failure(QStringLiteral("its resolution can't be read: ") + result.failuretext());
    const QString text = QString::fromUtf8(result.out);
    jpgdpi = text.trimmed().isEmpty() ? 72 : static_cast<qint64>(leadingvalue(text));
    return Status::success();
}

Status losslesstransform(const QString& source, const QString& target, const QString& label) {
    const auto data = readwholefile(source);
    if (!data)
        return Status::failure(QStringLiteral("can't be read (%1)").arg(data.reason()));

    const TjHandle tj(tjInitTransform());
    if (!tj)
        return Status::failure(QStringLiteral("the JPEG library can't start"));

    tjtransform transform{};
    transform.op = transformop(actionforlabel(label));
    transform.options = TJXOPT_PROGRESSIVE; // markers are copied unless told otherwise; no trim

    unsigned char* output = nullptr;
    unsigned long outputsize = 0;
    const int rc = tjTransform(tj.get(), reinterpret_cast<const unsigned char*>(data->constData()),
                               static_cast<unsigned long>(data->size()), 1, &output, &outputsize, &transform,
                               TJFLAG_STOPONWARNING);
    const TjBuffer owned(output);
    if (rc != 0)
        return Status::failure(
            QStringLiteral("damaged JPEG data (%1)").arg(QString::fromLocal8Bit(tjGetErrorStr2(tj.get()))));
    if (!output || outputsize == 0)
        return Status::failure(QStringLiteral("the JPEG library gave no result"));

    const Status written = writewholefile(target, output, static_cast<qsizetype>(outputsize));
    if (!written)
        return Status::failure(
            QStringLiteral("the turned photo can't be written (%1)").arg(written.reason()));
    return Status::success();
}

Status losslessrotate(const QString& path, const QString& label, const QString& target, ExifTool& tool,
                      qint64& jpgdpi) {
    if (const Status read = readresolution(tool, path, jpgdpi); !read)
        return read;
    return losslesstransform(path, target, label);
}

} // namespace pivotel
