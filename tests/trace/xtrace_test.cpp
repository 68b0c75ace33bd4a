// The trace log: file names, the line format, appending, and the register dump.
// Every file is written under a fresh directory that the fixture removes.
#include "zpport/XTrace.h"

#include <gtest/gtest.h>
#include <regex.h>
#include <stdlib.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "trace/log_file_name.h"
#include "zpport/OSLayer.h"

namespace {

namespace fs = std::filesystem;

// A POSIX extended regular expression; Match gives the whole match and its groups, or
// nothing when the text does not match.
class Pattern {
public:
    explicit Pattern(const std::string& expression)
        : compiled_(::regcomp(&regex_, expression.c_str(), REG_EXTENDED) == 0) {}
    ~Pattern() {
        if (compiled_) ::regfree(&regex_);
    }
    Pattern(const Pattern&) = delete;
    Pattern& operator=(const Pattern&) = delete;

    std::vector<std::string> Match(const std::string& text) const {
        std::vector<std::string> groups;
        if (!compiled_) return groups;
        regmatch_t found[8];
        if (::regexec(&regex_, text.c_str(), 8, found, 0) != 0) return groups;
        for (std::size_t i = 0; i <= regex_.re_nsub && i < 8; ++i) {
            groups.push_back(found[i].rm_so < 0
                                 ? std::string()
                                 : text.substr(static_cast<std::size_t>(found[i].rm_so),
                                               static_cast<std::size_t>(found[i].rm_eo - found[i].rm_so)));
        }
        return groups;
    }

private:
    regex_t regex_;
    bool compiled_;
};

class TraceFile : public ::testing::Test {
protected:
    void SetUp() override {
        char pattern[] = "/tmp/zptrace_XXXXXX";
        ASSERT_NE(nullptr, ::mkdtemp(pattern));
        dir_ = pattern;
    }
    void TearDown() override {
        std::error_code error;
        if (!dir_.empty()) fs::remove_all(dir_, error);
    }

    std::string Path(const std::string& name) const { return dir_ + "/" + name; }

    std::set<std::string> Files() const {
        std::set<std::string> names;
        for (const auto& entry : fs::directory_iterator(dir_)) names.insert(entry.path().filename().string());
        return names;
    }

    static std::string Read(const std::string& path) {
        std::ifstream file(path, std::ios::binary);
        std::ostringstream content;
        content << file.rdbuf();
        return content.str();
    }

    // Lines of a file, each of which must end in "\r\n"; the terminators are removed.
    static std::vector<std::string> Lines(const std::string& path) {
        const std::string content = Read(path);
        std::vector<std::string> lines;
        std::size_t start = 0;
        while (start < content.size()) {
            const std::size_t end = content.find("\r\n", start);
            if (end == std::string::npos) {
                ADD_FAILURE() << "unterminated line: " << content.substr(start);
                break;
            }
            lines.push_back(content.substr(start, end - start));
            start = end + 2;
        }
        return lines;
    }

    // The text after the "hh:mm:ss:mmm CCCC LABEL " header, which must be well formed.
    static std::string Message(const std::string& line, const std::string& channelAndLabel) {
        const Pattern header("^([0-9]{2}):([0-9]{2}):([0-9]{2}):([0-9]{3}) " + channelAndLabel + " ");
        const std::vector<std::string> match = header.Match(line);
        if (match.empty()) {
            ADD_FAILURE() << "bad header for '" << channelAndLabel << "': " << line;
            return std::string();
        }
        EXPECT_LT(std::stoi(match[1]), 24);
        EXPECT_LT(std::stoi(match[2]), 60);
        EXPECT_LT(std::stoi(match[3]), 61);
        return line.substr(match[0].size());
    }

    std::string dir_;
};

TEST(TraceNames, ConstructedOff) {
    CXTrace trace;
    EXPECT_EQ(0, trace.IsLogEnabled());
    EXPECT_STREQ("", trace.LogPath());
}

TEST(TraceNames, PerIdNames) {
    CXTrace trace;
    trace.EnableTrace(7u, "/tmp/cam.log", 1);
    EXPECT_STREQ("/tmp/cam_0000000007.log", trace.LogPath());
    EXPECT_EQ(1, trace.IsLogEnabled());
    trace.EnableTrace(7u, "/tmp/camlog", 2);
    EXPECT_STREQ("/tmp/camlog_0000000007", trace.LogPath());
    EXPECT_EQ(2, trace.IsLogEnabled());
    trace.EnableTrace(7u, "/tmp/a.b/log", 1);
    EXPECT_STREQ("/tmp/a_0000000007.b/log", trace.LogPath());
    trace.EnableTrace(4294967295u, "/tmp/cam.x.log", 1);
    EXPECT_STREQ("/tmp/cam.x_4294967295.log", trace.LogPath());
}

TEST(TraceNames, SingleFileNameKeptAsGiven) {
    CXTrace trace;
    trace.EnableTrace("/tmp/a.b/log", 1);
    EXPECT_STREQ("/tmp/a.b/log", trace.LogPath());
    trace.EnableTrace("/tmp/cam.log", 0);
    EXPECT_STREQ("/tmp/cam.log", trace.LogPath());
    EXPECT_EQ(0, trace.IsLogEnabled());
}

TEST(TraceNames, OverlongNameIsCut) {
    CXTrace trace;
    const std::string name = "/tmp/" + std::string(600, 'n') + ".log";
    trace.EnableTrace(7u, name.c_str(), 1);
    EXPECT_EQ(511u, std::string(trace.LogPath()).size());
}

TEST(TraceNames, SplitAtTheLastDot) {
    char base[512];
    char extension[256];
    const char* const rows[][3] = {
        {"/tmp/cam.log", "/tmp/cam", ".log"}, {"/tmp/camlog", "/tmp/camlog", ""},
        {"/tmp/a.b/log", "/tmp/a", ".b/log"}};
    for (const auto& row : rows) {
        zptrace::SplitLogName(row[0], base, sizeof(base), extension, sizeof(extension));
        EXPECT_STREQ(row[1], base);
        EXPECT_STREQ(row[2], extension);
    }
}

TEST(TraceNames, DailyNameAddsYearAndMonthOffsets) {
    _OS_SYSTEMTIME march5{};
    march5.wYear = 124;  // years since 1900
    march5.wMonth = 2;   // 0-based
    march5.wDay = 5;
    char name[1024];
    ASSERT_TRUE(zptrace::FormLogFileName(name, sizeof(name), "/tmp/cam_0000000007.log", "/tmp/cam", ".log", 2,
                                         march5));
    EXPECT_STREQ("/tmp/cam_2024-03-05.log", name);
    ASSERT_TRUE(zptrace::FormLogFileName(name, sizeof(name), "x", "/tmp/a", ".b/log", 3, march5));
    EXPECT_STREQ("/tmp/a_2024-03-05.b/log", name);
    _OS_SYSTEMTIME newYearsEve{};
    newYearsEve.wYear = 99;
    newYearsEve.wMonth = 11;
    newYearsEve.wDay = 31;
    ASSERT_TRUE(zptrace::FormLogFileName(name, sizeof(name), "x", "/tmp/camlog", "", 2, newYearsEve));
    EXPECT_STREQ("/tmp/camlog_1999-12-31", name);
    ASSERT_TRUE(zptrace::FormLogFileName(name, sizeof(name), "/tmp/cam_0000000007.log", "/tmp/cam", ".log", 1,
                                         march5));
    EXPECT_STREQ("/tmp/cam_0000000007.log", name);
    const std::string longBase = "/tmp/" + std::string(600, 'b');
    EXPECT_FALSE(zptrace::FormLogFileName(name, 512, "x", longBase.c_str(), ".log", 2, march5));
}

TEST_F(TraceFile, LinesAreAppendedWithHeader) {
    CXTrace trace;
    trace.EnableTrace(7u, Path("cam.log").c_str(), 1);
    trace.Trace(0x2001, 1, "CMD: %s %d", "#0140", 5);
    trace.Trace(0, 0, "second");
    trace.Trace(0xFFFFFFFFu, 3, "third %s", "100%");
    trace.Trace(0x12345, 1, "fourth");

    EXPECT_EQ(std::set<std::string>{"cam_0000000007.log"}, Files());
    const std::vector<std::string> lines = Lines(Path("cam_0000000007.log"));
    ASSERT_EQ(4u, lines.size());
    EXPECT_EQ("CMD: #0140 5", Message(lines[0], "2001 ETH TW"));
    EXPECT_EQ("second", Message(lines[1], "0000 DRV FN"));
    EXPECT_EQ("third 100%", Message(lines[2], "FFFF DRV FN"));
    EXPECT_EQ("fourth", Message(lines[3], "2345 ETH TW"));
}

TEST_F(TraceFile, ExistingFileIsExtended) {
    const std::string path = Path("keep.txt");
    std::ofstream(path, std::ios::binary) << "old line\r\n";
    CXTrace trace;
    trace.EnableTrace(path.c_str(), 1);
    trace.Trace(0x2002, 1, "new");
    const std::vector<std::string> lines = Lines(path);
    ASSERT_EQ(2u, lines.size());
    EXPECT_EQ("old line", lines[0]);
    EXPECT_EQ("new", Message(lines[1], "2002 ETH TW"));
}

TEST_F(TraceFile, DailyFileCarriesTodaysDate) {
    _OS_SYSTEMTIME before{};
    OS_GetLocalTime(&before);
    CXTrace trace;
    trace.EnableTrace(7u, Path("cam.log").c_str(), 2);
    trace.Trace(0x2001, 1, "daily");
    _OS_SYSTEMTIME after{};
    OS_GetLocalTime(&after);

    std::set<std::string> expected;
    for (const _OS_SYSTEMTIME& day : {before, after}) {
        char name[64];
        std::snprintf(name, sizeof(name), "cam_%04d-%02d-%02d.log", day.wYear + 1900, day.wMonth + 1,
                      day.wDay);
        expected.insert(name);
    }
    const std::set<std::string> files = Files();
    ASSERT_EQ(1u, files.size());
    EXPECT_EQ(1u, expected.count(*files.begin())) << *files.begin();
    const std::vector<std::string> lines = Lines(Path(*files.begin()));
    ASSERT_EQ(1u, lines.size());
    EXPECT_EQ("daily", Message(lines[0], "2001 ETH TW"));
}

TEST_F(TraceFile, ModeZeroWritesNothing) {
    CXTrace trace;
    trace.EnableTrace(7u, Path("cam.log").c_str(), 0);
    trace.Trace(0x2001, 1, "level without mode");
    trace.Trace(0x2001, 0, "neither");
    unsigned short registers[3] = {1, 2, 3};
    trace.TraceRegs(0x2001, 1, registers, 3);
    EXPECT_TRUE(Files().empty());
}

TEST_F(TraceFile, LevelZeroStillWritesWhenOn) {
    CXTrace trace;
    trace.EnableTrace(Path("on.log").c_str(), 1);
    trace.Trace(0x2001, 0, "quiet level");
    const std::vector<std::string> lines = Lines(Path("on.log"));
    ASSERT_EQ(1u, lines.size());
    EXPECT_EQ("quiet level", Message(lines[0], "2001 ETH TW"));
}

TEST_F(TraceFile, UnwritablePathDropsTheLine) {
    CXTrace trace;
    trace.EnableTrace(Path("missing/cam.log").c_str(), 1);
    trace.Trace(0x2001, 1, "lost");
    trace.EnableTrace(dir_.c_str(), 1);  // a directory cannot be opened for update
    trace.Trace(0x2001, 1, "lost too");
    EXPECT_TRUE(Files().empty());
    EXPECT_TRUE(fs::is_directory(dir_));
}

TEST_F(TraceFile, OverlongMessageIsCutAndTerminated) {
    CXTrace trace;
    trace.EnableTrace(Path("long.log").c_str(), 1);
    const std::string longText(3000, 'x');
    trace.Trace(0x2001, 1, "%s", longText.c_str());
    trace.Trace(0x2001, 1, "after");
    const std::vector<std::string> lines = Lines(Path("long.log"));
    ASSERT_EQ(2u, lines.size());
    // 2048 bytes of message buffer: 2045 characters, "\r\n" and the terminator.
    EXPECT_EQ(std::string(2045, 'x'), Message(lines[0], "2001 ETH TW"));
    EXPECT_EQ("after", Message(lines[1], "2001 ETH TW"));
}

TEST_F(TraceFile, ChannelLabels) {
    CXTrace trace;
    trace.EnableTrace(Path("labels.log").c_str(), 1);
    for (unsigned int index = 0; index < 16; ++index) trace.Trace((index << 12) | 0x0101u, 1, "x");
    const std::vector<std::string> lines = Lines(Path("labels.log"));
    ASSERT_EQ(16u, lines.size());
    const Pattern form("^[0-9]{2}:[0-9]{2}:[0-9]{2}:[0-9]{3} ([0-9A-F]{4}) (.{6}) x$");
    const char* const bus[14] = {"USB", "ETH", "ETH", "CLI", "USB", "ETH", "CLI",
                                 "ETH", "ETH", "CLI", "ETH", "CLI", "USB", "PCI"};
    std::vector<std::string> labels;
    for (unsigned int index = 0; index < 16; ++index) {
        const std::vector<std::string> match = form.Match(lines[index]);
        ASSERT_EQ(3u, match.size()) << lines[index];
        char channel[16];
        std::snprintf(channel, sizeof(channel), "%04X", (index << 12) | 0x0101u);
        EXPECT_EQ(channel, match[1]);
        const std::string label = match[2];
        labels.push_back(label);
        if (index < 14) {
            const Pattern busAndTag("^" + std::string(bus[index]) + "( [A-Z]{2}|  [A-Z])$");
            EXPECT_FALSE(busAndTag.Match(label).empty()) << index << ": '" << label << "'";
        }
    }
    EXPECT_EQ("ETH TW", labels[2]);
    EXPECT_EQ(labels[3], labels[6]);
    EXPECT_EQ(labels[3], labels[9]);
    EXPECT_EQ(labels[3], labels[11]);
    EXPECT_EQ("UNDEFD", labels[14]);
    EXPECT_EQ("UNDEFD", labels[15]);
    for (unsigned int index = 0; index < 16; ++index) {
        if (index != 2) {
            EXPECT_NE("ETH TW", labels[index]) << index;
        }
    }
}

TEST_F(TraceFile, RegistersTwentyFourToALine) {
    unsigned short registers[30];
    for (int i = 0; i < 30; ++i) registers[i] = static_cast<unsigned short>(0xA000 + i);
    CXTrace trace;
    trace.EnableTrace(Path("regs.log").c_str(), 1);
    trace.TraceRegs(0x2001, 1, registers, 30);
    trace.TraceRegs(0x2001, 1, registers, 0);
    trace.TraceRegs(0x2001, 0, registers, 24);
    trace.TraceRegs(0x2001, 1, registers + 5, 1);

    const std::vector<std::string> lines = Lines(Path("regs.log"));
    ASSERT_EQ(4u, lines.size());
    const std::string first24 =
        "A0,00 A0,01 A0,02 A0,03 A0,04 A0,05 A0,06 A0,07 A0,08 A0,09 A0,0A A0,0B "
        "A0,0C A0,0D A0,0E A0,0F A0,10 A0,11 A0,12 A0,13 A0,14 A0,15 A0,16 A0,17";
    EXPECT_EQ("Reg: " + first24, Message(lines[0], "2001 ETH TW"));
    EXPECT_EQ("     A0,18 A0,19 A0,1A A0,1B A0,1C A0,1D", Message(lines[1], "2001 ETH TW"));
    EXPECT_EQ("Reg: " + first24, Message(lines[2], "2001 ETH TW"));
    EXPECT_EQ("Reg: A0,05", Message(lines[3], "2001 ETH TW"));
}

TEST_F(TraceFile, DebugOutputGoesNowhere) {
    CXTrace trace;
    trace.EnableTrace(Path("debug.log").c_str(), 1);
    const std::string longText(1000, 'd');
    trace.OutDebug("%s %d", longText.c_str(), 1);
    EXPECT_TRUE(Files().empty());
}

}  // namespace
