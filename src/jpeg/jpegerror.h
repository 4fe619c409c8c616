#pragma once

#include <QString>
#include <csetjmp>
#include <cstdio>
#include <jpeglib.h>

namespace pivotel {

// libjpeg's error handler for our decoders and encoders. libjpeg's own ends the program; this
// one jumps back to `jump`, which every step that calls libjpeg sets first, and the step gives
// up cleanly with the message kept for the user. A warning (stray bytes before a marker, data
// that ends early, a bad Huffman code) stops nothing: libjpeg reads past it as every viewer
// does, and each kind of warning is kept, in the order given, so that the user hears of it.
//
// A step that sets `jump` must hold no object with a destructor of its own: the jump passes
// over such objects without ending them. Resources live in the step's caller.
struct JpegError {
    jpeg_error_mgr manager{}; // first, so libjpeg's pointer to it is a pointer to the whole
    std::jmp_buf jump{};
    char message[JMSG_LENGTH_MAX] = {};
    static constexpr int keptwarnings = 4; // a damaged scan may give one warning a block
    char warnings[keptwarnings][JMSG_LENGTH_MAX] = {};
    int distinctwarnings = 0;

    // Sets up the handler; the result goes into the codec's `err` before it is created.
    jpeg_error_mgr* install();
    QString text() const { return QString::fromLocal8Bit(message); }
    // The warnings, "; " between them; empty when there was none.
    QString warningtext() const;
    void forgetwarnings();
};

// How a step that libjpeg gave up on is reported, with libjpeg's message (TurboJPEG passes them
// on too): "not enough memory to `step` it" when the message says memory ran out, for then the
// photo isn't to blame; else `otherwise`.
[[nodiscard]] QString failurewords(const QString& message, const QString& step, const QString& otherwise);

} // namespace pivotel
