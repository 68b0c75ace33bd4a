// Settings upload: the commands whose values changed since the last complete upload.
#include "twport/tw_port_internal.h"
#include "zpport/TWPort.h"

/// \todo Settings upload: send the commands whose values changed.
unsigned int CTWPort::WriteData2(void*, unsigned int) {
    return 0;
}
