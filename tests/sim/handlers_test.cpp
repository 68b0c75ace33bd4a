#include "handlers.h"

#include <gtest/gtest.h>

namespace zpsim {
namespace {

class SimSessionHandlers : public ::testing::Test {
protected:
    SimSessionHandlers() : model(MakeIdentity()) {}

    static CameraIdentity MakeIdentity() {
        CameraIdentity identity;
        identity.address = 0x0A;
        identity.modelCode = 12;
        identity.optionValue = 1;
        identity.serial = 0x00C0FFEE;
        identity.firmware = 0x00000205;
        identity.firmware2 = 0x00000007;
        identity.ipWord = 0xC0A80164;
        identity.maskWord = 0xFFFFFF00;
        identity.temperature = -10;
        identity.frameCapacity = 0x1000;
        identity.width = 0x0500;
        identity.height = 0x0400;
        identity.periodNs = 1000000;
        identity.firstFrame = 10;
        identity.lastFrame = 4;
        return identity;
    }

    // The whole reply as the server would format it.
    std::string Reply(const std::string& line) {
        auto command = ParseCommand(line);
        EXPECT_TRUE(command) << line;
        if (!command) {
            return {};
        }
        auto result = table.Dispatch(model, *command);
        HandlerResult answer = result ? *result : HandlerResult{kResultUnknownCommand, {}, std::nullopt};
        return FormatReply(model.Address(), answer.result, command->code, answer.data);
    }

    HandlerTable table = MakeDefaultHandlers();
    CameraModel model;
};

TEST_F(SimSessionHandlers, IdentityQueriesPutDataWhereThePortReadsIt) {
    EXPECT_EQ(Reply("54\r\n"), "#0A11540A\r\n");
    EXPECT_EQ(Reply("#0A48\r\n"), "#0A114801\r\n");
    EXPECT_EQ(Reply("#0A97\r\n"), "#0A11970C0000020500000007\r\n");
    EXPECT_EQ(Reply("#0A91\r\n"), "#0A119100C0FFEE\r\n");
    EXPECT_EQ(Reply("#0A4D\r\n"), "#0A114DC0A80164\r\n");
    EXPECT_EQ(Reply("#0A4E\r\n"), "#0A114EFFFFFF00\r\n");
}

TEST_F(SimSessionHandlers, ParameterQueriesPutDataWhereThePortReadsIt) {
    std::string capacity = Reply("#0A0E\r\n");
    EXPECT_EQ(capacity.substr(15, 8), "00001000");
    EXPECT_EQ(Reply("#0A50\r\n"), "#0A1150F6\r\n");
    std::string period = Reply("#0A05\r\n");
    EXPECT_EQ(period.substr(9, 8), "000F4240");
    EXPECT_EQ(Reply("#0A90\r\n"), "#0A119005000400\r\n");
    EXPECT_EQ(Reply("#0A45\r\n"), "#0A11450000000A00000004\r\n");
}

TEST_F(SimSessionHandlers, StateQueryReportsModelState) {
    EXPECT_EQ(Reply("#0A40\r\n"), "#0A114001\r\n");
    model.ForceState(5);
    EXPECT_EQ(Reply("#0A40\r\n"), "#0A114005\r\n");
}

TEST_F(SimSessionHandlers, OpenSequenceLinesAreAccepted) {
    const char* lines[] = {"#0A0102\r\n",
                           "#0A9802\r\n",
                           "#0A83010000\r\n",
                           "#0A538000\r\n",
                           "#0A538000SLOW\r\n",
                           "#0A8F1E\r\n",
                           "#0A8700\r\n",
                           "#0A08235959\r\n",
                           "#0A09123100\r\n",
                           "#0A0D0200000000\r\n",
                           "#0A0F302E302C312E302C312E302C312E302C30000000000000000000000000000000\r\n",
                           "#0A0C00\"0\"\r\n",
                           "#0A7103\r\n",
                           "#0A4700000000000000\r\n",
                           "#0A0A0000\r\n"};
    for (const char* line : lines) {
        std::string reply = Reply(line);
        EXPECT_EQ(reply.substr(3, 2), "11") << line;
        EXPECT_EQ(reply.substr(5, 2), std::string(line).substr(3, 2)) << line;
    }
    EXPECT_TRUE(model.Attached());
    EXPECT_EQ(model.Clock().hour, 23);
    EXPECT_EQ(model.Clock().second, 59);
    EXPECT_EQ(model.Clock().month, 12);
    EXPECT_EQ(model.Clock().day, 31);
    EXPECT_EQ(model.Clock().year, 0);
}

TEST_F(SimSessionHandlers, WrongArgumentsAreRefused) {
    const char* lines[] = {"#0A0103\r\n",
                           "#0A538001\r\n",
                           "#0A0824000\r\n",
                           "#0A08246000\r\n",
                           "#0A09130100\r\n",
                           "#0A0C00\"1\"\r\n",
                           "#0A4DC0A8\r\n",
                           "#0A40XX\r\n",
                           "#0A52"
                           "0B\"x\"\r\n",
                           "#0A52"
                           "0Ax\r\n"};
    for (const char* line : lines) {
        EXPECT_EQ(Reply(line).substr(3, 2), "21") << line;
    }
    EXPECT_EQ(Reply("#0AE7\r\n").substr(3, 2), "20");
}

TEST_F(SimSessionHandlers, AddressWordsAndNameCanBeWritten) {
    EXPECT_EQ(Reply("#0A4D0A000002\r\n"), "#0A114D\r\n");
    EXPECT_EQ(Reply("#0A4EFFFF0000\r\n"), "#0A114E\r\n");
    EXPECT_EQ(model.Identity().ipWord, 0x0A000002u);
    EXPECT_EQ(model.Identity().maskWord, 0xFFFF0000u);
    EXPECT_EQ(Reply("#0A520A\"Bay 2\"\r\n"), "#0A1152\r\n");
    EXPECT_EQ(model.Identity().name, "Bay 2");
    EXPECT_EQ(Reply("#0A5F\r\n"), "#0A115F\r\n");
}

TEST_F(SimSessionHandlers, StopGrabAndResetMoveTheState) {
    model.ForceState(3);
    model.MutableIdentity().firstFrame = 0;
    model.MutableIdentity().lastFrame = 20;
    Reply("#0A99\r\n");
    EXPECT_EQ(model.State(), 4);
    EXPECT_EQ(Reply("#0A19\r\n"), "#0A1119\r\n");
    model.ForceState(6);
    Reply("#0A86\r\n");
    EXPECT_EQ(model.State(), 4);
    Reply("#0A5FFF\r\n");
    EXPECT_EQ(model.State(), 1);
}

TEST_F(SimSessionHandlers, EraseAnswersEmptyMemoryWithSixteen) {
    model.ForceState(4);
    EXPECT_EQ(Reply("#0A96\r\n"), "#0A1196\r\n");
    EXPECT_EQ(Reply("#0A96\r\n"), "#0A1696\r\n");
    model.ForceState(2);
    EXPECT_EQ(Reply("#0A96\r\n"), "#0A2296\r\n");
}

TEST_F(SimSessionHandlers, TriggerStartsRecordingOnlyWhenArmed) {
    EXPECT_EQ(Reply("#0A74\r\n"), "#0A1174\r\n");
    EXPECT_EQ(model.State(), 1);
    ASSERT_TRUE(model.Arm());
    Reply("#0A74\r\n");
    EXPECT_EQ(model.State(), 3);
}

}  // namespace
}  // namespace zpsim
