// 200 recorded frames over a lossy, reordering link: the camera sits in a namespace of its own
// behind a veth link whose camera end drops about 1 % of the image datagrams it sends (a kernel filter,
// support/link_loss.bpf.c), and the simulator shuffles about 1 % of the segments. Every frame must
// arrive exact, the retries absorbing the damaged trains.
#include <arpa/inet.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <regex>
#include <string>
#include <vector>

#include "frame_source.h"
#include "support/net_fixture.h"
#include "support/temp_dir.h"
#include "tw_fixture.h"
#include "zpport/CameraSettings.h"

namespace zptest {
namespace {

constexpr const char* kCameraIp = "10.79.0.10";
constexpr unsigned int kWidth = 160, kHeight = 120;

TEST(LossyLink, TwoHundredFramesArriveExact) {
    TempDir dir;
    ASSERT_TRUE(dir.Valid());
    CameraLan lan;  // adapter zpll0: the fixture names the camera end of its link zpll0c
    lan.adapters = {HostAdapter{"zpll0", "02:00:00:00:79:01", 9000, "10.79.0.1/24", ""}};
    lan.cameraIps = {kCameraIp};
    lan.firstAddress = 0x0A;
    lan.cameraKeys = "first-frame=1000\nlast-frame=1299\n";
    lan.simArgs = {"--image", "shuffle 0.01"};
    NetFixture net({lan});
    ASSERT_TRUE(net.Ready()) << net.Error();
    // A command run in the camera's namespace; its exit status.
    const auto inCamera = [&net](const std::string& command) {
        return std::system(("nsenter --net=" + net.Lan(0).Path() + " " + command).c_str());
    };

    TestPort port;
    _ZP_ENUMITEMEX item = ItemFor(kCameraIp);
    item.adapterIp = ntohl(inet_addr("10.79.0.1"));
    const std::string tracePath = dir.File("trace_0000000009.log");
    port.EnableTrace(9, dir.File("trace.log").c_str(), 1);  // before the listener thread starts
    ASSERT_EQ(1u, port.Open(&item));
    // Net speed 1: 4000-byte segments, 7 datagrams a frame with border and information.
    ASSERT_TRUE(port.SetUpDownload(kWidth, kHeight, 1));

    // The loss starts once the camera is open and set up, so that only downloads meet it.
    ASSERT_EQ(0, inCamera("tc qdisc add dev zpll0c clsact"));
    ASSERT_EQ(0, inCamera("tc filter add dev zpll0c egress bpf da obj " ZP_LINK_LOSS_BPF " sec classifier"));

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
    // The link did lose packets (the clsact statistics count the filter's drops), and retries made up.
    ASSERT_EQ(0, inCamera("tc -s qdisc show dev zpll0c >" + dir.File("stats")));
    const std::string stats = ReadFile(dir.File("stats"));
    std::smatch dropped;
    ASSERT_TRUE(std::regex_search(stats, dropped, std::regex("qdisc clsact[^\\n]*\\n[^\\n]*dropped (\\d+)")))
        << stats;
    EXPECT_NE("0", dropped[1].str()) << stats;
    EXPECT_NE(std::string::npos, ReadFile(tracePath).find("ERR: ReadData retrying "));
    port.Close();
}

}  // namespace
}  // namespace zptest
