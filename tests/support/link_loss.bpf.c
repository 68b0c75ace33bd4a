/* A traffic-control filter for a test link: drops about one packet in a hundred that leaves the
 * interface it is attached to (clsact egress, direct action), at random, in the kernel. Built with
 * clang -target bpf; attached by the lossy-link test to the camera end of its veth link. */
#define SEC(name) __attribute__((section(name), used))

/* The kernel's helper number 7, bpf_get_prandom_u32. */
static unsigned int (*const get_prandom_u32)(void) = (void*)7;

enum { kPass = 0, kDrop = 2 }; /* TC_ACT_OK, TC_ACT_SHOT */

SEC("classifier") int drop_one_in_a_hundred(void* packet) {
    (void)packet;
    return get_prandom_u32() % 100 == 0 ? kDrop : kPass;
}

char _license[] SEC("license") = "GPL";
