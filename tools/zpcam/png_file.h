// Frames to PNG through libpng: 8-bit grey or RGB, written under a temporary name and renamed.
#ifndef ZPCAM_PNG_FILE_H
#define ZPCAM_PNG_FILE_H

#include <string>

namespace zpcam {

// `pixels` holds height rows of width * components bytes (1: grey, 3: R, G, B). Favours speed over
// size (the Sub filter and run-length matching only), so that files are written as fast as frames
// arrive. Throws a file error naming the path.
void WritePngFile(const std::string& path, const unsigned char* pixels, unsigned int width,
                  unsigned int height, unsigned int components);

}  // namespace zpcam

#endif  // ZPCAM_PNG_FILE_H
