// Image requests against the simulator program on 127.0.0.95: the train arrives on a plain UDP
// socket with border, numbered segments and information, and carries the rendered frame.
#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>
#include <vellum/Vellum.h>

#include <cmath>
#include <string>
#include <vector>

#include "frame_source.h"
#include "segment_train.h"
#include "sim_process.h"

namespace zptest {
namespace {

constexpr const char* kIp = "127.0.0.95";
constexpr std::uint16_t kCommandPort = 1027;
constexpr std::uint16_t kControlPort = 7095;
constexpr std::uint16_t kDataPort = 1325;
constexpr std::uint16_t kWidth = 320, kHeight = 240;

// A plain UDP socket on the data port, taking datagrams of any size.
class DataSocket {
public:
    DataSocket(const char* ip, std::uint16_t port) : m_socket(::socket(AF_INET, SOCK_DGRAM, 0)) {
        int size = 4 << 20;
        ::setsockopt(m_socket, SOL_SOCKET, SO_RCVBUF, &size, sizeof size);
        sockaddr_in local{};
        local.sin_family = AF_INET;
        local.sin_port = htons(port);
        ::inet_pton(AF_INET, ip, &local.sin_addr);
        m_bound = ::bind(m_socket, reinterpret_cast<sockaddr*>(&local), sizeof local) == 0;
    }
    ~DataSocket() { ::close(m_socket); }
    DataSocket(const DataSocket&) = delete;
    DataSocket& operator=(const DataSocket&) = delete;

    bool Bound() const { return m_bound; }
    std::optional<std::string> Receive(int timeoutMs) const {
        pollfd pfd{m_socket, POLLIN, 0};
        if (::poll(&pfd, 1, timeoutMs) <= 0) {
            return std::nullopt;
        }
        std::string datagram(65536, '\0');
        ssize_t size = ::recv(m_socket, datagram.data(), datagram.size(), 0);
        if (size < 0) {
            return std::nullopt;
        }
        datagram.resize(static_cast<std::size_t>(size));
        return datagram;
    }

private:
    int m_socket;
    bool m_bound = false;
};

std::uint32_t Word(const std::string& datagram, std::size_t at) {
    std::uint32_t word = 0;
    for (std::size_t i = at; i < at + 4 && i < datagram.size(); ++i) {
        word = (word << 8) | static_cast<std::uint8_t>(datagram[i]);
    }
    return word;
}

std::uint16_t Half(const std::string& block, std::size_t at) {
    return static_cast<std::uint16_t>(static_cast<std::uint8_t>(block[at]) << 8 |
                                      static_cast<std::uint8_t>(block[at + 1]));
}

struct Train {
    std::string border;  // the 1024-byte block
    std::uint32_t hint = 0;
    std::vector<std::uint32_t> words;  // control words of the data segments, in arrival order
    std::string payload;
    std::optional<std::uint32_t> length;  // from the information datagram
};

// Collects datagrams until the information datagram and the last segment have both arrived,
// or nothing comes for a while.
Train ReceiveTrain(const DataSocket& data) {
    Train train;
    bool last = false;
    while (!(last && train.length)) {
        auto datagram = data.Receive(train.words.empty() && train.border.empty() ? 2000 : 300);
        if (!datagram) {
            break;
        }
        const std::uint32_t control = zpsim::ControlWord(*datagram);
        if (control == 0 && datagram->size() == 1036) {
            train.hint = Word(*datagram, 0);
            train.border = datagram->substr(8, 1024);
        } else if (control == zpsim::kControlInfo) {
            train.length = Word(*datagram, 0);
        } else {
            train.words.push_back(control);
            train.payload += datagram->substr(0, datagram->size() - 8);
            last = last || (control & zpsim::kControlLast) != 0;
        }
    }
    return train;
}

std::vector<std::uint32_t> Numbered(std::uint32_t count) {
    std::vector<std::uint32_t> words;
    for (std::uint32_t i = 1; i <= count; ++i) {
        words.push_back(i == count ? (zpsim::kControlLast | i) : i);
    }
    return words;
}

std::string Hex(std::uint32_t value, int width) {
    char text[16];
    std::snprintf(text, sizeof text, "%0*X", width, value);
    return text;
}

class ImageDownload : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(sim.Ready());
        ASSERT_TRUE(data.Bound());
    }

    std::string Ask(const std::string& line) {
        return client.Exchange(kIp, kCommandPort, line).value_or("<no reply>");
    }
    std::string Control(const std::string& line) {
        return client.Exchange(kIp, kControlPort, line).value_or("<no reply>");
    }
    std::string DownloadRequest(std::uint32_t frameIndex) {
        return Ask("#0588" + Hex(frameIndex, 8) + Hex(kDataPort, 4));
    }

    SimProcess sim{{"--ip", kIp, "--address", "5", "--control-port", std::to_string(kControlPort), "--width",
                    std::to_string(kWidth), "--height", std::to_string(kHeight), "--first-frame", "100",
                    "--last-frame", "199"}};
    UdpClient client{kIp};
    DataSocket data{kIp, kDataPort};
};

TEST_F(ImageDownload, RecordedRawFrameArrivesWhole) {
    EXPECT_EQ(Ask("#0545\r\n"), "#05114500000064000000C7\r\n");
    EXPECT_EQ(DownloadRequest(117), "#051188\r\n");
    Train train = ReceiveTrain(data);

    ASSERT_EQ(train.border.size(), 1024u);
    EXPECT_EQ(train.hint, 1408u);
    EXPECT_EQ(train.border[8], 2);               // grey sensor
    EXPECT_EQ(Half(train.border, 30), 117);      // frame number
    EXPECT_EQ(Half(train.border, 289), kWidth);  // big-endian on the wire
    EXPECT_EQ(Half(train.border, 291), kHeight);
    EXPECT_EQ(train.border.substr(1020), "EoBD");

    const std::size_t size = std::size_t(kWidth) * kHeight;
    EXPECT_EQ(train.words, Numbered(std::uint32_t((size + 1399) / 1400)));
    EXPECT_EQ(train.length, size);
    EXPECT_TRUE(train.payload == zpsim::RenderRawFrame(117, kWidth, kHeight, false));
}

TEST_F(ImageDownload, FrameOutsideRecordingFailsWithoutTrain) {
    EXPECT_EQ(DownloadRequest(99), "#052188\r\n");
    EXPECT_EQ(DownloadRequest(200), "#052188\r\n");
    EXPECT_EQ(Ask("#0588" + Hex(100, 8) + "0000"), "#052188\r\n");  // no data port
    EXPECT_FALSE(data.Receive(300));
}

TEST_F(ImageDownload, DownloadSizeAndDatagramSizeSettingsShapeTheTrain) {
    EXPECT_EQ(Ask("#059C000000000064003200\r\n"), "#05119C\r\n");  // 100 x 50
    EXPECT_EQ(Ask("#059E01\r\n"), "#05119E\r\n");                  // 4000-byte segments
    EXPECT_EQ(DownloadRequest(150), "#051188\r\n");
    Train train = ReceiveTrain(data);
    EXPECT_EQ(train.hint, 4008u);
    EXPECT_EQ(train.words, Numbered(2));
    EXPECT_EQ(Half(train.border, 289), 100);
    EXPECT_TRUE(train.payload == zpsim::RenderRawFrame(150, 100, 50, false));
}

// Tested bound: at least 30 dB PSNR (quality 90, 4:2:0).
TEST_F(ImageDownload, ColourJpegFrameIsHeaderlessBodyOfRenderedFrame) {
    EXPECT_EQ(Control("image colour on"), "OK\n");
    EXPECT_EQ(Ask("#058704\r\n"), "#051187\r\n");
    EXPECT_EQ(DownloadRequest(123), "#051188\r\n");
    Train train = ReceiveTrain(data);
    ASSERT_EQ(train.border.size(), 1024u);
    EXPECT_EQ(train.border[8], 1);
    const int quality = Half(train.border, 301), subsampling = Half(train.border, 299);
    EXPECT_EQ(quality, 90);
    EXPECT_EQ(subsampling, 0);
    EXPECT_EQ(train.length, train.payload.size());

    std::vector<unsigned char> header(VELLUM_HEADER_MAX);
    int headerLength = 0;
    ASSERT_EQ(CreateHeader(kWidth, kHeight, 3, quality, subsampling, header.data(), &headerLength), 1);
    std::string stream(reinterpret_cast<const char*>(header.data()), std::size_t(headerLength));
    stream += train.payload;
    std::vector<std::uint8_t> decoded(std::size_t(kWidth) * kHeight * 3), expected(decoded.size());
    ASSERT_EQ(ReadJPGFileData(stream.data(), int(stream.size()), kWidth * 3, kHeight, decoded.data()), 1);
    zpsim::RenderFrame(123, kWidth, kHeight, 3, expected.data());
    double sum = 0;
    for (std::size_t i = 0; i < decoded.size(); ++i) {
        sum += (double(decoded[i]) - expected[i]) * (double(decoded[i]) - expected[i]);
    }
    EXPECT_GE(10 * std::log10(255.0 * 255.0 * double(decoded.size()) / sum), 30.0);
}

TEST_F(ImageDownload, LiveFramesCountUpAndAreJpeg) {
    for (std::uint16_t expected = 0; expected < 2; ++expected) {
        EXPECT_EQ(Ask("#058C01" + Hex(kDataPort, 4)), "#05118C\r\n");
        Train train = ReceiveTrain(data);
        ASSERT_EQ(train.border.size(), 1024u);
        EXPECT_EQ(Half(train.border, 30), expected);
        EXPECT_EQ(train.border[288], 2);  // JPEG
        EXPECT_EQ(train.payload.substr(train.payload.size() - 2), "\xFF\xD9");
    }
}

TEST_F(ImageDownload, ControlFaultAppliesToNextTrainsOnly) {
    EXPECT_EQ(Control("image drop 2"), "OK\n");
    EXPECT_EQ(Control("image info-first"), "OK\n");
    EXPECT_EQ(Control("image fail 1"), "OK\n");
    EXPECT_EQ(Control("image bogus"), "ERR unknown image command bogus\n");
    EXPECT_EQ(Control("image loss 2"), "ERR usage: image loss <share 0..1>\n");
    const std::uint32_t count = (std::uint32_t(kWidth) * kHeight + 1399) / 1400;

    DownloadRequest(100);
    Train faulty = ReceiveTrain(data);
    std::vector<std::uint32_t> expected = Numbered(count);
    expected.erase(expected.begin() + 1);
    EXPECT_EQ(faulty.words, expected);

    DownloadRequest(100);
    Train whole = ReceiveTrain(data);
    EXPECT_EQ(whole.words, Numbered(count));
    EXPECT_TRUE(whole.payload == zpsim::RenderRawFrame(100, kWidth, kHeight, false));
}

TEST(ImageDownloadOption, ImageOptionSetsFaultsAtStart) {
    SimProcess sim({"--ip", kIp, "--address", "5", "--width", "64", "--height", "64", "--last-frame", "3",
                    "--image", "truncate 1", "--image", "colour on"});
    ASSERT_TRUE(sim.Ready());
    UdpClient client{kIp};
    DataSocket data{kIp, kDataPort};
    EXPECT_EQ(client.Exchange(kIp, kCommandPort, "#0588" + Hex(2, 8) + Hex(kDataPort, 4)).value_or(""),
              "#051188\r\n");
    Train train = ReceiveTrain(data);
    EXPECT_EQ(train.border[8], 1);
    EXPECT_EQ(train.words, std::vector<std::uint32_t>{1});
    EXPECT_FALSE(train.length);
    EXPECT_EQ(train.payload, zpsim::RenderRawFrame(2, 64, 64, true).substr(0, 1400));
}

TEST(ImageDownloadOption, BadImageOptionStopsTheProgram) {
    SimProcess sim({"--ip", kIp, "--image", "quality 101"});
    EXPECT_FALSE(sim.Ready());
}

}  // namespace
}  // namespace zptest
