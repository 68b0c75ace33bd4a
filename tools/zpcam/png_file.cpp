#include "png_file.h"

#include <png.h>
#include <zlib.h>

#include <cerrno>
#include <csetjmp>
#include <cstdio>

#include "file_io.h"

namespace zpcam {

namespace {

// libpng reports errors by longjmp to the writer's setjmp; only plain C objects live in that frame.
bool Encode(std::FILE* file, const unsigned char* pixels, unsigned int width, unsigned int height,
            unsigned int components) {
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png != nullptr ? png_create_info_struct(png) : nullptr;
    if (info == nullptr || setjmp(png_jmpbuf(png)) != 0) {
        png_destroy_write_struct(&png, &info);
        return false;
    }
    png_init_io(png, file);
    png_set_IHDR(png, info, width, height, 8, components == 3 ? PNG_COLOR_TYPE_RGB : PNG_COLOR_TYPE_GRAY,
                 PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    // Run-length matches after the Sub filter: faster than deflate level 1 and smaller, on smooth
    // and on noisy frames alike.
    png_set_compression_strategy(png, Z_RLE);
    png_set_filter(png, PNG_FILTER_TYPE_BASE, PNG_FILTER_SUB);
    png_write_info(png, info);
    const std::size_t stride = std::size_t{width} * components;
    for (unsigned int row = 0; row < height; ++row) png_write_row(png, pixels + row * stride);
    png_write_end(png, nullptr);
    png_destroy_write_struct(&png, &info);
    return true;
}

}  // namespace

void WritePngFile(const std::string& path, const unsigned char* pixels, unsigned int width,
                  unsigned int height, unsigned int components) {
    WriteThroughTemporary(path, [&](const std::string& temporary) {
        std::FILE* file = std::fopen(temporary.c_str(), "wb");
        if (file == nullptr) return false;
        const bool encoded = Encode(file, pixels, width, height, components);
        const int reason = errno;
        const bool closed = std::fclose(file) == 0;
        if (!encoded && errno == 0) errno = reason != 0 ? reason : EIO;
        return encoded && closed;
    });
}

}  // namespace zpcam
