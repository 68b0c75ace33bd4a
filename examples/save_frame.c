/* Downloads one recorded frame uncompressed and saves it as a binary PGM file.
 * usage: save_frame [camera address [frame number [file]]], default 127.0.0.1 0 frame.pgm */
#include <arpa/inet.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <zpport/BorderData.h>
#include <zpport/ZpPortTW.h>

/* readFlags, the third request word at the start of the PoReadData buffer. */
enum { kReadUncompressed = 0x01, kReadBorderOnly = 0x02 };

static int SavePgm(const char* path, const unsigned char* image, unsigned int width, unsigned int height) {
    FILE* file = fopen(path, "wb");
    if (file == NULL) return 0;
    fprintf(file, "P5\n%u %u\n255\n", width, height);
    const size_t written = fwrite(image, 1, (size_t)width * height, file);
    return fclose(file) == 0 && written == (size_t)width * height;
}

/* image holds size bytes: the request words go in, the frame comes back. */
static int SaveFrame(ZP_PORT_HANDLE port, unsigned int frame, unsigned char* image, unsigned int size,
                     const char* path) {
    const unsigned int request[3] = {0 /* recorded, not live */, frame, kReadUncompressed};
    memcpy(image, request, sizeof request);
    if (PoReadData(port, image, size) != 0) {
        fprintf(stderr, "download of frame %u failed\n", frame);
        return 0;
    }
    /* The border record of the frame just received gives its exact size. */
    BORDER_DATA border;
    const unsigned int borderRequest[3] = {0, 0, kReadBorderOnly};
    memcpy(&border, borderRequest, sizeof borderRequest);
    if (PoReadData(port, &border, sizeof border) != 0 ||
        (unsigned int)border.Width2 * border.Height2 > size) {
        fprintf(stderr, "no usable border record\n");
        return 0;
    }
    if (!SavePgm(path, image, border.Width2, border.Height2)) {
        fprintf(stderr, "cannot write %s\n", path);
        return 0;
    }
    printf("frame %u (frame number %u in the camera): %ux%u saved to %s\n", frame, border.FrameNumber,
           border.Width2, border.Height2, path);
    return 1;
}

int main(int argc, char** argv) {
    const char* camera = argc > 1 ? argv[1] : "127.0.0.1";
    const unsigned int frame = argc > 2 ? (unsigned int)strtoul(argv[2], NULL, 0) : 0;
    const char* path = argc > 3 ? argv[3] : "frame.pgm";
    _ZP_ENUMITEMEX item;
    memset(&item, 0, sizeof item);
    item.portId = 0x2001;
    snprintf(item.ipText, sizeof item.ipText, "%s", camera);
    ZP_PORT_HANDLE port = NULL;
    if (PoOpen(&item, &port) != 0) {
        fprintf(stderr, "PoOpen(%s) failed\n", camera);
        return 1;
    }
    /* The frame geometry from the camera's settings; a raw frame is one byte per pixel. */
    _CAMERA_SETTINGS settings;
    int saved = 0;
    if (PoReadFlashMemoryBlocks(port, 0, 0, &settings) == 0) {
        const unsigned int pixels = settings.roiWidth * settings.roiHeight;
        const unsigned int size = pixels < 12 ? 12 : pixels; /* at least the request words */
        unsigned char* image = malloc(size);
        saved = image != NULL && SaveFrame(port, frame, image, size, path);
        free(image);
    } else {
        fprintf(stderr, "settings read-back failed\n");
    }
    PoClose(port);
    return saved ? 0 : 1;
}
