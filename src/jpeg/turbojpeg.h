#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QString>
#include <memory>
#include <turbojpeg.h>

namespace pivotel {

// Owners of what the TurboJPEG API hands out.
struct TjHandleDeleter {
    void operator()(void* handle) const { tjDestroy(handle); }
};
struct TjBufferDeleter {
    void operator()(unsigned char* buffer) const { tjFree(buffer); }
};
using TjHandle = std::unique_ptr<void, TjHandleDeleter>;
using TjBuffer = std::unique_ptr<unsigned char, TjBufferDeleter>;

// TurboJPEG's lossless transform of a whole JPEG in memory (TJXOP_*, TJXOPT_*). A failure says
// whether the library refused the data, in its own words (`baddata`), or couldn't start or gave
// nothing; a warning about flawed data it read past fails only when `warningsfail`.
struct TjTransformed {
    QByteArray bytes;
    bool baddata = false;
    QString error; // empty on success
};
inline TjTransformed tjtransformbytes(QByteArrayView jpeg, int op, int options, bool warningsfail) {
    const TjHandle tj(tjInitTransform());
    if (!tj)
        return {{}, false, QStringLiteral("the JPEG library can't start")};
    tjtransform transform{};
    transform.op = op;
    transform.options = options; // markers are copied unless told otherwise
    unsigned char* output = nullptr;
    unsigned long outputsize = 0;
    const int rc =
        tjTransform(tj.get(), reinterpret_cast<const unsigned char*>(jpeg.data()),
                    static_cast<unsigned long>(jpeg.size()), 1, &output, &outputsize, &transform, 0);
    const TjBuffer owned(output);
    if (rc != 0 && (warningsfail || tjGetErrorCode(tj.get()) != TJERR_WARNING))
        return {{}, true, QString::fromLocal8Bit(tjGetErrorStr2(tj.get()))};
    if (!output || outputsize == 0)
        return {{}, false, QStringLiteral("the JPEG library gave no result")};
    return {QByteArray(reinterpret_cast<const char*>(output), qsizetype(outputsize)), false, {}};
}

} // namespace pivotel
