// The image commands of the control channel and --image, and the image requests without "\r\n".
#include "image_state.h"

#include <gtest/gtest.h>

#include "protocol.h"

using namespace zpsim;

TEST(ImageCommands, SetFaultsAndFrameOptions) {
    ImageSideState state;
    struct Case {
        const char* command;
        bool (*check)(const ImageSideState&);
    };
    const Case cases[] = {
        {"drop 3", [](const ImageSideState& s) { return s.faults.dropSegment == 3u; }},
        {"loss 0.01", [](const ImageSideState& s) { return s.faults.dropShare == 0.01; }},
        {"reorder 5", [](const ImageSideState& s) { return s.faults.reorderSegment == 5u; }},
        {"shuffle 0.5", [](const ImageSideState& s) { return s.faults.reorderShare == 0.5; }},
        {"duplicate 2", [](const ImageSideState& s) { return s.faults.duplicateSegment == 2u; }},
        {"truncate 0", [](const ImageSideState& s) { return s.faults.truncateAfter == 0u; }},
        {"oversize", [](const ImageSideState& s) { return s.faults.oversize; }},
        {"overlong", [](const ImageSideState& s) { return s.faults.overlong; }},
        {"info-first", [](const ImageSideState& s) { return s.faults.infoFirst; }},
        {"colour on", [](const ImageSideState& s) { return s.colour; }},
        {"quality 0", [](const ImageSideState& s) { return s.jpegQuality == 0; }},
        {"subsampling 2", [](const ImageSideState& s) { return s.chromaSubsampling == 2; }},
        {"tone off", [](const ImageSideState& s) { return !s.toneApplied; }},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.command);
        EXPECT_EQ(ApplyImageCommand(state, c.command), "");
        EXPECT_TRUE(c.check(state));
    }
    EXPECT_EQ(ApplyImageCommand(state, "clear"), "");
    EXPECT_FALSE(state.faults.Any());
    EXPECT_TRUE(state.colour);  // frame options are not faults
}

TEST(ImageCommands, RejectBadInput) {
    ImageSideState state;
    for (const char* command :
         {"", "drop", "drop 0", "drop x", "loss 1.5", "loss -0.1", "loss 0.1x", "quality 101",
          "subsampling 3", "colour yes", "fail 0", "oversize 1", "drop 3 4", "explode"}) {
        SCOPED_TRACE(command);
        EXPECT_NE(ApplyImageCommand(state, command), "");
    }
    EXPECT_FALSE(state.faults.Any());
}

TEST(ImageCommands, FailBudgetCountsTrainsThenClears) {
    ImageSideState state;
    ApplyImageCommand(state, "drop 4");
    ApplyImageCommand(state, "fail 2");
    EXPECT_EQ(state.NextTrainFaults().dropSegment, 4u);
    EXPECT_EQ(state.NextTrainFaults().dropSegment, 4u);
    EXPECT_FALSE(state.NextTrainFaults().Any());
    EXPECT_EQ(state.trainsSent, 3u);
    ApplyImageCommand(state, "oversize");  // without a budget: every train
    EXPECT_TRUE(state.NextTrainFaults().oversize);
    EXPECT_TRUE(state.NextTrainFaults().oversize);
}

TEST(ImageRequestsParse, AcceptedWithoutLineEnd) {
    auto download = ParseCommand("#0A8800000064052B");
    ASSERT_TRUE(download);
    EXPECT_EQ(download->address, 0x0A);
    EXPECT_EQ(download->code, 0x88);
    EXPECT_EQ(download->args, "00000064052B");
    auto live = ParseCommand("#0A8C010A9D");
    ASSERT_TRUE(live);
    EXPECT_EQ(live->code, 0x8C);
    EXPECT_EQ(live->args, "010A9D");
    // Other lines still need "\r\n"; the image requests of other lengths too.
    EXPECT_FALSE(ParseCommand("#0A8800000064052"));
    EXPECT_FALSE(ParseCommand("#0A8C010A9"));
    EXPECT_FALSE(ParseCommand("#0A40010A9DE"));
    EXPECT_FALSE(ParseCommand("x0A8C010A9D"));
}
