// Time, disk, directory and string services of the portability layer.
#include <sys/statfs.h>
#include <sys/time.h>

#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>

#include <gtest/gtest.h>

#include "zpport/OSLayer.h"

namespace {

// The tick formula applied to a time of day.
uint32_t TickAt(const timeval& tv) {
    return static_cast<uint32_t>(tv.tv_sec % 31536000) * 1000u + static_cast<uint32_t>(tv.tv_usec / 1000);
}

template <typename Tick>
void ExpectTickBetweenClockReadings(Tick tick) {
    timeval before{};
    timeval after{};
    gettimeofday(&before, nullptr);
    const uint32_t value = tick();
    gettimeofday(&after, nullptr);
    // Unsigned differences stay correct across the 2^32 and 365-day wrap points.
    EXPECT_LE(value - TickAt(before), TickAt(after) - TickAt(before));
}

TEST(TimeServices, LocalTimeKeepsBrokenDownOffsets) {
    for (int attempt = 0; attempt < 3; ++attempt) {
        const std::time_t before = std::time(nullptr);
        _OS_SYSTEMTIME st;
        std::memset(&st, 0xA5, sizeof(st));
        OS_GetLocalTime(&st);
        if (std::time(nullptr) != before) continue;  // a second ticked over; read again
        std::tm parts{};
        localtime_r(&before, &parts);
        EXPECT_EQ(parts.tm_year, st.wYear);  // years since 1900
        EXPECT_EQ(parts.tm_mon, st.wMonth);  // 0-based
        EXPECT_EQ(parts.tm_wday, st.wDayOfWeek);
        EXPECT_EQ(parts.tm_mday, st.wDay);
        EXPECT_EQ(parts.tm_hour, st.wHour);
        EXPECT_EQ(parts.tm_min, st.wMinute);
        EXPECT_EQ(parts.tm_sec, st.wSecond);
        EXPECT_EQ(0, st.wMilliseconds);
        return;
    }
    FAIL() << "the clock kept moving across second boundaries";
}

TEST(TimeServices, TickFollowsTheTimeOfDayFormula) {
    ExpectTickBetweenClockReadings(OS_GetTickCount);
    ExpectTickBetweenClockReadings(OS_timeGetTime);
    EXPECT_FALSE(OS_IsSSE());
}

TEST(DiskServices, SpaceOfWorkingDirectoryMatchesStatfs) {
    uint64_t total = 0;
    uint64_t freeBytes = 0;
    ASSERT_TRUE(CheckDiskSpace(".", total, freeBytes));
    struct statfs info{};
    ASSERT_EQ(0, statfs(".", &info));
    const uint64_t block = info.f_bsize;
    EXPECT_GT(total, 0u);
    EXPECT_EQ(block * info.f_blocks, total);
    // Free space counts reserved blocks too; others may write meanwhile, so allow a little drift.
    const uint64_t expectedFree = block * info.f_bfree;
    const uint64_t drift = freeBytes > expectedFree ? freeBytes - expectedFree : expectedFree - freeBytes;
    EXPECT_LT(drift, 64u << 20);
    EXPECT_LE(freeBytes, total);
}

TEST(DiskServices, MissingPathFailsAndLeavesOutputs) {
    uint64_t total = 111;
    uint64_t freeBytes = 222;
    EXPECT_FALSE(CheckDiskSpace("/nonexistent/zp/path", total, freeBytes));
    EXPECT_EQ(111u, total);
    EXPECT_EQ(222u, freeBytes);
}

TEST(DiskServices, FreeSpaceExSplitsWorkingDirectoryIntoHalves) {
    uint32_t parts[4] = {1, 2, 3, 4};
    // The path is ignored: a missing one still reports the working directory.
    EXPECT_EQ(0, OS_GetDiskFreeSpaceEx("/nonexistent/zp/path", &parts[0], &parts[1], &parts[2], &parts[3]));
    uint64_t total = 0;
    uint64_t freeBytes = 0;
    ASSERT_TRUE(CheckDiskSpace(".", total, freeBytes));
    EXPECT_EQ(total, (static_cast<uint64_t>(parts[1]) << 32) | parts[0]);
    const uint64_t reportedFree = (static_cast<uint64_t>(parts[3]) << 32) | parts[2];
    EXPECT_LT(reportedFree > freeBytes ? reportedFree - freeBytes : freeBytes - reportedFree, 64u << 20);
}

class DirectoryTest : public ::testing::Test {
protected:
    void SetUp() override {
        const char* home = std::getenv("HOME");
        hadHome_ = home != nullptr;
        if (hadHome_) savedHome_ = home;
    }
    void TearDown() override {
        if (hadHome_) {
            setenv("HOME", savedHome_.c_str(), 1);
        } else {
            unsetenv("HOME");
        }
    }
    int Get(int kind, int size) {
        std::memset(buffer_, 0x5A, sizeof(buffer_));
        return OS_GetDirectory(kind, buffer_, size);
    }
    // The text with its terminator, and the byte after it untouched.
    void ExpectCopied(const char* text) {
        EXPECT_STREQ(text, buffer_);
        EXPECT_EQ(0x5A, static_cast<unsigned char>(buffer_[std::strlen(text) + 1]));
    }
    bool hadHome_ = false;
    std::string savedHome_;
    char buffer_[64];
};

TEST_F(DirectoryTest, HomeKindsAndSbin) {
    setenv("HOME", "/tmp/zp-home", 1);
    EXPECT_EQ(0, Get(1, 1));  // size is ignored
    ExpectCopied("/tmp/zp-home");
    EXPECT_EQ(0, Get(3, 1));
    ExpectCopied("/tmp/zp-home");
    unsetenv("HOME");
    EXPECT_EQ(0, Get(1, 0));
    ExpectCopied("/home");
    EXPECT_EQ(0, Get(3, 0));
    ExpectCopied("/home");
    EXPECT_EQ(0, Get(2, 0));
    ExpectCopied("/sbin");
}

TEST_F(DirectoryTest, OtherKindsWriteNothing) {
    for (int kind : {0, 4, -1}) {
        EXPECT_EQ(-1, Get(kind, sizeof(buffer_))) << kind;
        for (char c : buffer_) ASSERT_EQ(0x5A, c) << kind;
    }
}

TEST(StringServices, CaseChangeTouchesAsciiLettersOnly) {
    char text[] = "AZaz@[`{09-\xC4\xE4";
    EXPECT_EQ(text, strlwr(text));
    EXPECT_STREQ("azaz@[`{09-\xC4\xE4", text);
    EXPECT_EQ(text, strupr(text));
    EXPECT_STREQ("AZAZ@[`{09-\xC4\xE4", text);
}

TEST(StringServices, CompareIgnoresCaseByLowering) {
    EXPECT_EQ(0, strcmpi("ABC", "abc"));
    EXPECT_LT(strcmpi("abc", "ABD"), 0);
    EXPECT_GT(strcmpi("Zeta", "alpha"), 0);
    EXPECT_LT(strcmpi("ab", "ABC"), 0);
    // '[' sorts below the lower-case letters but above the upper-case ones.
    EXPECT_LT(strcmpi("[", "A"), 0);
}

TEST(StringServices, CopyAppendZeroAndOpen) {
    char buffer[16];
    std::memset(buffer, 'x', sizeof(buffer));
    EXPECT_EQ(0, strcpy_s(buffer, 1, "abc"));  // size is ignored
    EXPECT_EQ(0, strcat_s(buffer, 1, "def"));
    EXPECT_STREQ("abcdef", buffer);
    ZeroMemory(buffer, 3);
    EXPECT_EQ(0, std::memcmp(buffer, "\0\0\0def", 7));

    FILE* stream = reinterpret_cast<FILE*>(&buffer);
    EXPECT_EQ(0, fopen_s(&stream, "/nonexistent/zp/file", "r"));
    EXPECT_EQ(nullptr, stream);
    EXPECT_EQ(0, fopen_s(&stream, "/proc/self/stat", "r"));
    ASSERT_NE(nullptr, stream);
    std::fclose(stream);
}

}  // namespace
