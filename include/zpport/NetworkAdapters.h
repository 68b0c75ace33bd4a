// The host's network adapters as discovery sees them: a list with address, mask, MAC and MTU,
// look-ups between a MAC text, an adapter address and its MTU, and the rule that rejects
// addresses a camera must not be given. Built on the OS_ adapter queries (OSLayer.h).
#ifndef ZPPORT_NETWORKADAPTERS_H
#define ZPPORT_NETWORKADAPTERS_H

#include <stddef.h>

#include "ZpExport.h"

/* One local adapter. 648 bytes. */
typedef struct _NET_AD_DESCR {
    char description[256]; /*   0: the adapter's description, cut at the first " - " */
    char ipText[128];      /* 256: "[a.b.c.d]" */
    unsigned int ip;       /* 384: first dotted byte most significant */
    char macText[128];     /* 388: "%02X:%02X:%02X:%02X:%02X:%02X" */
    char maskText[128];    /* 516: "[a.b.c.d]" */
    unsigned int mtu;      /* 644: 0 when unknown */
} _NET_AD_DESCR;

ZP_STATIC_ASSERT(sizeof(_NET_AD_DESCR) == 648, "_NET_AD_DESCR size");
ZP_STATIC_ASSERT(offsetof(_NET_AD_DESCR, description) == 0, "_NET_AD_DESCR.description");
ZP_STATIC_ASSERT(offsetof(_NET_AD_DESCR, ipText) == 256, "_NET_AD_DESCR.ipText");
ZP_STATIC_ASSERT(offsetof(_NET_AD_DESCR, ip) == 384, "_NET_AD_DESCR.ip");
ZP_STATIC_ASSERT(offsetof(_NET_AD_DESCR, macText) == 388, "_NET_AD_DESCR.macText");
ZP_STATIC_ASSERT(offsetof(_NET_AD_DESCR, maskText) == 516, "_NET_AD_DESCR.maskText");
ZP_STATIC_ASSERT(offsetof(_NET_AD_DESCR, mtu) == 644, "_NET_AD_DESCR.mtu");

#ifdef __cplusplus
// *count is the capacity of list on entry and the number of entries written on return; never more
// than the capacity is written. Returns that number (0: the query failed or found nothing).
ZP_EXPORT int EnumerateNetworkAdapters(_NET_AD_DESCR* list, int* count);
// ip = address of the first adapter (of up to 10) whose MAC text equals macText ignoring case,
// else 0. Returns the number of adapters listed.
ZP_EXPORT unsigned int IPAddressFromMACAddress(const char* macText, unsigned int& ip);
// Does nothing; returns 1.
ZP_EXPORT unsigned int MACAddressFromIPAddress(unsigned int& ip, unsigned int& low, unsigned int& high);
// Mask and MAC of the adapter with address ip (the last one when several match), else zeros.
ZP_EXPORT void FindAdapterAddresses(unsigned int ip, unsigned int& ipOut, unsigned int& mask,
                                    unsigned int& macLow, unsigned int& macHigh);
// 1 when a camera may not be given this address on a subnet with this mask, else 0.
ZP_EXPORT unsigned int IsForbiddenAddress(unsigned int ip, unsigned int mask);
// MTU of the adapter with address ip; 1500 when unknown or smaller.
ZP_EXPORT void FindAdapterMTU(unsigned int ip, unsigned int& mtu);
#endif

#endif /* ZPPORT_NETWORKADAPTERS_H */
