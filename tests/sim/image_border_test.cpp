// The camera's border block: in camera byte order on the wire, read back by the port library's
// byte-order conversion into host order.
#include <gtest/gtest.h>
#include <zpport/BorderData.h>

#include <cstring>

#include "camera_border.h"
#include "segment_train.h"

using namespace zpsim;

namespace {

// The record is packed: its fields are read by value (unary +), never bound to a reference.
BORDER_DATA HostBorder(const std::string& block) {
    BORDER_DATA border;
    EXPECT_EQ(block.size(), sizeof border);
    std::memcpy(&border, block.data(), sizeof border);
    ChangeBorderEndianess(&border);
    return border;
}

CameraModel Model() {
    CameraIdentity identity;
    identity.name = "bench cam";
    identity.serial = 0x00A1B2C3;
    identity.temperature = -5;
    identity.periodNs = 2000000;
    CameraModel model(identity);
    model.SetClock(13, 45, 9);
    model.SetDate(11, 23, 26);
    return model;
}

}  // namespace

TEST(ImageBorder, FrameFieldsArriveInHostOrder) {
    FrameDescription frame;
    frame.frameIndex = 0x12345;
    frame.width = 1504;
    frame.height = 1128;
    frame.colour = true;
    frame.jpeg = true;
    frame.jpegQuality = 85;
    frame.chromaSubsampling = 1;
    frame.toneApplied = false;
    const std::string block = CameraBorder(Model(), frame);
    ASSERT_EQ(block.size(), kBorderSize);
    // Camera order is big-endian.
    EXPECT_EQ(block.substr(kBorderWidth2, 2), "\x05\xE0");

    BORDER_DATA border = HostBorder(block);
    EXPECT_EQ(+border.SensorType, 1);
    EXPECT_EQ(+border.FrameNumber, 0x2345);
    EXPECT_EQ(+border.Width, 1504);
    EXPECT_EQ(+border.Height, 1128);
    EXPECT_EQ(+border.Width2, 1504);
    EXPECT_EQ(+border.Height2, 1128);
    EXPECT_EQ(+border.Format, 2);
    EXPECT_EQ(+border.Bytes297[0], 0);
    EXPECT_EQ(+border.Word299, 1);
    EXPECT_EQ(+border.Word301, 85);
    EXPECT_EQ(+border.ToneTable[0], 255 << 2);
    EXPECT_EQ(+border.ToneTable[255], 0);
    EXPECT_EQ(+border.ToneTable[10], 245 << 2);
    EXPECT_EQ(std::memcmp(border.EndMarker, "EoBD", 4), 0);
}

TEST(ImageBorder, CameraFieldsComeFromTheModel) {
    FrameDescription frame;
    frame.width = 8;
    frame.height = 8;
    BORDER_DATA border = HostBorder(CameraBorder(Model(), frame));
    EXPECT_STREQ(border.ModelText, "TW-SIM");
    EXPECT_STREQ(border.CameraName, "bench cam");
    EXPECT_EQ(+border.SerialNumber, 0x00A1B2C3u);
    EXPECT_EQ(+border.Temperature, -5);
    EXPECT_EQ(+border.FrameRate, 500u);
    EXPECT_EQ(+border.SensorType, 2);
    EXPECT_EQ(+border.Format, 0);
    EXPECT_EQ(+border.Bytes297[0], 1);
    EXPECT_EQ(+border.ClockHours, 0x13);
    EXPECT_EQ(+border.ClockMinutes, 0x45);
    EXPECT_EQ(+border.ClockSeconds, 0x09);
    EXPECT_EQ(+border.ClockDay, 0x23);
    EXPECT_EQ(+border.ClockMonth, 0x11);
    EXPECT_EQ(+border.Year, 0x26);
}

TEST(ImageBorder, LongCameraNameIsCutAndTerminated) {
    CameraModel model = Model();
    model.MutableIdentity().name = std::string(80, 'n');
    FrameDescription frame;
    BORDER_DATA border = HostBorder(CameraBorder(model, frame));
    EXPECT_EQ(std::string(border.CameraName), std::string(50, 'n'));
}
