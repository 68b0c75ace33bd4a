// The session's identity queries: vendor record, versions, frame counters and the camera's
// own address words.
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "twport/tw_port_internal.h"
#include "zpport/AddressText.h"
#include "zpport/TWPort.h"

using namespace zptw;

namespace {

constexpr unsigned short kVendorVersion = 512;
constexpr unsigned short kWord18 = 4;
constexpr unsigned short kWord196 = 50;
constexpr int kWord196Index = 6;  // words184[6] is the word at offset 196

struct ModelCodes {
    unsigned int model;
    unsigned short classCode;
    unsigned short variant;
};

constexpr ModelCodes kModels[] = {{7, 12, 0}, {10, 12, 1}, {11, 12, 1}, {13, 12, 2},
                                  {8, 13, 0}, {9, 14, 0},  {12, 14, 1}};

const ModelCodes* FindModel(unsigned int model) {
    for (const auto& entry : kModels) {
        if (entry.model == model) return &entry;
    }
    return nullptr;
}

// Formats one line into buffer and sends it to the given camera; the reply replaces the line.
int SendTo(CTWPort& port, char* buffer, char* destination, int timeout, const char* format, ...)
    __attribute__((format(printf, 5, 6)));

int SendTo(CTWPort& port, char* buffer, char* destination, int timeout, const char* format, ...) {
    va_list args;
    va_start(args, format);
    const int written = std::vsnprintf(buffer, kLineBufferSize - 2, format, args);
    va_end(args);
    const size_t length = written < 0 ? 0 : static_cast<size_t>(written);
    std::memcpy(buffer + length, "\r\n", 3);
    return port.SendCmdAndGetRsp(buffer, buffer, kLineBufferSize, destination, timeout, 1, 0);
}

// The item's dotted address as a terminated text, whatever the item holds.
void DestinationOf(const _ZP_ENUMITEMEX* item, char (&text)[32]) {
    const size_t length = strnlen(item->ipText, sizeof text - 1);
    std::memcpy(text, item->ipText, length);
    text[length] = '\0';
}

// Asks the item's camera for its address byte ("54"); -1 when it does not answer.
int IdentifyCamera(CTWPort& port, const _ZP_ENUMITEMEX* item, char (&destination)[32], char* buffer) {
    DestinationOf(item, destination);
    if (SendTo(port, buffer, destination, kCommandTimeoutUs, "54") != 1) return -1;
    return static_cast<int>(hex2c(buffer + 7) & 0xFFu);
}

}  // namespace

unsigned int CTWPort::GetVendorInfo(_VENDOR_INFO* info) {
    if (info == nullptr) return 0;
    for (auto& text : info->text) {
        text[0] = '\0';
        text[1] = '\0';
    }
    char buffer[kLineBufferSize];
    const unsigned int a = m_byCameraAddress;
    if (Command(buffer, kCommandTimeoutUs, "#%02X48", a) != 1) return 0;
    const unsigned int option = hex2c(buffer + 7) & 0xFFu;
    info->cameraTypeByte = static_cast<unsigned char>(option == 2 ? 0 : option);
    info->word14 = 0;
    info->word16 = 0;
    info->word18 = kWord18;
    info->word22 = 0;
    for (auto& word : info->words184) word = 0;
    info->words184[kWord196Index] = kWord196;
    info->byte204 = 0;
    info->byte205 = 1;
    info->word206 = 0;
    info->word208 = 0;
    info->word316 = 0;
    if (Command(buffer, kCommandTimeoutUs, "#%02X97", a) != 1) return 0;
    const ModelCodes* model = FindModel(hex2c(buffer + 7));
    if (model == nullptr) return 0;
    info->classCode = model->classCode;
    info->variantCode = model->variant;
    if (Command(buffer, kCommandTimeoutUs, "#%02X91", a) != 1) return 0;
    info->serialNumber = hex2i(buffer + 7);
    std::memcpy(info->magic, "VINF", sizeof info->magic);
    info->version = kVendorVersion;
    return 1;
}

void CTWPort::GetControllersVersion(unsigned int& first, unsigned int& second) {
    first = 0;
    second = 0;
    char buffer[kLineBufferSize];
    if (Command(buffer, kCommandTimeoutUs, "#%02X97", static_cast<unsigned int>(m_byCameraAddress)) == 1) {
        first = hex2i(buffer + 9);
    }
}

unsigned int CTWPort::GetLatestFrameIndex(unsigned int* index) {
    char buffer[kLineBufferSize];
    if (Command(buffer, kCommandTimeoutUs, "#%02X45", static_cast<unsigned int>(m_byCameraAddress)) != 1) {
        if (index != nullptr) *index = 0;
        return 0;
    }
    const unsigned int first = hex2i(buffer + 7);
    const unsigned int last = hex2i(buffer + 15);
    if (index != nullptr) *index = (first == 0 && last == 0) ? 0 : last - first;
    return 1;
}

unsigned int CTWPort::ReadSysDataFromFlash(unsigned int which, unsigned int* value) {
    if (value != nullptr) *value = 0;
    if (which != 0) return 0;
    char buffer[kLineBufferSize];
    if (Command(buffer, kCommandTimeoutUs, "#%02X4D", static_cast<unsigned int>(m_byCameraAddress)) != 1)
        return 0;
    if (value != nullptr) *value = hex2i(buffer + 7);
    return 1;
}

unsigned int CTWPort::GetIpAddress(_ZP_ENUMITEMEX* item, unsigned int* address, unsigned int* second) {
    if (item == nullptr) return 0;
    char destination[32];
    char buffer[kLineBufferSize];
    const int identified = IdentifyCamera(*this, item, destination, buffer);
    if (identified < 0) return 0;
    const unsigned int a = static_cast<unsigned int>(identified);
    if (SendTo(*this, buffer, destination, kCommandTimeoutUs, "#%02X4D", a) != 1) return 0;
    const unsigned int first = hex2i(buffer + 7);
    if (SendTo(*this, buffer, destination, kCommandTimeoutUs, "#%02X4E", a) != 1) return 0;
    if (address != nullptr) *address = first;
    if (second != nullptr) *second = hex2i(buffer + 7);
    return 1;
}

unsigned int CTWPort::SetIpAddress(_ZP_ENUMITEMEX* item, unsigned int address, unsigned int second) {
    if (item == nullptr) return 0;
    char destination[32];
    char buffer[kLineBufferSize];
    const int identified = IdentifyCamera(*this, item, destination, buffer);
    if (identified < 0) return 0;
    const unsigned int a = static_cast<unsigned int>(identified);
    if (SendTo(*this, buffer, destination, kCommandTimeoutUs, "#%02X0102", a) != 1) return 0;
    if (SendTo(*this, buffer, destination, kCommandTimeoutUs, "#%02X4D", a) != 1) return 0;
    const unsigned int current = hex2i(buffer + 7);
    const unsigned int secondWord = address != 0 ? second : 0;
    // The order keeps the camera's address pair consistent at every step.
    if (current != 0) {
        if (SendTo(*this, buffer, destination, kAddressTimeoutUs, "#%02X4E%08X", a, secondWord) != 1)
            return 0;
        if (SendTo(*this, buffer, destination, kAddressTimeoutUs, "#%02X4D%08X", a, address) != 1) return 0;
    } else {
        if (SendTo(*this, buffer, destination, kAddressTimeoutUs, "#%02X4D%08X", a, address) != 1) return 0;
        if (SendTo(*this, buffer, destination, kAddressTimeoutUs, "#%02X4E%08X", a, secondWord) != 1)
            return 0;
    }
    return SendTo(*this, buffer, destination, kCommandTimeoutUs, "#%02X5F", a) == 1;
}
