// Settings read-back: the camera's current settings queried into a settings record.
#include "twport/tw_port_internal.h"
#include "zpport/TWPort.h"

/// \todo Settings read-back.
unsigned int CTWPort::ReadFlashMemoryBlocks(unsigned int, unsigned int, void*) {
    return 0;
}
