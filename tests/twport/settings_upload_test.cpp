// Settings upload and read-back against a simulated camera: the exact lines of a first upload
// and of single-field changes, the early stop while replaying, a refused command mid-upload,
// the round trip, and the recording request.
#include <gtest/gtest.h>

#include <cstring>

#include "tw_fixture.h"

namespace zptest {
namespace {

constexpr const char* kIp = "127.0.0.80";

_CAMERA_SETTINGS BaseRecord() {
    _CAMERA_SETTINGS s{};
    s.netPerform = 50;
    s.netSpeed = 2;
    s.wbRed = 0x40000;
    s.wbGreen = 1000;
    s.wbBlue = 2000;
    s.roiWidth = 640;
    s.roiHeight = 480;
    s.frames = 100;
    s.preTrigger = 10;
    s.period = 1000000;
    s.exposure = 500000;
    s.syncInMode = 2;
    s.syncInFlags = 0x04;
    s.burstLength = 16;
    s.trigInFlags = 0x01;
    s.trigInTime = 20000;
    s.trigDelay = 3000000;
    return s;
}

const std::vector<std::string> kFirstUpload = {"#0A89006400640100\\r\\n",
                                               "#0A9E02\\r\\n",
                                               "#0A120003FFC0000003E8000007D0\\r\\n",
                                               "#0A90028001E0\\r\\n",
                                               "#0A8D00000000028001E001\\r\\n",
                                               "#0A0E00000064\\r\\n",
                                               "#0A0400000059\\r\\n",
                                               "#0A060606060059\\r\\n",
                                               "#0A070101F4\\r\\n",
                                               "#0A070201F4\\r\\n",
                                               "#0A820302\\r\\n",
                                               "#0A9B0010\\r\\n",
                                               "#0A840100000014\\r\\n",
                                               "#0A5D0003\\r\\n"};

class SettingsUpload : public ::testing::Test {
protected:
    void SetUp() override { Start({}); }
    void Start(std::vector<std::string> extra) {
        extra.insert(extra.end(), {"--option", "1"});
        m_port.reset();
        m_camera.reset();  // the new simulator takes the same address and port
        m_camera = std::make_unique<Camera>(kIp, extra);
        ASSERT_TRUE(m_camera->Ready());
        m_item = ItemFor(kIp);
        m_port = std::make_unique<TestPort>();
        ASSERT_EQ(1u, m_port->Open(&m_item));
        m_camera->ClearLog();
    }
    std::vector<std::string> Upload(_CAMERA_SETTINGS& s, unsigned int expected = 1) {
        m_camera->ClearLog();
        EXPECT_EQ(expected, m_port->WriteData2(&s, sizeof s));
        return m_camera->Lines();
    }
    std::unique_ptr<Camera> m_camera;
    _ZP_ENUMITEMEX m_item{};
    std::unique_ptr<TestPort> m_port;
};

TEST_F(SettingsUpload, FirstUploadSendsEveryStepInOrderAndClampsWhiteBalance) {
    _CAMERA_SETTINGS s = BaseRecord();
    EXPECT_EQ(kFirstUpload, Upload(s));
    EXPECT_EQ(262080u, s.wbRed);     // written back into the caller's record
    EXPECT_TRUE(Upload(s).empty());  // equal to the remembered copy: nothing is sent
}

TEST_F(SettingsUpload, LengthZeroSendsNothingAndSucceeds) {
    EXPECT_EQ(1u, m_port->WriteData2(nullptr, 0));
    EXPECT_TRUE(m_camera->Lines().empty());
}

struct FieldCase {
    const char* name;
    void (*change)(_CAMERA_SETTINGS&);
    std::vector<std::string> lines;
};

class OneFieldChange : public SettingsUpload, public ::testing::WithParamInterface<FieldCase> {};

TEST_P(OneFieldChange, SendsOnlyTheCommandsOfThatField) {
    _CAMERA_SETTINGS s = BaseRecord();
    Upload(s);
    GetParam().change(s);
    EXPECT_EQ(GetParam().lines, Upload(s));
}

INSTANTIATE_TEST_SUITE_P(
    Fields, OneFieldChange,
    ::testing::Values(
        FieldCase{
            "netPerform", [](_CAMERA_SETTINGS& s) { s.netPerform = 70000; }, {"#0A89FFFFFFFF0100\\r\\n"}},
        FieldCase{"netSpeed", [](_CAMERA_SETTINGS& s) { s.netSpeed = 0x1F; }, {"#0A9E1F\\r\\n"}},
        FieldCase{
            "wbGreen", [](_CAMERA_SETTINGS& s) { s.wbGreen = 7; }, {"#0A120003FFC000000007000007D0\\r\\n"}},
        FieldCase{"wbZero", [](_CAMERA_SETTINGS& s) { s.wbBlue = 0; }, {}},
        FieldCase{"binning",
                  [](_CAMERA_SETTINGS& s) { s.binning = 1; },
                  {"#0A90050003C0\\r\\n", "#0A8D00000000050003C001\\r\\n"}},
        FieldCase{"roiWidth",
                  [](_CAMERA_SETTINGS& s) { s.roiWidth = 320; },
                  {"#0A90014001E0\\r\\n", "#0A8D00000000014001E001\\r\\n"}},
        FieldCase{"roiHeight",
                  [](_CAMERA_SETTINGS& s) { s.roiHeight = 240; },
                  {"#0A90028000F0\\r\\n", "#0A8D00000000028000F001\\r\\n"}},
        FieldCase{"frames",
                  [](_CAMERA_SETTINGS& s) { s.frames = 0; },
                  {"#0A0E00000001\\r\\n", "#0A0400000000\\r\\n", "#0A06060606FFFFFFF5\\r\\n",
                   "#0A070101F4\\r\\n", "#0A070201F4\\r\\n"}},
        FieldCase{"preTrigger",
                  [](_CAMERA_SETTINGS& s) { s.preTrigger = 500; },
                  {"#0A0E00000064\\r\\n", "#0A0400000000\\r\\n", "#0A060606060000\\r\\n", "#0A070101F4\\r\\n",
                   "#0A070201F4\\r\\n"}},
        FieldCase{"period",
                  [](_CAMERA_SETTINGS& s) { s.period = 100000; },
                  {"#0A060A0A0A0059\\r\\n", "#0A07010061\\r\\n", "#0A07020061\\r\\n"}},
        FieldCase{"exposure",
                  [](_CAMERA_SETTINGS& s) { s.exposure = 2000000; },
                  {"#0A060606060059\\r\\n", "#0A070103E5\\r\\n", "#0A070203E5\\r\\n"}},
        FieldCase{"syncInMode",
                  [](_CAMERA_SETTINGS& s) { s.syncInMode = 1, s.syncInFlags = 1; },
                  {"#0A820101\\r\\n"}},
        FieldCase{"burstLength", [](_CAMERA_SETTINGS& s) { s.burstLength = 0x12345; }, {"#0A9B2345\\r\\n"}},
        FieldCase{"trigInFlags", [](_CAMERA_SETTINGS& s) { s.trigInFlags = 5; }, {"#0A840200000014\\r\\n"}},
        FieldCase{"trigInTimeAlone", [](_CAMERA_SETTINGS& s) { s.trigInTime = 1; }, {}},
        FieldCase{"trigDelay", [](_CAMERA_SETTINGS& s) { s.trigDelay = 25999999; }, {"#0A5D0019\\r\\n"}}),
    [](const ::testing::TestParamInfo<FieldCase>& info) { return std::string(info.param.name); });

TEST_F(SettingsUpload, ReplayStatesSendOnlyTheLinkSettingsAndRememberNothing) {
    m_port->m_byCameraState = 5;
    _CAMERA_SETTINGS s = BaseRecord();
    const std::vector<std::string> head(kFirstUpload.begin(), kFirstUpload.begin() + 3);
    EXPECT_EQ(head, Upload(s));
    m_port->m_byCameraState = 6;
    EXPECT_EQ(head, Upload(s));  // not remembered: sent again
}

TEST_F(SettingsUpload, RefusedCommandStopsAndTheNextUploadSendsTheRestAgain) {
    _CAMERA_SETTINGS s = BaseRecord();
    ASSERT_EQ("OK", m_camera->Control("result 06 21"));
    const std::vector<std::string> upToRate(kFirstUpload.begin(), kFirstUpload.begin() + 8);
    EXPECT_EQ(upToRate, Upload(s, 0));
    ASSERT_EQ("OK", m_camera->Control("result 06 off"));
    // Nothing was remembered, so everything goes again.
    EXPECT_EQ(kFirstUpload, Upload(s));
}

TEST_F(SettingsUpload, RecordWrittenThenReadBackAgrees) {
    _CAMERA_SETTINGS s = BaseRecord();
    ASSERT_EQ(1u, m_port->WriteData2(&s, sizeof s));
    _CAMERA_SETTINGS back;
    std::memset(&back, 0xAB, sizeof back);
    ASSERT_EQ(1u, m_port->ReadFlashMemoryBlocks(7, 9, &back));
    EXPECT_EQ(1024u, back.recordLength);
    const std::pair<unsigned int, unsigned int> same[] = {
        {s.exposure, back.exposure},       {s.exposure, back.exposureCopy},
        {s.roiWidth, back.roiWidth},       {s.roiHeight, back.roiHeight},
        {s.period, back.period},           {s.period, back.periodCopy},
        {s.frames, back.frames},           {s.preTrigger, back.preTrigger},
        {s.syncInMode, back.syncInMode},   {s.burstLength, back.burstLength},
        {s.trigInFlags, back.trigInFlags}, {s.trigInTime, back.trigInTime},
        {s.trigDelay, back.trigDelay},     {s.wbRed, back.wbRed},
        {s.wbGreen, back.wbGreen},         {s.wbBlue, back.wbBlue},
        {s.netSpeed, back.netSpeed}};
    for (std::size_t i = 0; i < sizeof same / sizeof same[0]; ++i)
        EXPECT_EQ(same[i].first, same[i].second) << i;
    EXPECT_EQ(0x64u, back.syncInFlags);  // option 2, plus 0x60 for a pre-trigger above 1
    EXPECT_EQ(0u, back.netPerform);
    EXPECT_EQ(2u, back.colorFormat);
    EXPECT_EQ(24u, back.bitsPerPixel);
    EXPECT_EQ(640u * 480u, back.pixelCount);
    EXPECT_EQ(1504u, back.sensorWidth);
    EXPECT_EQ(180u, back.word564);
    EXPECT_EQ(64u, back.word800);
    EXPECT_EQ(0u, back.reserved60[0]);
}

TEST_F(SettingsUpload, ReadBackFailsOnARefusedQueryButNotOnNetSpeed) {
    _CAMERA_SETTINGS back{};
    ASSERT_EQ("OK", m_camera->Control("result 9E 21"));
    EXPECT_EQ(1u, m_port->ReadFlashMemoryBlocks(0, 0, &back));
    EXPECT_EQ(0u, back.netSpeed);
    ASSERT_EQ("OK", m_camera->Control("result 82 21"));
    EXPECT_EQ(0u, m_port->ReadFlashMemoryBlocks(0, 0, &back));
}

TEST_F(SettingsUpload, RecordingRequestArmsAndRecords) {
    Start({"--announce-to", kIp});
    Announcements announcements;
    m_port->SetAnnouncementCallback(&Announcements::Callback, &announcements);
    _RECORDING_REQUEST request{50, 60, 0, 0};
    ASSERT_EQ(1u, m_port->WriteData2(&request, 1));
    const std::vector<std::string> lines = {"#0A0E00000032\\r\\n", "#0A0400000000\\r\\n", "#0A1B\\r\\n",
                                            "#0A74\\r\\n"};
    EXPECT_EQ(lines, m_camera->Lines());
    std::string reply;
    ASSERT_EQ(1, m_port->Send("#0A40\r\n", reply));
    EXPECT_EQ("03", reply.substr(7, 2));  // armed by Ready, triggered by Record
    const std::vector<std::string> expected = {"#0A01A402_[127.0.0.80]", "#0A01A403_[127.0.0.80]"};
    EXPECT_EQ(expected, announcements.WaitFor(2));
    EXPECT_EQ(3, m_port->m_byCameraState.load());
}

TEST_F(SettingsUpload, ArmOnlyAndNoneRequests) {
    _RECORDING_REQUEST request{0, 0, ZP_RECORD_ARM_ONLY, 0};
    ASSERT_EQ(1u, m_port->WriteData2(&request, 1));
    EXPECT_EQ(std::vector<std::string>({"#0A0E00000001\\r\\n", "#0A0400000000\\r\\n", "#0A1B\\r\\n"}),
              m_camera->Lines());
    std::string reply;
    ASSERT_EQ(1, m_port->Send("#0A40\r\n", reply));
    EXPECT_EQ("02", reply.substr(7, 2));
    m_camera->ClearLog();
    request.mode = ZP_RECORD_MODE_NONE;
    EXPECT_EQ(1u, m_port->WriteData2(&request, 1));
    EXPECT_TRUE(m_camera->Lines().empty());
}

}  // namespace
}  // namespace zptest
