// The kernel's neighbour (ARP) table: the MAC address behind an IPv4 address the host has talked to.
#ifndef ZP_NET_NEIGHBOUR_TABLE_H
#define ZP_NET_NEIGHBOUR_TABLE_H

#include <cstdint>

namespace zpnet {

// Reads the complete entry for ip (host byte order) from the calling thread's network namespace:
// high = first two bytes, low = last four. False when there is none.
bool NeighbourMacAddress(uint32_t ip, unsigned int& low, unsigned int& high);

// One line of the table ("address type flags mac mask device"); false unless it is a complete
// entry for ip.
bool ReadNeighbourLine(const char* line, uint32_t ip, unsigned int& low, unsigned int& high);

}  // namespace zpnet

#endif  // ZP_NET_NEIGHBOUR_TABLE_H
