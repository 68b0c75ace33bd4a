// Image download against the simulator: request lines and data ports byte for byte, raw frames
// byte-exact, JPEG frames decoded (and the returned stream read by plain libjpeg), the border block
// on the wire and in host order, retries on the next data port with the rate raised and lowered,
// the give-up after six attempts, the bound of the caller's buffer, the states in which a download
// is refused or cleared, and hostile segment trains (written out byte for byte) fed straight to the
// receiver.
#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <linux/capability.h>
#include <sys/syscall.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <thread>

#include "frame_source.h"
#include "support/jpeg_stream.h"
#include "support/temp_dir.h"
#include "tw_fixture.h"
#include "twport/tw_port_internal.h"
#include "zpport/BorderData.h"

namespace zptest {
namespace {

constexpr const char* kIp = "127.0.0.92";
constexpr std::uint32_t kFirst = 1000;  // the recording holds frames 1000..1299
constexpr std::uint16_t kWidth = 320, kHeight = 240;
constexpr std::size_t kRaw = std::size_t{kWidth} * kHeight;
constexpr unsigned char kGuard = 0xEE;

class Port : public TestPort {
public:
    using CCamPort::m_dwCameraType;
    using CTWPort::ImageFunction;
    using CTWPort::m_abyBorder;
    using CTWPort::m_dwTransferActive;
};

int Count(const std::string& text, const std::string& part) {
    int n = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++n;
    return n;
}

double Psnr(const std::string& expected, const unsigned char* actual) {
    double sum = 0;
    for (std::size_t i = 0; i < expected.size(); ++i)
        sum += std::pow(static_cast<unsigned char>(expected[i]) - actual[i], 2);
    return sum == 0 ? 99 : 10 * std::log10(255.0 * 255.0 * static_cast<double>(expected.size()) / sum);
}

// The rate line (0x89) as the simulator logs it.
std::string RateLine(unsigned int rate) {
    char line[40];
    std::snprintf(line, sizeof line, "#0A89%04X%04X0100\\r\\n", rate, rate);
    return line;
}

// The recorded-frame request of an attempt: data ports 1335, 1337, ... for camera address 0x0A.
std::string Request(std::uint32_t index, int attempt) {
    char line[32];
    std::snprintf(line, sizeof line, "#0A88%08X%04X", index, 1335 + 2 * attempt);
    return line;
}

class Download : public ::testing::Test {
protected:
    // The camera announces its state changes to the port (a replay clears live reads).
    void SetUp() override {
        ASSERT_TRUE(m_dir.Valid());
        m_camera.reset(
            new Camera(kIp, {"--announce-to", kIp, "--first-frame", "1000", "--last-frame", "1299"}));
        ASSERT_TRUE(m_camera->Ready());
        _ZP_ENUMITEMEX item = ItemFor(kIp);                         // camera type 12
        m_port.EnableTrace(9, m_dir.File("trace.log").c_str(), 1);  // before the listener thread starts
        ASSERT_EQ(1u, m_port.Open(&item));
        ASSERT_TRUE(m_port.SetUpDownload(kWidth, kHeight));
        m_camera->ClearLog();
    }
    // The request words, then guard bytes behind the capacity.
    unsigned int Read(unsigned int live, unsigned int frame, unsigned int flags, std::size_t size) {
        m_buffer.assign(size + 64, kGuard);
        const unsigned int words[3] = {live, frame, flags};
        std::memcpy(m_buffer.data(), words, sizeof words);
        return m_port.ReadData(m_buffer.data(), static_cast<unsigned int>(size));
    }
    bool GuardIntact(std::size_t size) const {
        return std::all_of(m_buffer.begin() + static_cast<long>(size), m_buffer.end(),
                           [](unsigned char b) { return b == kGuard; });
    }
    std::string Frame(std::size_t length) const {
        return std::string(m_buffer.begin(), m_buffer.begin() + static_cast<long>(length));
    }
    // The trace written since the last call.
    std::string NewTrace() {
        const std::string trace = ReadFile(m_dir.File("trace_0000000009.log"));
        const std::string fresh = trace.substr(std::min(m_traceSeen, trace.size()));
        m_traceSeen = trace.size();
        return fresh;
    }
    unsigned int& Rate() { return m_port.m_dwState[zptw::kNetPerfCurrent]; }

    TempDir m_dir;
    std::unique_ptr<Camera> m_camera;
    Port m_port;
    std::vector<unsigned char> m_buffer;
    std::size_t m_traceSeen = 0;
};

TEST_F(Download, RawFramesArriveByteExactWithTheBorderInHostOrder) {
    m_port.m_dwState[zptw::kDownloadHeight] = zptw::kUnknownWord;  // asks for the active area first
    for (unsigned int frame : {0u, 299u}) {
        ASSERT_EQ(1u, Read(0, frame, 1, kRaw)) << NewTrace();  // a raw frame needs exactly its pixels
        EXPECT_EQ(zpsim::RenderRawFrame(kFirst + frame, kWidth, kHeight, false), Frame(kRaw)) << frame;
        EXPECT_TRUE(GuardIntact(kRaw));
        ASSERT_EQ("OK", m_camera->Control("image tone off"));  // camera type 12: still no conversion
    }
    EXPECT_EQ((Lines{"#0A90\\r\\n", "#0A8700\\r\\n", "#0A9C00000000014000F000\\r\\n", "#0A45\\r\\n",
                     Request(kFirst, 0), Request(kFirst + 299, 0)}),
              m_camera->Lines());
    const auto& b = *reinterpret_cast<const BORDER_DATA*>(m_port.m_abyBorder);  // packed: read by value
    EXPECT_EQ(static_cast<int>(kFirst) + 299, +b.FrameNumber);
    EXPECT_EQ(0x00012345u, +b.SerialNumber);
    EXPECT_EQ(kWidth, +b.Width2);  // 16 bits
    EXPECT_EQ(10 << 2, +b.ToneTable[245]);
    EXPECT_EQ(1000u, +b.FrameRate);
    EXPECT_EQ(0, std::memcmp(b.EndMarker, "EoBD", 4));
    // Border only: the last block as it is, without a transfer; size 0 succeeds, a short buffer fails.
    m_camera->ClearLog();
    ASSERT_EQ(1u, Read(0, 0, 2, 2048));
    EXPECT_EQ(0, std::memcmp(m_buffer.data(), m_port.m_abyBorder, BORDER_DATA_SIZE));
    EXPECT_TRUE(GuardIntact(BORDER_DATA_SIZE));
    EXPECT_EQ(1u, m_port.ReadData(m_buffer.data(), 0));
    EXPECT_EQ(0u, m_port.ReadData(m_buffer.data(), 11));
    EXPECT_TRUE(m_camera->Lines().empty());
    // Camera type 14 puts raw frames through the tone table, unless the camera applied it (byte 297).
    m_port.m_dwCameraType = 14;
    const std::string raw = zpsim::RenderRawFrame(kFirst + 4, kWidth, kHeight, false);
    std::string converted = raw;
    for (char& c : converted) c = static_cast<char>(b.ToneTable[static_cast<unsigned char>(c)] >> 2);
    ASSERT_EQ(1u, Read(0, 4, 1, kRaw));
    EXPECT_EQ(converted, Frame(kRaw));
    EXPECT_NE(raw, converted);
    ASSERT_EQ("OK", m_camera->Control("image tone on"));
    ASSERT_EQ(1u, Read(0, 4, 1, kRaw));
    EXPECT_EQ(raw, Frame(kRaw));
    ASSERT_EQ(1u, Read(0, 4, 0, kRaw));  // a JPEG frame of a type other than 12: size suffix 00
    EXPECT_EQ("#0A9C00000000014000F000\\r\\n", m_camera->Lines().rbegin()[1]);  // before the request
}

TEST_F(Download, JpegFramesDecodeOrReturnTheirStream) {
    const struct {
        unsigned int live, flags;
        bool colour;
        int subsampling;
    } cases[] = {{0, 0, false, 0}, {0, 0, true, 0},  {0, 0, true, 1},          {0, 0, true, 2},
                 {0, 4, true, 0},  {0, 4, false, 2}, {0x01000000, 0, false, 0}};  // any word but 0 is live
    m_port.m_dwState[zptw::kFirstFrameIndex] = kFirst;
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.live << " " << c.flags << " " << c.colour << c.subsampling);
        ASSERT_EQ("OK", m_camera->Control(std::string("image colour ") + (c.colour ? "on" : "off")));
        ASSERT_EQ("OK", m_camera->Control("image subsampling " + std::to_string(c.subsampling)));
        m_port.m_dwState[zptw::kLastDownloadFormat] = zptw::kUnknownWord;
        m_camera->ClearLog();
        const unsigned components = c.colour ? 3 : 1;
        const std::size_t size = kRaw * components;
        const double psnr = c.colour ? 30 : 35;  // at quality 90 against the rendered frame
        ASSERT_EQ(1u, Read(c.live, 5, c.flags, size)) << NewTrace();
        EXPECT_TRUE(GuardIntact(size));
        std::string expected(size, '\0');
        zpsim::RenderFrame(c.live != 0 ? 0 : kFirst + 5, kWidth, kHeight, components,
                           reinterpret_cast<std::uint8_t*>(&expected[0]));
        if (c.live != 0) {
            EXPECT_EQ(Lines{"#0A8C010536"}, m_camera->Lines());
        } else {  // camera type 12: frame-size suffix 01 for decoded frames
            const char* sizeLine =
                c.flags == 0 ? "#0A9C00000000014000F001\\r\\n" : "#0A9C00000000014000F000\\r\\n";
            EXPECT_EQ((Lines{"#0A8704\\r\\n", sizeLine, Request(kFirst + 5, 0)}), m_camera->Lines());
        }
        if (c.flags == 0) {
            EXPECT_GE(Psnr(expected, m_buffer.data()), psnr);
            if (c.live == 0) {
                EXPECT_EQ(0u, Read(0, 5, 0, size - 1));  // the decoded frame must fit
            }
            continue;
        }
        // The stream behind its length word, header rebuilt: plain libjpeg reads it.
        std::uint32_t length = 0;
        std::memcpy(&length, m_buffer.data(), 4);
        ASSERT_LE(length + 4, size);
        const std::vector<unsigned char> decoded = DecodeJpeg(m_buffer.data() + 4, length);
        ASSERT_EQ(expected.size(), decoded.size());  // 320 x 240, grey or colour
        EXPECT_GE(Psnr(expected, decoded.data()), psnr);
        EXPECT_EQ(0u, Read(0, 5, 4, length + 3));  // length word and stream must fit, to the byte
        EXPECT_TRUE(GuardIntact(length + 3));
        EXPECT_EQ(1u, Read(0, 5, 4, length + 4));
    }
    EXPECT_NE(std::string::npos, NewTrace().find("ERR: ReadData JPEG frame does not fit or decode"));
    EXPECT_EQ(zptw::kUnknownFirstFrame, m_port.m_dwState[zptw::kFirstFrameIndex]);  // forgotten when live
}

TEST_F(Download, ABadTrainIsRetriedOnTheNextPortWithTheRateRaisedThenLowered) {
    Rate() = 5500;  // half a step above the base: the finished call returns to it
    ASSERT_EQ(1u, Read(0, 0, 1, kRaw));
    EXPECT_EQ(RateLine(5000), m_camera->Lines().back());
    const struct {
        const char* fault;
        const char* trace;
        bool retried;
    } cases[] = {{"drop 3", "ERR: ImageFunction Out Of Order", true},
                 {"reorder 2", "ERR: ImageFunction Out Of Order", true},
                 {"duplicate 4", "ERR: ImageFunction Out Of Order", true},
                 {"truncate 5", "ERR: ImageFunction Select Timeout (1000000) = 0 after 6 segments", true},
                 {"oversize", "ERR: ImageFunction datagram longer than 32768", true},
                 {"info-first", "", false}};  // the information may come before the last segment
    for (const auto& c : cases) {
        SCOPED_TRACE(c.fault);
        ASSERT_EQ("OK", m_camera->Control("image clear"));
        ASSERT_EQ("OK", m_camera->Control(std::string("image ") + c.fault));
        ASSERT_EQ("OK", m_camera->Control("image fail 1"));
        m_camera->ClearLog();
        NewTrace();
        ASSERT_EQ(1u, Read(0, 3, 1, kRaw));
        EXPECT_EQ(zpsim::RenderRawFrame(kFirst + 3, kWidth, kHeight, false), Frame(kRaw));
        Lines expected = {Request(kFirst + 3, 0)};
        if (c.retried)
            expected.insert(expected.end(),
                            {RateLine(6000), "#0A86\\r\\n", Request(kFirst + 3, 1), RateLine(5000)});
        EXPECT_EQ(expected, m_camera->Lines());
        const std::string trace = NewTrace();
        EXPECT_NE(std::string::npos, trace.find(c.trace)) << trace;
        EXPECT_EQ(5000u, Rate());
        EXPECT_EQ(0u, m_port.m_dwTransferActive);
    }
}

TEST_F(Download, SixBadTrainsGiveUpAndStreamRequestsNeverTouchTheRate) {
    ASSERT_EQ(1u, Read(0, 0, 1, kRaw));
    ASSERT_EQ("OK", m_camera->Control("image drop 2"));
    const struct {
        std::uint32_t start;
        std::vector<unsigned int> sent;  // the raised rates; none once at 65534
    } cases[] = {{5000, {6000, 7000, 8000, 9000, 10000}}, {64000, {65000, 65534}}};
    for (const auto& c : cases) {
        Rate() = c.start;
        m_camera->ClearLog();
        NewTrace();
        EXPECT_EQ(0u, Read(0, 0, 1, kRaw));
        Lines expected = {Request(kFirst, 0)};
        for (unsigned int attempt = 1; attempt < 6; ++attempt) {
            if (attempt <= c.sent.size()) expected.push_back(RateLine(c.sent[attempt - 1]));
            expected.insert(expected.end(), {"#0A86\\r\\n", Request(kFirst, static_cast<int>(attempt))});
        }
        EXPECT_EQ(expected, m_camera->Lines());
        const std::string trace = NewTrace();
        EXPECT_EQ(6, Count(trace, "ERR: ImageFunction Out Of Order"));
        EXPECT_EQ(1, Count(trace, "ERR: ReaData Cannot receive image..."));
        EXPECT_EQ(c.sent.back(), Rate());
        EXPECT_EQ(0u, m_port.m_dwTransferActive);
    }
    Rate() = 5000;
    ASSERT_EQ("OK", m_camera->Control("image fail 2"));
    m_camera->ClearLog();
    ASSERT_EQ(1u, Read(0, 0, 4, kRaw));
    for (const std::string& line : m_camera->Lines()) EXPECT_NE("#0A89", line.substr(0, 5)) << line;
    EXPECT_EQ(2, Count(NewTrace(), "(NetPerf increased to 5000)"));
}

TEST_F(Download, ATrainLongerThanTheBufferNeverWritesPastIt) {
    ASSERT_EQ("OK", m_camera->Control("image overlong"));
    EXPECT_EQ(0u, Read(0, 0, 1, kRaw));
    EXPECT_TRUE(GuardIntact(kRaw));
    std::string trace = NewTrace();
    EXPECT_NE(std::string::npos, trace.find("ERR: ImageFunction image larger than buffer 76800")) << trace;
    EXPECT_NE(std::string::npos, trace.find("ERR: ReadData = -9"));  // retrying cannot help: no second try
    EXPECT_EQ(0u, m_port.m_dwTransferActive);
    // The control channel answers only after the whole train went out, so none of it is left.
    ASSERT_EQ("OK", m_camera->Control("ping"));
    EXPECT_EQ(0u, Read(0, 0, 1, 2 * kRaw));  // room enough, but more than announced: every attempt fails
    trace = NewTrace();
    EXPECT_EQ(6, Count(trace, "ERR: ImageFunction length 76800 announced, 82400 received"));
    EXPECT_EQ(1, Count(trace, "ERR: ReaData Cannot receive image..."));
}

TEST_F(Download, AFailedRequestOrABusyDataPortEndsTheAttemptAtOnce) {
    ASSERT_EQ(1u, Read(0, 0, 1, kRaw));  // geometry, format and first index are known now
    {
        UdpClient blocker(kIp, 1335);
        ASSERT_TRUE(blocker.Valid());
        EXPECT_EQ(0u, Read(0, 0, 1, kRaw));
    }
    std::string trace = NewTrace();
    EXPECT_NE(std::string::npos, trace.find("ERR: ReadData bind = -1"));
    EXPECT_NE(std::string::npos, trace.find("ERR: ReadData = -3"));
    m_port.m_dwLinkLost = 1;
    EXPECT_EQ(0u, Read(0, 0, 1, kRaw));
    EXPECT_EQ(0u, Read(1, 0, 0, kRaw));
    m_port.m_dwLinkLost = 0;
    trace = NewTrace();
    EXPECT_EQ(6, Count(trace, "ERR: ReadData Download frame request = -1"));
    EXPECT_EQ(6, Count(trace, "ERR: ReadData live frame request = -1"));
    EXPECT_EQ(0, Count(trace, "Select Timeout"));  // no attempt waited for an image
    EXPECT_EQ(2, Count(trace, "ERR: ReaData Cannot receive image..."));
    EXPECT_EQ(0u, m_port.m_dwTransferActive);
}

TEST_F(Download, LiveFramesAreClearedOnceTheCameraReplays) {
    // The live train stops after its border; while the port waits for the rest, the camera starts
    // replaying and announces it.
    ASSERT_EQ("OK", m_camera->Control("image truncate 0"));
    std::thread replay([this] {
        for (int i = 0; i < 400 && m_camera->Lines().empty(); ++i)
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        m_camera->Control("state 06");
    });
    EXPECT_EQ(1u, Read(1, 0, 0, 4096));
    replay.join();
    EXPECT_EQ(std::string(4096, '\0'), Frame(4096));
    EXPECT_TRUE(GuardIntact(4096));
    EXPECT_EQ((Lines{"#0A8C010536", RateLine(6000), "#0A99\\r\\n", RateLine(5000)}), m_camera->Lines());
    EXPECT_NE(std::string::npos, NewTrace().find("ERR: Status changed to 6"));
    // Replaying already: cleared at once, nothing sent.
    m_camera->ClearLog();
    EXPECT_EQ(1u, Read(1, 0, 0, 4096));
    EXPECT_EQ(std::string(4096, '\0'), Frame(4096));
    EXPECT_TRUE(m_camera->Lines().empty());
}

// A read waiting for its image when another thread closes the port ends (failure) before the port goes.
TEST_F(Download, CloseEndsAReadInProgressBeforeThePortIsFreed) {
    ASSERT_EQ("OK", m_camera->Control("image truncate 0"));  // every train stops after its border
    _ZP_ENUMITEMEX item = ItemFor(kIp);
    ZP_PORT_HANDLE handle = nullptr;
    ASSERT_EQ(0u, PoOpen(&item, &handle));
    std::vector<unsigned int> words(kRaw / 4, 0);  // recorded frame 0, JPEG
    unsigned int result = 2;
    std::thread reader([&] { result = PoReadData(handle, words.data(), kRaw); });
    for (int i = 0; i < 400 && m_camera->Lines().back().find("#0A88") != 0; ++i)  // the request is out
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(0u, PoClose(handle));
    reader.join();
    EXPECT_EQ(1u, result);
    EXPECT_LT(SecondsSince(start), 4.0);  // six attempts of a second each would take longer
}

// A stream from the camera that never completes the image ends the read after six bounded
// attempts; a datagram from another address, which would complete it, is ignored.
TEST_F(Download, EndlessOrForeignDatagramsCannotHoldARead) {
    ASSERT_EQ("OK", m_camera->Control("image truncate 0"));
    const std::string information("\0\0\0\x10\x40\0\0\0", 8);  // a 16-byte image
    const std::string last = std::string(16, 'x') + std::string("\0\0\0\0\x80\0\0\x01", 8);
    for (const bool foreign : {false, true}) {
        std::atomic<bool> done{false};
        bool gaveUp = false;
        std::thread sender([&] {
            UdpClient camera(kIp), other("127.0.0.93");
            for (const auto start = std::chrono::steady_clock::now(); !done && !gaveUp;
                 std::this_thread::sleep_for(std::chrono::milliseconds(10))) {
                for (std::uint16_t port = 1334; port < 1346; port += 2) {  // live attempts 0 to 5
                    camera.Send(kIp, port, information);
                    if (foreign) other.Send(kIp, port, last);
                }
                gaveUp = SecondsSince(start) > 30;
            }
        });
        EXPECT_EQ(0u, Read(1, 0, 4, 4096)) << foreign;  // the stream alone would be returned
        done = true;
        sender.join();
        EXPECT_FALSE(gaveUp) << foreign;  // the read ended while datagrams still came
    }
}

// Without the privilege to force it, the data socket's buffer is capped by the system: said once.
TEST_F(Download, ACappedReceiveBufferIsTracedOnce) {
    const int cap = std::stoi(ReadFile("/proc/sys/net/core/rmem_max"));
    if (cap >= 6786048) GTEST_SKIP() << "net.core.rmem_max does not cap the buffer here";
    ASSERT_EQ(1u, Read(0, 0, 1, kRaw));  // root forces the size
    std::thread unprivileged([this] {    // capabilities belong to the thread
        __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
        __user_cap_data_struct data[2] = {};
        ASSERT_EQ(0, syscall(SYS_capget, &header, data));
        data[0].effective &= ~(1u << CAP_NET_ADMIN);
        ASSERT_EQ(0, syscall(SYS_capset, &header, data));
        for (unsigned int frame : {0u, 1u}) EXPECT_EQ(1u, Read(0, frame, 1, kRaw));
    });
    unprivileged.join();
    EXPECT_EQ(1, Count(NewTrace(),
                       "ERR: ReadData receive buffer " + std::to_string(cap) +
                           " bytes of 6786048 asked: raise it with sysctl -w net.core.rmem_max=6786048"));
}

// Trains no camera of ours sends, straight into the receiver, with guard bytes behind the buffer.
TEST(ImageFunction, HostileTrainsFailCleanlyAndNeverWritePastTheBuffer) {
    TempDir dir;
    Port port;
    port.EnableTrace(9, dir.File("trace.log").c_str(), 1);
    const int sock = ::socket(AF_INET, SOCK_DGRAM, 0);
    sockaddr_in local{};
    local.sin_family = AF_INET;
    local.sin_addr.s_addr = inet_addr("127.0.0.94");
    local.sin_port = htons(1335);
    ASSERT_EQ(0, ::bind(sock, reinterpret_cast<sockaddr*>(&local), sizeof local));
    UdpClient camera("127.0.0.94");
    std::snprintf(port.m_szCameraAddress, sizeof port.m_szCameraAddress, "127.0.0.94");
    std::string block(BORDER_DATA_SIZE, '\0');
    for (std::size_t i = 0; i < block.size(); ++i) block[i] = static_cast<char>(i * 13 + 1);
    const std::string image = zpsim::RenderRawFrame(7, 8, 5, false);
    // Border (hint: datagrams up to 24 bytes follow), data 1 to 3 (kinds 11 and 00 are both data, 10
    // marks the last), information (40 bytes). A buffer shorter than the border datagram still gets
    // the block. Control words big-endian, in the last 4 bytes.
    const std::string zero(4, '\0');
    const std::vector<std::string> good = {std::string("\0\0\0\x18", 4) + zero + block + zero,
                                           image.substr(0, 16) + zero + std::string("\xC0\0\0\x01", 4),
                                           image.substr(16, 16) + zero + std::string("\0\0\0\x02", 4),
                                           image.substr(32) + zero + std::string("\x80\0\0\x03", 4),
                                           std::string("\0\0\0\x28\0\0\0\0\x40\0\0\0", 12)};
    const std::string big("\0\0\x13\x88\0\0\0\0\x40\0\0\0", 12);  // information: 5000 bytes
    const struct {
        std::size_t capacity;
        int result;
        const char* trace;
        std::vector<std::string> train;
    } cases[] = {{40, 1, "", good},
                 {4096, -2, "ERR: ImageFunction Select Timeout (200000) = 0 after 0 segments", {}},
                 {3000, -4, "ERR: ImageFunction image larger than buffer 3000", {big}},
                 {4096, -5, "ERR: ImageFunction bad datagram of 3 bytes", {"xyz"}},
                 {4096, -5, "bad datagram of 504 bytes", {std::string(504, '\0')}},  // a short border
                 {4096, -5, "bad datagram of 6 bytes", {std::string("\0\0\x40\0\0\0", 6)}},
                 {4096, -5, "bad datagram of 7 bytes", {std::string("abc\0\0\0\x01", 7)}},
                 {4096, -1, "ERR: ImageFunction recvfrom = 0", {""}}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.trace);
        std::vector<unsigned char> buffer(c.capacity + 256, kGuard);
        for (const std::string& d : c.train) ASSERT_TRUE(camera.Send("127.0.0.94", 1335, d));
        int imageLength = -1;
        EXPECT_EQ(c.result, port.ImageFunction(sock, reinterpret_cast<char*>(buffer.data()),
                                               static_cast<int>(c.capacity), imageLength, 200000));
        EXPECT_TRUE(std::all_of(buffer.begin() + static_cast<long>(c.capacity), buffer.end(),
                                [](unsigned char b) { return b == kGuard; }));
        if (c.result != 1) continue;
        EXPECT_EQ(40, imageLength);
        EXPECT_EQ(image, std::string(buffer.begin(), buffer.begin() + 40));
        EXPECT_EQ(0, std::memcmp(block.data(), port.m_abyBorder, block.size()));  // kept in camera order
    }
    ::close(sock);
    const std::string trace = ReadFile(dir.File("trace_0000000009.log"));
    for (const auto& c : cases) EXPECT_NE(std::string::npos, trace.find(c.trace)) << c.trace;
}

}  // namespace
}  // namespace zptest
