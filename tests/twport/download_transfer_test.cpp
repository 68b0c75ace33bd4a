// MyReadData and ReadData against a minimal in-test camera: request lines and data ports byte for
// byte, the format commands, retries with the rate rising and falling, give-up after six attempts,
// raw frames byte-exact (and through the tone table), JPEG frames decoded or returned as a stream,
// the live paths, and failures that must not wait for the image time-out.
#include <gtest/gtest.h>

#include <chrono>
#include <cmath>

#include "download_fake_camera.h"
#include "twport/tw_port_internal.h"
#include "vellum/Vellum.h"

namespace zptest {
namespace {

constexpr const char* kIp = "127.0.0.91";
constexpr int kWidth = 64, kHeight = 48;

unsigned int Words(std::vector<unsigned char>& buffer, unsigned int live, unsigned int frame,
                   unsigned int flags) {
    const unsigned int words[3] = {live, frame, flags};
    std::memcpy(buffer.data(), words, sizeof words);
    return static_cast<unsigned int>(buffer.size());
}

class Transfer : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(m_camera.Bound());
        m_port.StartTrace(::testing::UnitTest::GetInstance()->current_test_info()->name());
        m_port.m_dwState[zptw::kNetPerfCurrent] = 5000;
        m_port.m_dwState[zptw::kNetPerfBase] = 5000;
    }
    // Train of the n-th image request; the default is a good raw frame.
    virtual Train TrainFor(int request) {
        if (request < m_badRequests) {
            Train train = MakeTrain(m_border, m_image, 1000);
            train.erase(train.begin() + 2);  // segment 2 lost: 1, 3, ...
            return train;
        }
        return MakeTrain(m_border, m_image, 1000);
    }
    unsigned int Read(unsigned int live, unsigned int frame, unsigned int flags, std::size_t size = 8192) {
        m_buffer.assign(size, 0xEE);
        m_camera.Publish();
        return m_port.ReadData(m_buffer.data(), Words(m_buffer, live, frame, flags));
    }
    int MyRead(std::vector<unsigned char>& buffer, unsigned int* size, unsigned int live, unsigned int frame,
               unsigned short attempt) {
        m_camera.Publish();
        return m_port.MyReadData(buffer.data(), size, 0x0A, const_cast<char*>(kIp), live, frame, attempt);
    }

    std::string m_image = Pixels(kWidth * kHeight, 9);
    BORDER_DATA m_border = GreyBorder(kWidth, kHeight);
    int m_badRequests = 0;
    FakeCamera m_camera{kIp, [this](int request) { return TrainFor(request); }};
    DownloadPort m_port{kIp, 0x0A};
    std::vector<unsigned char> m_buffer;
};

TEST_F(Transfer, RecordedRequestFetchesTheFirstIndexOnceAndUsesThePortOfTheAttempt) {
    std::vector<unsigned char> buffer(8192);
    unsigned int size = static_cast<unsigned int>(buffer.size());
    ASSERT_EQ(0, MyRead(buffer, &size, 0, 1, 0));
    EXPECT_EQ(m_image.size(), size);
    EXPECT_EQ(m_image, std::string(buffer.begin(), buffer.begin() + size));
    size = static_cast<unsigned int>(buffer.size());
    ASSERT_EQ(0, MyRead(buffer, &size, 0, 2, 2));
    EXPECT_EQ((std::vector<std::string>{"#0A45\r\n", "#0A88000003E90537", "#0A88000003EA053B"}),
              m_camera.Lines());
}

TEST_F(Transfer, LiveRequestUsesTheLivePortAndForgetsTheFirstIndex) {
    m_port.m_dwState[zptw::kFirstFrameIndex] = 1000;
    std::vector<unsigned char> buffer(8192);
    unsigned int size = static_cast<unsigned int>(buffer.size());
    ASSERT_EQ(0, MyRead(buffer, &size, 1, 0, 1));
    EXPECT_EQ((std::vector<std::string>{"#0A8C010538"}), m_camera.Lines());
    EXPECT_EQ(zptw::kUnknownFirstFrame, m_port.m_dwState[zptw::kFirstFrameIndex]);
    size = 0;
    EXPECT_EQ(0, MyRead(buffer, &size, 1, 0, 0));
    EXPECT_EQ(1u, m_camera.Lines().size());  // a size of 0 sends nothing
}

TEST_F(Transfer, AFailedRequestFailsTheAttemptAtOnce) {
    m_port.m_dwLinkLost = 1;
    std::vector<unsigned char> buffer(8192);
    for (unsigned int live : {0u, 1u}) {
        unsigned int size = static_cast<unsigned int>(buffer.size());
        const auto start = std::chrono::steady_clock::now();
        EXPECT_EQ(-2, MyRead(buffer, &size, live, 0, 0));
        EXPECT_LT(std::chrono::steady_clock::now() - start,
                  std::chrono::milliseconds(400));  // not the image wait
    }
    EXPECT_NE(std::string::npos, m_port.Log().find("ERR: ReadData Download frame request = -1"));
    EXPECT_NE(std::string::npos, m_port.Log().find("ERR: ReadData live frame request = -1"));
}

TEST_F(Transfer, ABusyDataPortFailsTheCallWithoutRetry) {
    const int blocker = ::socket(AF_INET, SOCK_DGRAM, 0);
    sockaddr_in local{};
    local.sin_family = AF_INET;
    local.sin_port = htons(1335);
    ASSERT_EQ(0, ::bind(blocker, reinterpret_cast<sockaddr*>(&local), sizeof local));
    EXPECT_EQ(0u, Read(0, 0, 1));
    ::close(blocker);
    EXPECT_NE(std::string::npos, m_port.Log().find("ERR: ReadData bind = -1"));
    EXPECT_NE(std::string::npos, m_port.Log().find("ERR: ReadData = -3"));
    EXPECT_EQ(0u, m_port.m_dwTransferActive);
}

TEST_F(Transfer, RawFrameArrivesByteExactAndTheBorderInHostOrder) {
    m_border.FrameNumber = 0x0102;
    m_border.Exposure = 0x11223344;
    ASSERT_EQ(1u, Read(0, 0, 1));
    EXPECT_EQ(m_image, std::string(m_buffer.begin(), m_buffer.begin() + static_cast<long>(m_image.size())));
    BORDER_DATA border;
    std::memcpy(&border, m_port.m_abyBorder, sizeof border);
    EXPECT_EQ(0x0102u, static_cast<unsigned int>(border.FrameNumber));  // packed fields: read by value
    EXPECT_EQ(0x11223344u, static_cast<unsigned int>(border.Exposure));
    EXPECT_EQ(kWidth, static_cast<int>(border.Width2));
    ASSERT_EQ(1u, Read(0, 3, 1));  // geometry, format and first index are known now
    EXPECT_EQ((std::vector<std::string>{"#0A90\r\n", "#0A8700\r\n", "#0A9C000000000040003000\r\n",
                                        "#0A45\r\n", "#0A88000003E80537", "#0A88000003EB0537"}),
              m_camera.Lines());
    // Border only: the last block as it is now, without a transfer.
    m_camera.ClearLines();
    ASSERT_EQ(1u, Read(0, 0, 2, 2048));
    EXPECT_EQ(0, std::memcmp(m_buffer.data(), m_port.m_abyBorder, 1024));
    EXPECT_TRUE(m_camera.Lines().empty());
    EXPECT_EQ(1u, m_port.ReadData(m_buffer.data(), 0));
}

TEST_F(Transfer, FormatLinesFollowTheFlagsAndTheCameraType) {
    const struct {
        unsigned int flags, cameraType;
        const char* format;
        const char* size;
    } cases[] = {{0, 12, "#0A8704\r\n",
                  "#0A9C00000000004000300"
                  "1\r\n"},
                 {4, 12, "#0A8704\r\n", "#0A9C000000000040003000\r\n"},
                 {1, 12, "#0A8700\r\n", "#0A9C000000000040003000\r\n"},
                 {0, 0, "#0A8704\r\n", "#0A9C000000000040003000\r\n"}};
    m_port.m_dwState[zptw::kDownloadWidth] = kWidth;
    m_port.m_dwState[zptw::kDownloadHeight] = kHeight;
    m_port.m_dwState[zptw::kFirstFrameIndex] = 0;
    m_image = JpegBody(EncodeJpeg(Pixels(kWidth * kHeight, 1), kWidth, kHeight, 1, 75, 0));
    for (const auto& c : cases) {
        m_port.m_dwCameraType = c.cameraType;
        m_port.m_dwState[zptw::kLastDownloadFormat] = zptw::kUnknownWord;
        m_camera.ClearLines();
        EXPECT_EQ(1u, Read(0, 0, c.flags, 65536));
        EXPECT_EQ((std::vector<std::string>{c.format, c.size, "#0A88000000000537"}), m_camera.Lines())
            << c.flags;
    }
}

TEST_F(Transfer, ARetryGoesToTheNextPortWithAHigherRateThatFallsAfterwards) {
    m_badRequests = 1;
    ASSERT_EQ(1u, Read(0, 0, 1));
    EXPECT_EQ(m_image, std::string(m_buffer.begin(), m_buffer.begin() + static_cast<long>(m_image.size())));
    const std::vector<std::string> lines = m_camera.Lines();
    const std::vector<std::string> tail(lines.end() - 5, lines.end());
    EXPECT_EQ((std::vector<std::string>{"#0A88000003E80537", "#0A89177017700100\r\n", "#0A86\r\n",
                                        "#0A88000003E80539", "#0A89138813880100\r\n"}),
              tail);
    const std::string log = m_port.Log();
    EXPECT_NE(std::string::npos, log.find("ERR: ImageFunction Out Of Order")) << log;
    EXPECT_NE(std::string::npos, log.find("ERR: ReadData retrying 1... (NetPerf increased to 6000)")) << log;
    EXPECT_NE(std::string::npos, log.find("ERR: ReadData Reducing NetPerf to 5000")) << log;
    EXPECT_EQ(5000u, m_port.m_dwState[zptw::kNetPerfCurrent]);
    EXPECT_EQ(0u, m_port.m_dwTransferActive);
}

TEST_F(Transfer, SixFailedAttemptsGiveUp) {
    m_badRequests = 100;
    EXPECT_EQ(0u, Read(0, 0, 1));
    std::vector<std::string> expected;
    for (int attempt = 0; attempt < 6; ++attempt) {
        char request[32];
        std::snprintf(request, sizeof request, "#0A88000003E8%04X", 1335 + 2 * attempt);
        expected.push_back(request);
        if (attempt == 5) break;
        char rate[32];
        std::snprintf(rate, sizeof rate, "#0A89%04X%04X0100\r\n", 6000 + 1000 * attempt,
                      6000 + 1000 * attempt);
        expected.push_back(rate);
        expected.push_back("#0A86\r\n");
    }
    const std::vector<std::string> lines = m_camera.Lines();
    EXPECT_EQ(expected,
              std::vector<std::string>(lines.end() - static_cast<long>(expected.size()), lines.end()));
    const std::string log = m_port.Log();
    EXPECT_EQ(5, Count(log, "ERR: ReadData retrying "));
    EXPECT_NE(std::string::npos, log.find("ERR: ReadData retrying 5... (NetPerf increased to 10000)"));
    EXPECT_EQ(1, Count(log, "ERR: ReaData Cannot receive image..."));
    EXPECT_EQ(0, Count(log, "Reducing NetPerf"));
    EXPECT_EQ(0u, m_port.m_dwTransferActive);
}

TEST_F(Transfer, StreamRequestsNeverChangeTheRate) {
    m_badRequests = 2;
    m_image = JpegBody(EncodeJpeg(Pixels(kWidth * kHeight, 1), kWidth, kHeight, 1, 75, 0));
    ASSERT_EQ(1u, Read(0, 0, 4, 65536));
    for (const std::string& line : m_camera.Lines()) EXPECT_NE("#0A89", line.substr(0, 5)) << line;
    EXPECT_EQ(2, Count(m_port.Log(), "(NetPerf increased to 5000)"));
}

TEST_F(Transfer, ACurrentRateHalfAStepAboveTheBaseReturnsToIt) {
    m_port.m_dwState[zptw::kNetPerfCurrent] = 5500;
    ASSERT_EQ(1u, Read(0, 0, 1));
    EXPECT_EQ("#0A89138813880100\r\n", m_camera.Lines().back());
    EXPECT_EQ(5000u, m_port.m_dwState[zptw::kNetPerfCurrent]);
    m_camera.ClearLines();
    ASSERT_EQ(1u, Read(0, 0, 1));
    EXPECT_EQ((std::vector<std::string>{"#0A88000003E80537"}), m_camera.Lines());  // at the base: nothing
}

TEST_F(Transfer, RawFramesGoThroughTheToneTableOnlyWhereTheyShould) {
    for (int k = 0; k < 256; ++k) m_border.ToneTable[k] = static_cast<std::uint16_t>((255 - k) << 2);
    std::string inverted = m_image;
    for (char& c : inverted) c = static_cast<char>(255 - static_cast<unsigned char>(c));
    const struct {
        unsigned int cameraType;
        unsigned char byte297;
        bool converted;
    } cases[] = {{14, 0, true}, {14, 1, false}, {12, 0, false}};
    for (const auto& c : cases) {
        m_port.m_dwCameraType = c.cameraType;
        m_border.Bytes297[0] = c.byte297;
        ASSERT_EQ(1u, Read(0, 0, 1));
        EXPECT_EQ(c.converted ? inverted : m_image,
                  std::string(m_buffer.begin(), m_buffer.begin() + static_cast<long>(m_image.size())))
            << c.cameraType << " " << int{c.byte297};
    }
}

double Psnr(const std::string& a, const unsigned char* b) {
    double sum = 0;
    for (std::size_t i = 0; i < a.size(); ++i) {
        const double d = static_cast<unsigned char>(a[i]) - b[i];
        sum += d * d;
    }
    return sum == 0 ? 99 : 10 * std::log10(255.0 * 255.0 * a.size() / sum);
}

// Smooth colour with sharp brightness edges; at quality 90, 4:2:0, at least 35 dB after decoding.
std::string ColourPixels(int width, int height) {
    std::string pixels(static_cast<std::size_t>(width) * height * 3, '\0');
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            for (int c = 0; c < 3; ++c)
                pixels[(static_cast<std::size_t>(y) * width + x) * 3 + c] =
                    static_cast<char>(40 + ((x / 16 + y / 16) % 2) * 80 + c * 30 + (x + y) / 4 % 40);
    return pixels;
}

TEST_F(Transfer, JpegFramesAreDecodedOrReturnedAsAStream) {
    const std::string pixels = ColourPixels(kWidth, kHeight);
    const std::string stream = EncodeJpeg(pixels, kWidth, kHeight, 3, 90, 0);
    m_image = JpegBody(stream);
    m_border.SensorType = 1;
    m_border.Word301 = 90;
    m_border.Word299 = 0;
    ASSERT_EQ(1u, Read(0, 0, 0, 65536));
    EXPECT_GE(Psnr(pixels, m_buffer.data()), 35.0);
    // Bit 2: the stream the camera encoded, header rebuilt, behind its length word.
    ASSERT_EQ(1u, Read(0, 0, 4, 65536));
    std::uint32_t length = 0;
    std::memcpy(&length, m_buffer.data(), 4);
    ASSERT_EQ(stream.size(), length);
    EXPECT_EQ(stream, std::string(m_buffer.begin() + 4, m_buffer.begin() + 4 + static_cast<long>(length)));
    // A live frame is always JPEG, here grey.
    m_border = GreyBorder(kWidth, kHeight);
    const std::string grey = Pixels(kWidth * kHeight, 3);
    m_image = JpegBody(EncodeJpeg(grey, kWidth, kHeight, 1, 0 + 75, 0));
    ASSERT_EQ(1u, Read(1, 0, 0, 65536));
    EXPECT_GE(Psnr(grey, m_buffer.data()), 20.0);  // noise-like content at quality 75
}

TEST_F(Transfer, FramesThatDoNotFitFailCleanlyWithoutRetries) {
    // Raw: the train is longer than the buffer.
    EXPECT_EQ(0u, Read(0, 0, 1, 2000));
    const std::string log = m_port.Log();
    EXPECT_NE(std::string::npos, log.find("ERR: ImageFunction image larger than buffer 2000")) << log;
    EXPECT_NE(std::string::npos, log.find("ERR: ReadData = -9")) << log;
    EXPECT_EQ(1, Count(log, "#0A88"));
    EXPECT_EQ(0u, m_port.m_dwTransferActive);
    // JPEG: the body fits, the decoded colour image would not.
    m_border.SensorType = 1;
    m_image = JpegBody(EncodeJpeg(ColourPixels(kWidth, kHeight), kWidth, kHeight, 3, 50, 0));
    EXPECT_EQ(0u, Read(0, 0, 0, kWidth * kHeight * 3 - 1));
    EXPECT_NE(std::string::npos, m_port.Log().find("ERR: ReadData JPEG frame does not fit or decode"));
}

TEST_F(Transfer, LiveFramesWhileReplayingAreBlank) {
    m_port.m_byCameraState = 5;
    ASSERT_EQ(1u, Read(1, 0, 0, 4096));
    for (unsigned char byte : m_buffer) ASSERT_EQ(0, byte);
    EXPECT_TRUE(m_camera.Lines().empty());
}

class SilentLive : public Transfer {
protected:
    Train TrainFor(int) override { return {}; }
};

TEST_F(SilentLive, ALiveRetryStopsWhenTheCameraStartsReplaying) {
    m_port.m_byCameraState = 4;
    m_camera.OnLine([this](const std::string& line) {
        if (line == "#0A99\r\n") m_port.m_byCameraState = 6;
    });
    ASSERT_EQ(1u, Read(1, 0, 0, 4096));
    for (unsigned char byte : m_buffer) ASSERT_EQ(0, byte);
    EXPECT_EQ((std::vector<std::string>{"#0A8C010536", "#0A89177017700100\r\n", "#0A99\r\n",
                                        "#0A89138813880100\r\n"}),
              m_camera.Lines());
    const std::string log = m_port.Log();
    EXPECT_NE(std::string::npos, log.find("ERR: ImageFunction Select Timeout (500000) = 0 after 0 segments"));
    EXPECT_NE(std::string::npos, log.find("ERR: Status changed to 6"));
}

}  // namespace
}  // namespace zptest
