// Cases for the writing of log entries.
#include "SysLogMsg.h"

#include <gmock/gmock.h>
#include <sys/stat.h>
#include <syslog.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <iterator>
#include <thread>
#include <vector>

#include "log/LogEntry.h"
#include "log/SystemLog.h"
#include "support/TemporaryRoot.h"

using testing::ElementsAre;
using testing::IsEmpty;
using workstation::log::FormatLogLine;

namespace {

std::string Contents(std::filesystem::path const& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

// The text after the time and a blank; the whole line when it does not begin with a time.
std::string AfterTime(std::string const& line) {
    std::string const form = "dddd-dd-ddTdd:dd:dd.ddd ";
    bool const fits = std::ranges::equal(
        line.substr(0, form.size()), form, [](unsigned char character, char wanted) {
            return wanted == 'd' ? std::isdigit(character) != 0
                                 : character == static_cast<unsigned char>(wanted);
        });
    return fits ? line.substr(form.size()) : line;
}

// The lines of a log file without their times.
std::vector<std::string> Entries(std::filesystem::path const& path) {
    std::vector<std::string> entries;
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);) {
        entries.push_back(AfterTime(line));
    }
    return entries;
}

void Log(int level, std::string const& text) {
    SysLogMsg message;
    message.Log(level, "StreamMgrCli_1234") << text;
}

class SysLogMsgTest : public testing::Test {
protected:
    SysLogMsgTest() {
        SystemLog::entries.clear();
        setenv("STREAMMGR_LOG", file_.c_str(), 1);
    }
    ~SysLogMsgTest() override { unsetenv("STREAMMGR_LOG"); }

    TemporaryRoot const root_;
    std::filesystem::path const file_ = root_.Path() / "log";
};

} // namespace

TEST_F(SysLogMsgTest, EntryIsWrittenWhenTheMessageIsDestroyed) {
    {
        SysLogMsg message;
        message.Log(1, "StreamMgrCli_1234") << "StreamMgrCli:" << 42 << " said";
        EXPECT_FALSE(std::filesystem::exists(file_));
    }
    EXPECT_THAT(Entries(file_), ElementsAre("StreamMgrCli_1234: StreamMgrCli:42 said"));
    EXPECT_THAT(SystemLog::entries, IsEmpty());
}

TEST_F(SysLogMsgTest, EntriesAreAppended) {
    Log(1, "first");
    Log(2, "second");
    EXPECT_THAT(Entries(file_),
                ElementsAre("StreamMgrCli_1234: first", "StreamMgrCli_1234: second"));
    EXPECT_EQ(Contents(file_).back(), '\n');
}

TEST_F(SysLogMsgTest, LogFileIsForTheOwnerOnly) {
    mode_t const former = umask(0);
    Log(1, "first");
    umask(former);
    struct stat status {};
    ASSERT_EQ(stat(file_.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0600U);
}

TEST_F(SysLogMsgTest, MessageThatWasNeverLoggedWritesNothing) {
    { SysLogMsg const message; }
    EXPECT_FALSE(std::filesystem::exists(file_));
    EXPECT_THAT(SystemLog::entries, IsEmpty());
}

TEST_F(SysLogMsgTest, EmptyEntryIsOneToo) {
    Log(1, "");
    EXPECT_THAT(Entries(file_), ElementsAre("StreamMgrCli_1234: "));
}

TEST_F(SysLogMsgTest, EntryThatCannotBeWrittenIsLost) {
    setenv("STREAMMGR_LOG", (root_.Path() / "missing" / "log").c_str(), 1);
    Log(1, "lost");
    setenv("STREAMMGR_LOG", root_.Path().c_str(), 1);
    Log(1, "lost");
    setenv("STREAMMGR_LOG", "/dev/full", 1);
    Log(1, "lost");
    EXPECT_THAT(SystemLog::entries, IsEmpty());
    EXPECT_TRUE(std::filesystem::is_empty(root_.Path()));
}

TEST_F(SysLogMsgTest, PipeThatNoProcessReadsIsNotWaitedFor) {
    ASSERT_EQ(mkfifo(file_.c_str(), 0600), 0);
    Log(1, "lost");
    EXPECT_TRUE(std::filesystem::is_fifo(file_));
}

TEST_F(SysLogMsgTest, EntriesOfManyThreadsStayWhole) {
    constexpr std::size_t threads = 8;
    constexpr std::size_t entries = 50;
    std::string const text(300, 'x');
    std::vector<std::thread> writers;
    writers.reserve(threads);
    for (std::size_t writer = 0; writer < threads; ++writer) {
        writers.emplace_back([&] {
            for (std::size_t entry = 0; entry < entries; ++entry) {
                Log(1, text);
            }
        });
    }
    for (auto& writer : writers) {
        writer.join();
    }
    EXPECT_EQ(Entries(file_),
              std::vector<std::string>(threads * entries, "StreamMgrCli_1234: " + text));
}

TEST_F(SysLogMsgTest, WithoutAFileTheSystemLogTakesTheEntry) {
    unsetenv("STREAMMGR_LOG");
    Log(1, "error");
    setenv("STREAMMGR_LOG", "", 1);
    Log(2, "note\nof %s lines");
    Log(4, "else");
    std::string const prefix = "StreamMgrCli_1234|" + std::to_string(LOG_USER) + '|';
    EXPECT_THAT(SystemLog::entries,
                ElementsAre(prefix + std::to_string(LOG_NOTICE) + "|error",
                            prefix + std::to_string(LOG_INFO) + "|note of %s lines",
                            prefix + std::to_string(LOG_INFO) + "|else"));
    EXPECT_THAT(SystemLog::ident, IsEmpty())
        << "the system log keeps a pointer to a name that is gone";
}

TEST(LogEntryTest, LineHasThisForm) {
    char const* const zone = std::getenv("TZ");
    std::string const former = zone != nullptr ? zone : "";
    setenv("TZ", "XYZ-1", 1);
    tzset();
    EXPECT_EQ(FormatLogLine({1, "StreamMgrCli_1234", "text"}, {1769863510, 123999}),
              "2026-01-31T13:45:10.123 StreamMgrCli_1234: text\n");
    EXPECT_EQ(FormatLogLine({1, "p", ""}, {0, 0}), "1970-01-01T01:00:00.000 p: \n");
    EXPECT_EQ(FormatLogLine({1, "p", ""}, {0, 999999}), "1970-01-01T01:00:00.999 p: \n");
    if (zone != nullptr) {
        setenv("TZ", former.c_str(), 1);
    } else {
        unsetenv("TZ");
    }
    tzset();
}

TEST(LogEntryTest, ControlCharactersBecomeBlanksButTheTabStays) {
    std::string text;
    for (int code = 0; code < 0x20; ++code) {
        text += static_cast<char>(code);
    }
    std::string const line =
        FormatLogLine({1, "p\n", text + "\x7F\x80\xC3\xA9 ~"}, {0, 0}).substr(24);
    EXPECT_EQ(line,
              "p : " + std::string(9, ' ') + '\t' + std::string(22, ' ') + " \x80\xC3\xA9 ~\n");
}

TEST(LogEntryTest, PriorityFollowsTheLevel) {
    EXPECT_EQ(workstation::log::SyslogPriority(1), LOG_NOTICE);
    EXPECT_EQ(workstation::log::SyslogPriority(2), LOG_INFO);
    EXPECT_EQ(workstation::log::SyslogPriority(3), LOG_NOTICE);
    EXPECT_EQ(workstation::log::SyslogPriority(4), LOG_INFO);
}
