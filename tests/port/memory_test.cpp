// Memory transfers, recorded segments, the firmware-information block and program steps over the
// binary frame: frames byte for byte in whole and split mode, chunking, copy rules, failures.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <vector>

#include "support/binary_camera.h"

namespace {

using zptest::Bytes;
using zptest::SentFrame;
using U = unsigned int;
using M = std::array<U, 4>;  // split-transfer word, firmware version, read granule, write granule
constexpr auto kMem = static_cast<ZP_MEM_TYPE>(7);
constexpr U kRead = 0x10000, kWrite = 0x20000, kDone = 0x40000, kLast = 0x200000;

// Response byte `at` of the model camera: differs by offset, part and second argument word.
unsigned char Fill(U at, const SentFrame& f) {
    return static_cast<unsigned char>(at * 7 + f.Part() + (f.frame.size() >= 16 ? f.Word(1) : 0));
}
const auto Pattern = [](U at) { return static_cast<unsigned char>(at / 3); };  // caller's bytes before a call

// Confirms recorded segments 2 and 5 (4 too, but with a bad status); reports 45 steps.
struct Camera : zptest::BinaryCamera {
    explicit Camera(M m = {}) {
        PortState()[4] = m[0], PortState()[0] = m[1], TransferLimits()[0] = m[2], TransferLimits()[1] = m[3];
        answer = [](const SentFrame& f, unsigned char* r) {
            for (int j = 8; j < f.responseSize; ++j) r[j] = Fill(j, f);
            const U index = f.Code() == 208 ? f.Word(0) : 0;  // other records carry a wrong index word
            if (index == 2 || index == 4 || index == 5) r[0] = index == 4, std::memcpy(r + 16, &index, 4);
            if (f.Code() == 216) r[13] = 45;  // the camera's control word: 45 steps
            return true;
        };
    }
};

Bytes buf(5000);
_PROGSTEPS_DATA prog;
unsigned char* const rec = reinterpret_cast<unsigned char*>(&prog);

// Expected frame: part selector, code, length field, response size asked, then the argument words.
using E = std::vector<U>;
// Operation: 'r'/'w' memory of n bytes at address (a, b); 's' segments with room for n, 'c' their
// count; 'f' the firmware block; 'p' program steps with control word a. The frames listed are the
// first of `exchanges` (0: all). Probes {at, frame, offset}: byte `at` of the caller's buffer (of
// the record for 'p') is the frame's response byte `offset`, or untouched for frame -1, or 0 for
// frame -2; for 'w' the frame's byte `offset` is buffer byte `at`.
struct Row {
    M mode;
    char op;
    U a, b, n, exchanges;
    std::vector<E> frames;
    std::vector<std::array<int, 3>> probes;
};

U Perform(Camera& c, const Row& r) {
    U n = r.n;
    for (U i = 0; i < buf.size(); ++i) buf[i] = Pattern(i);
    for (U i = 0; i < sizeof prog; ++i) rec[i] = Pattern(i);
    prog.header = 0xABCD, prog.control = r.a;
    if (r.op == 'r') return c.ReadMemory(kMem, r.a, r.b, buf.data(), n);
    if (r.op == 'w') return c.WriteMemory(kMem, r.a, r.b, buf.data(), n);
    if (r.op == 's') return c.ReadRecordedSegments(buf.data(), &n) * (n == 2 ? 1 : 100);  // 100: wrong count
    if (r.op == 'c') return c.ReadRecordedSegmentCount(&n) * (n == 2 ? 1 : 100);
    if (r.op == 'f') return c.ReadFwInfoStruct() && c.ReadFwInfo(buf.data(), 500);  // the block as cached
    return c.ConfigureSteps(&prog);
}

// A program-step frame: header word and control word first.
E Step(unsigned char part, U control, U length = 816, int response = 816) {
    return {part, 216, length, static_cast<U>(response), 0xABCD, control};
}
const U s45 = kWrite | 45 << 8, w45 = s45 | kDone | kLast | 5, s30 = kWrite | 30 << 8 | kDone, w30 = s30 | 3;
// clang-format off
const std::vector<Row> rows = {
    // Memory: the address carries into the high word; granules; split parts; a split write's tail moves up.
    {{}, 'r', 0xFFFFFC00, 1, 3000, 0,
     {{0, 213, 24, 2056, 7, 0xFFFFFC00, 1, 2048}, {0, 213, 24, 2056, 7, 0x400, 2, 952}},
     {{2047, 0, 2055}, {2048, 1, 8}, {2999, 1, 959}, {3000, -1, 0}}},
    {{}, 'r', 0, 0, 0, 0, {}, {}},  // nothing to read: 1 without an exchange
    {{0, 0, 600, 0}, 'r', 0, 0, 2000, 0,
     {{0, 213, 24, 2056, 7, 0, 0, 1800}, {0, 213, 24, 2056, 7, 1800, 0, 200}}, {}},
    {{1}, 'r', 0, 0, 1500, 0, {{16, 213, 24, 1448, 7, 0, 0, 1500}, {32, 213, 24, 616, 7, 0, 0, 1500}},
     {{1439, 0, 1447}, {1440, 1, 8}, {1499, 1, 67}, {1500, -1, 0}}},
    {{1}, 'r', 0, 0, 100, 0, {{16, 213, 24, 1448, 7, 0, 0, 100}, {32, 213, 24, 616, 7, 0, 0, 100}},
     {{1439, 0, 1447}, {1440, -1, 0}}},  // a short chunk still receives the whole first part
    {{0, 0, 600, 0}, 'w', 0, 0, 2100, 0,
     {{0, 214, 2072, 8, 7, 0, 0, 2048}, {0, 214, 2072, 8, 7, 2048, 0, 52}},
     {{2047, 0, 2071}, {2048, 1, 24}, {2099, 1, 75}}},
    {{1}, 'w', 0, 0, 1500, 0, {{16, 214, 1048, 8, 7, 0, 0, 1500}, {32, 214, 1048, 8, 7, 0, 0, 1500}},
     {{1023, 0, 1047}, {1024, 1, 24}, {1499, 1, 499}, {476, 1, 500}, {1023, 1, 1047}}},
    {{1}, 'w', 0, 0, 100, 0, {{16, 214, 1048, 8, 7, 0, 0, 100}, {32, 214, 1048, 8, 7, 0, 0, 100}},
     {{99, 1, 123}}},  // the second part of a short chunk carries its bytes again
    // Segments: 64 queries for room of 100, the records of 2 and 5 packed; the count asks 63.
    {{}, 's', 0, 0, 100, 64, {{0, 208, 16, 1036, 1, 0}, {0, 208, 16, 1036, 2, 0}},
     {{0, 1, 12}, {1023, 1, 1035}, {1024, 4, 12}, {2047, 4, 1035}, {2048, -1, 0}}},
    {{}, 'c', 0, 0, 0, 63, {{0, 208, 16, 1036, 1, 0}}, {}},
    {{}, 'f', 0, 0, 0, 0, {{0, 210, 8, 2056}}, {{0, 0, 8}, {127, 0, 135}, {128, -1, 0}}},
    {{1}, 'f', 0, 0, 0, 0, {{16, 210, 8, 1448}}, {}},
    // Older firmware: one frame; split asks 1448 bytes but 1608 are copied back.
    {{0, 161}, 'p', kRead | 7, 0, 0, 0, {Step(0, kRead | 7, 1616, 1616)},
     {{0, 0, 8}, {1607, 0, 1615}, {1608, -1, 0}}},
    {{1, 161}, 'p', kRead, 0, 0, 0, {Step(16, kRead, 1616, 1448)},
     {{1439, 0, 1447}, {1440, -2, 0}, {1607, -2, 0}, {1608, -1, 0}}},
    // Newer firmware: neither flag, one frame and no copy; writes of 45 and 30 steps; a read of 45.
    {{1, 162}, 'p', 45 << 8, 0, 0, 0, {Step(16, 45 << 8, 1616, 1448)}, {{8, -1, 0}, {1607, -1, 0}}},
    {{0, 162}, 'p', w45, 0, 0, 0, {Step(0, w45 & ~kDone, 1616, 1616), Step(0, s45 | 20, 1616, 1616),
     Step(0, s45 | 40 | kDone | kLast, 1616, 1616)}, {}},
    {{1, 162}, 'p', w30, 0, 0, 0, {Step(16, w30 & ~kDone), Step(32, w30 & ~kDone), Step(16, s30 | 20),
     Step(32, s30 | 20)}, {}},
    {{1, 162}, 'p', kRead, 0, 0, 0, {Step(16, kRead), Step(32, kRead), Step(16, kRead | 20),
     Step(32, kRead | 20), Step(16, kRead | 40), Step(32, kRead | 40)},
     {{0, 1, 8}, {8, 0, 16}, {807, 0, 815}, {808, 1, 16}, {2408, 3, 16}, {4807, 5, 815}}},
};
// clang-format on

TEST(MemoryFrames, EveryOperationItsFramesCopiesAndFailures) {
    for (const Row& row : rows) {
        Camera cam(row.mode);
        SCOPED_TRACE(&row - rows.data());
        EXPECT_EQ(Perform(cam, row), 1u);
        ASSERT_EQ(cam.sent.size(), row.exchanges ? row.exchanges : row.frames.size());
        for (std::size_t i = 0; i < row.frames.size(); ++i) {
            const E& e = row.frames[i];
            const SentFrame& f = cam.sent[i];
            unsigned long long head = 0;  // reserved, part, code, length field, reserved
            std::memcpy(&head, f.frame.data(), 8);
            EXPECT_EQ(head, e[0] << 16 | e[1] << 24 | static_cast<unsigned long long>(e[2]) << 32) << i;
            EXPECT_EQ(U(f.responseSize), e[3]) << i;
            for (U w = 4; w < e.size(); ++w) EXPECT_EQ(f.Word(w - 4), e[w]) << i;
            EXPECT_EQ(f.timeout, f.Code() == 216 ? 8000000 : 3000000) << i;
            // Program steps go out of the record in order, 20 to a frame or 10 when split.
            const U steps = f.frame.size() - 16;
            EXPECT_TRUE(f.Code() != 216 || (f.Word(1) & kWrite) == 0 ||
                        std::equal(f.frame.begin() + 16, f.frame.end(), rec + 8 + steps * i));
        }
        for (const auto& [at, frame, offset] : row.probes) {
            const U got =
                row.op == 'w' ? cam.sent[frame].frame[offset] : (row.op == 'p' ? rec : buf.data())[at];
            const bool fromCaller = frame == -1 || row.op == 'w';
            EXPECT_EQ(got, fromCaller ? Pattern(at) : frame == -2 ? 0 : Fill(offset, cam.sent[frame])) << at;
        }
        // Any failed exchange ends the operation at once with 0; the first leaves every output alone.
        for (U n = 1; n <= row.frames.size(); ++n) {
            Camera failing(row.mode);
            failing.failAt = static_cast<int>(n);
            std::memset(failing.FwInfo(), 0xAB, 128);  // a failure leaves nothing cached
            EXPECT_EQ(Perform(failing, row), 0u) << n;
            EXPECT_EQ(failing.sent.size(), n);
            for (U i = 0; i < buf.size() && n == 1; ++i)  // the buffer, and the record past its two words
                ASSERT_TRUE(buf[i] == Pattern(i) && (i < 8 || i >= sizeof prog || rec[i] == Pattern(i))) << i;
            EXPECT_TRUE(row.op != 'f' || Bytes(failing.FwInfo(), failing.FwInfo() + 128) == Bytes(128, 0));
        }
    }
}

}  // namespace
