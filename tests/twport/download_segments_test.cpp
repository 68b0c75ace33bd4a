// The pure pieces of the image download: control words, ports, request lines, rate steps, tone
// table, request words, and the train bookkeeping fed datagram by datagram.
#include "twport/download_segments.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace zptw {
namespace {

TEST(DownloadSegments, ControlWordKindsAndSequence) {
    const struct {
        std::uint32_t word;
        DatagramKind kind;
        std::uint32_t sequence;
    } cases[] = {
        {0x00000000u, DatagramKind::kBorder, 0},      {0x40000000u, DatagramKind::kInformation, 0},
        {0x00000001u, DatagramKind::kSegment, 1},     {0x00012345u, DatagramKind::kSegment, 0x12345},
        {0x80000007u, DatagramKind::kLastSegment, 7}, {0xC0000003u, DatagramKind::kSegment, 3},
        {0x3C000001u, DatagramKind::kSegment, 1},     {0x83FFFFFFu, DatagramKind::kLastSegment, 0x3FFFFFF},
        {0x04000000u, DatagramKind::kSegment, 0}};
    for (const auto& c : cases) {
        const ControlWord control = DecodeControlWord(c.word);
        EXPECT_EQ(c.kind, control.kind) << std::hex << c.word;
        EXPECT_EQ(c.sequence, control.sequence) << std::hex << c.word;
    }
    const unsigned char bytes[4] = {0x80, 0x00, 0x01, 0x02};
    EXPECT_EQ(0x80000102u, BigEndianWord(bytes));
}

TEST(DownloadSegments, DataPortPerAttempt) {
    EXPECT_EQ(1335, DataPort(false, 0x0A, 0, 0));
    EXPECT_EQ(1337, DataPort(false, 0x0A, 1, 0));
    EXPECT_EQ(1345, DataPort(false, 0x0A, 5, 7));  // the selector is for live ports only
    EXPECT_EQ(1334, DataPort(true, 0x0A, 0, 0));
    EXPECT_EQ(1336, DataPort(true, 0x0A, 1, 0));
    EXPECT_EQ(1342, DataPort(true, 0x0A, 0, 1));
    EXPECT_EQ(2 * (0xFF + 3) + 1315, DataPort(false, 0xFF, 3, 0));
}

TEST(DownloadSegments, RequestLinesHaveNoLineEnd) {
    EXPECT_EQ("#0A88000003F20537", DownloadRequestLine(0x0A, 1010, 1335));
    EXPECT_EQ("#FF88FFFFFFFF0001", DownloadRequestLine(0xFF, 0xFFFFFFFFu, 1));
    EXPECT_EQ("#0A8C010536", LiveRequestLine(0x0A, 1334));
}

TEST(DownloadSegments, RateRisesBy1000UpTo65534) {
    const struct {
        unsigned int current, value;
        bool send;
    } cases[] = {{5000, 6000, true},   {0, 1000, true},           {64534, 65534, true},
                 {64535, 65534, true}, {65000, 65534, true},      {65534, 65534, false},
                 {65535, 65534, true}, {0xFFFFFF00u, 0x2E8, true}};  // 32-bit wrap kept
    for (const auto& c : cases) {
        const RateStep step = RaisedNetPerf(c.current);
        EXPECT_EQ(c.value, step.value) << c.current;
        EXPECT_EQ(c.send, step.send) << c.current;
    }
}

TEST(DownloadSegments, RateFallsBy1000OrBackToTheBase) {
    const struct {
        unsigned int current, base, value;
        bool send;
    } cases[] = {{5500, 5000, 5000, true},  {7000, 5000, 6000, true}, {6000, 5000, 5000, true},
                 {5000, 5000, 5000, false}, {4000, 5000, 5000, true}, {1000, 0, 0, true}};
    for (const auto& c : cases) {
        const RateStep step = LoweredNetPerf(c.current, c.base);
        EXPECT_EQ(c.value, step.value) << c.current << " " << c.base;
        EXPECT_EQ(c.send, step.send) << c.current << " " << c.base;
    }
}

TEST(DownloadSegments, ToneTableTakesTheEntryShiftedRightByTwo) {
    BORDER_DATA border{};
    for (int k = 0; k < 256; ++k) border.ToneTable[k] = static_cast<std::uint16_t>(((255 - k) << 2) | 3);
    border.ToneTable[7] = 0xFFFF;  // only the low 8 bits of 0x3FFF are kept
    unsigned char data[] = {0, 1, 7, 200, 255};
    ApplyToneTable(data, sizeof data, border);
    EXPECT_EQ((std::vector<unsigned char>{255, 254, 0xFF, 55, 0}),
              std::vector<unsigned char>(data, data + 5));
}

TEST(DownloadSegments, RequestWordsAndGeometry) {
    const unsigned char words[12] = {1, 0, 0, 0, 0x34, 0x12, 0, 0, 5, 0, 0, 0x80};
    const ReadRequest request = ReadRequestWords(words);
    EXPECT_EQ(1u, request.liveMode);
    EXPECT_EQ(0x1234u, request.frameNumber);
    EXPECT_EQ(0x80000005u, request.readFlags);
    BORDER_DATA border{};
    border.SensorType = 1;
    border.Width2 = 1504;
    border.Height2 = 1128;
    border.Word301 = 90;
    border.Word299 = 2;
    const FrameGeometry g = GeometryOf(border);
    EXPECT_EQ(1504, g.width);
    EXPECT_EQ(1128, g.height);
    EXPECT_EQ(3, g.components);
    EXPECT_EQ(90, g.quality);
    EXPECT_EQ(2, g.subsampling);
    border.SensorType = 2;
    EXPECT_EQ(1, GeometryOf(border).components);
}

// Feeds datagrams as ImageFunction does: each lands at the current position of the image buffer,
// whatever does not fit goes to the spill area. (Whole trains through a socket: see the
// ImageFunction tests.)
class Feeder {
public:
    explicit Feeder(std::size_t capacity) : image(capacity, 0), train(capacity) {}
    TrainProgress::Step Feed(const std::string& datagram) {
        const std::size_t head = std::min(train.Remaining(), datagram.size());
        std::copy(datagram.begin(), datagram.begin() + static_cast<long>(head),
                  image.begin() + train.Position());
        std::vector<unsigned char> spill(datagram.begin() + static_cast<long>(head), datagram.end());
        const DatagramView view{image.data() + train.Position(), head, spill.data(), datagram.size()};
        return train.Accept(view, border);
    }
    std::vector<unsigned char> image;
    TrainProgress train;
    unsigned char border[BORDER_DATA_SIZE] = {};
};

std::string Word(std::uint32_t w) {
    return {static_cast<char>(w >> 24), static_cast<char>(w >> 16), static_cast<char>(w >> 8),
            static_cast<char>(w)};
}
std::string Seg(const std::string& payload, std::uint32_t control) {
    return payload + std::string(4, '\0') + Word(control);
}
std::string Info(std::uint32_t length) {
    return Word(length) + std::string(4, '\0') + Word(0x40000000u);
}

TEST(TrainProgress, SequenceGapsAndRepeatsAreOutOfOrder) {
    const std::vector<std::vector<std::uint32_t>> trains = {
        {1, 2, 0x80000004u}, {2, 0x80000003u}, {1, 1, 0x80000002u}, {1, 3, 2, 0x80000004u}};
    for (const auto& controls : trains) {
        Feeder f(64);
        for (std::uint32_t c : controls) f.Feed(Seg("xy", c));
        f.Feed(Info(2 * static_cast<std::uint32_t>(controls.size())));
        EXPECT_TRUE(f.train.Complete());
        EXPECT_TRUE(f.train.OutOfOrder()) << controls.size();
    }
}

}  // namespace
}  // namespace zptw
