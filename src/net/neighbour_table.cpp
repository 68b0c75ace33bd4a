// The kernel's neighbour table as /proc shows it, one entry per line after a heading.
#include "net/neighbour_table.h"

#include <arpa/inet.h>

#include <cstdio>

namespace zpnet {

namespace {

constexpr const char kTable[] = "/proc/thread-self/net/arp";
constexpr unsigned int kCompleteFlag = 0x2;

}  // namespace

bool ReadNeighbourLine(const char* line, uint32_t ip, unsigned int& low, unsigned int& high) {
    char address[32];
    unsigned int type = 0, flags = 0;
    unsigned int b[6];
    if (std::sscanf(line, "%31s %x %x %2x:%2x:%2x:%2x:%2x:%2x", address, &type, &flags, &b[0], &b[1], &b[2],
                    &b[3], &b[4], &b[5]) != 9)
        return false;
    in_addr parsed{};
    if (inet_pton(AF_INET, address, &parsed) != 1 || ntohl(parsed.s_addr) != ip) return false;
    if ((flags & kCompleteFlag) == 0) return false;
    high = (b[0] << 8) | b[1];
    low = (b[2] << 24) | (b[3] << 16) | (b[4] << 8) | b[5];
    return true;
}

bool NeighbourMacAddress(uint32_t ip, unsigned int& low, unsigned int& high) {
    std::FILE* table = std::fopen(kTable, "r");
    if (table == nullptr) return false;
    char line[256];
    bool found = false;
    while (!found && std::fgets(line, sizeof line, table) != nullptr) {
        found = ReadNeighbourLine(line, ip, low, high);
    }
    std::fclose(table);
    return found;
}

}  // namespace zpnet
