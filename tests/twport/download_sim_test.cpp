// ReadData against the simulator: raw frames byte-exact, JPEG frames within the PSNR bound, the
// returned stream readable by libjpeg, the border in host order, retries after dropped, reordered,
// duplicated or truncated trains with the exact rate-limit and abort lines, the give-up after six
// attempts, and bad trains failing cleanly.
#include <gtest/gtest.h>

#include <cmath>

#include "download_fake_camera.h"
#include "frame_source.h"
#include "tw_fixture.h"
#include "twport/tw_port_internal.h"

namespace zptest {
namespace {

constexpr const char* kIp = "127.0.0.92";
constexpr int kWidth = 320, kHeight = 240;

class SimPort : public TestPort {
public:
    using CTWPort::m_abyBorder;
    using CTWPort::m_dwState;
    using CTWPort::m_dwTransferActive;
};

std::string Expected(std::uint32_t frameIndex, int width, int height, unsigned components) {
    std::string pixels(static_cast<std::size_t>(width) * height * components, '\0');
    zpsim::RenderFrame(frameIndex, static_cast<std::uint16_t>(width), static_cast<std::uint16_t>(height),
                       components, reinterpret_cast<std::uint8_t*>(pixels.data()));
    return pixels;
}

double Psnr(const std::string& a, const unsigned char* b) {
    double sum = 0;
    for (std::size_t i = 0; i < a.size(); ++i) {
        const double d = static_cast<unsigned char>(a[i]) - b[i];
        sum += d * d;
    }
    return sum == 0 ? 99 : 10 * std::log10(255.0 * 255.0 * static_cast<double>(a.size()) / sum);
}

// A complete decode with plain libjpeg; the pixels, or nothing when libjpeg warns or fails.
struct Decoded {
    int width = 0, height = 0, components = 0;
    std::string pixels;
};
struct ErrorJump {
    jpeg_error_mgr base;
    bool failed = false;
};
Decoded DecodeWithLibjpeg(const unsigned char* stream, std::size_t length) {
    jpeg_decompress_struct cinfo;
    ErrorJump error;
    cinfo.err = jpeg_std_error(&error.base);
    error.base.output_message = [](j_common_ptr) {};
    jpeg_create_decompress(&cinfo);
    jpeg_mem_src(&cinfo, stream, length);
    Decoded out;
    if (jpeg_read_header(&cinfo, TRUE) == JPEG_HEADER_OK) {
        jpeg_start_decompress(&cinfo);
        out.width = static_cast<int>(cinfo.output_width);
        out.height = static_cast<int>(cinfo.output_height);
        out.components = cinfo.output_components;
        out.pixels.resize(static_cast<std::size_t>(out.width) * out.height * out.components);
        while (cinfo.output_scanline < cinfo.output_height) {
            JSAMPROW row = reinterpret_cast<JSAMPROW>(&out.pixels[cinfo.output_scanline * out.width * out.components]);
            jpeg_read_scanlines(&cinfo, &row, 1);
        }
        jpeg_finish_decompress(&cinfo);
    }
    if (error.base.num_warnings != 0) out = Decoded{};
    jpeg_destroy_decompress(&cinfo);
    return out;
}

class SimDownload : public ::testing::Test {
protected:
    void SetUp() override { Start(12, kWidth, kHeight, 0); }
    void Start(unsigned int cameraType, int width, int height, unsigned int netSpeed) {
        // A recording of 300 frames whose indices do not start at 0.
        m_camera = std::make_unique<Camera>(kIp, std::vector<std::string>{"--first-frame", "1000", "--last-frame", "1299"});
        ASSERT_TRUE(m_camera->Ready());
        m_item = ItemFor(kIp);
        m_item.cameraType = cameraType;
        ASSERT_EQ(1u, m_port.Open(&m_item));
        const std::string base = "/tmp/zp_download_sim_" + std::to_string(::getpid()) + ".log";
        m_tracePath = "/tmp/zp_download_sim_" + std::to_string(::getpid()) + "_0000000009.log";
        ::unlink(m_tracePath.c_str());
        m_port.EnableTrace(9, base.c_str(), 1);
        _CAMERA_SETTINGS settings{};
        settings.roiWidth = static_cast<unsigned int>(width);
        settings.roiHeight = static_cast<unsigned int>(height);
        settings.netPerform = 5000;
        settings.netSpeed = netSpeed;
        ASSERT_EQ(1u, m_port.WriteData2(&settings, sizeof settings));
        m_camera->ClearLog();
    }
    void TearDown() override { ::unlink(m_tracePath.c_str()); }
    unsigned int Read(unsigned int live, unsigned int frame, unsigned int flags, std::size_t size) {
        m_buffer.assign(size + 64, 0xEE);  // guard bytes behind the capacity
        const unsigned int words[3] = {live, frame, flags};
        std::memcpy(m_buffer.data(), words, sizeof words);
        return m_port.ReadData(m_buffer.data(), static_cast<unsigned int>(size));
    }
    bool GuardIntact(std::size_t size) const {
        for (std::size_t i = size; i < m_buffer.size(); ++i)
            if (m_buffer[i] != 0xEE) return false;
        return true;
    }
    std::string Frame(std::size_t length) const {
        return std::string(m_buffer.begin(), m_buffer.begin() + static_cast<long>(length));
    }
    std::uint32_t FirstIndex() const { return m_port.m_dwState[zptw::kFirstFrameIndex]; }
    BORDER_DATA Border() const {
        BORDER_DATA border;
        std::memcpy(&border, m_port.m_abyBorder, sizeof border);
        return border;
    }
    std::string Log() const { return ReadFile(m_tracePath); }
    // The image request lines and everything after them in the camera's log.
    std::vector<std::string> LinesFromFirstRequest() const {
        std::vector<std::string> lines = m_camera->Lines();
        auto first = std::find_if(lines.begin(), lines.end(),
                                  [](const std::string& l) { return l.compare(0, 5, "#0A88") == 0; });
        return std::vector<std::string>(first, lines.end());
    }
    static std::string Request(std::uint32_t index, int attempt) {
        char line[32];
        std::snprintf(line, sizeof line, "#0A88%08X%04X", index, 1335 + 2 * attempt);
        return line;
    }

    std::unique_ptr<Camera> m_camera;
    _ZP_ENUMITEMEX m_item{};
    SimPort m_port;
    std::string m_tracePath;
    std::vector<unsigned char> m_buffer;
};

TEST_F(SimDownload, RawRecordedFramesArriveByteExactWithTheBorderInHostOrder) {
    const std::size_t size = kWidth * kHeight;  // a raw frame needs exactly its pixels
    for (unsigned int frame : {0u, 1u, 17u, 299u}) {
        ASSERT_EQ(1u, Read(0, frame, 1, size)) << frame << "\n" << Log();
        EXPECT_EQ(zpsim::RenderRawFrame(FirstIndex() + frame, kWidth, kHeight, false), Frame(size)) << frame;
        EXPECT_TRUE(GuardIntact(size));
        const BORDER_DATA border = Border();
        EXPECT_EQ(kWidth, static_cast<int>(border.Width2));
        EXPECT_EQ(kHeight, static_cast<int>(border.Height2));
        EXPECT_EQ(2, static_cast<int>(border.SensorType));
        EXPECT_EQ(0, std::memcmp(border.EndMarker, "EoBD", 4));
    }
    const std::vector<std::string> lines = m_camera->Lines();
    ASSERT_GE(lines.size(), 5u);
    EXPECT_EQ((std::vector<std::string>{"#0A8700\\r\\n", "#0A9C00000000014000F000\\r\\n", "#0A45\\r\\n",
                                        Request(FirstIndex(), 0)}),
              std::vector<std::string>(lines.begin(), lines.begin() + 4));
}

// RenderFrame content (smooth shading, sharp digits) at quality 90 decodes to at least 30 dB for
// colour 4:2:0 and 35 dB for grey.
TEST_F(SimDownload, JpegFramesDecodeWithinThePsnrBound) {
    ASSERT_EQ("OK", m_camera->Control("image quality 90"));
    ASSERT_EQ(1u, Read(0, 5, 0, kWidth * kHeight));
    EXPECT_GE(Psnr(Expected(FirstIndex() + 5, kWidth, kHeight, 1), m_buffer.data()), 35.0);
    EXPECT_EQ(90, static_cast<int>(Border().Word301));
    for (int subsampling = 0; subsampling <= 2; ++subsampling) {
        ASSERT_EQ("OK", m_camera->Control("image colour on"));
        ASSERT_EQ("OK", m_camera->Control("image subsampling " + std::to_string(subsampling)));
        ASSERT_EQ(1u, Read(0, 6, 0, kWidth * kHeight * 3)) << Log();
        EXPECT_GE(Psnr(Expected(FirstIndex() + 6, kWidth, kHeight, 3), m_buffer.data()), 30.0) << subsampling;
        EXPECT_TRUE(GuardIntact(kWidth * kHeight * 3));
    }
}

TEST_F(SimDownload, TheReturnedStreamOpensInAnOrdinaryDecoder) {
    ASSERT_EQ("OK", m_camera->Control("image colour on"));
    const std::size_t size = 512 * 1024;
    ASSERT_EQ(1u, Read(0, 9, 4, size));
    std::uint32_t length = 0;
    std::memcpy(&length, m_buffer.data(), 4);
    ASSERT_LE(length + 4, size);
    const Decoded decoded = DecodeWithLibjpeg(m_buffer.data() + 4, length);
    ASSERT_EQ(kWidth, decoded.width);
    EXPECT_EQ(kHeight, decoded.height);
    EXPECT_EQ(3, decoded.components);
    EXPECT_GE(Psnr(Expected(FirstIndex() + 9, kWidth, kHeight, 3), reinterpret_cast<const unsigned char*>(
                                                                        decoded.pixels.data())),
              30.0);
}

TEST_F(SimDownload, ALiveFrameIsAJpegFrame) {
    ASSERT_EQ(1u, Read(1, 0, 0, kWidth * kHeight));
    EXPECT_GE(Psnr(Expected(0, kWidth, kHeight, 1), m_buffer.data()), 35.0);
    EXPECT_EQ("#0A8C010536", m_camera->Lines().front());
}

struct FaultCase {
    const char* name;
    const char* fault;
    const char* trace;
};

class SimRetry : public SimDownload, public ::testing::WithParamInterface<FaultCase> {};

TEST_P(SimRetry, OneBadTrainIsRetriedOnTheNextPortWithTheRateRaisedAndLoweredAgain) {
    ASSERT_EQ(1u, Read(0, 0, 1, kWidth * kHeight));  // geometry, format and first index known
    m_camera->ClearLog();
    ASSERT_EQ("OK", m_camera->Control(std::string("image ") + GetParam().fault));
    ASSERT_EQ("OK", m_camera->Control("image fail 1"));
    ASSERT_EQ(1u, Read(0, 3, 1, kWidth * kHeight)) << Log();
    EXPECT_EQ(zpsim::RenderRawFrame(FirstIndex() + 3, kWidth, kHeight, false), Frame(kWidth * kHeight));
    EXPECT_EQ((std::vector<std::string>{Request(FirstIndex() + 3, 0), "#0A89177017700100\\r\\n", "#0A86\\r\\n",
                                        Request(FirstIndex() + 3, 1), "#0A89138813880100\\r\\n"}),
              m_camera->Lines());
    const std::string log = Log();
    EXPECT_NE(std::string::npos, log.find(GetParam().trace)) << log;
    EXPECT_NE(std::string::npos, log.find("ERR: ReadData retrying 1... (NetPerf increased to 6000)")) << log;
    EXPECT_NE(std::string::npos, log.find("ERR: ReadData Reducing NetPerf to 5000")) << log;
    EXPECT_EQ(5000u, m_port.m_dwState[zptw::kNetPerfCurrent]);
    EXPECT_EQ(0u, m_port.m_dwTransferActive);
}

INSTANTIATE_TEST_SUITE_P(
    Faults, SimRetry,
    ::testing::Values(FaultCase{"drop", "drop 3", "ERR: ImageFunction Out Of Order"},
                      FaultCase{"reorder", "reorder 2", "ERR: ImageFunction Out Of Order"},
                      FaultCase{"duplicate", "duplicate 4", "ERR: ImageFunction Out Of Order"},
                      FaultCase{"truncate", "truncate 5", "ERR: ImageFunction Select Timeout (1000000) = 0 after 6"},
                      FaultCase{"oversize", "oversize", "ERR: ImageFunction datagram longer than 32768"}),
    [](const ::testing::TestParamInfo<FaultCase>& info) { return std::string(info.param.name); });

TEST_F(SimDownload, InformationBeforeTheLastSegmentIsNoFault) {
    ASSERT_EQ("OK", m_camera->Control("image info-first"));
    ASSERT_EQ(1u, Read(0, 2, 1, kWidth * kHeight));
    EXPECT_EQ(zpsim::RenderRawFrame(FirstIndex() + 2, kWidth, kHeight, false), Frame(kWidth * kHeight));
    EXPECT_EQ(0, Count(Log(), "retrying"));
}

TEST_F(SimDownload, SixBadTrainsGiveUpWithTheRateRaisedFiveTimes) {
    ASSERT_EQ("OK", m_camera->Control("image drop 2"));
    EXPECT_EQ(0u, Read(0, 0, 1, kWidth * kHeight));
    const std::string log = Log();
    EXPECT_EQ(1, Count(log, "ERR: ReaData Cannot receive image..."));
    EXPECT_EQ(5, Count(log, "ERR: ReadData retrying "));
    EXPECT_EQ(6, Count(log, "ERR: ImageFunction Out Of Order"));
    const std::vector<std::string> lines = LinesFromFirstRequest();
    std::vector<std::string> expected;
    for (int attempt = 0; attempt < 6; ++attempt) {
        expected.push_back(Request(FirstIndex(), attempt));
        if (attempt == 5) break;
        char rate[40];
        const unsigned int value = 6000 + 1000 * static_cast<unsigned int>(attempt);
        std::snprintf(rate, sizeof rate, "#0A89%04X%04X0100\\r\\n", value, value);
        expected.push_back(rate);
        expected.push_back("#0A86\\r\\n");
    }
    EXPECT_EQ(expected, lines);
    EXPECT_EQ(10000u, m_port.m_dwState[zptw::kNetPerfCurrent]);
    EXPECT_EQ(0u, m_port.m_dwTransferActive);
}

TEST_F(SimDownload, StreamRequestsRetryWithoutTouchingTheRate) {
    ASSERT_EQ("OK", m_camera->Control("image drop 1"));
    ASSERT_EQ("OK", m_camera->Control("image fail 2"));
    ASSERT_EQ(1u, Read(0, 0, 4, 512 * 1024));
    for (const std::string& line : m_camera->Lines()) EXPECT_NE("#0A89", line.substr(0, 5)) << line;
    EXPECT_EQ(2, Count(Log(), "(NetPerf increased to 5000)"));
}

TEST_F(SimDownload, ARateHalfAStepAboveTheBaseEndsAtTheBase) {
    m_port.m_dwState[zptw::kNetPerfCurrent] = 5500;
    ASSERT_EQ(1u, Read(0, 0, 1, kWidth * kHeight));
    EXPECT_EQ("#0A89138813880100\\r\\n", m_camera->Lines().back());
    EXPECT_EQ(5000u, m_port.m_dwState[zptw::kNetPerfCurrent]);
}

TEST_F(SimDownload, AnOverlongTrainFailsCleanly) {
    ASSERT_EQ("OK", m_camera->Control("image overlong"));
    // Into a buffer of the frame's size: nothing past it is written, and retrying cannot help.
    EXPECT_EQ(0u, Read(0, 0, 1, kWidth * kHeight));
    EXPECT_TRUE(GuardIntact(kWidth * kHeight));
    EXPECT_NE(std::string::npos, Log().find("ERR: ImageFunction image larger than buffer"));
    EXPECT_NE(std::string::npos, Log().find("ERR: ReadData = -9"));
    // The camera answers its control channel only after the whole train went out, so the rest of
    // the first train cannot reach the same data port of the next request.
    ASSERT_EQ("OK", m_camera->Control("ping"));
    // Into a larger buffer: the length does not match the announced one, every attempt fails.
    EXPECT_EQ(0u, Read(0, 0, 1, 2 * kWidth * kHeight));
    EXPECT_EQ(6, Count(Log(), "announced"));
    EXPECT_EQ(1, Count(Log(), "ERR: ReaData Cannot receive image..."));
}

class SimToneTable : public SimDownload {
protected:
    void SetUp() override { Start(14, kWidth, kHeight, 0); }
};

TEST_F(SimToneTable, RawFramesOfCameraType14GoThroughTheBordersToneTable) {
    ASSERT_EQ(1u, Read(0, 4, 1, kWidth * kHeight));  // tone on: byte 297 set, no conversion
    const std::string raw = zpsim::RenderRawFrame(FirstIndex() + 4, kWidth, kHeight, false);
    EXPECT_EQ(raw, Frame(kWidth * kHeight));
    ASSERT_EQ("OK", m_camera->Control("image tone off"));
    ASSERT_EQ(1u, Read(0, 4, 1, kWidth * kHeight));
    const BORDER_DATA border = Border();
    std::string converted = raw;
    for (char& c : converted) c = static_cast<char>(border.ToneTable[static_cast<unsigned char>(c)] >> 2);
    EXPECT_NE(raw, converted);  // the table is not the identity after the shift
    EXPECT_EQ(converted, Frame(kWidth * kHeight));
}

}  // namespace
}  // namespace zptest
