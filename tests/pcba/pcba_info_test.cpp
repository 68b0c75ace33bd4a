// Board list: the 256-byte block compared byte by byte after every change, the comment rules, and
// the read-only board table checked against invariants of its own.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "zpport/PcbaInfo.h"

namespace {

unsigned char* Bytes(std::string& block) {
    return reinterpret_cast<unsigned char*>(&block[0]);
}

// The block as GetList gives it, with the slot just past the entries cleared: removing an entry
// leaves its bytes undefined.
std::string ListOf(CPcbaInfo& info) {
    std::string block(256, '#');
    EXPECT_EQ(1, info.GetList(Bytes(block)));
    if (block[67] < 47) std::fill_n(&block[68 + 4 * block[67]], 4, '\0');
    return block;
}

// The block typed from its layout: comment padded with spaces, magic, count, then per entry the
// identifier (little-endian), the first and the second value; zero after.
std::string Block(std::string comment, const std::vector<std::array<int, 3>>& entries) {
    comment.resize(64, ' ');
    comment += "pCb" + std::string(1, static_cast<char>(entries.size()));
    for (const auto& e : entries) comment += {char(e[0]), char(e[0] >> 8), char(e[1]), char(e[2])};
    comment.resize(256, '\0');
    return comment;
}

// Entries, the comment and whole blocks; a refused block still leaves its comment.
TEST(PcbaList, EntriesCommentAndBlocks) {
    CPcbaInfo info;
    EXPECT_EQ(Block("", {}), ListOf(info));
    EXPECT_EQ(1, info.AddItem(0x1234, 0x1FF, -2));  // values keep their low bytes
    EXPECT_EQ(1, info.AddItem(0x0202, 2, 22));
    EXPECT_EQ(1, info.AddItem(0x0202, 0x305, 0x406));  // a listed identifier is updated
    EXPECT_EQ(0, info.EditItem(0x3412, 1, 1));
    EXPECT_EQ(1, info.SetComment(" A B  "));
    EXPECT_EQ(0, info.SetComment(std::string(64, 'y').c_str()));  // 63 characters at most
    EXPECT_EQ(Block(" A B  ", {{0x1234, 0xFF, 0xFE}, {0x0202, 5, 6}}), ListOf(info));
    EXPECT_EQ(1, info.RemoveItem(0x1234));
    EXPECT_EQ(0, info.RemoveItem(0x1234));
    EXPECT_EQ(Block(" A B  ", {{0x0202, 5, 6}}), ListOf(info));
    std::string text(70, 'Z');
    EXPECT_EQ(1, info.GetComment(&text[0]));  // 64 bytes, trailing spaces as NULs
    EXPECT_EQ(" A B" + std::string(60, '\0') + "ZZZZZZ", text);

    std::string block = Block(std::string(64, 'Q'), {{0x0301, 4, 5}});
    block[200] = 0x77;  // unused slots travel too
    EXPECT_EQ(1, info.SetList(Bytes(block)));
    EXPECT_EQ(block, ListOf(info));
    std::string bad = Block("bad magic", {});
    bad[66] = 'B';
    EXPECT_EQ(0, info.SetList(Bytes(bad)));
    EXPECT_EQ(block.replace(0, 64, bad, 0, 64), ListOf(info));
    bad = Block("count above 47", {});
    bad[67] = 48;
    EXPECT_EQ(0, info.SetList(Bytes(bad)));
    EXPECT_EQ(block.replace(0, 64, bad, 0, 64), ListOf(info));
    EXPECT_EQ(0, info.SetList(nullptr));

    CPcbaInfo full;
    for (int i = 0; i < 47; ++i) ASSERT_EQ(1, full.AddItem(static_cast<unsigned short>(0x100 + i), 0, 0));
    EXPECT_EQ(0, full.AddItem(0x200, 1, 1));
}

// Rows are sorted by identifier, each part number is "ZP-<identifier>-A", every row is found by its
// identifier.
TEST(PcbaBoardTable, RowsAreConsistentAndFoundByIdentifier) {
    ASSERT_EQ(76, CPcbaInfo::GetDBaseCount());
    _PCBA_ITEMEX row, found;
    for (int i = 0; i < 76; ++i) {
        ASSERT_EQ(1, CPcbaInfo::GetDBaseItem(i, &row));
        char part[16];
        std::snprintf(part, sizeof(part), "ZP-%03X-A", row.Id);
        EXPECT_STREQ(part, row.PartNumber);
        EXPECT_TRUE(i == 0 || row.Id > CPcbaInfo::g_pcbaDB[i - 1].Id) << "row " << i;
        ASSERT_EQ(1, CPcbaInfo::FindDBaseItem(row.Id, &found));
        EXPECT_EQ(0, std::memcmp(&row, &found, sizeof(row))) << "row " << i;
    }
    for (int missing : {0x100, 0x120, 0x314, 0}) EXPECT_EQ(0, CPcbaInfo::FindDBaseItem(missing, &row));
    EXPECT_EQ(0, CPcbaInfo::GetDBaseItem(2048, &row));
}

}  // namespace
