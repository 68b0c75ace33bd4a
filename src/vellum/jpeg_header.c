/* CreateHeader: the encoder's own header bytes for a frame geometry and encoding parameters. */
#include <string.h>

#include "jpeg_error.h"
#include "vellum/Vellum.h"

/* The encoder writes every header byte when the first scanline goes in; the capture area holds
 * them (a colour header is about 600 bytes), anything written later lands in the spill area. */
enum { kCaptureSize = 16384, kSpillSize = 4096, kMarkerSos = 0xDA, kMarkerSoi = 0xD8, kMaxDimension = 65500 };

typedef struct {
    struct jpeg_destination_mgr base; /* first: libjpeg sees only this part */
    unsigned char capture[kCaptureSize];
    unsigned char spill[kSpillSize];
    int spilled;
} HeaderDestination;

static void StartCapture(j_compress_ptr cinfo) {
    HeaderDestination* dest = (HeaderDestination*)cinfo->dest;
    dest->base.next_output_byte = dest->capture;
    dest->base.free_in_buffer = kCaptureSize;
    dest->spilled = 0;
}

static boolean Spill(j_compress_ptr cinfo) {
    HeaderDestination* dest = (HeaderDestination*)cinfo->dest;
    dest->base.next_output_byte = dest->spill;
    dest->base.free_in_buffer = kSpillSize;
    dest->spilled = 1;
    return TRUE;
}

static void EndCapture(j_compress_ptr cinfo) {
    (void)cinfo;
}

/* Length of the header in data: the offset just past the SOS segment, or 0 when the marker
 * segments do not lead to one within length bytes. */
static int HeaderEnd(const unsigned char* data, int length) {
    if (length < 2 || data[0] != 0xFF || data[1] != kMarkerSoi) return 0;
    int position = 2;
    while (position + 4 <= length) {
        if (data[position] != 0xFF) return 0;
        const int marker = data[position + 1];
        const int segment = (data[position + 2] << 8) | data[position + 3];
        const int next = position + 2 + segment;
        if (segment < 2 || next > length) return 0;
        if (marker == kMarkerSos) return next;
        position = next;
    }
    return 0;
}

static int ValidArguments(int width, int height, int components, int p4, int p5) {
    if (width < 1 || width > kMaxDimension || height < 1 || height > kMaxDimension) return 0;
    if (components != 1 && components != 3) return 0;
    if (p4 < 0) return 0;
    return components == 1 || (p5 >= 0 && p5 <= 2);
}

/* Sets the encoder up exactly as the camera encodes its frames. */
static void Configure(j_compress_ptr cinfo, int width, int height, int components, int p4, int p5) {
    cinfo->image_width = (JDIMENSION)width;
    cinfo->image_height = (JDIMENSION)height;
    cinfo->input_components = components;
    cinfo->in_color_space = components == 3 ? JCS_RGB : JCS_GRAYSCALE;
    jpeg_set_defaults(cinfo);
    jpeg_set_quality(cinfo, p4 == 0 ? 75 : p4, TRUE);
    cinfo->dct_method = JDCT_ISLOW;
    cinfo->optimize_coding = FALSE;
    cinfo->restart_interval = 0;
    if (components == 3) {
        static const int kHorizontal[3] = {2, 2, 1};
        static const int kVertical[3] = {2, 1, 1};
        cinfo->comp_info[0].h_samp_factor = kHorizontal[p5];
        cinfo->comp_info[0].v_samp_factor = kVertical[p5];
    }
}

int CreateHeader(int width, int height, int components, int p4, int p5, unsigned char* header,
                 int* headerLength) {
    if (header == NULL || headerLength == NULL || !ValidArguments(width, height, components, p4, p5))
        return 0;
    struct jpeg_compress_struct cinfo;
    VellumError error;
    HeaderDestination dest;
    memset(&dest, 0, sizeof dest);
    dest.base.init_destination = StartCapture;
    dest.base.empty_output_buffer = Spill;
    dest.base.term_destination = EndCapture;
    memset(&cinfo, 0, sizeof cinfo);
    cinfo.err = VellumErrorInit(&error);
    /* Set before the object exists: creating it may fail too (the object is zeroed first). */
    if (setjmp(error.escape)) {
        jpeg_destroy_compress(&cinfo);
        return 0;
    }
    jpeg_create_compress(&cinfo);
    cinfo.dest = &dest.base;
    Configure(&cinfo, width, height, components, p4, p5);
    jpeg_start_compress(&cinfo, TRUE);
    /* One scanline makes the encoder write the frame and scan headers; its contents do not matter. */
    JSAMPARRAY row =
        (*cinfo.mem->alloc_sarray)((j_common_ptr)&cinfo, JPOOL_IMAGE, (JDIMENSION)(width * components), 1);
    memset(row[0], 0, (size_t)width * (size_t)components);
    jpeg_write_scanlines(&cinfo, row, 1);
    const int captured = dest.spilled ? kCaptureSize : kCaptureSize - (int)dest.base.free_in_buffer;
    jpeg_destroy_compress(&cinfo);
    const int length = HeaderEnd(dest.capture, captured);
    if (length == 0 || length > VELLUM_HEADER_MAX) return 0;
    memcpy(header, dest.capture, (size_t)length);
    *headerLength = length;
    return 1;
}
