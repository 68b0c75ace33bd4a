// \todo Operations not built yet send an empty header and report failure whatever the transport
// answers, leaving every output untouched. Each is replaced by its own frame as it is written.
#ifndef ZPPORT_PORT_UNFRAMED_H
#define ZPPORT_PORT_UNFRAMED_H

#include "port/frame.h"

namespace zp::frame {

inline unsigned int UnframedExchange(CCamPort& port) {
    Command command(0, {});
    Response response(kHeaderSize);
    Exchange(port, command, response);
    return 0;
}

}  // namespace zp::frame

#endif  // ZPPORT_PORT_UNFRAMED_H
