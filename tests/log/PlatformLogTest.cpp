// Cases for the log entries of the platform.
#include "log/PlatformLog.h"

#include <gmock/gmock.h>
#include <poll.h>
#include <syslog.h>

#include "LogClient.h"
#include "log/SystemLog.h"
#include "support/LogFile.h"
#include "support/TemporaryRoot.h"

using testing::ElementsAre;
using testing::IsEmpty;
using namespace workstation::log;

namespace {

class PlatformLogTest : public testing::Test {
protected:
    // What this level logs of one notification and one note.
    std::vector<std::string> LoggedAt(unsigned int level) {
        LogFile const log(root_.Path() / std::to_string(level));
        LogClient::Instance()->Level(level);
        LogNotification("notification");
        LogNote("note");
        return log.Entries();
    }

    TemporaryRoot const root_;
};

} // namespace

TEST_F(PlatformLogTest, OnlyEntriesOfTheLevelAreLogged) {
    EXPECT_THAT(LoggedAt(0), IsEmpty());
    EXPECT_THAT(LoggedAt(1), ElementsAre("notification"));
    EXPECT_THAT(LoggedAt(2), ElementsAre("note"));
    EXPECT_THAT(LoggedAt(3), ElementsAre("notification", "note"));
}

TEST_F(PlatformLogTest, BitsWithoutANameLogNothing) {
    EXPECT_THAT(LoggedAt(4), IsEmpty());
    EXPECT_THAT(LoggedAt(0xFFFFFFFC), IsEmpty());
    EXPECT_THAT(LoggedAt(0xFFFFFFFF), ElementsAre("notification", "note"));
}

TEST_F(PlatformLogTest, EntriesHaveTheProcessNameAndThePriorityOfTheirKind) {
    SystemLog::entries.clear();
    { LogFile const levels(root_.Path() / "log"); } // names the process
    LogClient::Instance()->Level(3);
    LogError("error");
    LogWarning("warning");
    LogNotification("notification");
    LogNotification("request", Severity::info);
    LogNote("note");
    LogClient::Instance()->Level(1);
    auto const entry = [](int priority, std::string const& text) {
        return "StreamMgr|" + std::to_string(LOG_USER) + '|' + std::to_string(priority) + '|' +
               text;
    };
    EXPECT_THAT(SystemLog::entries,
                ElementsAre(entry(LOG_ERR, "error"), entry(LOG_WARNING, "warning"),
                            entry(LOG_NOTICE, "notification"), entry(LOG_INFO, "request"),
                            entry(LOG_INFO, "note")));
}

TEST_F(PlatformLogTest, SeverityDoesNotChangeTheLevel) {
    LogFile const log(root_.Path() / "log");
    for (unsigned int const level : {1U, 2U}) {
        LogClient::Instance()->Level(level);
        LogError("error at " + std::to_string(level));
        LogNotification("request at " + std::to_string(level), Severity::info);
    }
    EXPECT_THAT(log.Entries(), ElementsAre("error at 1", "request at 1"));
}

// --- what repeats --------------------------------------------------------------------------------

TEST_F(PlatformLogTest, ErrorsAndWarningsThatRepeatAreCountedAndLoggedASecondLater) {
    LogFile const log(root_.Path() / "log");
    HeldBackRepeats held;
    for (int times = 0; times < 3; ++times) {
        LogError("error");
        LogWarning("warning");
        LogNotification("notification");
    }
    EXPECT_THAT(log.Entries(),
                ElementsAre("error", "warning", "notification", "notification", "notification"));
    pollfd due{held.Descriptor(), POLLIN, 0};
    while (log.Entries().size() < 7) { // the second one may be due a little later
        ASSERT_EQ(poll(&due, 1, patienceMs), 1);
        held.WriteDue();
    }
    EXPECT_THAT(log.Entries(),
                ElementsAre("error", "warning", "notification", "notification", "notification",
                            "error, 2 times more", "warning, 2 times more"));
    EXPECT_EQ(poll(&due, 1, 0), 0) << "nothing is left to log";
}

TEST_F(PlatformLogTest, WhatIsHeldBackIsLoggedAtTheEnd) {
    LogFile const log(root_.Path() / "log");
    {
        HeldBackRepeats const held;
        LogError("error");
        LogError("error");
    }
    EXPECT_THAT(log.Entries(), ElementsAre("error", "error, 1 time more"));
    LogError("error");
    LogError("error");
    EXPECT_THAT(log.Entries(), ElementsAre("error", "error, 1 time more", "error", "error"));
}
