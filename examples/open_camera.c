/* Opens one camera (real or simulated), asks for its identity and status, closes it.
 * usage: open_camera [camera address [local adapter address]], default 127.0.0.1 for both */
#include <arpa/inet.h>
#include <stdio.h>
#include <string.h>
#include <zpport/ZpPortTW.h>

int main(int argc, char** argv) {
    _ZP_ENUMITEMEX item;
    memset(&item, 0, sizeof item);
    item.portId = 0x2001;
    snprintf(item.ipText, sizeof item.ipText, "%s", argc > 1 ? argv[1] : "127.0.0.1");
    /* The adapter on which the port listens for the camera's announcements. */
    item.adapterIp = ntohl(inet_addr(argc > 2 ? argv[2] : "127.0.0.1"));

    ZP_PORT_HANDLE port = NULL;
    unsigned int rc = PoOpen(&item, &port);
    if (rc != 0) {
        fprintf(stderr, "PoOpen(%s) failed: %u\n", item.ipText, rc);
        return 1;
    }
    _VENDOR_INFO vendor;
    unsigned int status = 0, frame = 0;
    if (PoGetVendorInfo(port, &vendor) == 0) printf("camera serial number %u\n", vendor.serialNumber);
    if (PoGetStatus(port, 0, &status) == 0) printf("status word          0x%08X\n", status);
    if (PoGetLatestFrameIndex(port, &frame) == 0) printf("latest frame index   %u\n", frame);
    PoClose(port);
    return 0;
}
