#include "jpeg_body.h"

#include <jpeglib.h>

#include <csetjmp>
#include <cstdio>
#include <cstdlib>

namespace zpsim {

namespace {

struct ErrorManager {
    jpeg_error_mgr base;
    std::jmp_buf jump;
};

[[noreturn]] void ErrorExit(j_common_ptr info) {
    std::longjmp(reinterpret_cast<ErrorManager*>(info->err)->jump, 1);
}

void SilentMessage(j_common_ptr) {}

void SetSampling(jpeg_compress_struct& info, unsigned subsampling) {
    static const int kHorizontal[] = {2, 2, 1};
    static const int kVertical[] = {2, 1, 1};
    const unsigned mode = subsampling <= 2 ? subsampling : 0;
    info.comp_info[0].h_samp_factor = kHorizontal[mode];
    info.comp_info[0].v_samp_factor = kVertical[mode];
    for (int c = 1; c < 3; ++c) {
        info.comp_info[c].h_samp_factor = 1;
        info.comp_info[c].v_samp_factor = 1;
    }
}

// Only plain C objects live in this frame, so the error jump skips no destructor.
bool Compress(const std::uint8_t* pixels, std::uint16_t width, std::uint16_t height, unsigned components,
              int quality, unsigned subsampling, unsigned char** out, unsigned long* outSize) {
    jpeg_compress_struct info;
    ErrorManager error;
    info.err = jpeg_std_error(&error.base);
    error.base.error_exit = ErrorExit;
    error.base.output_message = SilentMessage;
    if (setjmp(error.jump) != 0) {
        jpeg_destroy_compress(&info);
        return false;
    }
    jpeg_create_compress(&info);
    jpeg_mem_dest(&info, out, outSize);
    info.image_width = width;
    info.image_height = height;
    info.input_components = static_cast<int>(components);
    info.in_color_space = components == 3 ? JCS_RGB : JCS_GRAYSCALE;
    jpeg_set_defaults(&info);
    jpeg_set_quality(&info, quality, TRUE);
    info.optimize_coding = FALSE;
    info.restart_interval = 0;
    info.dct_method = JDCT_ISLOW;
    if (components == 3) {
        SetSampling(info, subsampling);
    }
    jpeg_start_compress(&info, TRUE);
    const std::size_t rowBytes = static_cast<std::size_t>(width) * components;
    while (info.next_scanline < info.image_height) {
        JSAMPROW row = const_cast<JSAMPROW>(pixels + info.next_scanline * rowBytes);
        jpeg_write_scanlines(&info, &row, 1);
    }
    jpeg_finish_compress(&info);
    jpeg_destroy_compress(&info);
    return true;
}

}  // namespace

std::string EncodeJpeg(const std::uint8_t* pixels, std::uint16_t width, std::uint16_t height,
                       unsigned components, unsigned quality, unsigned subsampling) {
    if (pixels == nullptr || width == 0 || height == 0 || (components != 1 && components != 3)) {
        return {};
    }
    const int effective = quality == 0 ? 75 : static_cast<int>(quality > 100 ? 100 : quality);
    unsigned char* buffer = nullptr;
    unsigned long size = 0;
    const bool done = Compress(pixels, width, height, components, effective, subsampling, &buffer, &size);
    std::string stream;
    if (done && buffer != nullptr) {
        stream.assign(reinterpret_cast<const char*>(buffer), size);
    }
    std::free(buffer);
    return stream;
}

std::optional<std::size_t> ScanDataOffset(std::string_view jpeg) {
    auto byte = [&jpeg](std::size_t i) { return static_cast<std::uint8_t>(jpeg[i]); };
    if (jpeg.size() < 2 || byte(0) != 0xFF || byte(1) != 0xD8) {
        return std::nullopt;
    }
    std::size_t position = 2;
    while (position + 4 <= jpeg.size()) {
        if (byte(position) != 0xFF) {
            return std::nullopt;
        }
        const std::uint8_t marker = byte(position + 1);
        const std::size_t length = static_cast<std::size_t>(byte(position + 2)) << 8 | byte(position + 3);
        if (length < 2 || position + 2 + length > jpeg.size()) {
            return std::nullopt;
        }
        position += 2 + length;
        if (marker == 0xDA) {
            return position;
        }
    }
    return std::nullopt;
}

std::string JpegBody(const std::uint8_t* pixels, std::uint16_t width, std::uint16_t height,
                     unsigned components, unsigned quality, unsigned subsampling) {
    std::string stream = EncodeJpeg(pixels, width, height, components, quality, subsampling);
    auto offset = ScanDataOffset(stream);
    return offset ? stream.substr(*offset) : std::string();
}

}  // namespace zpsim
