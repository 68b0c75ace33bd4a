// Camera parameters over the binary frame: the translation of the library's identifiers, the special
// identifiers, the register constraints and the sensor tables (the frames of commands 6, 7 and 34 are
// in the frame table).
#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <vector>

#include "support/binary_camera.h"

namespace {

using zptest::BinaryCamera;
using zptest::SentFrame;
using U = unsigned int;

// Identifier:camera parameter number as the camera interface lists them; then the special
// identifiers 88, 89, 1052 and 1053 with the numbers they read outside camera types 27-36.
const char* const kTranslation =
    "0:0 1:1 2:2 3:3 4:4 5:7 6:5 7:6 8:43 10:10 11:17 12:18 13:19 14:20 15:21 16:22 17:23 19:25 20:13 "
    "22:12 23:14 24:15 25:8 27:16 28:31 33:100 34:41 35:26 36:27 37:56 38:28 39:29 40:30 42:42 43:44 "
    "44:45 46:49 47:50 52:54 54:57 55:58 56:59 57:60 58:61 59:62 60:32 61:33 62:34 63:35 64:36 65:37 "
    "66:38 67:39 68:40 69:55 70:64 71:65 72:66 73:67 74:68 75:69 76:70 77:72 78:73 79:74 80:75 81:76 "
    "82:77 83:81 85:71 86:78 91:109 93:86 94:97 97:112 99:87 101:90 102:91 103:92 104:98 106:102 107:103 "
    "112:46 113:105 114:108 116:500 117:114 119:124 120:126 123:113 1046:93 1047:88 1048:89 1055:106 "
    "1060:63 1061:84 1062:85 1064:80 2000:125 88:82 89:83 1052:52 1053:53";

// Answers with 0x1000 + the first argument word at byte 8, then byte i = i; the temperature
// command with the bytes 23 45 30 5.
bool Echo(const SentFrame& frame, unsigned char* response) {
    const U word = frame.Code() == 39 ? 0x051E2D17 : 0x1000 + (frame.frame.size() > 8 ? frame.Word(0) : 0);
    if (frame.responseSize >= 12) std::memcpy(response + 8, &word, 4);
    for (int i = 12; i < frame.responseSize; ++i) response[i] = static_cast<unsigned char>(i);
    return true;
}

TEST(Parameters, PortParametersReadTheTranslatedCameraNumber) {
    int pairs = 0, used = 0;
    U id = 0, number = 0;
    for (const char* p = kTranslation; std::sscanf(p, "%u:%u %n", &id, &number, &used) == 2; p += used) {
        BinaryCamera camera;
        camera.answer = Echo;
        U read = 0;
        EXPECT_EQ(1u, camera.GetPortParameter(static_cast<ZP_PARAM>(id), &read)) << id;
        EXPECT_EQ(6, camera.sent.at(0).Code()) << id;
        EXPECT_EQ(number, camera.sent[0].Word(0)) << id;
        EXPECT_EQ(0x1000 + number, read) << id;
        camera.failAt = 2;  // a failed read stores the initial 0
        EXPECT_EQ(0u, camera.GetPortParameter(static_cast<ZP_PARAM>(id), &read)) << id;
        EXPECT_EQ(0u, read) << id;
        ++pairs;
    }
    EXPECT_EQ(103, pairs);
}

TEST(Parameters, SpecialAndUnknownIdentifiers) {
    // Camera type, identifier, command sent (0: none), result, value read (5: untouched).
    const U kCases[][5] = {{27, 1052, 39, 1, 3005},  {36, 1053, 39, 1, 2345},  {31, 69, 39, 1, 2345},
                           {26, 1052, 6, 1, 0x1034}, {37, 1053, 6, 1, 0x1035}, {0, 69, 6, 1, 0x1037},
                           {0, 1007, 208, 0, 0},     {0, 9, 0, 0, 5},          {30, 29, 0, 0, 5},
                           {0, 84, 0, 0, 5},         {0, 131, 0, 0, 5},        {0, 1054, 0, 0, 5}};
    for (const auto& [type, id, code, result, expected] : kCases) {
        BinaryCamera camera;
        camera.CameraType() = type;
        camera.answer = Echo;  // no recorded segment matches its index
        U read = 5;
        EXPECT_EQ(result, camera.GetPortParameter(static_cast<ZP_PARAM>(id), &read)) << id;
        EXPECT_EQ(code, camera.sent.empty() ? 0u : camera.sent[0].Code()) << type << "/" << id;
        EXPECT_EQ(expected, read) << type << "/" << id;
    }
}

TEST(RegisterConstraints, LastMasksWinInRegisterOrderAndReachSendParameter) {
    BinaryCamera camera;
    _ZP_REGISTER_CONSTRAINT list[] = {{732, 0x01, 0x10}, {100, 1, 2}, {728, 0xF0, 0x0F}, {100, 0x0C, 0x34}};
    _ZP_REGISTER_CONSTRAINT out[3] = {};
    U count = 2;
    EXPECT_EQ(1u, camera.SetRegisterConstraints(list, 4));
    EXPECT_EQ(1u, camera.GetRegisterConstraints(out, &count));
    EXPECT_EQ(2u, count);  // the two lowest registers
    EXPECT_EQ((std::vector<U>{100, 0x0C, 0x34, 728, 0xF0, 0x0F, 0, 0, 0}),
              std::vector<U>(&out[0].reg, &out[0].reg + 9));
    EXPECT_EQ(0x12u, camera.ApplyRegisterConstraint(732, 0x03));
    EXPECT_EQ(0x33u, camera.ApplyRegisterConstraint(100, 0x0F));  // bits in both masks end up 0
    EXPECT_EQ(0x03u, camera.ApplyRegisterConstraint(101, 0x03));
    // Parameters 63 and 93 carry registers 732 and 728; others go as given.
    const U kSends[][3] = {{63, 0x03, 0x12}, {93, 0xFF, 0x0F}, {64, 0x03, 0x03}};  // parameter, value, sent
    for (const auto& [parameter, value, sent] : kSends) {
        EXPECT_EQ(1u, camera.SendParameter(parameter, value));
        EXPECT_EQ(sent, camera.sent.back().Word(1)) << parameter;
    }
    EXPECT_EQ(1u, camera.SetRegisterConstraints(nullptr, 5));
    EXPECT_EQ(1u, camera.GetRegisterConstraints(nullptr, &count));
    EXPECT_EQ(0u, count);
}

TEST(SensorTables, ModelAndBayerLayoutPerCameraType) {
    // Camera type, variant, colour, model, Bayer layout.
    const int kRows[][5] = {
        {0, 0, 1, 0, 0},   {1, 0, 0, 1, 1},   {2, 1, 1, 2, 0},   {3, 0, 0, 5, 1},   {4, 0, 0, 6, 0},
        {4, 0, 1, 7, 0},   {7, 0, 1, 0, 3},   {8, 0, 1, 7, 0},   {9, 0, 0, 5, 1},   {9, 1, 0, 9, 3},
        {9, 2, 0, 9, 3},   {9, 3, 0, 5, 1},   {10, 0, 0, 8, 3},  {10, 0, 1, 9, 3},  {11, 0, 2, 7, 0},
        {13, 0, 0, 4, 3},  {16, 0, 1, 3, 0},  {18, 0, 0, 5, 1},  {18, 2, 0, 5, 1},  {18, 3, 0, 9, 3},
        {18, -1, 0, 5, 3}, {21, 0, 0, 10, 3}, {24, 0, 0, 8, 3},  {26, 0, 0, 11, 2}, {27, 1, 0, 5, 1},
        {27, 4, 0, 9, 3},  {29, 0, 1, 7, 0},  {31, 0, 0, 12, 3}, {33, 0, 1, 9, 3},  {37, 0, 1, 0, 0}};
    for (const auto& [type, variant, colour, model, bayer] : kRows) {
        EXPECT_EQ(U(model), CCamPort::DetectSensorModel(type, variant, colour)) << type << ',' << variant;
        EXPECT_EQ(U(bayer), CCamPort::DetectBayerPattern(type, variant)) << type << ',' << variant;
    }
}

}  // namespace
