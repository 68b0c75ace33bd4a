#include <gtest/gtest.h>

#include "camera_model.h"

namespace zpsim {
namespace {

CameraModel ModelInState(CameraState state) {
    CameraIdentity identity;
    identity.initialState = static_cast<std::uint8_t>(state);
    return CameraModel(identity);
}

TEST(SimCameraModel, StartsInConfiguredState) {
    EXPECT_EQ(CameraModel(CameraIdentity{}).State(), 1);
    EXPECT_EQ(ModelInState(CameraState::kPlayback).State(), 5);
}

TEST(SimCameraModel, RecordingCycleMovesThroughArmedRecordingStored) {
    CameraModel model(CameraIdentity{});
    EXPECT_FALSE(model.Trigger());  // not armed
    EXPECT_EQ(model.State(), 1);
    ASSERT_TRUE(model.Arm());
    EXPECT_EQ(model.State(), 2);
    model.AddFrames(100);
    ASSERT_TRUE(model.Trigger());
    EXPECT_EQ(model.State(), 3);
    model.AddFrames(50);
    EXPECT_EQ(model.Identity().lastFrame, 150u);
    model.StopRecording();
    EXPECT_EQ(model.State(), 4);
    ASSERT_TRUE(model.StartPlayback());
    EXPECT_EQ(model.State(), 5);
    model.EndPlayback();
    EXPECT_EQ(model.State(), 4);
}

TEST(SimCameraModel, StopWithoutFramesReturnsToIdle) {
    CameraModel model(CameraIdentity{});
    ASSERT_TRUE(model.Arm());
    model.StopRecording();
    EXPECT_EQ(model.State(), 1);
}

TEST(SimCameraModel, FramesCountOnlyWhileRecording) {
    CameraModel model(CameraIdentity{});
    model.AddFrames(10);
    EXPECT_EQ(model.Identity().lastFrame, 0u);
    EXPECT_FALSE(model.StartPlayback());  // nothing stored
}

TEST(SimCameraModel, StopAndEndPlaybackIgnoreOtherStates) {
    CameraModel review = ModelInState(CameraState::kReview);
    review.StopRecording();
    EXPECT_EQ(review.State(), 6);
    review.EndPlayback();
    EXPECT_EQ(review.State(), 4);
    CameraModel armed = ModelInState(CameraState::kArmed);
    armed.EndPlayback();
    EXPECT_EQ(armed.State(), 2);
    EXPECT_FALSE(armed.Arm());
}

TEST(SimCameraModel, EraseReportsWhetherMemoryHeldFrames) {
    CameraIdentity identity;
    identity.firstFrame = 4;
    identity.lastFrame = 10;
    identity.initialState = static_cast<std::uint8_t>(CameraState::kStored);
    CameraModel model(identity);
    EXPECT_TRUE(model.EraseMemory());
    EXPECT_EQ(model.State(), 1);
    EXPECT_EQ(model.Identity().firstFrame, 0u);
    EXPECT_EQ(model.Identity().lastFrame, 0u);
    EXPECT_FALSE(model.EraseMemory());
}

TEST(SimCameraModel, ResetReturnsToIdleAndDetaches) {
    CameraModel model = ModelInState(CameraState::kRecording);
    model.Attach();
    model.Reset();
    EXPECT_EQ(model.State(), 1);
    EXPECT_FALSE(model.Attached());
}

TEST(SimCameraModel, ForcedStateMayBeAnyByte) {
    CameraModel model(CameraIdentity{});
    model.ForceState(0x11);
    EXPECT_EQ(model.State(), 0x11);
}

}  // namespace
}  // namespace zpsim
