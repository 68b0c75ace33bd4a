// Settings, filter and tone-table uploads checked frame by frame against the binary test camera.
#include <gtest/gtest.h>
#include <zpport/ColorMatrix.h>

#include <fstream>
#include <map>
#include <string>
#include <tuple>
#include <vector>

#include "support/binary_camera.h"
#include "support/temp_dir.h"

namespace {

using zptest::BinaryCamera;
using U = unsigned int;

// A settings record whose word at byte position p holds p (every field differs from a zero record),
// then the given (position, value) changes.
struct Settings {
    U words[256];
    explicit Settings(const std::vector<std::pair<U, U>>& changes = {}) {
        for (U i = 0; i < 256; ++i) words[i] = 4 * i;
        for (const auto& change : changes) words[change.first / 4] = change.second;
    }
    U& operator[](U position) { return words[position / 4]; }
    _CAMERA_SETTINGS* Record() { return reinterpret_cast<_CAMERA_SETTINGS*>(words); }
};

std::string Text(const void* bytes, std::size_t size) {
    return std::string(static_cast<const char*>(bytes), size);
}

// Parameters as "parameter=value", or only the numbers of those in `only`; other frames as
// "#code/length", with both words of two-word commands.
std::string Frames(const BinaryCamera& camera, const std::string& only = "") {
    std::string out;
    for (const auto& f : camera.sent) {
        const std::string code = "#" + std::to_string(f.Code()) + "/" + std::to_string(f.frame.size());
        const std::string words =
            f.frame.size() < 16 ? "" : std::to_string(f.Word(0)) + "=" + std::to_string(f.Word(1));
        if (f.Code() == 7 && only.find(" " + std::to_string(f.Word(0)) + " ") != std::string::npos)
            out += std::to_string(f.Word(0)) + " ";
        if (only.empty())
            out += (f.Code() == 7 ? words : f.frame.size() == 16 ? code + ":" + words : code) + " ";
    }
    return out;
}

// The first upload of the numbered record on a model-22 camera of revision 124 with the extended
// parameters: every step in order.
const std::string kFirstUpload =
    "26=424 70=752 0=392 2=32 3=44 96=876 4=56 5=428 6=464 54=712 7=472 8=496 9=500 10=460 11=480 12=484 "
    "13=476 82=792 14=488 15=492 19=592 20=740 21=888 22=1036 43=36 25=468 16=504 41=408 88=852 89=856 "
    "87=844 78=788 71=784 31=508 27=412 28=452 29=456 30=432 46=548 83=796 32=436 33=512 34=516 35=520 "
    "36=440 37=524 38=528 39=532 40=444 57=720 102=888 97=812 56=448 113=940 58=716 59=556 60=560 61=564 "
    "62=568 98=816 #205/16:748=6528 64=728 66=736 67=740 68=744 69=748 65=732 72=756 77=776 81=780 "
    "73=760 74=764 75=768 76=772 114=924 115=928 44=540 45=544 86=808 90=860 91=864 92=868 108=916 "
    "100=404 101=552 109=800 103=892 126=936 104=59507592 110=58983296 111=54526780 112=836 #6/12 1=4 "
    "23=388 #25/300 ";

TEST(SettingsUpload, FailedCompleteOrderedAndPrimingUploads) {
    BinaryCamera camera;
    camera.Model() = {22, 0, 124, 0, {0, 0, 0, 0, 0, 8}};
    camera.WriteLongRegister(0x1111, 0);  // the 8-bit filter
    camera.answer = [](const zptest::SentFrame& f, unsigned char*) { return f.Word(0) != 5; };
    EXPECT_EQ(0u, camera.WriteData2(Settings().words, 1024));  // five attempts at parameter 5, then the end
    camera.answer = nullptr;  // nothing was remembered: every change goes out again
    EXPECT_EQ(1u, camera.WriteData2(Settings().words, 1024));
    // The longer period goes first; nothing else changed.
    EXPECT_EQ(1u, camera.WriteData2(Settings({{4, 3000}, {388, 2000}}).words, 1024));
    Settings priming({{0, 0xFFFFFFFF}, {720, 9}});  // only remembered
    EXPECT_EQ(1u, camera.WriteData2(priming.words, 1024));
    EXPECT_EQ(kFirstUpload.substr(0, kFirstUpload.find("6=464")) + "5=428 5=428 5=428 5=428 " + kFirstUpload +
                  "23=2000 1=3000 #25/300 ",
              Frames(camera));
    EXPECT_EQ(1024u, priming[0]);
    EXPECT_EQ(Text(priming.words, 1024), Text(camera.LastSettings(), 1024));
}

TEST(SettingsUpload, ModelFeatureAndToneBranches) {
    // Facts (model, clock, revision, feature word, flags, capability, variant, model
    // option, gain keep, 12-bit, 10/12-bit); positions 44, 464, 840; the tone computation's gain, boost,
    // stored-table flag and output bits, the first table address; which of the model-dependent
    // parameters 16 88 87 78 71 31 48 51 72 90 103 are sent.
    const std::tuple<BinaryCamera::Facts, std::vector<U>, const char*> kCases[] = {
        {{9, 230000001, 124}, {8, 0, 0, 0x103, 1, 836, 10, 0xE000}, "16 88 87 78 71 31 72 "},
        {{11, 240000000}, {10, 1, 4, 0, 0, 836, 10, 0xC000}, "16 88 87 78 71 "},
        {{11, 240000000, 0, 0, {}, 0, 0, 1, 0, 1}, {12, 2, 7, 0x103, 0, 0, 12, 0}, "16 88 87 78 71 "},
        {{30, 0, 171, 0, {}, 0, 0, 0, 0, 0, 1}, {10, 3, 2, 0, 0, 0, 12, 0xA000}, "16 88 87 71 31 72 "},
        {{30, 0, 171, 0x800, {}, 0, 0, 0, 1}, {24, 0, 1, 3, 1, 836, 10, 0x6000}, "88 71 31 72 "},
        {{21, 0, 0, 0, {}, 0, 0, 0, 0, 0, 1}, {16, 2, 6, 3, 0, 0, 12, 0x8000}, "16 88 87 78 71 "},
        {{15}, {8, 0, 0, 3, 1, 836, 10, 0xE000}, "16 87 "},
        {{23, 0, 107, 0, {0, 0, 0, 0, 0, 8}}, {8, 0, 0, 3, 1, 836, 10, 0xE000}, "88 48 51 90 103 "},
    };
    for (const auto& [facts, c, expected] : kCases) {
        BinaryCamera camera;
        camera.Model() = facts;
        Settings s({{724, 0x80000000}, {392, 3}, {56, 1}, {44, c[0]}, {464, c[1]}, {840, c[2]}});
        EXPECT_EQ(1u, camera.WriteData2(s.words, 1024)) << expected;
        EXPECT_EQ(expected, Frames(camera, " 16 88 87 78 71 31 48 51 72 90 103 ")) << facts.modelCode;
        U matrix[9], input[9] = {s[436], s[520], s[528], s[512], s[440], s[532], s[516], s[524], s[444]};
        unsigned short identity[4096], table[4096];
        for (U i = 0; i < 4096; ++i) identity[i] = static_cast<unsigned short>(i);
        GBCHS(c[6], c[0], input, s[448], s[940], s[556], s[560], s[564], s[568], c[3], c[4], c[5], identity,
              matrix, table);
        const auto* ccmc = &camera.sent.at(camera.sent.size() - 6);  // then four table blocks and the TNK
        for (int i = 0; i < 9; ++i)                                  // 16.16 to 8 fraction bits
            EXPECT_EQ(U(((matrix[i] >> 16) + (matrix[i] & 0xFFFF) * 1.5258789e-05) * 256.0), ccmc->Word(i));
        for (U b = 0; b < 4; ++b) EXPECT_EQ(c[7] + 1024 * b, ccmc[1 + b].Word(0)) << facts.modelCode;
        for (U b = 0; b < 4; ++b) EXPECT_EQ(Text(table + 1024 * b, 2048), Text(&ccmc[1 + b].frame[16], 2048));
    }
}

TEST(SettingsUpload, FilterFlagsFollowTheRecordAndTheModel) {
    constexpr U kUnsent = ~0u;
    constexpr U kPositions[8] = {724, 872, 464, 880, 44, 32, 380, 412};
    struct Row {
        bool scale, twelve, tenTwelve;
        U capability;
        char variant;
        U at[8];     // the words at kPositions
        U p63, p93;  // the values sent as parameters 63 and 93
    };
    const Row kRows[] = {
        {0, 0, 0, 0, 0, 0x1234, 0x4000368, 464, 880, 44, 32, 380, 412, 0x5101400, 0x368},  // bit 31 clear
        {0, 0, 0, 0, 'L', 0, 0, 464, 880, 44, 32, 380, 412, 0x45100400, kUnsent},          // 872 unchanged
        {0, 0, 0, 0, 0, 0x80000000, 0x8000, 464, 880, 44, 0, 380, 412, 0x7100C03, 0x4000000},
        {1, 0, 0, 0, 0, 0x80080000, 0, 464, 880, 44, 1, 0, 0, 0x5180002, 0x4008000},
        {1, 1, 0, 0, 0, 0x80000000, 0, 2, 0, 12, 2, 380, 412, 0x6800803, 0x4000100},
        {0, 0, 1, 0x800000, 0, 0x80800000, 0x8000, 5, 880, 31, 3, 380, 412, 0x5100C03, 0x4000100},
        {0, 1, 0, 0, 0, 0x80800000, 0x100, 2, 1, 44, 0, 380, 412, 0x7100C03, 0x4000000},
        {0, 1, 0, 0, 0, 0x80800000, 0, 3, 880, 44, 0, 380, 412, 0x7100C03, 0x4004100},
        {0, 1, 0, 0, 0, 0x80000000, 0x100, 2, 0, 20, 0, 380, 412, 0x7900C03, 0x4000000},
    };
    for (const Row& r : kRows) {
        BinaryCamera camera;
        camera.Model().denoiseScale = r.scale;
        camera.Model().twelveBit = r.twelve;
        camera.Model().tenOrTwelveBit = r.tenTwelve;
        camera.Model().capability = r.capability;
        camera.Model().variant = r.variant;
        Settings s;
        for (int i = 0; i < 8; ++i) s[kPositions[i]] = r.at[i];
        EXPECT_EQ(1u, camera.WriteData2(s.words, 1024));
        std::map<U, U> sent;
        for (const auto& f : camera.sent)
            if (f.Code() == 7) sent[f.Word(0)] = f.Word(1);
        EXPECT_EQ(r.p63, sent.count(63) ? sent[63] : kUnsent) << std::hex << r.at[0];
        EXPECT_EQ(r.p93, sent.count(93) ? sent[93] : kUnsent) << std::hex << r.at[0];
        EXPECT_EQ(r.p63, s[724] & 0x7FFFFFFF);  // both words written back into the record
    }
}

TEST(FilterUpload, FailuresAreCachedAndTraced) {
    zptest::TempDir dir;
    BinaryCamera camera;
    camera.WriteLongRegister(0x1111, 0);
    camera.EnableTrace(7, dir.File("trace.log").c_str(), 1);
    int failures = 100;
    camera.answer = [&](const zptest::SentFrame&, unsigned char*) { return --failures < 0; };
    Settings s({{724, 0x80000000}, {720, 16}});
    EXPECT_EQ(1u, camera.SetFilter(s.Record()));  // the 8-bit filter: 1 whatever the camera answers
    U payload[73];                                // the matrix, then the 256-entry table
    ColorFilter(556, 560, 448, 940, 564, 568, payload, reinterpret_cast<unsigned char*>(payload + 9));
    EXPECT_EQ(Text(payload, 292), Text(&camera.sent.at(0).frame[8], 292));
    camera.WriteLongRegister(0x1111, 1);
    camera.Model().halfBlocks = true;
    EXPECT_EQ(0u, camera.SetFilter(s.Record()));  // the matrix fails
    EXPECT_EQ(0u, camera.SetFilter(s.Record()));  // the matrix is cached all the same; the table fails
    failures = 4;
    EXPECT_EQ(1u, camera.SendParameterEx(5, 428));  // at the fifth attempt
    EXPECT_EQ(1u, camera.SetFilter(s.Record()));    // the table was cached too: the threshold table alone
    EXPECT_EQ("#25/300 #27/48 #28/1040 5=428 5=428 5=428 5=428 5=428 #29/28 ", Frames(camera));
    EXPECT_EQ(Text("\0\0\0\0\6\5\5\4\4\3\3\3\3\2\2\2\1\1\1", 19), Text(&camera.sent[8].frame[8], 19));
    std::string log;
    std::getline(std::ifstream(dir.File("trace_0000000007.log")), log, '\0');
    EXPECT_LT(log.find("ERR: Send LUT cmd\r\n"), log.find("ERR: Send CCMC cmd\r\n"));
    EXPECT_LT(log.find("ERR: Send CCMC cmd\r\n"), log.rfind("ERR: "));
    EXPECT_EQ("ERR: Send Param(5,428) Attempt:4\r\n", log.substr(log.rfind("ERR: ")));
}

}  // namespace
