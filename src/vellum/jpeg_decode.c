/* ReadJPGFileData: a complete JPEG stream decoded into rows of the caller's buffer. */
#include <string.h>

#include "jpeg_error.h"
#include "vellum/Vellum.h"

/* Decodes every row; 0 when the geometry does not fit the output or a row cannot be read. */
static int DecodeRows(j_decompress_ptr cinfo, int rowBytes, int height, unsigned char* out) {
    if (cinfo->num_components == 1) {
        cinfo->out_color_space = JCS_GRAYSCALE;
    } else if (cinfo->num_components == 3) {
        cinfo->out_color_space = JCS_RGB;
    } else {
        return 0;
    }
    cinfo->dct_method = JDCT_ISLOW;
    jpeg_start_decompress(cinfo);
    const unsigned long rowLength =
        (unsigned long)cinfo->output_width * (unsigned long)cinfo->output_components;
    if (rowLength > (unsigned long)rowBytes || cinfo->output_height > (JDIMENSION)height) return 0;
    while (cinfo->output_scanline < cinfo->output_height) {
        JSAMPROW row = out + (size_t)cinfo->output_scanline * (size_t)rowBytes;
        if (jpeg_read_scanlines(cinfo, &row, 1) != 1) return 0;
    }
    jpeg_finish_decompress(cinfo);
    return 1;
}

int ReadJPGFileData(const void* jpeg, int length, int rowBytes, int height, void* out) {
    if (jpeg == NULL || out == NULL || length <= 0 || rowBytes <= 0 || height <= 0) return 0;
    struct jpeg_decompress_struct cinfo;
    VellumError error;
    memset(&cinfo, 0, sizeof cinfo);
    cinfo.err = VellumErrorInit(&error);
    /* Set before the object exists: creating it may fail too (the object is zeroed first). */
    if (setjmp(error.escape)) {
        jpeg_destroy_decompress(&cinfo);
        return 0;
    }
    jpeg_create_decompress(&cinfo);
    jpeg_mem_src(&cinfo, (const unsigned char*)jpeg, (unsigned long)length);
    int result = 0;
    if (jpeg_read_header(&cinfo, TRUE) == JPEG_HEADER_OK)
        result = DecodeRows(&cinfo, rowBytes, height, (unsigned char*)out);
    /* A truncated or damaged stream only warns (the decoder fills in grey); count it as a failure. */
    if (error.base.num_warnings != 0) result = 0;
    jpeg_destroy_decompress(&cinfo);
    return result;
}
