// Flash block transfers over the binary command frame.
#include <zpport/CamPort.h>

#include "port/frame.h"
#include "port/unframed.h"

using zp::frame::UnframedExchange;

unsigned int CCamPort::FlashOperation(unsigned int, void*) {
    return UnframedExchange(*this);
}
