// The segment train builder: exact datagrams of the normal train and of every fault mode.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "segment_train.h"

using namespace zpsim;

namespace {

std::string Payload(std::size_t size) {
    std::string payload(size, '\0');
    for (std::size_t i = 0; i < size; ++i) {
        payload[i] = static_cast<char>(i * 7 + 3);
    }
    return payload;
}

std::uint32_t Word(const std::string& datagram, std::size_t at) {
    std::uint32_t word = 0;
    for (std::size_t i = at; i < at + 4; ++i) {
        word = (word << 8) | static_cast<std::uint8_t>(datagram[i]);
    }
    return word;
}

// The control words of the data segments between the border and the end (information excluded).
std::vector<std::uint32_t> DataWords(const std::vector<std::string>& train) {
    std::vector<std::uint32_t> words;
    for (std::size_t i = 1; i < train.size(); ++i) {
        if (ControlWord(train[i]) != kControlInfo) {
            words.push_back(ControlWord(train[i]));
        }
    }
    return words;
}

std::string Reassemble(const std::vector<std::string>& train) {
    std::string data;
    for (std::size_t i = 1; i < train.size(); ++i) {
        if (ControlWord(train[i]) != kControlInfo) {
            data += train[i].substr(0, train[i].size() - kSegmentTail);
        }
    }
    return data;
}

constexpr std::uint32_t kLast = kControlLast;

}  // namespace

TEST(ImageTrain, NormalTrainHasBorderNumberedSegmentsAndInformation) {
    std::string border(kBorderSize, '\x5A');
    border[0] = '\x01';
    const std::string payload = Payload(3500);
    auto train = BuildSegmentTrain(payload, border, 1400, TrainFaults{}, 1);
    ASSERT_EQ(train.size(), 5u);

    ASSERT_EQ(train[0].size(), 1036u);
    EXPECT_EQ(Word(train[0], 0), 1408u);  // receive hint: the largest datagram that follows
    EXPECT_EQ(Word(train[0], 4), 0u);
    EXPECT_EQ(train[0].substr(8, kBorderSize), border);
    EXPECT_EQ(Word(train[0], 1032), 0u);

    const std::size_t sizes[] = {1408, 1408, 708};
    const std::uint32_t words[] = {1, 2, kLast | 3};
    for (std::size_t i = 0; i < 3; ++i) {
        SCOPED_TRACE(i);
        ASSERT_EQ(train[i + 1].size(), sizes[i]);
        EXPECT_EQ(train[i + 1].substr(0, sizes[i] - 8), payload.substr(i * 1400, sizes[i] - 8));
        EXPECT_EQ(Word(train[i + 1], sizes[i] - 8), 0u);
        EXPECT_EQ(Word(train[i + 1], sizes[i] - 4), words[i]);
    }
    EXPECT_EQ(train[4], std::string("\x00\x00\x0D\xAC\x00\x00\x00\x00\x40\x00\x00\x00", 12));
}

TEST(ImageTrain, ExactMultipleEndsWithFullLastSegmentAndShortBorderIsPadded) {
    auto train = BuildSegmentTrain(Payload(2800), "AB", 1400, TrainFaults{}, 1);
    ASSERT_EQ(train.size(), 4u);
    EXPECT_EQ(train[0].substr(8, 3), std::string("AB\0", 3));
    EXPECT_EQ(train[0].size(), 1036u);
    EXPECT_EQ(DataWords(train), (std::vector<std::uint32_t>{1, kLast | 2}));
    EXPECT_EQ(train[2].size(), 1408u);
}

TEST(ImageTrain, SegmentSizeFollowsDatagramSizeSetting) {
    EXPECT_EQ(SegmentSizeFor(0), 1400u);
    EXPECT_EQ(SegmentSizeFor(1), 4000u);
    EXPECT_EQ(SegmentSizeFor(2), 8000u);
    EXPECT_EQ(SegmentSizeFor(3), 1400u);
    EXPECT_EQ(SegmentSizeFor(0xFF), 1400u);
    auto train = BuildSegmentTrain(Payload(9000), std::string(kBorderSize, '\0'), 8000, TrainFaults{}, 1);
    EXPECT_EQ(Word(train[0], 0), 8008u);
    EXPECT_EQ(train[1].size(), 8008u);
}

struct FaultCase {
    const char* name;
    TrainFaults faults;
    std::vector<std::uint32_t> dataWords;
    bool information;
};

class ImageTrainFault : public ::testing::TestWithParam<FaultCase> {};

TEST_P(ImageTrainFault, GivesExactSegmentOrder) {
    const FaultCase& c = GetParam();
    auto train = BuildSegmentTrain(Payload(7000), std::string(kBorderSize, '\0'), 1400, c.faults, 9);
    ASSERT_FALSE(train.empty());
    EXPECT_EQ(train[0].size(), 1036u);
    EXPECT_EQ(DataWords(train), c.dataWords);
    const bool hasInformation = ControlWord(train.back()) == kControlInfo;
    EXPECT_EQ(hasInformation, c.information);
}

TrainFaults Faults(void (*set)(TrainFaults&)) {
    TrainFaults faults;
    set(faults);
    return faults;
}

INSTANTIATE_TEST_SUITE_P(
    Modes, ImageTrainFault,
    ::testing::Values(
        FaultCase{"none", {}, {1, 2, 3, 4, kLast | 5}, true},
        FaultCase{"drop3", Faults([](TrainFaults& f) { f.dropSegment = 3; }), {1, 2, 4, 5 | kLast}, true},
        FaultCase{"dropLast", Faults([](TrainFaults& f) { f.dropSegment = 5; }), {1, 2, 3, 4}, true},
        FaultCase{"dropAll", Faults([](TrainFaults& f) { f.dropShare = 1.0; }), {}, true},
        FaultCase{
            "reorder2", Faults([](TrainFaults& f) { f.reorderSegment = 2; }), {1, 3, 2, 4, kLast | 5}, true},
        FaultCase{"reorderLastIsNoop",
                  Faults([](TrainFaults& f) { f.reorderSegment = 5; }),
                  {1, 2, 3, 4, kLast | 5},
                  true},
        FaultCase{"reorderAll",
                  Faults([](TrainFaults& f) { f.reorderShare = 1.0; }),
                  {2, 1, 4, 3, kLast | 5},
                  true},
        FaultCase{"duplicate2",
                  Faults([](TrainFaults& f) { f.duplicateSegment = 2; }),
                  {1, 2, 2, 3, 4, kLast | 5},
                  true},
        FaultCase{"truncate3", Faults([](TrainFaults& f) { f.truncateAfter = 3; }), {1, 2, 3}, false},
        FaultCase{"truncate0", Faults([](TrainFaults& f) { f.truncateAfter = 0; }), {}, false},
        FaultCase{"truncateBeyondEnd",
                  Faults([](TrainFaults& f) { f.truncateAfter = 9; }),
                  {1, 2, 3, 4, 5},
                  false}),
    [](const ::testing::TestParamInfo<FaultCase>& info) { return std::string(info.param.name); });

TEST(ImageTrain, InformationFirstComesBeforeLastSegment) {
    TrainFaults faults;
    faults.infoFirst = true;
    const std::string payload = Payload(3000);
    auto train = BuildSegmentTrain(payload, std::string(kBorderSize, '\0'), 1400, faults, 1);
    ASSERT_EQ(train.size(), 5u);
    EXPECT_EQ(ControlWord(train[3]), kControlInfo);
    EXPECT_EQ(Word(train[3], 0), 3000u);
    EXPECT_EQ(ControlWord(train[4]), kLast | 3);
    EXPECT_EQ(Reassemble(train), payload);
}

TEST(ImageTrain, OversizeFirstSegmentExceedsAnnouncedHint) {
    TrainFaults faults;
    faults.oversize = true;
    const std::string payload = Payload(45000);
    auto train = BuildSegmentTrain(payload, std::string(kBorderSize, '\0'), 1400, faults, 1);
    EXPECT_EQ(Word(train[0], 0), 1408u);
    ASSERT_GE(train.size(), 3u);
    EXPECT_EQ(train[1].size(), kOversizePayload + 8);
    EXPECT_EQ(ControlWord(train[1]), 1u);
    EXPECT_EQ(ControlWord(train[2]), 2u);
    EXPECT_EQ(train[2].size(), 1408u);
    EXPECT_EQ(Reassemble(train), payload);
    EXPECT_EQ(Word(train.back(), 0), 45000u);
}

TEST(ImageTrain, OverlongTrainCarriesMoreThanInformationAnnounces) {
    TrainFaults faults;
    faults.overlong = true;
    const std::string payload = Payload(2000);
    auto train = BuildSegmentTrain(payload, std::string(kBorderSize, '\0'), 1000, faults, 1);
    // 2 segments of payload + 4 extra ones, the last of them marked last.
    EXPECT_EQ(DataWords(train), (std::vector<std::uint32_t>{1, 2, 3, 4, 5, kLast | 6}));
    EXPECT_EQ(Word(train.back(), 0), 2000u);
    const std::string data = Reassemble(train);
    EXPECT_EQ(data.size(), 2000u + kOverlongSegments * 1000);
    EXPECT_EQ(data.substr(0, 2000), payload);
}

TEST(ImageTrain, RandomLossIsDeterministicPerSeedAndKeepsOrder) {
    TrainFaults faults;
    faults.dropShare = 0.3;
    const std::string payload = Payload(140000);  // 100 segments
    auto a = BuildSegmentTrain(payload, std::string(kBorderSize, '\0'), 1400, faults, 42);
    auto b = BuildSegmentTrain(payload, std::string(kBorderSize, '\0'), 1400, faults, 42);
    auto c = BuildSegmentTrain(payload, std::string(kBorderSize, '\0'), 1400, faults, 43);
    EXPECT_EQ(a, b);
    EXPECT_NE(a, c);
    auto words = DataWords(a);
    EXPECT_GT(words.size(), 50u);
    EXPECT_LT(words.size(), 90u);
    for (std::size_t i = 1; i < words.size(); ++i) {
        EXPECT_LT(words[i - 1] & kSequenceMask, words[i] & kSequenceMask);
    }
}

TEST(ImageTrain, RandomReorderMovesSegmentsByOnePlaceOnly) {
    TrainFaults faults;
    faults.reorderShare = 0.2;
    auto train = BuildSegmentTrain(Payload(140000), std::string(kBorderSize, '\0'), 1400, faults, 7);
    auto words = DataWords(train);
    ASSERT_EQ(words.size(), 100u);
    std::size_t moved = 0;
    for (std::size_t i = 0; i < words.size(); ++i) {
        const long sequence = static_cast<long>(words[i] & kSequenceMask);
        EXPECT_LE(std::labs(sequence - static_cast<long>(i + 1)), 1);
        moved += sequence != static_cast<long>(i + 1);
    }
    EXPECT_GT(moved, 0u);
}

TEST(ImageTrain, EmptyPayloadGivesOneEmptyLastSegment) {
    auto train = BuildSegmentTrain("", std::string(kBorderSize, '\0'), 1400, TrainFaults{}, 1);
    ASSERT_EQ(train.size(), 3u);
    EXPECT_EQ(train[1], std::string("\0\0\0\0\x80\0\0\x01", 8));
    EXPECT_EQ(Word(train[2], 0), 0u);
}

TEST(ImageTrain, ControlWordOfShortDatagramIsZero) {
    EXPECT_EQ(ControlWord("abc"), 0u);
    EXPECT_EQ(ControlWord(std::string("\x80\x00\x00\x07", 4)), 0x80000007u);
}
