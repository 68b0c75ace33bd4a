/* A traffic-control filter for a test link: drops about one in a hundred of the image datagrams that
 * leave the interface it is attached to (clsact egress, direct action), at random, in the kernel.
 * Image datagrams go to the host's data ports (below 2048); command replies (to the host's own
 * ephemeral port) and announcements always pass: a lost reply is a command time-out, which is not
 * what the lossy-link test is about. Built with clang -target bpf; attached by the lossy-link test
 * to the camera end of its veth link. */
#define SEC(name) __attribute__((section(name), used))

/* The kernel's helpers number 7, bpf_get_prandom_u32, and 26, bpf_skb_load_bytes. */
static unsigned int (*const get_prandom_u32)(void) = (void*)7;
static long (*const skb_load_bytes)(const void* skb, unsigned int offset, void* to, unsigned int length) = (void*)26;

enum { kPass = 0, kDrop = 2 }; /* TC_ACT_OK, TC_ACT_SHOT */
/* Ethernet header, then IPv4 without options, then the UDP destination port. */
enum { kProtocolAt = 14 + 9, kDestinationPortAt = 14 + 20 + 2, kUdp = 17, kDataPortsBelow = 2048 };

SEC("classifier") int drop_one_image_datagram_in_a_hundred(void* packet) {
    unsigned char protocol = 0, port[2] = {0xFF, 0xFF};
    if (skb_load_bytes(packet, kProtocolAt, &protocol, 1) != 0 || protocol != kUdp) return kPass;
    if (skb_load_bytes(packet, kDestinationPortAt, port, 2) != 0) return kPass;
    if (port[0] * 256 + port[1] >= kDataPortsBelow) return kPass;
    return get_prandom_u32() % 100 == 0 ? kDrop : kPass;
}

char _license[] SEC("license") = "GPL";
