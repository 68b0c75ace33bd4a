// 200 recorded frames over a lossy, reordering link: the camera sits in a namespace of its own
// behind a veth link whose camera end drops about 1 % of the packets it sends (a kernel filter,
// support/link_loss.bpf.c), and the simulator shuffles about 1 % of the segments. Every frame must
// arrive exact, the retries absorbing the damaged trains.
#include <arpa/inet.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <regex>
#include <string>
#include <vector>

#include "frame_source.h"
#include "support/net_fixture.h"
#include "support/temp_dir.h"
#include "tw_fixture.h"
#include "twport/tw_port_internal.h"
#include "zpport/CameraSettings.h"

namespace zptest {
namespace {

constexpr const char* kCameraIp = "10.79.0.10";
constexpr const char* kCameraEnd = "zpll0c";  // the fixture names the camera end <adapter>c
constexpr unsigned int kWidth = 160, kHeight = 120;

CameraLan LossyLan() {
    CameraLan lan;
    lan.adapters = {HostAdapter{"zpll0", "02:00:00:00:79:01", 9000, "10.79.0.1/24", ""}};
    lan.cameraIps = {kCameraIp};
    lan.firstAddress = 0x0A;
    lan.cameraKeys = "first-frame=1000\nlast-frame=1299\n";
    lan.simArgs = {"--image", "shuffle 0.01"};
    return lan;
}

// Output of a command run in the camera's namespace.
std::string InCameraNamespace(const NetFixture& net, const std::string& command) {
    InsideNamespace inside(net.Lan(0));
    std::string output;
    if (!inside.Entered()) return output;
    FILE* pipe = ::popen((command + " 2>&1").c_str(), "r");
    if (pipe == nullptr) return output;
    char chunk[512];
    while (std::fgets(chunk, sizeof chunk, pipe) != nullptr) output += chunk;
    return ::pclose(pipe) == 0 ? output : "failed: " + output;
}

// Packets the filter dropped so far, from the clsact statistics; -1 when unreadable.
long DroppedByFilter(const NetFixture& net) {
    const std::string stats = InCameraNamespace(net, std::string("tc -s qdisc show dev ") + kCameraEnd);
    std::smatch match;
    const std::regex clsact("qdisc clsact[^\\n]*\\n[^\\n]*dropped (\\d+)");
    return std::regex_search(stats, match, clsact) ? std::stol(match[1]) : -1;
}

TEST(LossyLink, TwoHundredFramesArriveExact) {
    TempDir dir;
    ASSERT_TRUE(dir.Valid());
    NetFixture net({LossyLan()});
    ASSERT_TRUE(net.Ready()) << net.Error();

    TestPort port;
    _ZP_ENUMITEMEX item = ItemFor(kCameraIp);
    item.adapterIp = ntohl(inet_addr("10.79.0.1"));
    const std::string tracePath = dir.File("trace_0000000009.log");
    port.EnableTrace(9, dir.File("trace.log").c_str(), 1);  // before the listener thread starts
    ASSERT_EQ(1u, port.Open(&item));
    _CAMERA_SETTINGS settings{};
    settings.roiWidth = kWidth;
    settings.roiHeight = kHeight;
    settings.netPerform = 5000;
    settings.netSpeed = 1;  // 4000-byte segments, 7 datagrams a frame with border and information
    ASSERT_EQ(1u, port.WriteData2(&settings, sizeof settings));

    // The loss starts once the camera is open and set up, so that only downloads meet it.
    EXPECT_EQ("", InCameraNamespace(net, std::string("tc qdisc add dev ") + kCameraEnd + " clsact"));
    EXPECT_EQ("", InCameraNamespace(net, std::string("tc filter add dev ") + kCameraEnd +
                                             " egress bpf da obj " ZP_LINK_LOSS_BPF " sec classifier"));

    std::vector<unsigned char> buffer(kWidth * kHeight + 64);
    for (unsigned int i = 0; i < 200; ++i) {
        const unsigned int frame = (i * 37) % 300;
        buffer.assign(buffer.size(), 0xEE);
        const unsigned int words[3] = {0, frame, 1};
        std::memcpy(buffer.data(), words, sizeof words);
        ASSERT_EQ(1u, port.ReadData(buffer.data(), kWidth * kHeight)) << "frame " << i << "\n"
                                                                      << ReadFile(tracePath);
        ASSERT_EQ(zpsim::RenderRawFrame(1000 + frame, kWidth, kHeight, false),
                  std::string(buffer.begin(), buffer.begin() + kWidth * kHeight))
            << "frame " << i;
        ASSERT_EQ(0xEE, buffer[kWidth * kHeight]) << "written past the frame";
    }
    const long dropped = DroppedByFilter(net);
    std::printf("200 frames: %ld packets dropped on the link\n", dropped);
    EXPECT_GT(dropped, 0);  // the link did lose packets
    EXPECT_NE(std::string::npos, ReadFile(tracePath).find("ERR: ReadData retrying "));  // and retries made up
    port.Close();
}

}  // namespace
}  // namespace zptest
