// Board list: the 256-byte block checked byte by byte, the comment rules, entry editing,
// and the read-only board table.
#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <string>

#include "zpport/PcbaInfo.h"

namespace {

using namespace std::string_literals;
using Block = std::array<unsigned char, 256>;

static_assert(sizeof(CPcbaInfo::g_pcbaDB) == 2048 * 580, "board table has 2048 rows");

Block ListOf(CPcbaInfo& info) {
    Block block;
    block.fill(0xA5);
    EXPECT_EQ(info.GetList(block.data()), 1);
    return block;
}

// A valid block: the given comment (raw, not padded), the magic, and no entries.
Block ValidBlock(const char* comment) {
    Block block{};
    std::memcpy(block.data(), comment, std::strlen(comment));
    block[64] = 'p';
    block[65] = 'C';
    block[66] = 'b';
    return block;
}

void PutEntry(Block& block, int slot, unsigned short id, unsigned char first, unsigned char second) {
    block[68 + 4 * slot] = static_cast<unsigned char>(id & 0xFF);
    block[69 + 4 * slot] = static_cast<unsigned char>(id >> 8);
    block[70 + 4 * slot] = first;
    block[71 + 4 * slot] = second;
}

void ExpectEntry(const Block& block, int slot, unsigned short id, unsigned char first, unsigned char second) {
    SCOPED_TRACE("slot " + std::to_string(slot));
    EXPECT_EQ(block[68 + 4 * slot], id & 0xFF);
    EXPECT_EQ(block[69 + 4 * slot], id >> 8);
    EXPECT_EQ(block[70 + 4 * slot], first);
    EXPECT_EQ(block[71 + 4 * slot], second);
}

void ExpectComment(const Block& block, const std::string& text) {
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(block.data()), 64),
              text + std::string(64 - text.size(), ' '));
}

TEST(PcbaList, NewListIsSpacesMagicAndNoEntries) {
    CPcbaInfo info;
    Block block = ListOf(info);
    for (int i = 0; i < 64; ++i) EXPECT_EQ(block[i], ' ') << "byte " << i;
    EXPECT_EQ(block[64], 'p');
    EXPECT_EQ(block[65], 'C');
    EXPECT_EQ(block[66], 'b');
    for (int i = 67; i < 256; ++i) EXPECT_EQ(block[i], 0) << "byte " << i;
}

TEST(PcbaList, EntriesAreLittleEndianInFourByteSlots) {
    CPcbaInfo info;
    EXPECT_EQ(info.AddItem(0x1234, 0x1FF, -2), 1);
    EXPECT_EQ(info.AddItem(0x0313, 7, 9), 1);
    Block block = ListOf(info);
    EXPECT_EQ(block[67], 2);
    ExpectEntry(block, 0, 0x1234, 0xFF, 0xFE);
    ExpectEntry(block, 1, 0x0313, 7, 9);
    for (int i = 76; i < 256; ++i) EXPECT_EQ(block[i], 0) << "byte " << i;
    EXPECT_EQ(info.FindItem(0x1234), 1);
    EXPECT_EQ(info.FindItem(0x3412), 0);
}

TEST(PcbaList, FullListRefusesNewIdentifierButUpdatesListedOne) {
    CPcbaInfo info;
    for (int i = 0; i < 47; ++i) ASSERT_EQ(info.AddItem(static_cast<unsigned short>(0x100 + i), i, 2 * i), 1);
    Block full = ListOf(info);
    EXPECT_EQ(full[67], 47);
    ExpectEntry(full, 46, 0x100 + 46, 46, 92);

    EXPECT_EQ(info.AddItem(0x200, 1, 1), 0);
    EXPECT_EQ(ListOf(info), full);
    EXPECT_EQ(info.FindItem(0x200), 0);

    EXPECT_EQ(info.AddItem(0x100 + 20, 0xAB, 0xCD), 1);
    Block updated = ListOf(info);
    EXPECT_EQ(updated[67], 47);
    ExpectEntry(updated, 20, 0x100 + 20, 0xAB, 0xCD);
    ExpectEntry(updated, 21, 0x100 + 21, 21, 42);
}

TEST(PcbaList, EditNeedsAListedIdentifier) {
    CPcbaInfo info;
    EXPECT_EQ(info.EditItem(0x101, 1, 2), 0);
    EXPECT_EQ(ListOf(info)[67], 0);

    ASSERT_EQ(info.AddItem(0x101, 1, 2), 1);
    EXPECT_EQ(info.EditItem(0x102, 3, 4), 0);
    EXPECT_EQ(info.EditItem(0x101, 0x305, 0x406), 1);
    Block block = ListOf(info);
    EXPECT_EQ(block[67], 1);
    ExpectEntry(block, 0, 0x101, 0x05, 0x06);
}

TEST(PcbaList, RemoveKeepsOrderOfTheOthers) {
    CPcbaInfo info;
    EXPECT_EQ(info.RemoveItem(0x101), 0);
    ASSERT_EQ(info.AddItem(0x101, 1, 11), 1);
    ASSERT_EQ(info.AddItem(0x202, 2, 22), 1);
    ASSERT_EQ(info.AddItem(0x303, 3, 33), 1);

    EXPECT_EQ(info.RemoveItem(0x404), 0);
    EXPECT_EQ(ListOf(info)[67], 3);

    EXPECT_EQ(info.RemoveItem(0x202), 1);
    Block block = ListOf(info);
    EXPECT_EQ(block[67], 2);
    ExpectEntry(block, 0, 0x101, 1, 11);
    ExpectEntry(block, 1, 0x303, 3, 33);
    EXPECT_EQ(info.FindItem(0x202), 0);

    EXPECT_EQ(info.RemoveItem(0x303), 1);
    EXPECT_EQ(info.RemoveItem(0x101), 1);
    EXPECT_EQ(ListOf(info)[67], 0);
    EXPECT_EQ(info.FindItem(0x101), 0);
}

TEST(PcbaComment, ShortTextIsPaddedAndReadBackWithNuls) {
    CPcbaInfo info;
    EXPECT_EQ(info.SetComment("ABC"), 1);
    ExpectComment(ListOf(info), "ABC");

    char text[80];
    std::memset(text, 'Z', sizeof text);
    EXPECT_EQ(info.GetComment(text), 1);
    EXPECT_EQ(std::string(text, 3), "ABC");
    for (int i = 3; i < 64; ++i) EXPECT_EQ(text[i], '\0') << "byte " << i;
    for (int i = 64; i < 80; ++i) EXPECT_EQ(text[i], 'Z') << "byte " << i;

    // Only trailing spaces become NULs.
    EXPECT_EQ(info.SetComment(" A B  "), 1);
    EXPECT_EQ(info.GetComment(text), 1);
    EXPECT_EQ(std::string(text, 5), " A B\0"s);

    EXPECT_EQ(info.SetComment(""), 1);
    ExpectComment(ListOf(info), "");
    EXPECT_EQ(info.GetComment(text), 1);
    EXPECT_EQ(std::string(text, 64), std::string(64, '\0'));
}

TEST(PcbaComment, SixtyThreeCharactersFitSixtyFourAreRefused) {
    CPcbaInfo info;
    const std::string longest(63, 'x');
    EXPECT_EQ(info.SetComment(longest.c_str()), 1);
    Block accepted = ListOf(info);
    ExpectComment(accepted, longest);

    EXPECT_EQ(info.SetComment(std::string(64, 'y').c_str()), 0);
    EXPECT_EQ(info.SetComment(std::string(300, 'z').c_str()), 0);
    EXPECT_EQ(info.SetComment(nullptr), 0);
    EXPECT_EQ(ListOf(info), accepted);
}

TEST(PcbaComment, FullCommentIsReadBackWithoutTerminator) {
    CPcbaInfo info;
    Block block = ValidBlock("");
    std::memset(block.data(), 'Q', 64);
    ASSERT_EQ(info.SetList(block.data()), 1);

    char text[70];
    std::memset(text, '#', sizeof text);
    EXPECT_EQ(info.GetComment(text), 1);
    EXPECT_EQ(std::string(text, 64), std::string(64, 'Q'));
    EXPECT_EQ(text[64], '#');
}

TEST(PcbaSetList, ValidBlockIsCopiedWhole) {
    CPcbaInfo info;
    Block block = ValidBlock("XY");
    std::memcpy(block.data() + 3, "stale bytes", 11);  // after the NUL: kept as they are
    block[67] = 2;
    PutEntry(block, 0, 0x0301, 4, 5);
    PutEntry(block, 1, 0x0113, 6, 7);
    block[200] = 0x77;  // an unused slot travels too

    EXPECT_EQ(info.SetList(block.data()), 1);
    EXPECT_EQ(ListOf(info), block);
    EXPECT_EQ(info.FindItem(0x0301), 1);
    EXPECT_EQ(info.FindItem(0x0113), 1);
    EXPECT_EQ(info.AddItem(0x0200, 8, 9), 1);
    ExpectEntry(ListOf(info), 2, 0x0200, 8, 9);
}

TEST(PcbaSetList, WrongMagicStillReplacesTheComment) {
    CPcbaInfo info;
    ASSERT_EQ(info.SetComment("old"), 1);
    ASSERT_EQ(info.AddItem(0x101, 1, 2), 1);

    Block block = ValidBlock("NEW");
    block[66] = 'B';
    block[67] = 5;
    block[68] = 0xEE;
    EXPECT_EQ(info.SetList(block.data()), 0);
    Block after = ListOf(info);
    ExpectComment(after, "NEW");
    EXPECT_EQ(after[64], 'p');
    EXPECT_EQ(after[65], 'C');
    EXPECT_EQ(after[66], 'b');
    EXPECT_EQ(after[67], 1);
    ExpectEntry(after, 0, 0x101, 1, 2);

    // A comment without NUL runs on into the magic; only its first 64 bytes are taken.
    std::memset(block.data(), 'W', 64);
    block[64] = 'x';
    EXPECT_EQ(info.SetList(block.data()), 0);
    ExpectComment(ListOf(info), std::string(64, 'W'));
}

TEST(PcbaSetList, CountAboveFortySevenIsRefused) {
    CPcbaInfo info;
    ASSERT_EQ(info.AddItem(0x101, 1, 2), 1);
    Block block = ValidBlock("too many");
    block[67] = 48;
    EXPECT_EQ(info.SetList(block.data()), 0);
    Block after = ListOf(info);
    ExpectComment(after, "too many");
    EXPECT_EQ(after[67], 1);

    block[67] = 47;
    EXPECT_EQ(info.SetList(block.data()), 1);
    EXPECT_EQ(info.AddItem(0x999, 1, 1), 0);
}

TEST(PcbaSetList, NullBuffersAreRefused) {
    CPcbaInfo info;
    Block before = ListOf(info);
    EXPECT_EQ(info.SetList(nullptr), 0);
    EXPECT_EQ(info.GetList(nullptr), 0);
    EXPECT_EQ(info.GetComment(nullptr), 0);
    EXPECT_EQ(ListOf(info), before);
}

bool IsTerminated(const char* text, size_t size) {
    return std::memchr(text, '\0', size) != nullptr;
}

TEST(PcbaBoardTable, SeventySixRowsEndingAtIdentifierZero) {
    ASSERT_EQ(CPcbaInfo::GetDBaseCount(), 76);
    int previous = 0x100;
    for (int i = 0; i < 76; ++i) {
        const _PCBA_ITEMEX& row = CPcbaInfo::g_pcbaDB[i];
        SCOPED_TRACE("row " + std::to_string(i));
        EXPECT_GT(row.Id, previous);
        EXPECT_LE(row.Id, 0x313);
        previous = row.Id;
        ASSERT_TRUE(IsTerminated(row.Description, sizeof row.Description));
        ASSERT_TRUE(IsTerminated(row.PartNumber, sizeof row.PartNumber));
        EXPECT_GT(std::strlen(row.Description), 0u);
        EXPECT_EQ(std::string(row.PartNumber).rfind("ZP-", 0), 0u);
        EXPECT_TRUE(row.Code[0] >= 'A' && row.Code[0] <= 'Z');
        EXPECT_EQ(row.Code[1], '\0');
    }
    EXPECT_EQ(CPcbaInfo::g_pcbaDB[0].Id, 0x101);
    EXPECT_EQ(CPcbaInfo::g_pcbaDB[75].Id, 0x313);
    const _PCBA_ITEMEX zero{};
    for (int i = 76; i < 2048; ++i) {
        ASSERT_EQ(std::memcmp(&CPcbaInfo::g_pcbaDB[i], &zero, sizeof zero), 0) << "row " << i;
    }
}

TEST(PcbaBoardTable, RowsByIndex) {
    _PCBA_ITEMEX row;
    ASSERT_EQ(CPcbaInfo::GetDBaseItem(0, &row), 1);
    EXPECT_EQ(row.Id, 0x101);
    EXPECT_STREQ(row.Description, "Sensor board, monochrome");
    EXPECT_STREQ(row.PartNumber, "ZP-101-A");
    EXPECT_STREQ(row.Code, "S");
    ASSERT_EQ(CPcbaInfo::GetDBaseItem(75, &row), 1);
    EXPECT_EQ(row.Id, 0x313);
    EXPECT_STREQ(row.PartNumber, "ZP-313-A");

    // Rows past the end are copied too, as zero rows.
    std::memset(&row, 0xAA, sizeof row);
    ASSERT_EQ(CPcbaInfo::GetDBaseItem(2047, &row), 1);
    const _PCBA_ITEMEX zero{};
    EXPECT_EQ(std::memcmp(&row, &zero, sizeof row), 0);

    std::memset(&row, 0xAA, sizeof row);
    EXPECT_EQ(CPcbaInfo::GetDBaseItem(2048, &row), 0);
    EXPECT_EQ(CPcbaInfo::GetDBaseItem(-1, &row), 0);
    EXPECT_EQ(CPcbaInfo::GetDBaseItem(0, nullptr), 0);
    EXPECT_EQ(reinterpret_cast<unsigned char*>(&row)[0], 0xAA);
}

TEST(PcbaBoardTable, RowsByIdentifier) {
    _PCBA_ITEMEX row;
    ASSERT_EQ(CPcbaInfo::FindDBaseItem(0x101, &row), 1);
    EXPECT_EQ(std::memcmp(&row, &CPcbaInfo::g_pcbaDB[0], sizeof row), 0);
    ASSERT_EQ(CPcbaInfo::FindDBaseItem(0x313, &row), 1);
    EXPECT_EQ(std::memcmp(&row, &CPcbaInfo::g_pcbaDB[75], sizeof row), 0);
    ASSERT_EQ(CPcbaInfo::FindDBaseItem(0x20A, &row), 1);
    EXPECT_STREQ(row.PartNumber, "ZP-20A-A");

    std::memset(&row, 0xAA, sizeof row);
    for (int missing : {0x100, 0x120, 0x314, 0x10101, 0, -1}) {
        EXPECT_EQ(CPcbaInfo::FindDBaseItem(missing, &row), 0) << "identifier " << missing;
    }
    EXPECT_EQ(CPcbaInfo::FindDBaseItem(0x101, nullptr), 0);
    EXPECT_EQ(reinterpret_cast<unsigned char*>(&row)[0], 0xAA);
}

}  // namespace
