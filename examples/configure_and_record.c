/* Configures a camera (real or simulated), records with the short recording request and reads
 * the settings back.
 * usage: configure_and_record [camera address [local adapter address]], default 127.0.0.1 */
#include <arpa/inet.h>
#include <stdio.h>
#include <string.h>
#include <zpport/ZpPortTW.h>

int main(int argc, char** argv) {
    _ZP_ENUMITEMEX item;
    memset(&item, 0, sizeof item);
    item.portId = 0x2001;
    snprintf(item.ipText, sizeof item.ipText, "%s", argc > 1 ? argv[1] : "127.0.0.1");
    item.adapterIp = ntohl(inet_addr(argc > 2 ? argv[2] : "127.0.0.1"));

    ZP_PORT_HANDLE port = NULL;
    if (PoOpen(&item, &port) != 0) {
        fprintf(stderr, "PoOpen(%s) failed\n", item.ipText);
        return 1;
    }
    _CAMERA_SETTINGS settings;
    memset(&settings, 0, sizeof settings);
    settings.roiWidth = 640;
    settings.roiHeight = 480;
    settings.period = 1000000;  /* 1000 frames per second */
    settings.exposure = 500000; /* 500 microseconds */
    settings.frames = 2000;
    settings.preTrigger = 1000;
    settings.netPerform = 1000;
    int rc = 0;
    if (PoWriteData(port, 0, &settings, sizeof settings) != 0) {
        fprintf(stderr, "settings upload failed\n");
        rc = 1;
    }
    /* Length 1: the buffer is a recording request; arm and start recording. */
    _RECORDING_REQUEST request = {settings.frames, settings.preTrigger, 0, 0};
    if (rc == 0 && PoWriteData(port, 0, &request, 1) != 0) {
        fprintf(stderr, "recording request failed\n");
        rc = 1;
    }
    _CAMERA_SETTINGS back;
    if (rc == 0 && PoReadFlashMemoryBlocks(port, 0, 0, &back) == 0) {
        printf("%ux%u, period %u ns, exposure %u ns, %u frames (%u before the trigger), state %u\n",
               back.roiWidth, back.roiHeight, back.period, back.exposure, back.frames, back.preTrigger,
               back.cameraState);
    } else if (rc == 0) {
        fprintf(stderr, "settings read-back failed\n");
        rc = 1;
    }
    PoClose(port);
    return rc;
}
