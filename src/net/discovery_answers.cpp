// Discovery datagrams without sockets: the binary request and the readers of both answer forms.
#include "net/discovery_answers.h"

#include <cstdio>
#include <cstring>

#include "os/text_copy.h"
#include "zpport/AddressText.h"

namespace zpnet {

namespace {

constexpr size_t kTypeAt = 8;
constexpr size_t kTypeFlagAt = 12;
constexpr size_t kSerialAt = 16;
constexpr size_t kFwVersionAt = 20;
constexpr size_t kFwVersion2At = 24;
constexpr size_t kModelAt = 30;  // 16-bit
constexpr size_t kWord18At = 32;
constexpr size_t kMacHighAt = 36;
constexpr size_t kMacLowAt = 40;
constexpr size_t kExtraWordAt = 48;
constexpr size_t kLinkWordAt = 52;

uint32_t Word32(const unsigned char* data, size_t at) {
    return static_cast<uint32_t>(data[at]) | (static_cast<uint32_t>(data[at + 1]) << 8) |
           (static_cast<uint32_t>(data[at + 2]) << 16) | (static_cast<uint32_t>(data[at + 3]) << 24);
}

uint32_t Word16(const unsigned char* data, size_t at) {
    return static_cast<uint32_t>(data[at]) | (static_cast<uint32_t>(data[at + 1]) << 8);
}

CameraKind RefineType10(unsigned int model) {
    if (model > 9) return {24, model - 9};
    if (model > 6) return {22, model - 6};
    if (model > 4) return {9, model - 4};
    return {10, model};
}

CameraKind RefineType19(unsigned int model) {
    if (model == 4 || model == 11) return {18, model == 4 ? 3u : 4u};
    if (model >= 8) return {25, model == 12 ? 4u : model - 7};
    if (model >= 5) return {23, model - 4};
    return {19, model};
}

// The text inside "[...]" of an adapter field, or the text as it is.
void CopyUnbracketed(char* out, size_t size, const char* text) {
    const char* start = text[0] == '[' ? text + 1 : text;
    size_t length = strnlen(start, size - 1);
    const char* close = static_cast<const char*>(std::memchr(start, ']', length));
    if (close != nullptr) length = static_cast<size_t>(close - start);
    std::memcpy(out, start, length);
    out[length] = '\0';
}

}  // namespace

void BuildBinaryRequest(unsigned char (&request)[kBinaryRequestSize]) {
    const unsigned char bytes[kBinaryRequestSize] = {0x01, 0x00, 0x08, 0x01, 0x08, 0x00, 0x00, 0x00};
    std::memcpy(request, bytes, sizeof bytes);
}

CameraKind RefineCameraType(unsigned int type, unsigned int model) {
    switch (type) {
        case 10:
            return RefineType10(model);
        case 19:
            return RefineType19(model);
        case 28:
            if (model == 8) return {33, 0};
            if (model > 3) return {32, model - 3};
            break;
        case 31:
            if (model == 5 || model == 6) return {model == 5 ? 34u : 35u, 0};
            break;
        case 30:
            if (model == 6) return {36, 0};
            break;
        default:
            break;
    }
    return {type, model};
}

bool IsAcceptedType(int protocol, unsigned int type) {
    if (protocol == 0) return type == 9 || type == 10 || type == 11 || type == 21 || type == 26;
    return (type >= 18 && type <= 20) || (type >= 27 && type <= 32);
}

bool ReadBinaryAnswer(const unsigned char* answer, int protocol, _ZP_ENUMITEMEX& item) {
    const unsigned int type = Word32(answer, kTypeAt);
    if (answer[0] != 0 || !IsAcceptedType(protocol, type)) return false;
    std::memset(&item, 0, sizeof item);
    item.cameraType = type;
    item.typeFlag = Word32(answer, kTypeFlagAt);
    item.serialNumber = Word32(answer, kSerialAt);
    item.fwVersion = Word32(answer, kFwVersionAt);
    item.fwVersion2 = Word32(answer, kFwVersion2At);
    item.viWord18 = Word32(answer, kWord18At);
    item.macHigh = Word32(answer, kMacHighAt);
    item.macLow = Word32(answer, kMacLowAt);
    item.extraWord = Word32(answer, kExtraWordAt);
    item.linkFlag = (type >= 27 && type <= 32 && Word32(answer, kLinkWordAt) == 4) ? 5 : 1;
    const unsigned int model = Word16(answer, kModelAt);
    if (model != 0) {
        const CameraKind kind = RefineCameraType(type, model);
        item.cameraType = kind.type;
        item.modelNumber = kind.model;
    }
    return true;
}

bool ReadAsciiAnswerLine(const char* line, size_t length, unsigned char& address) {
    if (length < 7 || line[5] != '5' || line[6] != '4') return false;
    char digits[2] = {line[1], line[2]};
    address = static_cast<unsigned char>(hex2c(digits) & 0xFFu);
    return true;
}

void FillAddressFields(_ZP_ENUMITEMEX& item, uint32_t senderHostOrder, const char* senderText,
                       const _NET_AD_DESCR& adapter) {
    item.ipAddress = senderHostOrder;
    std::snprintf(item.ipText, sizeof item.ipText, "%s", senderText);
    CopyUnbracketed(item.adapterIpText, sizeof item.adapterIpText, adapter.ipText);
    CopyUnbracketed(item.adapterMaskText, sizeof item.adapterMaskText, adapter.maskText);
    zpos::CopyText(item.adapterMacText, adapter.macText);
}

bool CameraNameFromAnswer(const char* answer, char* name, size_t nameSize) {
    const char* last = std::strrchr(answer, '"');
    if (last == nullptr || nameSize == 0) return false;
    const char* first = last;
    while (first > answer && *(first - 1) != '"') --first;
    if (first == answer) return false;
    zpos::CopyText(name, nameSize, first, static_cast<size_t>(last - first));
    return true;
}

}  // namespace zpnet
