// Camera information, name, session (attach, detach), status, trigger, reset and the 32-bit
// registers, each one exchange of the binary command frame.
#include <zpport/CamPort.h>

#include "port/frame.h"
#include "port/unframed.h"

using zp::frame::UnframedExchange;

unsigned int CCamPort::ReadCameraInfo(unsigned int, unsigned int*, unsigned int*) {
    return UnframedExchange(*this);
}

unsigned int CCamPort::WriteCameraInfo(unsigned int, unsigned int, unsigned int) {
    return UnframedExchange(*this);
}

unsigned int CCamPort::ReadCameraName(char*) {
    return UnframedExchange(*this);
}

unsigned int CCamPort::Attach() {
    return UnframedExchange(*this);
}

unsigned int CCamPort::Detach() {
    return UnframedExchange(*this);
}

unsigned int CCamPort::GetCameraStatus(unsigned int&) {
    return UnframedExchange(*this);
}

unsigned int CCamPort::Trigger() {
    return UnframedExchange(*this);
}

unsigned int CCamPort::Reset() {
    return UnframedExchange(*this);
}

unsigned int CCamPort::WriteLongRegister(unsigned int, unsigned int) {
    return UnframedExchange(*this);
}

// A failed read yields 0 in the caller's word.
unsigned int CCamPort::ReadLongRegister(unsigned int, unsigned int* value) {
    const unsigned int result = UnframedExchange(*this);
    if (result == 0 && value != nullptr) *value = 0;
    return result;
}
