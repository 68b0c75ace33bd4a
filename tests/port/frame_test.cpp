// The binary frames of the camera information, session, status, register, parameter, acquisition,
// playback, timing, calibration, debug and flash block commands: bytes, response sizes, time-outs,
// outputs after an answer and after a failure, the multi-exchange sequences, and the base operations
// on the Ethernet port, which has no binary transport.
#include <gtest/gtest.h>
#include <zpport/TWPort.h>

#include <cstring>
#include <string>
#include <tuple>
#include <vector>

#include "support/binary_camera.h"

namespace {

using zptest::Bytes;
using U = unsigned int;
using P = CCamPort;
constexpr U kUnset = 0xAAAAAAAA;
constexpr int k3s = 3000000;

constexpr auto Byte = [](auto value) { return static_cast<unsigned char>(value); };
constexpr auto Flag = [](U* word) { return reinterpret_cast<unsigned char*>(word); };
constexpr auto I = [](U* word) { return reinterpret_cast<int*>(word); };
constexpr auto W = [](U at) {  // the response word at byte `at`, see Pattern
    return (at & 255) | ((at + 1) & 255) << 8 | ((at + 2) & 255) << 16 | ((at + 3) & 255) << 24;
};
// The response words from byte `at` on, `count` of them, then `zeros` zero words.
std::vector<U> Words(U at, U count, U zeros = 0) {
    std::vector<U> words(count + zeros, 0);
    for (U i = 0; i < count; ++i) words[i] = W(at + 4 * i);
    return words;
}

// The answer to every exchange: response byte i (after the status byte) is i mod 256.
bool Pattern(const zptest::SentFrame& sent, unsigned char* response) {
    for (int i = 1; i < sent.responseSize; ++i) response[i] = Byte(i);
    return true;
}

// Port state before a call: the camera's status byte, firmware version, video mode and signed
// state word, the pending preparation flag, a constraint on register 0x40 (clear 0x01, set 0x10),
// and split transfers.
struct State {
    U status = 0, firmware = 0, videoMode = 0, videoState = 0, pending = 0;
    bool constrained = false;
    U split = 0;
};

// The test camera with the status word that Attach reads and the state the operations consult.
class FrameCamera : public zptest::BinaryCamera {
public:
    U status2 = 0, status2Result = 1;
    U GetStatus2(U* value) override { return *value = status2, status2Result; }
    U& ToneFilterMode() { return m_dwDefaultOn; }
    U* ColorCache() { return m_dwColorMatrixCache; }
    // Answers with the pattern but for exchange `failing`; the 12-byte block holds 1..12.
    void Prepare(const State& state, U failing) {
        answer = Pattern, failAt = static_cast<int>(failing);
        status = Byte(state.status), m_dwPortState[0] = state.firmware, m_dwWords[0] = state.videoMode,
        m_dwWords[1] = state.videoState;
        m_dwPendingPrepare = state.pending;
        m_dwPortState[4] = state.split;
        for (int i = 0; i < 12; ++i) m_abyBlock12[i] = Byte(i + 1);
        _ZP_REGISTER_CONSTRAINT constraint{0x40, 0x01, 0x10};
        if (state.constrained) SetRegisterConstraints(&constraint, 1);
    }
};

// A command frame: code, length (8 + 4 x words, or `length` with zeros after the words), words,
// part selector.
Bytes Frame(unsigned char code, std::vector<U> words, std::size_t length = 0, unsigned char part = 0) {
    Bytes frame(8, 0);
    frame[2] = part, frame[3] = code;
    for (U word : words)
        frame.insert(frame.end(), {Byte(word), Byte(word >> 8), Byte(word >> 16), Byte(word >> 24)});
    frame.resize(std::max(length, frame.size()));
    frame[4] = Byte(frame.size()), frame[5] = Byte(frame.size() >> 8);
    return frame;
}
using Sent = std::tuple<Bytes, int, int>;  // frame, response size, time-out
std::vector<Sent> Log(const zptest::BinaryCamera& camera) {
    std::vector<Sent> log;
    for (const zptest::SentFrame& sent : camera.sent)
        log.emplace_back(sent.frame, sent.responseSize, sent.timeout);
    return log;
}

// One call per row; `o` points to its outputs (kUnset words before the call).
#define OP(call) []([[maybe_unused]] P& p, [[maybe_unused]] U* o) { return p.call; }
struct Row {
    const char* name;
    U (*op)(P& p, U* o);
    std::vector<Sent> sent;
    std::vector<U> ok = {};  // the first output words after every exchange was answered
    U results = 1;           // bit 0: the result when all is answered; bit n: when exchange n fails
    State state = {};
    U failed = kUnset;   // each of the output words after a failure
    bool keeps = false;  // a failed exchange keeps the pending preparation flag
};
const std::vector<U> kData(512, kUnset);  // the caller's block as the rows find it
// clang-format off
const std::vector<Row> kRows = {
    {"ReadCameraInfo", OP(ReadCameraInfo(7, o, o + 1)), {{Frame(2, {7}), 16, k3s}}, {W(8), W(12)}},
    {"ReadCameraName", OP(ReadCameraName(reinterpret_cast<char*>(o))), {{Frame(2, {50}), 264, k3s}}, {W(8)}},
    {"WriteCameraInfo", OP(WriteCameraInfo(1, 2, 3)), {{Frame(3, {1, 2, 3}), 8, 5000000}}},
    {"Attach", OP(Attach()), {{Frame(4, {}), 8, k3s}}},
    {"Detach", OP(Detach()), {{Frame(5, {}), 8, k3s}}},
    {"GetCameraStatus", OP(GetCameraStatus(*o)), {{Frame(14, {}), 16, k3s}}, {W(12)}},
    {"Trigger", OP(Trigger()), {{Frame(15, {}), 8, k3s}}},
    {"Reset", OP(Reset()), {{Frame(16, {}), 8, k3s}}},
    {"ReadLongRegister", OP(ReadLongRegister(0x1234, o)), {{Frame(204, {0x1234}), 12, k3s}}, {W(8)}, 1, {}, 0},
    {"WriteLongRegister", OP(WriteLongRegister(0x20, 0x55)), {{Frame(205, {0x20, 0x55}), 8, k3s}}},
    {"WriteLongRegister set", OP(WriteLongRegister(0x40, 0x03)), {{Frame(205, {0x40, 0x12}), 8, k3s}}, {}, 1, {0, 0, 0, 0, 0, true}},
    {"StartGrab 145", OP(StartGrab(1, 2, 3, 4, 5)), {{Frame(11, {1, 2, 3, 4, 5}), 8, k3s}}, {}, 1, {0, 145}},
    {"StartGrab 146", OP(StartGrab(1, 2, 3, 4, 5)), {{Frame(11, {1, 2, 3, 5, 5}), 8, k3s}}, {}, 1, {0, 146}},
    {"StartGrab 148", OP(StartGrab(1, 2, 3, 4, 5)), {{Frame(11, {1, 2, 3, 5, 5}), 8, k3s}}, {}, 1, {0, 148}},
    {"StartGrab 149", OP(StartGrab(1, 2, 3, 4, 5)), {{Frame(11, {1, 2, 3, 4, 5}), 8, k3s}}, {}, 1, {0, 149}},
    {"StartGrab pending", OP(StartGrab(1, 2, 3, 4, 5)), {{Frame(207, {0}), 8, k3s}, {Frame(11, {1, 2, 3, 4, 5}), 8, k3s}}, {}, 0b11, {0, 0, 0, 0, 1}},
    {"StopGrab", OP(StopGrab(o)), {{Frame(12, {}), 12, k3s}}, {W(8)}},
    {"GetTriggerPos", OP(GetTriggerPos(o, o + 1)), {{Frame(13, {}), 20, k3s}}, {W(8), W(16)}},
    {"ReadToVideo 3 +", OP(ReadToVideo(1, 2, 3)), {{Frame(30, {1, 2, 3, 0, 0, 0}), 8, k3s}}, {}, 1, {0, 0, 3, 0x7FFFFFFF}},
    {"ReadToVideo 2 -", OP(ReadToVideo(1, 2, 3)), {{Frame(30, {1, 2, 3, 0, 0, 0}), 8, k3s}}, {}, 1, {0, 0, 2, ~0u}},
    {"ReadToVideo 3 -", OP(ReadToVideo(1, 2, 3)), {{Frame(30, {1, 2, 3, 0x04030201, 0x08070605, 0x0C0B0A09}), 8, k3s}}, {}, 1, {0, 0, 3, ~0u}},
    {"PlayBackVideo", OP(PlayBackVideo(1, 2, 3, 4, 5, 6)), {{Frame(32, {1, 2, 3, 4, 5, 6, 5}), 8, k3s}}},
    {"PlayBackVideo 0 0", OP(PlayBackVideo(1, 2, 3, 4, 0, 0)), {{Frame(32, {1, 2, 3, 4, 0, 0, 1}), 8, k3s}}},
    {"PlayBackVideo 0 7", OP(PlayBackVideo(1, 2, 3, 4, 0, 7)), {{Frame(32, {1, 2, 3, 4, 0, 7, 0}), 8, k3s}}},
    {"PlayBackVideoStatus", OP(PlayBackVideoStatus(o, Flag(o + 1), Flag(o + 2))), {{Frame(33, {}), 40, k3s}}, {W(32), 0xAAAAAA24, 0xAAAAAA25}},
    {"GetTime", OP(GetTime(o, I(o + 1), o + 2, I(o + 3), o + 4)), {{Frame(35, {}), 28, k3s}}, {W(8), W(12), W(16), W(20), W(24)}},
    {"GetTime status 1", OP(GetTime(o, I(o + 1), o + 2, I(o + 3), o + 4)), {{Frame(35, {}), 28, k3s}}, {kUnset, kUnset, kUnset, kUnset, kUnset}, 0, {1}},
    {"ReadTemperature", OP(ReadTemperature(o, o + 1)), {{Frame(39, {}), 12, k3s}}, {8 * 100 + 9, 10 * 100 + 11}},
    {"ReadTemperature status 1", OP(ReadTemperature(o, o + 1)), {{Frame(39, {}), 12, k3s}}, {kUnset, kUnset}, 0, {1}},
    {"SetPllPhase", OP(SetPllPhase(8, 9)), {{Frame(215, {8, 9}), 8, k3s}}},
    {"SendTiming", OP(SendTiming(o)), {{Frame(211, std::vector<U>(10, kUnset)), 8, k3s}}},
    {"WriteCurrCalib", OP(WriteCurrCalib(1, 2, 3, 4, o)), {{Frame(212, [] { std::vector<U> w = {1, 3, 4}; w.insert(w.end(), 384, kUnset); w.push_back(2); return w; }()), 8, k3s}}},
    {"WriteClockSpeed", OP(WriteClockSpeed(10, 20, o)), {{Frame(7, {84, 10}), 8, k3s}, {Frame(7, {85, 20}), 8, k3s}, {Frame(2, {5}), 16, k3s}}, {W(8)}, 0b1001},
    {"Debug 0x105", OP(Debug(0x105, 8, o)), {{Frame(202, {0x105, 0, 0, kUnset, kUnset}, 1044), 1040, 20000000}}, {W(16), W(20), kUnset}},
    {"Debug 0x600", OP(Debug(0x600, 4, o)), {{Frame(202, {0x600, 0, 0, kUnset}, 1044), 1040, 6000000}}, {W(8), kUnset}},
    {"Debug 1025 bytes", OP(Debug(0x600, 1025, o)), {}, {kUnset}, 0},
    {"GetParameter", OP(GetParameter(0x0102A3, *I(o))), {{Frame(6, {0x0102A3}), 12, k3s}}, {W(8)}},
    {"SetParameter", OP(SetParameter(44, -2)), {{Frame(7, {44, 0xFFFFFFFE}), 8, k3s}}},
    {"SendParameter", OP(SendParameter(63, 0x80000003)), {{Frame(7, {63, 0x80000003}), 8, k3s}}},
    {"GetBrocParameter", OP(GetBrocParameter(0x305, o)), {{Frame(34, {0x305}), 1032, k3s}}, Words(8, 256)},
    {"GetPortBrocParameter", OP(GetPortBrocParameter(ZPP_BROC_LEN, o)), {{Frame(34, {40}), 1032, k3s}}, {W(8)}},  // the identifier itself selects the block
    {"FlashOperation 101", OP(FlashOperation(101, o)), {{Frame(207, {0}), 8, k3s}}, {}, 1, {0, 0, 0, 0, 1}, kUnset, true},
    {"FlashOperation", OP(FlashOperation(7, o)), {{Frame(199, [] { auto w = kData; w.insert(w.begin(), 7); return w; }()), 2060, k3s}}, Words(12, 512)},
    {"FlashOperation split", OP(FlashOperation(7, o)), {{Frame(199, [] { auto w = kData; w[0] = 7; w.resize(360); return w; }(), 0, 16), 1448, k3s}}, [] { auto w = Words(12, 359, 1); w.push_back(kUnset); return w; }(), 1, {0, 0, 0, 0, 0, false, 1}},  // 1436 bytes, 4 zeros, no more
};
// clang-format on
// Base operations of the other concerns: they too fail on a port without a binary transport.
const std::vector<U (*)(P&, U*)> kOtherOperations = {
    OP(ReadMemory(ZP_MEM_TYPE(1), 0, 0, o, 256)), OP(WriteMemory(ZP_MEM_TYPE(1), 0, 0, o, 256)),
    OP(ReadRecordedSegments(Flag(o + 1), (*o = 2, o))), OP(ReadFwInfoStruct()),
    OP(ConfigureSteps(reinterpret_cast<_PROGSTEPS_DATA*>(o)))};

// Every row with every exchange answered, then with each exchange in turn failing (the result 0
// unless the row says otherwise, nothing sent after it, no output written); and on the Ethernet
// port, whose binary transport is the base's, every operation it does not override fails.
TEST(FrameCommands, FramesOutputsAndFailures) {
    const std::string ownOperations = "ReadCameraInfo Attach Trigger Reset StopGrab";
    CTWPort port;
    for (const Row& row : kRows) {
        SCOPED_TRACE(row.name);
        for (U failAt = 0; failAt <= row.sent.size(); ++failAt) {
            FrameCamera camera;
            camera.Prepare(row.state, failAt);
            std::vector<U> out(1024, kUnset);
            const U result = row.op(camera, out.data());
            out.resize(row.ok.size());
            EXPECT_EQ(result, row.results >> failAt & 1) << failAt;
            EXPECT_EQ(out, failAt == 0 && result ? row.ok : std::vector<U>(row.ok.size(), row.failed))
                << failAt;
            ASSERT_EQ(camera.sent.size(), failAt == 0 || result ? row.sent.size() : failAt);
            EXPECT_EQ(Log(camera),
                      std::vector<Sent>(row.sent.begin(), row.sent.begin() + camera.sent.size()));
            EXPECT_EQ(camera.PendingPrepare(), row.keeps && failAt != 0 ? 1u : 0u);
        }
        // The Ethernet port's own versions of some operations use its text protocol: not called here.
        const bool own = ownOperations.find(row.name) != std::string::npos;
        EXPECT_EQ(own ? 0u : row.op(port, std::vector<U>(1024, kUnset).data()), 0u);
    }
    for (auto op : kOtherOperations) EXPECT_EQ(op(port, std::vector<U>(2048, kUnset).data()), 0u);
    EXPECT_EQ(port.WriteLongRegister(0x1111, 9), 1u);
}

// Status 9 and 10 of a refused attach set their error codes; a camera already attached (3 or 4 in
// the upper half of its status word, read successfully) keeps the register shadow and colour-matrix
// cache, any other attach clears both.
TEST(FrameCommands, AttachStatusCasesAndCaches) {
    // clang-format off
    for (auto [status, failAt, word, read, result, error, kept] : std::vector<std::tuple<int, int, U, U, U, U, bool>>{
             {9, 1, 0, 1, 0, 2010, true}, {10, 1, 0, 1, 0, 6, true}, {5, 1, 0, 1, 0, 77, true},
             {0, 0, 0x30000, 1, 1, 77, true}, {0, 0, 0x4FFFF, 1, 1, 77, true},
             {0, 0, 0x50003, 1, 1, 77, false}, {0, 0, 0x30000, 0, 1, 77, false}}) {
        // clang-format on
        FrameCamera p;
        p.status = Byte(status), p.failAt = failAt, p.status2 = word, p.status2Result = read;
        p.ErrorCode() = 77;
        std::memset(p.RegisterShadow(), 0x12, 1024);
        std::memset(p.ColorCache(), 0x12, 36);
        EXPECT_EQ(p.Attach(), result);
        EXPECT_EQ(p.ErrorCode(), error);
        EXPECT_EQ(std::count(p.RegisterShadow(), p.RegisterShadow() + 1024, kept ? 0x12 : 0xFF), 1024);
        EXPECT_EQ(std::count(Flag(p.ColorCache()), Flag(p.ColorCache()) + 36, kept ? 0x12 : 0xFF), 36);
    }
}

TEST(FrameCommands, PseudoRegisterErrorCodesAndCrc7) {
    FrameCamera p;
    EXPECT_EQ(p.WriteLongRegister(0x1111, 0), 1u);
    EXPECT_EQ(p.ToneFilterMode(), 0u);
    EXPECT_TRUE(p.sent.empty());
    for (auto [code, expected] : std::vector<std::pair<U, U>>{{9999, 0}, {10000, 4}, {10002, 6}, {10003, 0}})
        EXPECT_EQ(p.ConvertHwErrorCode(code), expected);
    unsigned char reset[5] = {0x40, 0, 0, 0, 0};
    EXPECT_EQ(P::CRC7(0, reset, 5), 0x95);
    EXPECT_EQ(P::CRC7(0x12, reset, 0), 0x25);
}

}  // namespace
