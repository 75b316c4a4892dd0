// Events: made after the fact, split, deleted, listed as chains of files, and backed up.
#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <list>
#include <set>

#include "EventDatabase.h"
#include "Events.h"
#include "TransportStream.h"

namespace e2e {
namespace {

namespace fs = std::filesystem;

// The service reports on a request in its log. The tool prints only that it was sent.
Outcome const deleteSent{0, "Successfully sent delete request\n", ""};
Outcome const chainSent{0, "Successfully sent file chain request\n", ""};

class Events : public testing::Test {
protected:
    // Starts the service on a pool of four files and has it record the clip into some streams.
    void RecordInto(std::vector<int> const& streams) {
        recorder.CreatePool(4);
        Words arguments{"--fast"};
        for (int const stream : streams) {
            arguments.insert(arguments.end(), {"--record", std::to_string(stream) + "=" CLIP_PATH});
        }
        recorder.StartService(arguments);
        ASSERT_TRUE(recorder.Logs(" stopped\n", static_cast<int>(streams.size())));
        fs::remove(recorder.LogPath());
    }

    // What the service logged, without what differs from run to run.
    std::string ServiceLog() const {
        std::string const log = WithoutReids(recorder.LogOf("StreamMgr"));
        std::string const timeless = Replaced(
            log, "20[0-9]{2}-[0-9]{2}-[0-9]{2} [0-9]{2}:[0-9]{2}:[0-9]{2} [A-Z0-9+-]+", "TIME");
        return Replaced(timeless, "StreamMgrCli_[0-9]+", "TOOL");
    }

    fs::path Database() const { return recorder.Root() / "events.db"; }

    std::string FilesOf(std::string const& reid) const {
        return Rows(Database(), "SELECT stream, file_number FROM file WHERE id IN (SELECT file FROM"
                                " event_file JOIN event ON event.id = event WHERE reid = '" +
                                    reid + "') ORDER BY stream");
    }

    // Deleting is not answered; a later request is not carried out before it.
    void Delete(std::string const& reid) {
        EXPECT_EQ(recorder.Tool({"-d", reid}), deleteSent);
        EXPECT_EQ(recorder.Tool({"-s", "3"}).status, 0);
    }

    Recorder recorder;
};

// --- --ratf ------------------------------------------------------------------------------------

struct Code {
    char const* text;
    char const* streams;
};

void PrintTo(Code const& code, std::ostream* stream) {
    *stream << '"' << code.text << '"';
}

class EventsWithCode : public Events, public testing::WithParamInterface<Code> {};

TEST_P(EventsWithCode, KeepTheStreamsOfTheCode) {
    RecordInto({1, 2, 3});
    std::string const reid = MakeEvent(recorder, everySince2000 + GetParam().text);
    EXPECT_EQ(Rows(Database(), "SELECT reid, tags_complete, parent FROM event"), reid + "|1|\n");
    EXPECT_EQ(Rows(Database(), "SELECT stream FROM event_file JOIN file ON file.id = file"
                               " ORDER BY stream"),
              GetParam().streams);
}

// Streams 2 and 4 are the critical ones.
INSTANTIATE_TEST_SUITE_P(Ratf, EventsWithCode,
                         testing::Values(Code{"", "1\n2\n3\n"}, Code{",c", "2\n"},
                                         Code{",r", "1\n3\n"}, Code{",rc", "2\n"}));

TEST_F(Events, AreNotMadeOfWhatWasNotRecorded) {
    RecordInto({1});
    Outcome const failed{0, "", "RATF call FAILED\n"};
    EXPECT_EQ(recorder.Tool({"--ratf", "010100-000000,010100-235959"}), failed);
    EXPECT_EQ(recorder.Tool({"--ratf", "010137-000000,010100-000000"}), failed); // ends first
    EXPECT_EQ(recorder.Tool({"--ratf", everySince2000 + ",c"}), failed); // no critical stream
    EXPECT_EQ(Rows(Database(), "SELECT * FROM event"), "");
    std::string const nothing = "record after the fact requested by TOOL\n"
                                "nothing is held of the interval from TIME to TIME\n";
    EXPECT_EQ(ServiceLog(), nothing + nothing + nothing);
}

TEST_F(Events, AreNotMadeWithoutAService) {
    recorder.CreatePool(1);
    EXPECT_EQ(recorder.Tool({"--ratf", everySince2000}),
              (Outcome{0, notRunning, "RATF call FAILED\n"}));
    EXPECT_EQ(recorder.Tool({"-d", "x"}),
              (Outcome{99, notRunning, "Error sending request for delete\n"}));
    EXPECT_EQ(recorder.Tool({"-f", "0"}),
              (Outcome{99, notRunning, "Error sending file chain request\n"}));
    EXPECT_EQ(recorder.Tool({"--bkupdb", recorder.Directory() / "copy"}),
              (Outcome{0, notRunning, "backup failed\n"}));
}

TEST_F(Events, OfFiftyClientsAtOnceAreAllMade) {
    RecordInto({1});
    std::list<Child> clients;
    for (int client = 0; client < 50; ++client) {
        clients.emplace_back(recorder.ToolCommand({"--ratf", everySince2000}));
    }
    std::set<std::string> reids;
    for (Child& client : clients) {
        Outcome const outcome = client.Finish();
        std::string const reid = FirstReid(outcome.out);
        EXPECT_EQ(outcome, (Outcome{0, "RATF event created REID " + reid + '\n', ""}));
        reids.insert(reid);
    }
    EXPECT_EQ(reids.size(), 50U);
    EXPECT_EQ(Rows(Database(), "SELECT count(*) FROM event WHERE tags_complete = 1"), "50\n");
}

// --- -d ----------------------------------------------------------------------------------------

TEST_F(Events, AreDeletedOneByOne) {
    RecordInto({1});
    std::string const first = MakeEvent(recorder, everySince2000);
    std::string const second = MakeEvent(recorder, everySince2000);
    fs::remove(recorder.LogPath());
    Delete(first);
    EXPECT_EQ(Rows(Database(), "SELECT reid FROM event"), second + '\n');
    Delete(first);
    EXPECT_EQ(Rows(Database(), "SELECT reid FROM event"), second + '\n');
    std::string const level = "set log level requested by TOOL\nlog level set to 3\n";
    EXPECT_EQ(ServiceLog(), "delete event requested by TOOL\ndeleted event REID\n" + level +
                                "delete event requested by TOOL\nthere is no event REID\n" + level);
}

TEST_F(Events, AreOnlyDeletedByTheirWholeIdentifier) {
    RecordInto({1});
    std::string const reid = MakeEvent(recorder, everySince2000);
    std::string const before = Everything(Database());
    for (std::string const& other :
         {std::string(""), std::string("'"), std::string("' OR '1'='1"),
          std::string("'; DROP TABLE event; --"), std::string("\"; DELETE FROM event; --"),
          std::string("%"), std::string("*"), reid + ' ', reid.substr(0, 10), reid + "\n",
          reid + "' --", std::string("\xFF\xFE\x80"), std::string(60000, 'a')}) {
        Delete(other);
    }
    EXPECT_EQ(Everything(Database()), before);
    EXPECT_EQ(Faults(Database()), "");
}

// --- --split -----------------------------------------------------------------------------------

std::string const hint = "split parameters must be in the form 'reid,splitsize'\n";

std::string Banner(std::string const& reid, std::string const& size) {
    std::string const rule(95, '#');
    return '\n' + rule + "\nSubmitting Split Event request with REID: '" + reid +
           "', splitsize = " + size + '\n' + rule + "\n\n";
}

class Split : public Events {
protected:
    // An event of three files of 60 MB.
    Split() {
        RecordInto({1, 2, 3});
        recorder.StopService(SIGTERM);
        for (char const* const number : {"1", "2", "3"}) {
            Outcome const set = recorder.PoolTool({"set", number, "--length", "60000000"});
            EXPECT_EQ(set.status, 0) << set;
        }
        recorder.StartService();
        reid = MakeEvent(recorder, everySince2000);
        files = FilesOf(reid);
        fs::remove(recorder.LogPath());
    }

    std::string Events() const {
        return Rows(Database(), "SELECT reid, tags_complete, parent FROM event");
    }

    std::string reid;
    std::string files;
};

// A slot is the smallest part there is.
TEST_F(Split, MakesAnEventOfEachFileWhenTwoAreTooLarge) {
    for (char const* const size : {"1M", "94M", " 114 M"}) {
        Outcome const split = recorder.Tool({"--split", reid + ',' + size});
        int const number = std::stoi(size);
        EXPECT_EQ(split,
                  (Outcome{0,
                           "Split request submitted for REID: '" + reid +
                               "', split size = " + (number == 114 ? "116736" : "96256") + '\n',
                           Banner(reid, std::to_string(number) + " MiB")}));
        EXPECT_EQ(Rows(Database(), "SELECT count(*), count(DISTINCT reid) FROM event"
                                   " WHERE tags_complete = 1 AND parent = '" +
                                       reid + "'"),
                  "3|3\n");
        EXPECT_EQ(Rows(Database(), "SELECT event, count(*) FROM event_file GROUP BY event"
                                   " HAVING count(*) <> 1"),
                  "");
        // The parts go, and the same event comes back for the next size.
        std::string const parts = Rows(Database(), "SELECT reid FROM event");
        for (std::size_t at = 0; at < parts.size(); at += reid.size() + 1) {
            Delete(parts.substr(at, reid.size()));
        }
        reid = MakeEvent(recorder, everySince2000);
    }
}

TEST_F(Split, PutsFilesTogetherThatAreSmallEnough) {
    EXPECT_EQ(recorder.Tool({"--split", " " + reid + "\t,120M"}),
              (Outcome{0, "Split request submitted for REID: '" + reid + "', split size = 122880\n",
                       Banner(reid, "120 MiB")}));
    EXPECT_EQ(Rows(Database(), "SELECT count(*) FROM event_file GROUP BY event ORDER BY event"),
              "2\n1\n");
    EXPECT_EQ(ServiceLog(), "split event requested by TOOL\n"
                            "event REID now stands as 2 events\n  event REID\n  event REID\n");
}

TEST_F(Split, LeavesAnEventThatIsSmallEnough) {
    for (std::string const size : {"1", "1023", "1500", "5000", "96255"}) {
        EXPECT_EQ(
            recorder.Tool({"--split", reid + "," + size}),
            (Outcome{
                0, "Split request submitted for REID: '" + reid + "', split size = " + size + "\n",
                Banner(reid, size + " GiB")}));
        EXPECT_EQ(Events(), reid + "|1|\n");
        EXPECT_EQ(FilesOf(reid), files);
    }
}

TEST_F(Split, OfAnUnknownEventFails) {
    std::string const unknown = "20200101-000000:00000000";
    EXPECT_EQ(recorder.Tool({"--split", unknown + ",1"}),
              (Outcome{0, "", Banner(unknown, "1 GiB") + "SPLIT call FAILED\n"}));
    EXPECT_EQ(recorder.Tool({"--split", "' OR 1=1 --,1"}),
              (Outcome{99, "",
                       "Malformed or misplaced REID:\n" + hint + Banner("' OR 1=1 --", "1 GiB") +
                           "SPLIT call FAILED\n"}));
    EXPECT_EQ(Events(), reid + "|1|\n");
}

TEST_F(Split, WithoutASizeIsRefused) {
    EXPECT_EQ(recorder.Tool({"--split", reid}), (Outcome{99, "", "Did not find comma:\n" + hint}));
    EXPECT_EQ(recorder.Tool({"--split", reid + ",0"}),
              (Outcome{99, "", "splitsize must be > 0\n" + hint}));
    EXPECT_EQ(recorder.Tool({"--split", reid + ","}),
              (Outcome{99, "",
                       "NOTE: use no spaces between reid and splitsize, or else enclose the "
                       "arguments in quotesbasic_string::substr\n"}));
    EXPECT_EQ(recorder.Tool({"--split", ",1"}), (Outcome{99, "", "basic_string::substr\n"}));
    EXPECT_EQ(ServiceLog(), "");
}

// --- -f and -F ---------------------------------------------------------------------------------

TEST_F(Events, StandBesideTheChainsOfFilesInTheLog) {
    RecordInto({2});
    EXPECT_EQ(recorder.Tool({"-f", "1", "-F", "1", "-f", "first", "-F", "4", "-f", "-1"}).status,
              0);
    ASSERT_TRUE(recorder.Logs("there is no stream 4294967296 (requested as 4294967295)\n"));
    std::string const request = "file chain requested by TOOL\n";
    std::string const chain = request + "file chain of stream 2 (requested as 1): 1 files\n"
                                        "  file 1, 1271632 bytes, ticks 0 to 99, TIME to TIME\n";
    EXPECT_EQ(ServiceLog(), chain + chain + request +
                                "file chain of stream 1 (requested as 0): 0 files\n" + request +
                                "there is no stream 5 (requested as 4)\n" + request +
                                "there is no stream 4294967296 (requested as 4294967295)\n");
}

// --- --bkupdb ----------------------------------------------------------------------------------

TEST_F(Events, AreBackedUpAndTheServiceGoesOnFromTheCopy) {
    RecordInto({1, 2});
    std::string const reid = MakeEvent(recorder, everySince2000);
    fs::path const copy = recorder.Directory() / "it's a copy";
    WriteFile(copy, std::string(100000, 'x')); // is overwritten
    EXPECT_EQ(recorder.Tool({"--bkupdb", copy}), (Outcome{0, "backup successful\n", ""}));
    EXPECT_EQ(Faults(copy), "");
    std::string const before = Everything(Database());
    EXPECT_EQ(Everything(copy), before);

    Delete(reid);
    EXPECT_NE(Everything(Database()), before);
    recorder.StopService(SIGTERM);
    fs::rename(copy, Database());
    recorder.StartService();
    EXPECT_EQ(Everything(Database()), before);
    Delete(reid);
    EXPECT_EQ(Rows(Database(), "SELECT * FROM event"), "");
}

TEST_F(Events, AreNotBackedUpWhereNoFileCanBe) {
    RecordInto({1});
    std::string const before = Everything(Database());
    std::string expected;
    auto const refuse = [&](std::string const& path, std::string const& reason) {
        EXPECT_EQ(recorder.Tool({"--bkupdb", path}), (Outcome{0, "", "backup failed\n"})) << path;
        expected += "backup requested by TOOL\nbackup failed: " + reason + '\n';
    };
    auto const refuseTarget = [&](std::string const& path, std::string const& reason) {
        refuse(path, "backup '" + path + "': " + reason);
    };
    refuseTarget("/no/such/directory/copy", "No such file or directory");
    refuseTarget("/dev/null/copy", "Not a directory");
    refuseTarget("/dev/null", "not a regular file");
    refuseTarget(recorder.Directory(), "not a regular file");
    refuseTarget(Database(), "belongs to the database itself");
    refuse("", "'' is not a full path");
    refuse("copy", "'copy' is not a full path");
    EXPECT_EQ(ServiceLog(), expected);
    EXPECT_EQ(Everything(Database()), before);
    EXPECT_TRUE(fs::is_character_file("/dev/null"));
}

// --- a service that does not answer ------------------------------------------------------------

struct Call {
    char const* name;
    Words arguments;
    std::string err;
};

void PrintTo(Call const& call, std::ostream* stream) {
    *stream << call.name;
}

class EventCall : public Events, public testing::WithParamInterface<Call> {
protected:
    // The ping shows that the tool has reached the call.
    Command CallCommand() const {
        Command command = recorder.ToolCommand({"-p"});
        auto const& arguments = GetParam().arguments;
        command.words.insert(command.words.end(), arguments.begin(), arguments.end());
        return command;
    }
};

TEST_P(EventCall, FailsSoonWhenTheServiceIsKilledMeanwhile) {
    RecordInto({1});
    recorder.Service().Signal(SIGSTOP);
    Child tool(CallCommand());
    std::string const ping = "Successfully sent ping request\n";
    ASSERT_TRUE(tool.Says(ping));
    auto const start = std::chrono::steady_clock::now();
    recorder.StopService(SIGKILL);
    EXPECT_EQ(tool.Finish(), (Outcome{0, ping, GetParam().err}));
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20)); // of 60
}

std::string const someReid = "20200101-000000:00000000";

INSTANTIATE_TEST_SUITE_P(
    Event, EventCall,
    testing::Values(Call{"ratf", {"--ratf", everySince2000}, "RATF call FAILED\n"},
                    Call{"split",
                         {"--split", someReid + ",1"},
                         Banner(someReid, "1 GiB") + "SPLIT call FAILED\n"},
                    Call{"backup", {"--bkupdb", "/no/such/copy"}, "backup failed\n"}));

TEST_F(Events, AreMadeWhenAStoppedServiceGoesOn) {
    RecordInto({1});
    recorder.Service().Signal(SIGSTOP);
    Child tool(recorder.ToolCommand({"-p", "--ratf", everySince2000}));
    ASSERT_TRUE(tool.Says("ping request\n"));
    recorder.Service().Signal(SIGCONT);
    Outcome const outcome = tool.Finish();
    EXPECT_EQ(WithoutReids(outcome.out),
              "Successfully sent ping request\nRATF event created REID REID\n");
    EXPECT_EQ(outcome.err, "");
}

} // namespace
} // namespace e2e
