// Discovery: broadcast enumeration across the host's adapters and completion of each item.
#include "twport/tw_port_internal.h"
#include "zpport/TWPort.h"

/// \todo Discovery: broadcast, collect the answers and complete each item.
void CTWPort::Enumerate(_ZP_ENUMITEMEX*, unsigned int*, unsigned int) {}

/// \todo Discovery: complete one item from the camera's vendor information.
unsigned int CTWPort::GetEnumInfo(_ZP_ENUMITEMEX*) {
    return 0;
}
