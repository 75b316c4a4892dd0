// The shared tables listed with --lsm, --lsmi and --lproc, whatever they say.
#include <gtest/gtest.h>
#include <unistd.h>

#include <csignal>
#include <cstdint>
#include <limits>

#include "ProcessList.h"
#include "ProcessTable.h"
#include "StreamFileTable.h"

namespace e2e {
namespace {

namespace fs = std::filesystem;

Outcome Listed(std::string const& text) {
    return {0, notRunning + text, ""};
}

// --- --lsm and --lsmi --------------------------------------------------------------------------

class FileList : public testing::Test {
protected:
    void Set(int number, Words const& values) const {
        Words words{"set", std::to_string(number)};
        words.insert(words.end(), values.begin(), values.end());
        EXPECT_EQ(recorder.PoolTool(words), (Outcome{0, "", ""}));
    }

    Recorder recorder;
};

TEST_F(FileList, ShowsEveryStateAndOnlyIntermediateOnesWhenAsked) {
    recorder.CreatePool(14);
    std::vector<StreamFileRow> rows;
    auto const add = [&](std::string const& controller, char const* name, char const* isKnown,
                         int readers, std::size_t size) {
        int const number = static_cast<int>(rows.size()) + 1;
        Set(number, {"--controller", controller, "--db-match", isKnown, "--readers",
                     std::to_string(readers), "--length", std::to_string(size)});
        rows.push_back({number, name, isKnown, readers, size});
    };
    add("0", "ControlUnknown", "true", 0, 0);
    add("0", "ControlUnknown", "false", 2147483647, slotSize);
    add("0", "ControlUnknown", "true", 0, 1);
    add("0", "ControlUnknown", "false", 3, slotSize - 1);
    add("1", "ControlPrimaryThread", "true", 0, 0);
    add("2", "ControlStream1", "false", 0, slotSize);
    add("3", "ControlStream2", "false", 0, 188);
    add("4", "ControlStream3", "false", 1, 0);
    add("5", "ControlStream4", "false", 0, slotSize - 1);
    add("6", "ControlNonFile", "false", 0, 0);
    add("7", "ControlExternalProc", "true", 0, 0);
    add("8", "ControlUnknown", "false", 0, 0);
    add("9", "ControlUnknown", "false", 0, slotSize);
    add("255", "ControlUnknown", "true", 0, 5);
    EXPECT_EQ(recorder.Tool({"--lsm"}), Listed(StreamFileTable(rows, 14)));
    EXPECT_EQ(recorder.Tool({"--listsharedmem"}), Listed(StreamFileTable(rows, 14)));
    rows.erase(rows.begin(), rows.begin() + 2);
    EXPECT_EQ(recorder.Tool({"--lsmi"}), Listed(StreamFileTable(rows, 14)));
}

TEST_F(FileList, OfAnEmptyPoolHasNoRows) {
    Outcome const created = recorder.PoolTool({"create", "--files", "0"});
    ASSERT_EQ(created.status, 0) << created;
    EXPECT_EQ(recorder.Tool({"--lsm"}), Listed(StreamFileTable({}, 0)));
    EXPECT_EQ(recorder.Tool({"--lsmi"}), Listed(StreamFileTable({}, 0)));
    EXPECT_EQ(recorder.Tool({"--stats", "0"}), Listed(""));
}

// The log's source lines change with the code.
TEST_F(FileList, OfAnotherFileSystemIsALineInTheLog) {
    Outcome const created = recorder.PoolTool({"create", "--files", "1", "--ext4"});
    ASSERT_EQ(created.status, 0) << created;
    for (char const* const option : {"--lsm", "--lsmi"}) {
        EXPECT_EQ(recorder.Tool({option}), (Outcome{99, notRunning, ""}));
        EXPECT_TRUE(recorder.Log().ends_with(
            " Current file system is EXT4, no useful information in shared memory\n"));
        fs::remove(recorder.LogPath());
    }
    fs::remove_all(recorder.Pool());
    EXPECT_EQ(recorder.Tool({"--lsm"}), (Outcome{99, notRunning, ""}));
    EXPECT_TRUE(recorder.Log().ends_with(
        " Current file system is UNKNOWN, no useful information in shared memory\n"));
    fs::remove(recorder.LogPath());

    Command quiet = recorder.ToolCommand({"--lsm"});
    quiet.environment["STREAMMGR_LOGLEVEL"] = "1";
    EXPECT_EQ(RunToEnd(quiet), (Outcome{99, notRunning, ""}));
    EXPECT_EQ(recorder.Log(), "");
}

TEST_F(FileList, OfADamagedPoolIsALineInTheLog) {
    WriteFile(recorder.Pool(), "damaged");
    for (char const* const option : {"--lsm", "--lsmi"}) {
        EXPECT_EQ(recorder.Tool({option}), (Outcome{99, notRunning, ""}));
        EXPECT_TRUE(recorder.Log().ends_with(" can not proceed without fileAccess initialized\n"));
        fs::remove(recorder.LogPath());
    }
}

// --- --lproc -----------------------------------------------------------------------------------

// Writes into the table what a correct program never writes.
class ProcessTable : public testing::Test {
protected:
    static constexpr std::size_t headerSize = 28;
    static constexpr std::size_t recordSize = 772;

    ProcessTable() {
        recorder.CreatePool(1);
        recorder.Tool({"--lsm"}); // makes the table
    }

    void SetPid(int record, std::int32_t pid) const { WriteWord(RecordOffset(record), pid); }

    void SetThread(int record, int slot, std::int32_t marker, std::uint32_t handle,
                   std::int32_t file) const {
        std::streamoff const offset = RecordOffset(record) + 4 + std::streamoff{12} * slot;
        WriteWord(offset, marker);
        WriteWord(offset + 4, static_cast<std::int32_t>(handle));
        WriteWord(offset + 8, file);
    }

    Recorder recorder;
    Command const runsOn{{"sh", "-c", "echo started; read line"}}; // until its input ends

private:
    static std::streamoff RecordOffset(int record) {
        return static_cast<std::streamoff>(headerSize +
                                           recordSize * static_cast<std::size_t>(record));
    }

    void WriteWord(std::streamoff offset, std::int32_t word) const {
        WritePiece(ProcessTablePath(recorder, ToolsByteOrder()), offset,
                   Word(word, ToolsByteOrder()));
    }
};

std::string Columns(int record, pid_t pid) {
    return ListedProcess(record, pid, {});
}

TEST_F(ProcessTable, ThatIsHostileIsShownAsFarAsItsProcessesLive) {
    Child living(runsOn);
    ASSERT_TRUE(living.Says("started\n"));
    Child dead({{"true"}});
    ASSERT_EQ(dead.Finish().status, 0);
    SetPid(0, dead.Pid());
    SetThread(0, 0, 1, 1, 1);
    SetPid(1, -living.Pid()); // would be a process group
    SetThread(1, 0, 1, 1, 1);
    SetPid(2, -1); // would be everybody
    SetPid(3, std::numeric_limits<std::int32_t>::min());
    SetPid(4, std::numeric_limits<std::int32_t>::max());
    SetThread(5, 0, 1, 1, 1); // of no process
    SetPid(6, living.Pid());
    SetThread(6, 0, 1, 0, -1);
    SetThread(6, 1, 0, 0xABCDEF, 7); // free
    SetThread(6, 2, -1, 0xFFFFFFFF, std::numeric_limits<std::int32_t>::min());
    SetThread(6, 63, 4, 0xAB, std::numeric_limits<std::int32_t>::max());
    SetPid(127, living.Pid());
    EXPECT_EQ(recorder.Tool({"--lproc"}), Listed(ListedProcess(6, living.Pid(), runsOn.words) +
                                                 "       -          0 file: -1\n"
                                                 "       -   ffffffff file: -2147483648\n"
                                                 "       -         ab file: 2147483647\n" +
                                                 ListedProcess(127, living.Pid(), runsOn.words)));
}

TEST_F(ProcessTable, WithEveryRecordInUseIsShownWhole) {
    Child living(runsOn);
    ASSERT_TRUE(living.Says("started\n"));
    std::string everyone;
    for (int record = 0; record < 128; ++record) {
        SetPid(record, living.Pid());
        everyone += ListedProcess(record, living.Pid(), runsOn.words);
    }
    EXPECT_EQ(recorder.Tool({"--listprocesses"}), Listed(everyone));
}

TEST_F(ProcessTable, ShowsTheFirstBytesOfALongCommandLine) {
    Command command = runsOn;
    command.words.emplace_back(1000, 'x');
    Child living(command);
    ASSERT_TRUE(living.Says("started\n"));
    SetPid(0, living.Pid());
    std::string const all = "sh -c echo started; read line " + std::string(1000, 'x');
    std::string heading = Columns(0, living.Pid());
    heading.pop_back();
    EXPECT_EQ(recorder.Tool({"--lproc"}), Listed(heading + all.substr(0, 511) + '\n'));
}

TEST_F(ProcessTable, ThatIsMissingOrDamagedIsReported) {
    Outcome const failed{99, notRunning + "failed to initialize shared memory\n", ""};
    fs::path const table = ProcessTablePath(recorder, ToolsByteOrder());
    fs::resize_file(table, fs::file_size(table) - 1);
    EXPECT_EQ(recorder.Tool({"--lproc"}), failed);
    WriteFile(table, std::string(28 + 128 * 772, '\xFF'));
    EXPECT_EQ(recorder.Tool({"--lproc"}), failed);
    fs::remove(table);
    EXPECT_EQ(recorder.Tool({"--lproc"}), failed);
    EXPECT_FALSE(fs::exists(table));
}

} // namespace
} // namespace e2e
