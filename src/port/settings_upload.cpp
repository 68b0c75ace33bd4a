// The settings upload over the binary command frame.
#include <zpport/CamPort.h>

#include "port/frame.h"
#include "port/unframed.h"

using zp::frame::UnframedExchange;

unsigned int CCamPort::WriteData2(void*, unsigned int) {
    return UnframedExchange(*this);
}
