// What the tool relies on in the log.
#include <gmock/gmock.h>

#include <optional>
#include <string>

#include "LogClient.h"
#include "SysLogMsg.h"
#include "contract/Scene.h"

using testing::ElementsAre;

namespace {

class LogContract : public testing::Test {
protected:
    LogContract() { LogClient::Instance()->Level(3); }
    ~LogContract() override {
        LogClient::Instance()->Level(formerLevel_);
        LogClient::Instance()->ProcessName(formerName_);
    }

    Scene scene_;
    unsigned int const formerLevel_ = LogClient::Instance()->Level();
    std::string const formerName_ = LogClient::Instance()->ProcessName();
};

TEST_F(LogContract, ThereIsOneClient) {
    ASSERT_NE(LogClient::Instance(), nullptr);
    EXPECT_EQ(LogClient::Instance(), LogClient::Instance());
}

TEST_F(LogContract, FirstLevelIsThatOfErrorsAndNotifications) {
    EXPECT_EQ(formerLevel_, 1U);
}

TEST_F(LogContract, LevelAndProcessNameAreThoseThatWereSet) {
    for (unsigned int const level : {0U, 1U, 2U, 3U, 0xFFFFFFFFU}) {
        LogClient::Instance()->Level(level);
        EXPECT_EQ(LogClient::Instance()->Level(), level);
    }
    for (char const* const name : {"StreamMgrCli_4711", "another"}) {
        LogClient::Instance()->ProcessName(name);
        EXPECT_EQ(LogClient::Instance()->ProcessName(), name);
    }
}

TEST_F(LogContract, EntryIsWrittenWhenItsObjectGoes) {
    std::optional<SysLogMsg> entry(std::in_place);
    entry->Log(1, "process") << "text " << 5;
    EXPECT_THAT(scene_.LogEntries(), ElementsAre());
    entry.reset();
    EXPECT_THAT(scene_.LogEntries(), ElementsAre("process: text 5"));
}

TEST_F(LogContract, EntriesOfEachLevelStandInTheirOrder) {
    SysLogMsg().Log(1, "first") << "error";
    SysLogMsg().Log(2, "second") << "note";
    EXPECT_THAT(scene_.LogEntries(), ElementsAre("first: error", "second: note"));
}

TEST_F(LogContract, EntryWithoutTextIsWritten) {
    SysLogMsg().Log(1, "process");
    EXPECT_THAT(scene_.LogEntries(), ElementsAre("process: "));
}

TEST_F(LogContract, ObjectWithoutLogIsNoEntry) {
    { SysLogMsg const entry; }
    EXPECT_THAT(scene_.LogEntries(), ElementsAre());
}

} // namespace
