// Entries in the system log.
#include "common/LogEntry.h"

#include "LogClient.h"
#include "fakes/SeamTest.h"

namespace {

class LogEntryTest : public SeamTest {};

TEST_F(LogEntryTest, IsWrittenWhileItsLevelIsOn) {
    struct Case {
        unsigned int clientLevel;
        common::LogLevel level;
        bool isWritten;
    };
    std::string calls = platform.Calls();
    for (Case const& row : {Case{0, common::logError, false}, Case{1, common::logError, true},
                            Case{2, common::logError, false}, Case{3, common::logError, true},
                            Case{1, common::logNote, false}, Case{2, common::logNote, true}}) {
        LogClient::Instance()->Level(row.clientLevel);
        common::LogEntry(row.level, "the text");
        calls += "log.Level()\n";
        calls += row.isWritten ? LogEntry(static_cast<int>(row.level), "the text") : "";
    }
    EXPECT_EQ(CallsWithoutLines(), calls);
}

TEST_F(LogEntryTest, HasTheLineOfItsCaller) {
    LogClient::Instance()->Level(1);
    common::LogEntry(common::logError, "the text");
    std::string const line = std::to_string(__LINE__ - 1);
    EXPECT_NE(platform.Calls().find("\"StreamMgrCli:" + line + " the text\""), std::string::npos)
        << platform.Calls();
}

} // namespace
