// The rule for addresses a camera must not be given.
#include "zpport/NetworkAdapters.h"

unsigned int IsForbiddenAddress(unsigned int ip, unsigned int mask) {
    const unsigned int firstByte = ip >> 24;
    if (firstByte == 127) return 1;                     // loopback
    if (firstByte >= 224 && firstByte <= 239) return 1;  // multicast
    if ((ip | mask) == 0xFFFFFFFFu) return 1;           // the subnet's broadcast address
    // The subnet's own address; 0 itself stays allowed, as applications expect.
    if ((ip & ~mask) == 0 && ip != 0) return 1;
    return 0;
}
