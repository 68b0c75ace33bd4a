// Program steps sent in chunks over the binary command frame.
#include <zpport/CamPort.h>

#include "port/frame.h"
#include "port/unframed.h"

using zp::frame::UnframedExchange;

unsigned int CCamPort::ConfigureSteps(_PROGSTEPS_DATA*) {
    return UnframedExchange(*this);
}
