// The options that work on events: -d, -f, -F, --bkupdb.
#include "CliTest.h"
#include "fakes/Show.h"

namespace {

constexpr int optionBackupDb = 0xff01;

using EventOptionsTest = CliTest;

// One call to the service, and what is said of its answer.
struct CallCase : NamedCase {
    int option;
    std::string argument;
    std::string call; // its name
    std::string shown;
    std::string success;
    std::string failure;
    unsigned int failureStatus;
    bool flushed;
};

class EventCall : public CliTest, public ::testing::WithParamInterface<CallCase> {
protected:
    std::string const before = platform.Calls();
    std::string const call = GetParam().call + "(" + GetParam().shown + ")\n";
    std::string const end = GetParam().flushed ? "\n<flush>" : "\n";
};

TEST_P(EventCall, ThatSucceedsIsReported) {
    EXPECT_EQ(cli.ProcessOption(GetParam().option, GetParam().argument.c_str()), 3U);
    EXPECT_EQ(platform.Recorded().FlushedOut(), GetParam().success + end);
    EXPECT_EQ(platform.Err(), "");
    EXPECT_EQ(platform.Calls(), before + call);
}

TEST_P(EventCall, ThatFailsIsReported) {
    platform.Script(GetParam().call, 1, {0});
    EXPECT_EQ(cli.ProcessOption(GetParam().option, GetParam().argument.c_str()),
              GetParam().failureStatus);
    ExpectOutput("", GetParam().failure + "\n");
    EXPECT_EQ(platform.Calls(), before + call);
}

std::vector<CallCase> Calls() {
    CallCase const deletion = {{"Delete"},
                               'd',
                               "0123:45",
                               "DeleteEvent",
                               "StreamMgrCli_4711, \"0123:45\"",
                               "Successfully sent delete request",
                               "Error sending request for delete",
                               2,
                               false};
    CallCase anyText = deletion;
    anyText.name = "DeleteOfAnyText";
    anyText.argument = " no, reid ";
    anyText.shown = "StreamMgrCli_4711, \" no, reid \"";
    CallCase noText = deletion;
    noText.name = "DeleteOfNothing";
    noText.argument = "";
    noText.shown = "StreamMgrCli_4711, \"\"";

    CallCase const chain = {{"FileChain"},
                            'f',
                            "1",
                            "LogFileChain",
                            "StreamMgrCli_4711, 1, true",
                            "Successfully sent file chain request",
                            "Error sending file chain request",
                            2,
                            true};
    CallCase withoutWiped = chain;
    withoutWiped.name = "FileChainWithoutWiped";
    withoutWiped.option = 'F';
    withoutWiped.shown = "StreamMgrCli_4711, 1, false";

    CallCase const backup = {{"Backup"},
                             optionBackupDb,
                             "/tmp/copy of.db",
                             "BackupDatabase",
                             "StreamMgrCli_4711, \"/tmp/copy of.db\", 60000",
                             "backup successful",
                             "backup failed",
                             3,
                             false};
    CallCase noPath = backup;
    noPath.name = "BackupToNowhere";
    noPath.argument = "";
    noPath.shown = "StreamMgrCli_4711, \"\", 60000";
    return {deletion, anyText, noText, chain, withoutWiped, backup, noPath};
}

INSTANTIATE_TEST_SUITE_P(Of, EventCall, ::testing::ValuesIn(Calls()), NameOfCase());

TEST_F(EventOptionsTest, NumberOfTheStreamIsConvertedWithoutAnyCheck) {
    struct Case {
        char const* argument;
        std::string stream;
    };
    std::string calls = platform.Calls();
    for (Case const& row : {Case{"0", "0"}, Case{"abc", "0"}, Case{"", "0"}, Case{"3rest", "3"},
                            Case{"-1", "4294967295"}, Case{"4294967297", "2147483647"},
                            Case{"-4294967297", "2147483648"}}) {
        EXPECT_EQ(cli.ProcessOption('f', row.argument), 3U) << row.argument;
        EXPECT_EQ(cli.ProcessOption('F', row.argument), 3U) << row.argument;
        calls += "LogFileChain(StreamMgrCli_4711, " + row.stream + ", true)\n" +
                 "LogFileChain(StreamMgrCli_4711, " + row.stream + ", false)\n";
    }
    EXPECT_EQ(platform.Calls(), calls);
}

} // namespace
