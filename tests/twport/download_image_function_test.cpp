// ImageFunction against datagrams queued on a loopback socket: whole trains, the information
// datagram on either side of the last segment, disorder, time-outs, and bad or oversized input,
// with guard bytes behind the buffer.
#include <gtest/gtest.h>

#include "download_fake_camera.h"

namespace zptest {
namespace {

constexpr const char* kIp = "127.0.0.90";
constexpr unsigned char kGuard = 0xEE;
constexpr std::size_t kGuardSize = 256;

class ImageFunctionTest : public ::testing::Test {
protected:
    void SetUp() override {
        m_socket = ::socket(AF_INET, SOCK_DGRAM, 0);
        const int size = 4 << 20;
        ::setsockopt(m_socket, SOL_SOCKET, SO_RCVBUFFORCE, &size, sizeof size);
        sockaddr_in local{};
        local.sin_family = AF_INET;
        local.sin_addr.s_addr = inet_addr(kIp);
        ASSERT_EQ(0, ::bind(m_socket, reinterpret_cast<sockaddr*>(&local), sizeof local));
        socklen_t length = sizeof local;
        ::getsockname(m_socket, reinterpret_cast<sockaddr*>(&local), &length);
        m_port = ntohs(local.sin_port);
        m_camera.StartTrace(::testing::UnitTest::GetInstance()->current_test_info()->name());
    }
    void TearDown() override { ::close(m_socket); }

    // Plays the train, then receives it into a buffer of the given capacity followed by guard bytes.
    int Receive(const Train& train, std::size_t capacity, int timeout = 2000000) {
        m_buffer.assign(capacity + kGuardSize, kGuard);
        Play(train, kIp, m_port);
        m_length = -1;
        return m_camera.ImageFunction(m_socket, reinterpret_cast<char*>(m_buffer.data()),
                                      static_cast<int>(capacity), m_length, timeout);
    }
    bool GuardIntact(std::size_t capacity) const {
        for (std::size_t i = capacity; i < m_buffer.size(); ++i)
            if (m_buffer[i] != kGuard) return false;
        return true;
    }
    std::string Received(std::size_t length) const {
        return std::string(m_buffer.begin(), m_buffer.begin() + length);
    }

    int m_socket = -1;
    std::uint16_t m_port = 0;
    DownloadPort m_camera{kIp, 0x0A};
    std::vector<unsigned char> m_buffer;
    int m_length = -1;
};

TEST_F(ImageFunctionTest, WholeTrainArrivesByteExactWithItsBorder) {
    const std::string image = Pixels(64 * 48, 1);
    BORDER_DATA border = GreyBorder(64, 48);
    border.FrameNumber = 0x1234;
    ASSERT_EQ(1, Receive(MakeTrain(border, image, 1000), image.size()));
    EXPECT_EQ(static_cast<int>(image.size()), m_length);
    EXPECT_EQ(image, Received(image.size()));
    EXPECT_TRUE(GuardIntact(image.size()));
    // The port keeps the block in camera order: FrameNumber big-endian at offset 30.
    EXPECT_EQ(0x12, m_camera.m_abyBorder[30]);
    EXPECT_EQ(0x34, m_camera.m_abyBorder[31]);
}

TEST_F(ImageFunctionTest, InformationBeforeTheLastSegmentStillCompletes) {
    const std::string image = Pixels(5000, 2);
    Train train = MakeTrain(GreyBorder(100, 50), image, 1400);
    std::swap(train[train.size() - 1], train[train.size() - 2]);
    ASSERT_EQ(1, Receive(train, 8000));
    EXPECT_EQ(5000, m_length);
    EXPECT_EQ(image, Received(image.size()));
}

TEST_F(ImageFunctionTest, ASequenceGapIsOutOfOrder) {
    const std::string image = Pixels(4 * 1400, 3);
    Train train = MakeTrain(GreyBorder(56, 100), image, 1400);
    train.erase(train.begin() + 3);  // segments 1, 2, 4
    train.back() = Information(3 * 1400);
    EXPECT_EQ(-3, Receive(train, image.size()));
    EXPECT_NE(std::string::npos, m_camera.Log().find("ERR: ImageFunction Out Of Order 5 ")) << m_camera.Log();
}

TEST_F(ImageFunctionTest, SilenceTimesOutAfterTheFirstWaitAndAfterLaterOnes) {
    EXPECT_EQ(-2, Receive({}, 4096, 200000));
    EXPECT_NE(std::string::npos,
              m_camera.Log().find("ERR: ImageFunction Select Timeout (200000) = 0 after 0 segments"));
    const std::string image = Pixels(3000, 4);
    Train train = MakeTrain(GreyBorder(30, 100), image, 1400);
    train.resize(3);  // border and two segments, the last one and the information never come
    EXPECT_EQ(-2, Receive(train, 4096, 200000));
    EXPECT_NE(std::string::npos,
              m_camera.Log().find("ERR: ImageFunction Select Timeout (1000000) = 0 after 3 segments"));
}

TEST_F(ImageFunctionTest, MoreDataThanTheBufferFailsWithNothingWrittenPastIt) {
    const std::string image = Pixels(3 * 1400, 5);
    EXPECT_EQ(-4, Receive(MakeTrain(GreyBorder(60, 70), image, 1400), 3000));
    EXPECT_TRUE(GuardIntact(3000));
    EXPECT_NE(std::string::npos, m_camera.Log().find("ERR: ImageFunction image larger than buffer 3000"));
    // An announced length beyond the buffer fails as well.
    Train announced = {Information(5000)};
    EXPECT_EQ(-4, Receive(announced, 3000));
    EXPECT_TRUE(GuardIntact(3000));
}

TEST_F(ImageFunctionTest, ABufferSmallerThanTheBorderDatagramStillGetsTheBlock) {
    const std::string image = Pixels(40, 6);
    BORDER_DATA border = GreyBorder(8, 5);
    border.FrameNumber = 0xBEEF;
    ASSERT_EQ(1, Receive(MakeTrain(border, image, 16), 40));
    EXPECT_EQ(image, Received(40));
    EXPECT_TRUE(GuardIntact(40));
    EXPECT_EQ(0xBE, m_camera.m_abyBorder[30]);
    EXPECT_EQ(0xEF, m_camera.m_abyBorder[31]);
    EXPECT_EQ('E', m_camera.m_abyBorder[1020]);  // the end marker, read from the spill area
}

TEST_F(ImageFunctionTest, DatagramsOverTheReceiveSizeAreRefused) {
    // After the border (hint 1408) a receive takes at most 32768 bytes.
    Train train = {BorderDatagram(GreyBorder(8, 8), 1408), Segment(std::string(40000, 'x'), 1, true),
                   Information(40000)};
    EXPECT_EQ(-5, Receive(train, 100000));
    EXPECT_NE(std::string::npos, m_camera.Log().find("ERR: ImageFunction datagram longer than 32768"));
}

TEST_F(ImageFunctionTest, GarbledDatagramsFailTheTransferCleanly) {
    const Train bad[] = {
        {std::string(3, 'x')},                                                   // no control word
        {BorderDatagram(GreyBorder(8, 8), 1408).substr(0, 500) + BigEndian(0)},  // short border
        {std::string(2, '\0') + BigEndian(0x40000000u)},                         // short information
        {std::string(3, 'y') + BigEndian(1)},                                    // data without its tail
    };
    for (const Train& train : bad) {
        EXPECT_EQ(-5, Receive(train, 4096)) << train[0].size();
        EXPECT_TRUE(GuardIntact(4096));
    }
    EXPECT_EQ(4, Count(m_camera.Log(), "ERR: ImageFunction bad datagram of "));
    // An empty datagram reads as a failed receive.
    EXPECT_EQ(-1, Receive({std::string()}, 4096));
    EXPECT_NE(std::string::npos, m_camera.Log().find("ERR: ImageFunction recvfrom = 0"));
}

TEST_F(ImageFunctionTest, MoreDataThanAnnouncedFails) {
    const std::string image = Pixels(3000, 7);
    Train train = MakeTrain(GreyBorder(30, 100), image, 1000);
    train.back() = Information(2500);
    EXPECT_EQ(-5, Receive(train, 4096));
    EXPECT_NE(std::string::npos,
              m_camera.Log().find("ERR: ImageFunction length 2500 announced, 3000 received"));
}

}  // namespace
}  // namespace zptest
