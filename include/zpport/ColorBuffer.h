// Whole-frame colour preview: the fixed-point hue/saturation matrix of InitHueMatrix applied to
// a buffer of packed 8-bit RGB pixels, with exactly the arithmetic of lxformRGB per pixel.
#ifndef ZPPORT_COLORBUFFER_H
#define ZPPORT_COLORBUFFER_H

#include <cstddef>

#include "ZpExport.h"

namespace zpcolor {

// rgb holds `pixels` triples r, g, b; each is replaced by what lxformRGB(lm, ...) makes of it.
ZP_EXPORT void ApplyHueMatrix(const int lm[4][4], unsigned char* rgb, std::size_t pixels);

}  // namespace zpcolor

#endif  // ZPPORT_COLORBUFFER_H
