// Image download: one frame, live or recorded, raw or JPEG, with its border block.
#include "twport/tw_port_internal.h"
#include "zpport/TWPort.h"

/// \todo Image and data download.
unsigned int CTWPort::ReadData(void*, unsigned int) {
    return 0;
}
