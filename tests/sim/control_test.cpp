#include <gtest/gtest.h>

#include "config.h"
#include "faults.h"
#include "udp_server.h"

namespace zpsim {
namespace {

TEST(SimFaults, DropsEveryNthReply) {
    FaultInjector faults;
    ASSERT_EQ(faults.Apply("drop 3"), "");
    std::string pattern;
    for (int i = 0; i < 7; ++i) {
        pattern += faults.Decide(0x40).send ? 'S' : 'D';
    }
    EXPECT_EQ(pattern, "SSDSSDS");
}

TEST(SimFaults, ResultOverrideOnlyForItsCommand) {
    FaultInjector faults;
    ASSERT_EQ(faults.Apply("result 40 21"), "");
    EXPECT_EQ(faults.Decide(0x40).result, std::optional<std::uint8_t>(0x21));
    EXPECT_FALSE(faults.Decide(0x48).result);
    ASSERT_EQ(faults.Apply("result 40 off"), "");
    EXPECT_FALSE(faults.Decide(0x40).result);
}

TEST(SimFaults, SilentAndDelayAndClear) {
    FaultInjector faults;
    ASSERT_EQ(faults.Apply("delay 250"), "");
    EXPECT_EQ(faults.Decide(0x40).delayMs, 250u);
    ASSERT_EQ(faults.Apply("silent on"), "");
    EXPECT_FALSE(faults.Decide(0x40).send);
    ASSERT_EQ(faults.Apply("clear"), "");
    FaultDecision decision = faults.Decide(0x40);
    EXPECT_TRUE(decision.send);
    EXPECT_EQ(decision.delayMs, 0u);
}

TEST(SimFaults, RawReplyReplacesOneCommandsReplyVerbatimOrFilled) {
    FaultInjector faults;
    ASSERT_EQ(faults.Apply("raw 40 ##ZZ %s garbage"), "");
    ASSERT_EQ(faults.Apply("raw 45 fill 3"), "");
    ASSERT_EQ(faults.Apply("raw 47 fill 4000"), "");
    EXPECT_EQ(faults.Decide(0x40).raw, std::optional<std::string>("##ZZ %s garbage"));
    EXPECT_EQ(faults.Decide(0x45).raw, std::optional<std::string>("#00"));
    const std::string big = *faults.Decide(0x47).raw;
    EXPECT_EQ(big.size(), 4000u);
    EXPECT_EQ(big.substr(0, 6), "#00110");
    EXPECT_FALSE(faults.Decide(0x48).raw);
    EXPECT_EQ(RawDatagram("fill 2 3"), "fill 2 3");  // not a fill form: sent as written
    ASSERT_EQ(faults.Apply("raw 40 off"), "");
    EXPECT_FALSE(faults.Decide(0x40).raw);
    EXPECT_NE(faults.Apply("raw 40"), "");
    EXPECT_NE(faults.Apply("raw 400 x"), "");
}

TEST(SimFaults, RefusesBadCommands) {
    FaultInjector faults;
    EXPECT_NE(faults.Apply("silent maybe"), "");
    EXPECT_NE(faults.Apply("result 40"), "");
    EXPECT_NE(faults.Apply("result 4G 21"), "");
    EXPECT_NE(faults.Apply("result 40 121"), "");
    EXPECT_NE(faults.Apply("drop -1"), "");
    EXPECT_NE(faults.Apply("delay 10 20"), "");
    EXPECT_NE(faults.Apply("explode"), "");
    EXPECT_FALSE(faults.Config().silent);
    EXPECT_TRUE(faults.Config().results.empty());
}

std::vector<SimCamera> TwoCameras() {
    CameraIdentity first;
    first.ip = "127.0.0.51";
    CameraIdentity second;
    second.ip = "127.0.0.52";
    std::vector<SimCamera> cameras;
    cameras.emplace_back(first);
    cameras.emplace_back(second);
    return cameras;
}

TEST(SimControl, TargetedCommandChangesOneCamera) {
    auto cameras = TwoCameras();
    EXPECT_EQ(ExecuteControl(cameras, "@127.0.0.52 state 5"), "OK");
    EXPECT_EQ(cameras[0].model.State(), 1);
    EXPECT_EQ(cameras[1].model.State(), 5);
    EXPECT_EQ(ExecuteControl(cameras, "@127.0.0.99 state 5"), "ERR no camera 127.0.0.99");
}

TEST(SimControl, UntargetedCommandChangesAll) {
    auto cameras = TwoCameras();
    EXPECT_EQ(ExecuteControl(cameras, "silent on"), "OK");
    EXPECT_TRUE(cameras[0].faults.Config().silent);
    EXPECT_TRUE(cameras[1].faults.Config().silent);
}

TEST(SimControl, RecordingCommandsAndErrors) {
    auto cameras = TwoCameras();
    EXPECT_EQ(ExecuteControl(cameras, "arm"), "OK");
    EXPECT_EQ(ExecuteControl(cameras, "frames 12"), "OK");
    EXPECT_EQ(cameras[0].model.Identity().lastFrame, 12u);
    EXPECT_EQ(ExecuteControl(cameras, "arm"), "ERR cannot arm in state 02");
    EXPECT_EQ(ExecuteControl(cameras, "playback"), "ERR no recording to play back");
    EXPECT_EQ(ExecuteControl(cameras, "state 123"), "ERR usage: state <hex byte>");
    EXPECT_EQ(ExecuteControl(cameras, "bogus"), "ERR unknown fault command");
    EXPECT_EQ(ExecuteControl(cameras, "ping"), "OK");
}

TEST(SimConfig, SectionsStartFromDefaults) {
    CameraIdentity defaults;
    std::vector<CameraIdentity> cameras;
    std::string text =
        "# two cameras\nmodel = 9\nserial=0x100\n\n[camera]\nip=127.0.0.61\naddress=3\n"
        "[camera]\nip=127.0.0.62\nname=Second cam\ntemperature=-5\n";
    ASSERT_EQ(ParseConfigText(text, defaults, cameras), "");
    ASSERT_EQ(cameras.size(), 2u);
    EXPECT_EQ(cameras[0].ip, "127.0.0.61");
    EXPECT_EQ(cameras[0].address, 3);
    EXPECT_EQ(cameras[0].modelCode, 9);
    EXPECT_EQ(cameras[1].serial, 0x100u);
    EXPECT_EQ(cameras[1].address, 1);
    EXPECT_EQ(cameras[1].name, "Second cam");
    EXPECT_EQ(cameras[1].temperature, -5);
}

TEST(SimConfig, ErrorsNameTheLine) {
    CameraIdentity defaults;
    std::vector<CameraIdentity> cameras;
    EXPECT_EQ(ParseConfigText("model=7\naddress=256\n", defaults, cameras),
              "line 2: bad value for address: 256");
    EXPECT_EQ(ParseConfigText("colour=red\n", defaults, cameras), "line 1: unknown key: colour");
    EXPECT_EQ(ParseConfigText("ip=300.1.1.1\n", defaults, cameras), "line 1: bad IPv4 address: 300.1.1.1");
    EXPECT_EQ(ParseConfigText("just words\n", defaults, cameras), "line 1: expected key=value");
    EXPECT_EQ(ParseConfigText("temperature=200\n", defaults, cameras),
              "line 1: bad value for temperature: 200");
}

}  // namespace
}  // namespace zpsim
