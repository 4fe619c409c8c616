#include "jpeg/transform.h"

#include "jpeg/turbojpeg.h"
#include "support/fileio.h"

namespace pivotel {

namespace {

int transformop(JpegTransform op) {
    switch (op) {
    case JpegTransform::Rotate90:
        return TJXOP_ROT90;
    case JpegTransform::Rotate180:
        return TJXOP_ROT180;
    case JpegTransform::Rotate270:
        return TJXOP_ROT270;
    case JpegTransform::FlipHorizontal:
        return TJXOP_HFLIP;
    case JpegTransform::None:
        break;
    }
    return TJXOP_NONE;
}

} // namespace

Status transformjpeg(const QByteArray& data, JpegTransform op, EdgePolicy edges, const QString& target) {
    const TjHandle tj(tjInitTransform());
    if (!tj)
        return Status::failure(QStringLiteral("the JPEG library can't start"));

    tjtransform transform{};
    transform.op = transformop(op);
    // Markers are copied unless told otherwise.
    transform.options = TJXOPT_PROGRESSIVE | (edges == EdgePolicy::Trim ? TJXOPT_TRIM : 0);

    unsigned char* output = nullptr;
    unsigned long outputsize = 0;
    const int rc = tjTransform(tj.get(), reinterpret_cast<const unsigned char*>(data.constData()),
                               static_cast<unsigned long>(data.size()), 1, &output, &outputsize, &transform,
                               TJFLAG_STOPONWARNING);
    const TjBuffer owned(output);
    if (rc != 0)
        return Status::failure(
            QStringLiteral("damaged JPEG data (%1)").arg(QString::fromLocal8Bit(tjGetErrorStr2(tj.get()))));
    if (!output || outputsize == 0)
        return Status::failure(QStringLiteral("the JPEG library gave no result"));

    const Status written = writewholefile(target, output, static_cast<qsizetype>(outputsize));
    if (!written)
        return Status::failure(QStringLiteral("the turned photo can't be written (%1)").arg(written.reason()));
    return Status::success();
}

} // namespace pivotel
