#include "frame_read.h"

#include <sys/socket.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>

#include "zpport/CameraSettings.h"
#include "zpport/TWPort.h"

namespace zpcam {

std::size_t ReadFramePixels(const OpenCamera& camera) {
    _CAMERA_SETTINGS settings{};
    camera.Check(PoReadFlashMemoryBlocks(camera.Handle(), 0, 0, &settings), "reading the settings");
    const std::size_t factor = settings.binning + 1;
    return std::size_t{settings.roiWidth} * factor * settings.roiHeight * factor;
}

BORDER_DATA ReadBorder(const OpenCamera& camera) {
    BORDER_DATA border{};
    const unsigned int request[3] = {0, 0, kReadBorderOnly};
    std::memcpy(&border, request, sizeof request);
    camera.Check(PoReadData(camera.Handle(), &border, sizeof border), "reading the border record");
    return border;
}

std::uint32_t StreamLength(const unsigned char* buffer) {
    std::uint32_t length = 0;
    std::memcpy(&length, buffer, sizeof length);
    return length;
}

// The port's own request on a socket that sends nothing: the same process and the same system limit,
// so the same size granted. The C interface does not report it, and the trace is only written on
// request.
void HintCappedReceiveBuffer() {
    const int sock = ::socket(AF_INET, SOCK_DGRAM, 0);
    if (sock < 0) return;
    const int asked = CTWPort::kDataReceiveBufferSize;
    if (::setsockopt(sock, SOL_SOCKET, SO_RCVBUFFORCE, &asked, sizeof asked) != 0)
        ::setsockopt(sock, SOL_SOCKET, SO_RCVBUF, &asked, sizeof asked);
    int granted = 0;
    socklen_t length = sizeof granted;
    const bool known = ::getsockopt(sock, SOL_SOCKET, SO_RCVBUF, &granted, &length) == 0;
    ::close(sock);
    granted /= 2;  // the kernel reports twice the size set
    if (known && granted < asked)
        std::fprintf(stderr,
                     "zpcam: note: receive buffer %d bytes of %d asked, frames may need retries: raise it "
                     "with sysctl -w net.core.rmem_max=%d\n",
                     granted, asked, asked);
}

}  // namespace zpcam
