// Camera parameters by number over the binary command frame, with the library's parameter
// identifiers translated to the camera's numbers.
#include <zpport/CamPort.h>

#include "port/frame.h"
#include "port/unframed.h"

using zp::frame::UnframedExchange;

unsigned int CCamPort::GetPortParameter(ZP_PARAM, unsigned int*) {
    return UnframedExchange(*this);
}

unsigned int CCamPort::GetPortBrocParameter(ZP_PARAM, unsigned int*) {
    return UnframedExchange(*this);
}

unsigned int CCamPort::GetParameter(int, int&) {
    return UnframedExchange(*this);
}

unsigned int CCamPort::GetBrocParameter(int, unsigned int*) {
    return UnframedExchange(*this);
}

unsigned int CCamPort::SetParameter(int, int) {
    return UnframedExchange(*this);
}

unsigned int CCamPort::SendParameter(unsigned int, unsigned int) {
    return UnframedExchange(*this);
}
