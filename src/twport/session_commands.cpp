// The session's state commands: attach, reset, erase, stop, trigger, status, parameters, name.
#include <cstdint>
#include <cstring>

#include "twport/tw_port_internal.h"
#include "zpport/AddressText.h"
#include "zpport/TWPort.h"

using namespace zptw;

namespace {

constexpr unsigned int kErasedCodes[] = {0x18, 0x16};  // finished or already empty
constexpr unsigned int kStatusLinkLost = 0x70000;

unsigned char StateAt(char* reply) {
    return static_cast<unsigned char>(hex2c(reply + 7));
}

}  // namespace

unsigned int CTWPort::Attach() {
    char buffer[kLineBufferSize];
    return Command(buffer, kCommandTimeoutUs, "#%02X0102", static_cast<unsigned int>(m_byCameraAddress)) == 1;
}

unsigned int CTWPort::Reset() {
    char buffer[kLineBufferSize];
    const unsigned int a = m_byCameraAddress;
    Command(buffer, kCommandTimeoutUs, "#%02X5FFF", a);
    Command(buffer, kCommandTimeoutUs, "#%02X99", a);
    Command(buffer, kCommandTimeoutUs, "#%02X86", a);
    Command(buffer, kCommandTimeoutUs, "#%02X19", a);
    if (Command(buffer, kCommandTimeoutUs, "#%02X40", a) != 1) return 0;
    m_byCameraState.store(StateAt(buffer));
    return 1;
}

unsigned int CTWPort::EraseMemory() {
    char buffer[kLineBufferSize];
    if (Command(buffer, kEraseTimeoutUs, "#%02X96", static_cast<unsigned int>(m_byCameraAddress)) == 1)
        return 1;
    const unsigned int code = hex2c(buffer + 3);
    for (unsigned int erased : kErasedCodes) {
        if (code == erased) return 1;
    }
    return 0;
}

unsigned int CTWPort::StopGrab(unsigned int* value) {
    char buffer[kLineBufferSize];
    const unsigned int a = m_byCameraAddress;
    if (Command(buffer, kCommandTimeoutUs, "#%02X40", a) != 1) return 0;
    const unsigned char state = StateAt(buffer);
    m_byCameraState.store(state);
    if (state == 2 || state == 3) {
        if (Command(buffer, kCommandTimeoutUs, "#%02X99", a) != 1) return 0;
        if (Command(buffer, kCommandTimeoutUs, "#%02X19", a) != 1) return 0;
        if (Command(buffer, kCommandTimeoutUs, "#%02X40", a) != 1) return 0;
        m_byCameraState.store(StateAt(buffer));
    }
    if (value != nullptr) *value = 0;
    return 1;
}

unsigned int CTWPort::Trigger() {
    char buffer[kLineBufferSize];
    return Command(buffer, kCommandTimeoutUs, "#%02X74", static_cast<unsigned int>(m_byCameraAddress)) == 1;
}

unsigned int CTWPort::GetStatus2(unsigned int* status) {
    char buffer[kLineBufferSize];
    if (Command(buffer, kCommandTimeoutUs, "#%02X40", static_cast<unsigned int>(m_byCameraAddress)) != 1)
        return 0;
    const unsigned char state = StateAt(buffer);
    m_byCameraState.store(state);
    unsigned int word = static_cast<unsigned int>(state) << 16;
    if (state == 3 || state == 4) word |= 1u;
    if (state == kStateLinkLost) word = kStatusLinkLost;
    if (status != nullptr) *status = word;
    OS_ThreadSleep(1);
    return 1;
}

unsigned int CTWPort::GetPortParameter(ZP_PARAM parameter, unsigned int* value) {
    char buffer[kLineBufferSize];
    const unsigned int a = m_byCameraAddress;
    unsigned int result = 0;
    switch (parameter) {
        case ZPP_FRAME_CAP:
            if (Command(buffer, kCommandTimeoutUs, "#%02X0E", a) != 1) return 0;
            result = hex2i(buffer + 15);
            break;
        case ZPP_BOARD_TEMP:
            if (Command(buffer, kCommandTimeoutUs, "#%02X50", a) != 1) return 0;
            // Sign-extended from 8 bits: the board may be below zero.
            result =
                static_cast<unsigned int>(static_cast<int>(static_cast<int8_t>(hex2c(buffer + 7) & 0xFFu)));
            break;
        case ZPP_PERIOD_MIN: {
            if (Command(buffer, kCommandTimeoutUs, "#%02X05", a) != 1) return 0;
            const unsigned int period = hex2i(buffer + 9);
            result = period == 0 ? 0 : static_cast<unsigned int>(1000000000.0 / static_cast<double>(period));
            break;
        }
        default:
            return 0;
    }
    if (value != nullptr) *value = result;
    return 1;
}

unsigned int CTWPort::WriteCameraName(char const* name) {
    char buffer[kLineBufferSize];
    const unsigned int a = m_byCameraAddress;
    // The camera expects its address twice before the quoted name.
    return Command(buffer, kCommandTimeoutUs, "#%02X52%02X\"%s\"", a, a, name != nullptr ? name : "") == 1;
}

unsigned int CTWPort::ReadCameraInfo(unsigned int item, unsigned int* value1, unsigned int* value2) {
    if (item != 1) return CCamPort::ReadCameraInfo(item, value1, value2);
    char buffer[kLineBufferSize];
    const unsigned int a = m_byCameraAddress;
    if (Command(buffer, kCommandTimeoutUs, "#%02X0E", a) != 1) return 0;
    const unsigned int frames = hex2i(buffer + 15);
    if (Command(buffer, kCommandTimeoutUs, "#%02X90", a) != 1) return 0;
    const int32_t area = static_cast<int32_t>(static_cast<uint32_t>(hex2s(buffer + 7)) * hex2s(buffer + 11));
    const uint64_t total = static_cast<uint64_t>(static_cast<int64_t>(area)) * frames;
    if (value1 != nullptr) *value1 = static_cast<unsigned int>(total & 0xFFFFFFFFu);
    if (value2 != nullptr) *value2 = static_cast<unsigned int>(total >> 32);
    return 1;
}
