// Cases for the log entries of the platform.
#include "log/PlatformLog.h"

#include <gmock/gmock.h>
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
    LogNotification("notification");
    LogNote("note");
    LogClient::Instance()->Level(1);
    std::string const prefix = "StreamMgr|" + std::to_string(LOG_USER) + '|';
    EXPECT_THAT(SystemLog::entries, ElementsAre(prefix + std::to_string(LOG_ERR) + "|notification",
                                                prefix + std::to_string(LOG_NOTICE) + "|note"));
}
