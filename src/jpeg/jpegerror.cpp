#include "jpeg/jpegerror.h"

#include <QStringList>
#include <cstring>
#include <jerror.h>

namespace pivotel {

namespace {

JpegError& handler(j_common_ptr codec) {
    return *reinterpret_cast<JpegError*>(codec->err);
}

void errorexit(j_common_ptr codec) {
    JpegError& error = handler(codec);
    codec->err->format_message(codec, error.message);
    std::longjmp(error.jump, 1);
}

void emitmessage(j_common_ptr codec, int level) {
    if (level >= 0) // trace messages
        return;
    JpegError& error = handler(codec);
    ++codec->err->num_warnings;
    if (error.distinctwarnings == JpegError::keptwarnings)
        return;
    char text[JMSG_LENGTH_MAX] = {};
    codec->err->format_message(codec, text);
    for (int i = 0; i < error.distinctwarnings; ++i) {
        if (std::strcmp(error.warnings[i], text) == 0)
            return;
    }
    std::memcpy(error.warnings[error.distinctwarnings++], text, sizeof text);
}

// Nothing goes to the terminal; the caller words the failure.
void outputmessage(j_common_ptr) {
}

} // namespace

QString JpegError::warningtext() const {
    QStringList texts;
    for (int i = 0; i < distinctwarnings; ++i)
        texts << QString::fromLocal8Bit(warnings[i]);
    return texts.join(QStringLiteral("; "));
}

void JpegError::forgetwarnings() {
    manager.num_warnings = 0;
    distinctwarnings = 0;
}

QString failurewords(const QString& message, const QString& step, const QString& otherwise) {
    jpeg_error_mgr manager{};
    jpeg_std_error(&manager);
    // The library's own words for it, up to the case number it fills in.
    const QString outofmemory =
        QString::fromLatin1(manager.jpeg_message_table[JERR_OUT_OF_MEMORY]).section(u'%', 0, 0);
    return QStringLiteral("%1 (%2)").arg(
        message.contains(outofmemory) ? QStringLiteral("not enough memory to %1 it").arg(step) : otherwise,
        message);
}

jpeg_error_mgr* JpegError::install() {
    jpeg_std_error(&manager);
    manager.error_exit = errorexit;
    manager.emit_message = emitmessage;
    manager.output_message = outputmessage;
    return &manager;
}

} // namespace pivotel
