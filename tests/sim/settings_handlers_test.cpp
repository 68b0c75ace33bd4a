// The simulator's settings commands: each set form is kept and answered by its query in the
// same units; malformed arguments are refused and change nothing.
#include <gtest/gtest.h>

#include "handlers.h"

namespace zpsim {
namespace {

class SimSettingsHandlers : public ::testing::Test {
protected:
    std::string Reply(const std::string& line) {
        auto command = ParseCommand(line + "\r\n");
        EXPECT_TRUE(command) << line;
        if (!command) return {};
        auto result = table.Dispatch(model, *command);
        HandlerResult answer = result ? *result : HandlerResult{kResultUnknownCommand, {}, std::nullopt};
        auto reply = FormatReply(model.Address(), answer.result, command->code, answer.data);
        return reply.substr(0, reply.size() - 2);
    }
    HandlerTable table = MakeDefaultHandlers();
    CameraModel model{CameraIdentity{}};
};

TEST_F(SimSettingsHandlers, SetFormsAreAnsweredByTheirQueries) {
    const struct {
        const char* set;
        const char* query;
        const char* answer;
    } cases[] = {
        {"#019002800050", "#0190", "#01119002800050"},
        {"#019E1F", "#019E", "#01119E1F"},
        {"#01120003FFC000000007000007D0", "#0112", "#0111120003FFC000000007000007D0"},
        {"#010E00000064", "#010E", "#01110E0000006400002000"},
        {"#010400000059", "#0104", "#01110400000059"},
        {"#01060606060059", "#0106", "#0111060600000000"},
        {"#010600000003E8000003E8000003E800000059", "#0106", "#01110600000003E8"},
        {"#01070201F4", "#010702", "#0111070201F4"},
        {"#01820302", "#0182", "#0111820302"},
        {"#019B0010", "#019B", "#01119B0010"},
        {"#01840200000014", "#0184", "#0111840200000014"},
        {"#015D0003", "#015D", "#01115D0003"},
    };
    for (const auto& c : cases) {
        ASSERT_EQ("#0111" + std::string(c.set).substr(3, 2), Reply(c.set)) << c.set;
        EXPECT_EQ(c.answer, Reply(c.query).substr(0, std::string(c.answer).size())) << c.set;
    }
}

TEST_F(SimSettingsHandlers, AreaQueryShowsTheIdentityGeometryUntilSet) {
    EXPECT_EQ(
        "#0111900500"
        "0400",
        Reply("#0190"));
    EXPECT_EQ("#01119F0005E00468", Reply("#019F"));
}

TEST_F(SimSettingsHandlers, MalformedArgumentsAreRefused) {
    for (const char* line : {"#01900280", "#0106070606000A", "#010600000003E8000003E9000003E800000001",
                             "#0184030000000A", "#018400007A121", "#01070301F4", "#0189006400640200",
                             "#018D000000010280001E001", "#010E00000000", "#01822"}) {
        EXPECT_EQ("#0121", Reply(line).substr(0, 5)) << line;
    }
    EXPECT_EQ(
        "#0111900500"
        "0400",
        Reply("#0190"));
}

TEST_F(SimSettingsHandlers, ReadyArmsAndRecordTriggers) {
    EXPECT_EQ("#01111B", Reply("#011B"));
    EXPECT_TRUE(model.IsIn(CameraState::kArmed));
    EXPECT_EQ("#01221B", Reply("#011B"));
    Reply("#0174");
    EXPECT_TRUE(model.IsIn(CameraState::kRecording));
}

}  // namespace
}  // namespace zpsim
