// The service killed at any moment, and what the next start finds.
#include <gtest/gtest.h>
#include <poll.h>

#include <csignal>
#include <list>
#include <random>
#include <sstream>

#include "EventDatabase.h"
#include "Events.h"
#include "ProcessList.h"
#include "TransportStream.h"

namespace e2e {
namespace {

namespace fs = std::filesystem;

class Kill : public testing::Test {
protected:
    static constexpr int files = 4;

    Kill() { recorder.CreatePool(files); }

    fs::path Database() const { return recorder.Root() / "events.db"; }
    fs::path Backup() const { return recorder.Directory() / "backup"; }

    // What the rounds did, and what was looked at after them.
    struct Work {
        int deleted = 0;
        int made = 0;
        int backedUp = 0;
        int files = 0;
    };

    // Records two streams while events are made and deleted and the database is backed up, and ends
    // all that after so long. A patient round lets the clients come to their ends before.
    void RecordAndKill(int delayMs, bool isPatient) {
        toBeDeleted =
            fs::exists(Database())
                ? FirstReid(Rows(Database(), "SELECT reid FROM event ORDER BY id LIMIT 1"))
                : "";
        recorder.StartService(
            {"--record", "1=" CLIP_PATH, "--record", "2=" CLIP_PATH, "--fast", "--loop"});
        std::list<Child> clients;
        for (Words const& request : {Words{"-d", toBeDeleted}, Words{"--bkupdb", Backup()},
                                     Words{"--ratf", everySince2000}}) {
            clients.emplace_back(recorder.ToolCommand(request));
        }
        if (isPatient) {
            FinishAll(clients);
        }
        poll(nullptr, 0, delayMs);
        recorder.StopService(SIGKILL);
        if (!isPatient) {
            FinishAll(clients);
        }
    }

    void FinishAll(std::list<Child>& clients) {
        for (Child& client : clients) {
            Outcome const outcome = client.Finish();
            EXPECT_GE(outcome.status, 0); // whatever it says, it ends
            work.backedUp += outcome.out.ends_with("backup successful\n") ? 1 : 0;
            work.made += FirstReid(outcome.out).empty() ? 0 : 1;
        }
    }

    // For a delete the tool prints only that the request was sent.
    void CountDelete() {
        if (!toBeDeleted.empty() &&
            Rows(Database(), "SELECT 1 FROM event WHERE reid = '" + toBeDeleted + "'").empty()) {
            ++work.deleted;
        }
    }

    // What the dead service left is looked at in a copy: looking at it would mend it.
    void ExpectConsistentRemains() const {
        fs::path const remains = recorder.Directory() / "remains";
        fs::create_directory(remains);
        for (char const* const name : {"events.db", "events.db-wal"}) {
            if (fs::exists(recorder.Root() / name)) {
                fs::copy_file(recorder.Root() / name, remains / name);
            }
        }
        EXPECT_EQ(Faults(remains / "events.db"), "");
        fs::remove_all(remains);
        if (fs::exists(Backup())) {
            EXPECT_EQ(Faults(Backup()), "");
        }
    }

    // Every file in the database contains the ticks that the database states.
    void ExpectThatFilesAreAsTheDatabaseKnows() {
        std::istringstream rows(Rows(Database(), "SELECT file_number, first_tick, last_tick,"
                                                 " finished FROM file WHERE wiped = 0"));
        int number = 0;
        std::uint32_t first = 0;
        std::uint32_t last = 0;
        bool isFinished = false;
        char bar = 0;
        while (rows >> number >> bar >> first >> bar >> last >> bar >> isFinished) {
            Outcome const shown = recorder.Tool({"--tickinfo", std::to_string(number)});
            EXPECT_EQ(shown.err, "");
            EXPECT_TRUE(isFinished);
            ASSERT_GE(last, first);
            EXPECT_EQ(Numbers(TicksShown(shown.out)), NumbersFrom(first, last - first + 1))
                << "file " << number;
            ++work.files;
        }
    }

    // In the order of recording the ticks of a stream only grow.
    void ExpectThatNoTickIsUsedTwice() const {
        EXPECT_EQ(Rows(Database(),
                       "SELECT former.id, latter.id FROM file AS former JOIN file AS latter"
                       " ON former.stream = latter.stream AND former.id < latter.id"
                       " WHERE latter.first_tick <= former.last_tick OR"
                       " former.last_tick < former.first_tick"),
                  "");
    }

    // The sizes in the table and in the database are the same.
    void ExpectTablesInOrder(pid_t service) const {
        std::string const listed = Replaced(recorder.Tool({"--lsm"}).out, " +", " ");
        std::istringstream lines(listed.substr(listed.find("\n -", 2) + 1));
        std::string sizes;
        for (std::string line; std::getline(lines, line);) {
            std::istringstream words(line);
            std::string number;
            std::string controller;
            std::string isKnown;
            std::string readers;
            std::string size;
            if (words >> number >> controller >> isKnown >> readers >> size &&
                controller.starts_with("Control")) {
                EXPECT_EQ(controller, "ControlUnknown") << listed;
                sizes += isKnown == "true" ? number + '|' + size + '\n' : "";
            }
        }
        EXPECT_EQ(sizes, Rows(Database(), "SELECT file_number, size FROM file WHERE wiped = 0"
                                          " ORDER BY file_number"));
        EXPECT_EQ(Replaced(recorder.Tool({"--lproc"}).out, " +", " "),
                  Replaced(ListedService(service), " +", " "));
    }

    // Services that were killed in a backup have left unfinished copies.
    void ExpectThatABackupLeavesNothingElse() {
        recorder.StartService({"--record", "1=" CLIP_PATH, "--fast", "--loop"});
        EXPECT_EQ(recorder.Tool({"--bkupdb", Backup()}), (Outcome{0, "backup successful\n", ""}));
        EXPECT_EQ(Faults(Backup()), "");
        recorder.StopService(SIGTERM);
        for (auto const& entry : fs::directory_iterator(recorder.Directory())) {
            std::string const name = entry.path().filename();
            EXPECT_TRUE(name == "backup" || !name.starts_with("backup")) << name;
        }
    }

    Recorder recorder;
    std::string toBeDeleted; // the event of this round; empty when there is none
    Work work;
};

TEST_F(Kill, AtAnyMomentLosesNothingThatWasFinished) {
    int const rounds = ToolIsEmulated() ? 10 : 25;
    constexpr int longestDelayMs = 60;
    constexpr int patientEvery = 3;
    std::minstd_rand random(1);
    for (int round = 0; round < rounds && !HasFailure(); ++round) {
        SCOPED_TRACE("round " + std::to_string(round));
        RecordAndKill(static_cast<int>(random() % longestDelayMs), round % patientEvery == 0);
        ExpectConsistentRemains();
        pid_t const service = recorder.StartService().Pid();
        CountDelete();
        ExpectTablesInOrder(service);
        ExpectThatFilesAreAsTheDatabaseKnows();
        ExpectThatNoTickIsUsedTwice();
        EXPECT_EQ(Faults(Database()), "");
        EXPECT_EQ(recorder.StopService(SIGTERM).status, 0);
    }
    EXPECT_GT(work.deleted, 0);
    EXPECT_GT(work.made, 0);
    EXPECT_GT(work.backedUp, 0);
    EXPECT_GT(work.files, 0);
    ExpectThatABackupLeavesNothingElse();
    Outcome const check = recorder.PoolTool({"check"});
    EXPECT_EQ(check.status, 0) << check;
}

} // namespace
} // namespace e2e
