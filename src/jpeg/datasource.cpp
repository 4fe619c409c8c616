#include "jpeg/datasource.h"

#include <algorithm>
#include <jerror.h>

namespace pivotel {

namespace {

// Less than the least the quick path asks to have at hand (512 bytes for each block of an MCU).
constexpr size_t piece = 500;

struct DataSource {
    jpeg_source_mgr manager{}; // first, so libjpeg's pointer to it is a pointer to the whole
    const JOCTET* data = nullptr;
    size_t size = 0;
    size_t given = 0;
};

DataSource& sourceof(j_decompress_ptr info) {
    return *reinterpret_cast<DataSource*>(info->src);
}

void initsource(j_decompress_ptr) {
}

boolean fillbuffer(j_decompress_ptr info) {
    DataSource& source = sourceof(info);
    if (source.given >= source.size) {
        // As libjpeg's own sources do at the end: warn, and give it an end of image to stop at.
        static const JOCTET end[] = {0xFF, JPEG_EOI};
        WARNMS(info, JWRN_JPEG_EOF);
        info->src->next_input_byte = end;
        info->src->bytes_in_buffer = sizeof end;
        return TRUE;
    }
    const size_t count = std::min(piece, source.size - source.given);
    info->src->next_input_byte = source.data + source.given;
    info->src->bytes_in_buffer = count;
    source.given += count;
    return TRUE;
}

void skipdata(j_decompress_ptr info, long count) {
    while (count > long(info->src->bytes_in_buffer)) {
        count -= long(info->src->bytes_in_buffer);
        (void)fillbuffer(info);
    }
    if (count > 0) {
        info->src->next_input_byte += count;
        info->src->bytes_in_buffer -= size_t(count);
    }
}

void termsource(j_decompress_ptr) {
}

} // namespace

void jpegdatasource(j_decompress_ptr info, QByteArrayView data) {
    if (!info->src) // libjpeg's pool frees it with the decompressor
        info->src = static_cast<jpeg_source_mgr*>((*info->mem->alloc_small)(
            reinterpret_cast<j_common_ptr>(info), JPOOL_PERMANENT, sizeof(DataSource)));
    DataSource& source = sourceof(info);
    source = DataSource{};
    source.manager.init_source = initsource;
    source.manager.fill_input_buffer = fillbuffer;
    source.manager.skip_input_data = skipdata;
    source.manager.resync_to_restart = jpeg_resync_to_restart;
    source.manager.term_source = termsource;
    source.data = reinterpret_cast<const JOCTET*>(data.data());
    source.size = size_t(data.size());
}

} // namespace pivotel
