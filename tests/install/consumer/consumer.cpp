// A C++ host built against the installed headers and library.
#include <zpport/AddressText.h>
#include <zpport/BorderData.h>
#include <zpport/OSLayer.h>
#include <zpport/PcbaInfo.h>
#include <zpport/XTrace.h>

#include <cstdio>
#include <cstring>

int main() {
    char text[64];
    ByteAddressToString(0xC0A80001u, text);
    if (std::strcmp(text, "[192.168.0.1]") != 0) return 1;

    CXTrace trace;
    trace.GetTWCommandDescr(0x40, text);
    if (std::strcmp(text, "Get Camera State") != 0) return 1;

    BORDER_DATA border;
    SetDefaultBorder(&border, 0);
    if (std::memcmp(&border.EndMarker, "EoBD", 4) != 0) return 1;

    CPcbaInfo boards;
    if (boards.SetComment("host") == 0) return 1;

    _OS_SYSTEMTIME now{};
    OS_GetLocalTime(&now);
    if (now.wMonth > 11) return 1;
    std::printf("consumer.cpp: ok\n");
    return 0;
}
