/* libVellum: the imaging layer of the camera port library. It rebuilds the JPEG header that a
 * camera leaves out of its compressed frames, and decodes complete JPEG streams into host buffers.
 * Usable from C and C++; both functions are thread-safe (they keep no state).
 *
 * Encoding parameters of the camera's frames (baseline JPEG, standard Huffman tables, no restart
 * markers, a JFIF APP0 segment, accurate integer DCT):
 *   quality      1..100 in the usual JPEG scaling; 0 stands for 75, values above 100 act as 100.
 *   subsampling  chroma subsampling of colour frames: 0 = 4:2:0 (luma sampled 2x2),
 *                1 = 4:2:2 (2x1), 2 = 4:4:4 (1x1). Grey frames ignore it.
 * In a frame's border record these are the 16-bit values at byte 301 (quality) and at byte 299
 * (subsampling).
 */
#ifndef VELLUM_VELLUM_H
#define VELLUM_VELLUM_H

#if defined(__GNUC__)
#define VELLUM_API __attribute__((visibility("default")))
#else
#define VELLUM_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* Largest header CreateHeader writes; a header buffer of this size is always enough. */
#define VELLUM_HEADER_MAX 8192

/* Writes the JPEG header of a frame: every byte of the stream up to and including the scan
 * header (SOI, APP0, quantisation tables, frame header, Huffman tables, SOS), exactly as the
 * encoder writes it for these parameters, so that header + the camera's compressed body is a
 * complete stream.
 *   width, height  1..65500 pixels (the largest the JPEG encoder accepts)
 *   components     1 (grey) or 3 (colour)
 *   p4             quality (see above)
 *   p5             chroma subsampling (see above)
 *   header         at least VELLUM_HEADER_MAX bytes
 *   headerLength   receives the number of bytes written
 * Returns 1 on success, 0 on a bad argument or an encoder failure (nothing useful written). */
VELLUM_API int CreateHeader(int width, int height, int components, int p4, int p5, unsigned char* header,
                            int* headerLength);

/* Decodes a complete JPEG stream of `length` bytes into `out`: row r starts at out + r x rowBytes.
 * A grey stream gives one byte per pixel; a colour stream gives three bytes per pixel in the
 * order R, G, B. At most rowBytes x height bytes are written. The stream is rejected when a row
 * (width x components bytes) is longer than rowBytes or it has more than `height` rows.
 * Returns 1 when the whole image was decoded cleanly; 0 on a bad argument, a stream that does not
 * fit, or a corrupt or truncated stream (the output may then be partly written). */
VELLUM_API int ReadJPGFileData(const void* jpeg, int length, int rowBytes, int height, void* out);

#ifdef __cplusplus
}
#endif

#endif /* VELLUM_VELLUM_H */
