#include "jpeg/jpegerror.h"

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
    if (codec->err->num_warnings++ == 0)
        codec->err->format_message(codec, error.warning);
}

// Nothing goes to the terminal; the caller words the failure.
void outputmessage(j_common_ptr) {
}

} // namespace

jpeg_error_mgr* JpegError::install() {
    jpeg_std_error(&manager);
    manager.error_exit = errorexit;
    manager.emit_message = emitmessage;
    manager.output_message = outputmessage;
    return &manager;
}

} // namespace pivotel
