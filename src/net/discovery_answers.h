// Discovery datagrams without sockets: the binary request, and reading the answers of the binary
// camera families and of the ASCII command port into enumeration items.
#ifndef ZP_NET_DISCOVERY_ANSWERS_H
#define ZP_NET_DISCOVERY_ANSWERS_H

#include <cstddef>
#include <cstdint>

#include "zpport/NetworkAdapters.h"
#include "zpport/ZpPortTW.h"

namespace zpnet {

constexpr size_t kBinaryRequestSize = 8;
constexpr char kAsciiRequest[] = "54\r\n";
constexpr size_t kAsciiRequestSize = 4;
// Answers are read from a buffer of this size whose first kClearedAnswerBytes are zero before the
// datagram is copied in, so every fixed position of a short answer reads as 0.
constexpr size_t kAnswerBufferSize = 1024;
constexpr size_t kClearedAnswerBytes = 512;

// The 8-byte request of protocols 0 and 1.
void BuildBinaryRequest(unsigned char (&request)[kBinaryRequestSize]);

// Camera type and model after the refinement by the model value.
struct CameraKind {
    unsigned int type;
    unsigned int model;
};
CameraKind RefineCameraType(unsigned int type, unsigned int model);

// Whether protocol 0 or 1 accepts this camera type.
bool IsAcceptedType(int protocol, unsigned int type);

// Reads a binary answer (kAnswerBufferSize bytes) into a cleared item; false when the answer is
// not one (status byte set or type not accepted). Address fields are left to FillAddressFields.
bool ReadBinaryAnswer(const unsigned char* answer, int protocol, _ZP_ENUMITEMEX& item);

// An ASCII answer line (without its line feed): "54" at positions 5 and 6; address holds the
// camera address byte from positions 1 and 2. False for any other line.
bool ReadAsciiAnswerLine(const char* line, size_t length, unsigned char& address);

// The sender's address and the adapter's texts, as every new item carries them.
void FillAddressFields(_ZP_ENUMITEMEX& item, uint32_t senderHostOrder, const char* senderText,
                       const _NET_AD_DESCR& adapter);

// The camera's own name in a Camera ID answer: the text between its last two double quotes.
// False (name untouched) when the answer holds fewer than two.
bool CameraNameFromAnswer(const char* answer, char* name, size_t nameSize);

}  // namespace zpnet

#endif  // ZP_NET_DISCOVERY_ANSWERS_H
