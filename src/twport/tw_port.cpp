// CTWPort construction and destruction, the link-wide setting, and the operations this link
// does not carry (register stubs, comment).
#include <cstdlib>
#include <cstring>

#include "twport/tw_port_internal.h"
#include "zpport/TWPort.h"

unsigned int CTWPort::m_nEnumIPAdd = 0;

CTWPort::CTWPort()
    : m_nAnnSocket(0),
      m_szCameraAddress{},
      m_byCameraAddress(0),
      m_byCameraState(0),
      m_dwStopListener(0),
      m_dwLinkLost(0),
      m_hKALock(nullptr),
      m_dwAdapterAddress(0),
      m_dwOptionFlag(0),
      m_dwState{0, 0, 0xFFFFFFFFu, 9999999u, 0xFFFFFFFFu, 0xFFFFFFFFu},
      m_dwFwVersion{},
      m_pDownloadBuffer(nullptr),
      m_hListener(nullptr),
      m_abySettings{},
      m_dwLastLiveFrame(0xFFFFFFFFu),
      m_abyBorder{},
      m_wLiveSelector(0),
      m_dwTransferActive(0),
      m_byLookupConversion(0) {}

CTWPort::~CTWPort() {
    // A port deleted without a successful close still owns its listener and locks.
    StopListener();
    DestroyLocks();
    std::free(m_pDownloadBuffer);
    m_pDownloadBuffer = nullptr;
}

void CTWPort::LinkInit(unsigned int enumAddress, unsigned int, const char*) {
    m_nEnumIPAdd = enumAddress;
}

void CTWPort::LinkDeinit() {}

// The camera family has no byte registers on this link; callers of the common interface succeed.
unsigned int CTWPort::ReadRegister(unsigned char, unsigned char* value) {
    if (value != nullptr) *value = 0;
    return 1;
}

unsigned int CTWPort::WriteRegister(unsigned char, unsigned char) {
    return 1;
}

unsigned int CTWPort::ReadWriteCameraComment(unsigned int, void*) {
    return 0;
}

void CTWPort::IPAddressToMACAddress(unsigned int, unsigned int&, unsigned int&) {}
