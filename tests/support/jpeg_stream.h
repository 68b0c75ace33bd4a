// JPEG streams for tests: encoded the way the cameras encode (baseline, standard Huffman tables,
// accurate integer DCT, the given quality and luma sampling), the offset where the scan data
// starts, which is where the part a camera sends begins, and a plain decode that owes nothing to
// the library under test.
#ifndef ZP_TESTS_SUPPORT_JPEG_STREAM_H
#define ZP_TESTS_SUPPORT_JPEG_STREAM_H

#include <jpeglib.h>

#include <cstddef>
#include <cstdio>  // before jpeglib.h, which uses FILE
#include <cstdlib>
#include <vector>

namespace zptest {

// pixels: grey, or R, G, B per pixel; subsampling 0 = 4:2:0, 1 = 4:2:2, 2 = 4:4:4 (colour only).
inline std::vector<unsigned char> EncodeJpeg(const void* pixels, int width, int height, int components,
                                             int quality, int subsampling) {
    jpeg_compress_struct cinfo;
    jpeg_error_mgr error;
    cinfo.err = jpeg_std_error(&error);
    jpeg_create_compress(&cinfo);
    unsigned char* out = nullptr;
    unsigned long size = 0;
    jpeg_mem_dest(&cinfo, &out, &size);
    cinfo.image_width = static_cast<JDIMENSION>(width);
    cinfo.image_height = static_cast<JDIMENSION>(height);
    cinfo.input_components = components;
    cinfo.in_color_space = components == 3 ? JCS_RGB : JCS_GRAYSCALE;
    jpeg_set_defaults(&cinfo);
    jpeg_set_quality(&cinfo, quality, TRUE);
    cinfo.dct_method = JDCT_ISLOW;
    if (components == 3) {
        cinfo.comp_info[0].h_samp_factor = subsampling == 2 ? 1 : 2;
        cinfo.comp_info[0].v_samp_factor = subsampling == 0 ? 2 : 1;
    }
    jpeg_start_compress(&cinfo, TRUE);
    const std::size_t rowLength = static_cast<std::size_t>(width) * components;
    const auto* rows = static_cast<const unsigned char*>(pixels);
    while (cinfo.next_scanline < cinfo.image_height) {
        JSAMPROW row = const_cast<unsigned char*>(rows + cinfo.next_scanline * rowLength);
        jpeg_write_scanlines(&cinfo, &row, 1);
    }
    jpeg_finish_compress(&cinfo);
    jpeg_destroy_compress(&cinfo);
    std::vector<unsigned char> stream(out, out + size);
    std::free(out);
    return stream;
}

// Offset just past the scan header (SOS), found by walking the marker segments; 0 when there is none.
inline std::size_t ScanDataStart(const unsigned char* stream, std::size_t size) {
    std::size_t position = 2;
    while (position + 4 <= size && stream[position] == 0xFF) {
        const std::size_t next = position + 2 + (stream[position + 2] << 8 | stream[position + 3]);
        if (stream[position + 1] == 0xDA) return next <= size ? next : 0;
        position = next;
    }
    return 0;
}

// A whole stream decoded with libjpeg alone (rows of grey or R, G, B); empty when it warns (a
// damaged stream).
inline std::vector<unsigned char> DecodeJpeg(const unsigned char* stream, std::size_t size) {
    jpeg_decompress_struct cinfo;
    jpeg_error_mgr error;
    cinfo.err = jpeg_std_error(&error);
    error.output_message = [](j_common_ptr) {};
    jpeg_create_decompress(&cinfo);
    jpeg_mem_src(&cinfo, stream, static_cast<unsigned long>(size));
    std::vector<unsigned char> pixels;
    if (jpeg_read_header(&cinfo, TRUE) == JPEG_HEADER_OK && jpeg_start_decompress(&cinfo)) {
        const std::size_t rowLength = std::size_t{cinfo.output_width} * cinfo.output_components;
        pixels.resize(rowLength * cinfo.output_height);
        while (cinfo.output_scanline < cinfo.output_height) {
            JSAMPROW row = pixels.data() + cinfo.output_scanline * rowLength;
            jpeg_read_scanlines(&cinfo, &row, 1);
        }
        jpeg_finish_decompress(&cinfo);
    }
    if (error.num_warnings != 0) pixels.clear();
    jpeg_destroy_decompress(&cinfo);
    return pixels;
}

}  // namespace zptest

#endif  // ZP_TESTS_SUPPORT_JPEG_STREAM_H
