// Turning a port handle back into its port, and the result conventions of the exported calls.
#ifndef ZPPORT_API_PORT_HANDLE_H
#define ZPPORT_API_PORT_HANDLE_H

#include <zpport/CamPort.h>
#include <zpport/TWPort.h>
#include <zpport/ZpPortTW.h>

namespace zp::api {

constexpr unsigned int kSuccess = ZP_PO_SUCCESS;
constexpr unsigned int kFailure = ZP_PO_FAILURE;
constexpr unsigned int kNullHandle = ZP_PO_NULL_HANDLE;

// A handle is the address of the port's CCamPort part; every call goes through that type.
inline CCamPort* PortOf(ZP_PORT_HANDLE handle) {
    return static_cast<CCamPort*>(handle);
}
inline ZP_PORT_HANDLE HandleOf(CCamPort* port) {
    return static_cast<void*>(port);
}

// Operations report non-zero for success (negative values included), the exported calls 0.
inline unsigned int Negated(unsigned int result) {
    return result != 0 ? kSuccess : kFailure;
}

// One exported call in progress on an Ethernet port, so that PoClose waits for it to leave.
// Refused (Admitted() false) once the port is closing. Other port types are not counted.
class CallInProgress {
public:
    explicit CallInProgress(CCamPort* port) : m_port(dynamic_cast<CTWPort*>(port)) {
        m_admitted = m_port == nullptr || m_port->EnterCall();
    }
    ~CallInProgress() {
        if (m_port != nullptr && m_admitted) m_port->LeaveCall();
    }
    CallInProgress(const CallInProgress&) = delete;
    CallInProgress& operator=(const CallInProgress&) = delete;

    bool Admitted() const { return m_admitted; }

private:
    CTWPort* m_port;
    bool m_admitted;
};

// Null handle gives 2, a closing port 1; otherwise runs the operation on the port and negates
// its result.
template <typename Operation>
unsigned int Forward(ZP_PORT_HANDLE handle, Operation operation) {
    CCamPort* port = PortOf(handle);
    if (port == nullptr) return kNullHandle;
    const CallInProgress call(port);
    if (!call.Admitted()) return kFailure;
    return Negated(operation(*port));
}

}  // namespace zp::api

#endif  // ZPPORT_API_PORT_HANDLE_H
