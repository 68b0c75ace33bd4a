/* Lists every camera that answers discovery on the host's adapters.
 * usage: enumerate [adapter address]   (default: every adapter) */
#include <arpa/inet.h>
#include <stdio.h>
#include <string.h>
#include <zpport/ZpPortTW.h>

#define ROOM 128 /* PoEnumerate may add up to 128 items after the ones already listed */

int main(int argc, char** argv) {
    static _ZP_ENUMITEMEX items[ROOM];
    unsigned int count = 0;
    memset(items, 0, sizeof items);
    if (argc > 1) PoLinkInit(ntohl(inet_addr(argv[1])));
    PoEnumerate(items, &count, 0);
    printf("%u camera(s)\n", count);
    for (unsigned int i = 0; i < count; ++i) {
        const _ZP_ENUMITEMEX* item = &items[i];
        printf("%-15s %-16s serial %10u  firmware 0x%08X  MAC %s  via %s (MTU %u)\n", item->ipText,
               item->cameraName, item->serialNumber, item->fwVersion, item->macText, item->adapterIpText,
               item->mtu);
    }
    PoLinkDeinit();
    return 0;
}
