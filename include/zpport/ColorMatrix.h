// Colour matrices and picture-control tables, exported as free functions.
//
// A 4x4 float matrix (row-vector convention: a colour (r, g, b, 1) is multiplied from the left,
// so row 3 is the translation row) is built by multiplying elementary matrices into it from the
// right, converted once to 16.16 fixed point and applied to pixels with integer arithmetic.
// ColorFilter and GBCHS turn brightness, contrast, gamma, knee, hue, saturation and gain into a
// tone table and a 3x3 signed 16.16 colour matrix for a camera's image pipeline.
// Neutral controls: brightness 25, contrast 10, gamma 10 (1.0), hue 180, saturation 10.
#ifndef ZPPORT_COLORMATRIX_H
#define ZPPORT_COLORMATRIX_H

#include "ZpExport.h"

ZP_EXPORT void identmat(float m[4][4]);
// c = b . a (c[y][x] = sum over k of b[y][k] * a[k][x]); c may be a or b.
ZP_EXPORT void matrixmult(float a[4][4], float b[4][4], float c[4][4]);
ZP_EXPORT void cscalemat(float m[4][4], float rs, float gs, float bs);
ZP_EXPORT void saturatemat(float m[4][4], float s);
ZP_EXPORT void xrotatemat(float m[4][4], float rs, float rc);
ZP_EXPORT void yrotatemat(float m[4][4], float rs, float rc);
ZP_EXPORT void zrotatemat(float m[4][4], float rs, float rc);
ZP_EXPORT void zshearmat(float m[4][4], float dx, float dy);
ZP_EXPORT void xformpnt(float m[4][4], float x, float y, float z, float* tx, float* ty, float* tz);
ZP_EXPORT void simplehuerotatemat(float m[4][4], float degrees);
ZP_EXPORT void huerotatemat(float m[4][4], float degrees);
ZP_EXPORT void mat2lmat(float m[4][4], int lm[4][4]);
// One pixel in place, each channel clamped to 0-255.
ZP_EXPORT void lxformRGB(int lm[4][4], int* r, int* g, int* b);
ZP_EXPORT void InitHueMatrix(int lm[4][4], float hue, float saturation);

// 256-entry 8-bit tone table and a 3x3 16.16 matrix written row by row.
ZP_EXPORT void ColorFilter(int brightness, int contrast, unsigned int gammaPair, unsigned int kneePair,
                           unsigned int hue, unsigned int saturation, unsigned int* matrix,
                           unsigned char* lut);
// Tone table of 2^outBits 16-bit entries (all 4096 initialised, the rest left as the identity) and
// the transposed 3x3 matrix. outBits above 12 does not fit the table: only the identities are written.
// With useTable, `table` (2^outBits entries) is rescaled; a sensor wider than the output scales it down.
ZP_EXPORT void GBCHS(int outBits, int sensorBits, unsigned int* correction, int gammaPair, int kneePair,
                     int brightness, int contrast, int hue, int saturation, int gainCode, int boost,
                     int useTable, unsigned short* table, unsigned int* matrix, unsigned short* lut);

#endif  // ZPPORT_COLORMATRIX_H
