// Camera memory transfers in chunks (whole or split frames), recorded segments and the
// firmware-information block.
#include <zpport/CamPort.h>

#include "port/frame.h"
#include "port/unframed.h"

using zp::frame::UnframedExchange;

unsigned int CCamPort::ReadMemory(ZP_MEM_TYPE, unsigned int, unsigned int, void*, unsigned int) {
    return UnframedExchange(*this);
}

unsigned int CCamPort::WriteMemory(ZP_MEM_TYPE, unsigned int, unsigned int, void*, unsigned int) {
    return UnframedExchange(*this);
}

unsigned int CCamPort::ReadRecordedSegments(unsigned char*, unsigned int*) {
    return UnframedExchange(*this);
}

unsigned int CCamPort::ReadFwInfoStruct() {
    return UnframedExchange(*this);
}
