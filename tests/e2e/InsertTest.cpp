// Files of the hard disk written over stream files with -Y and -y.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>

#include "Events.h"
#include "FileDescriptor.h"
#include "InsertEcho.h"
#include "StreamFileTable.h"

namespace e2e {
namespace {

namespace fs = std::filesystem;

std::string const slotText = std::to_string(slotSize);

std::string Dots(std::size_t size) {
    return std::string((size + chunkSize - 1) / chunkSize / 8, '.') + '\n';
}

std::string Result(std::size_t planned, std::size_t copied) {
    return "Stated file length: " + std::to_string(planned) +
           "  copied: " + std::to_string(copied) + '\n';
}

std::string const busy = "could not open stream file: 16Device or resource busy\n" + Result(0, 0);

class Insert : public testing::Test {
protected:
    Insert() { recorder.CreatePool(3); }

    std::string CopyingFrom(std::string const& source, std::string const& destination) const {
        return "Copying requested stream file from '" + (recorder.HardDisk() / source).string() +
               ".ts' to D2B " + destination + '\n';
    }

    // What -y prints from the copy on.
    std::string Copied(std::string const& source, int number, std::size_t size,
                       char const* notified) const {
        return CopyingFrom(source, "file number " + std::to_string(number)) +
               "fstat returned a file size of " + std::to_string(size) + " bytes\n" + Dots(size) +
               "StreamMgrApi::UpdateFileSize() notify message returned: " + notified + '\n' +
               Result(size, size);
    }

    void WriteSource(std::string const& name, std::string const& content) const {
        WriteFile(recorder.HardDisk() / (name + ".ts"), content);
    }

    // Has the storage figures logged and waits until the log holds them so many times with this
    // many of the three files in use, none of them for an event.
    bool ShowsFilesInUse(int count, int times) const {
        constexpr int slotKiB = slotSize / 1024;
        constexpr char const* shares[] = {"0.0", "33.3", "66.7", "100.0"};
        auto const figure = [&](int files) {
            return std::to_string(files * slotKiB) + " KiB (" + shares[files] + " %)";
        };
        EXPECT_EQ(recorder.Tool({"-S"}).status, 0);
        return recorder.Logs("storage: total " + std::to_string(3 * slotKiB) + " KiB, buffer " +
                                 figure(count) + ", event untransferred in buffer " + figure(0) +
                                 ", event untransferred not in buffer " + figure(0) + ", free " +
                                 figure(3 - count) + '\n',
                             times);
    }

    // The tool with a source that it waits for in the middle of the copy: a pipe that has given it
    // eight chunks and stays open.
    struct HeldWriter {
        explicit HeldWriter(Recorder const& recorder) {
            auto const source = recorder.Extracted(1);
            EXPECT_EQ(mkfifo(source.c_str(), 0600), 0);
            end = workstation::FileDescriptor(open(source.c_str(), O_RDWR | O_CLOEXEC));
            tool = std::make_unique<Child>(recorder.ToolCommand({"-Y", "1"}));
            for (int chunk = 0; chunk < 8; ++chunk) {
                std::string const bytes = Noise(chunkSize);
                EXPECT_EQ(write(end.Get(), bytes.data(), bytes.size()),
                          static_cast<ssize_t>(bytes.size()));
            }
        }

        workstation::FileDescriptor end; // of the pipe
        std::unique_ptr<Child> tool;
    };

    Recorder recorder;
};

// --- -Y ----------------------------------------------------------------------------------------

class InsertUnbounded : public Insert, public testing::WithParamInterface<std::size_t> {};

// What is read last is repeated up to the end of the slot, each time in the length of a chunk.
std::string FilledUp(std::string const& source) {
    std::string buffer(chunkSize, '\0');
    std::string slot;
    for (std::size_t offset = 0; offset < slotSize; offset += chunkSize) {
        std::string const piece =
            offset < source.size() ? source.substr(offset, chunkSize) : std::string();
        buffer.replace(0, piece.size(), piece);
        slot += buffer;
    }
    return slot;
}

TEST_P(InsertUnbounded, WritesTheWholeSlotAndLeavesTheStatedLength) {
    std::string const source = Noise(GetParam());
    recorder.Load(1, Noise(1000));
    WriteSource("1", source);
    EXPECT_EQ(recorder.Tool({"-Y", "1"}), (Outcome{0,
                                                   notRunning + CopyingFrom("1", "filesystem") +
                                                       Dots(slotSize) + Result(slotSize, slotSize),
                                                   ""}));
    fs::remove(recorder.Extracted(1));
    EXPECT_EQ(recorder.Tool({"-X", "1"}).status, 0);
    EXPECT_TRUE(ReadFile(recorder.Extracted(1)) == FilledUp(source));
    EXPECT_EQ(recorder.Tool({"--lsm"}),
              (Outcome{0,
                       notRunning + StreamFileTable({{1, "ControlUnknown", "false", 0, 1000},
                                                     {2, "ControlUnknown", "false", 0, 0},
                                                     {3, "ControlUnknown", "false", 0, 0}},
                                                    3),
                       ""}));
}

INSTANTIATE_TEST_SUITE_P(Insert, InsertUnbounded,
                         testing::Values(0, 1, chunkSize, 3 * chunkSize + 5, slotSize + 1));

TEST_F(Insert, WithoutASourceIsRefused) {
    EXPECT_EQ(recorder.Tool({"-Y", "1"}),
              (Outcome{99, notRunning,
                       "Could not open outfile '" + recorder.Extracted(1).string() +
                           "': 2No such file or directory\n" + Result(0, 0)}));
    EXPECT_EQ(recorder.Tool({"-Y", "0"}),
              (Outcome{99, notRunning, "File number is invalid: 0\n" + Result(0, 0)}));
}

// The source is missing, whether or not this machine has that mount.
TEST_F(Insert, TakesItsSourceFromTheUsualMountWhenNoOtherIsGiven) {
    std::string const name = "no-clip-" + std::to_string(getpid());
    Outcome const expected{99, notRunning + EchoOfNumberAndName("1", name),
                           "Could not open outfile '/mnt/hd/" + name +
                               ".ts': 2No such file or directory\n" + Result(0, 0)};
    Command withEmptyVariable = recorder.ToolCommand({"-y", "1," + name});
    withEmptyVariable.environment["STREAMMGR_HD"] = "";
    EXPECT_EQ(RunToEnd(withEmptyVariable), expected);

    Command withoutVariable = recorder.ToolCommand({"-y", "1," + name});
    Words const unset{"env", "-u", "STREAMMGR_HD"};
    withoutVariable.words.insert(withoutVariable.words.begin(), unset.begin(), unset.end());
    EXPECT_EQ(RunToEnd(withoutVariable), expected);
}

TEST_F(Insert, IntoAFileThatThePoolDoesNotHaveIsRefused) {
    WriteSource("4", "x");
    EXPECT_EQ(recorder.Tool({"-Y", "4"}),
              (Outcome{99, notRunning + CopyingFrom("4", "filesystem"),
                       "could not open stream file: 2No such file or directory\n" + Result(0, 0)}));
}

// --- -y ----------------------------------------------------------------------------------------

class InsertOfLength : public Insert, public testing::WithParamInterface<std::size_t> {};

TEST_P(InsertOfLength, IsReadBackTheSameAndKnownToTheService) {
    std::string const content = Noise(GetParam());
    WriteSource("clip", content);
    recorder.StartService();
    EXPECT_EQ(
        recorder.Tool({"-y", "2,clip"}),
        (Outcome{0, EchoOfNumberAndName("2", "clip") + Copied("clip", 2, content.size(), "success"),
                 ""}));
    EXPECT_NE(recorder.LogOf("StreamMgr")
                  .find("stream file 2 has " + std::to_string(content.size()) + " bytes\n"),
              std::string::npos)
        << recorder.Log();
    EXPECT_EQ(recorder.Tool({"--lsm"}),
              (Outcome{0,
                       StreamFileTable({{1, "ControlUnknown", "false", 0, 0},
                                        {2, "ControlUnknown", "false", 0, content.size()},
                                        {3, "ControlUnknown", "false", 0, 0}},
                                       3),
                       ""}));
    if (!content.empty()) {
        EXPECT_EQ(recorder.Tool({"-x", "2"}).status, 0);
        EXPECT_TRUE(ReadFile(recorder.Extracted(2)) == content);
    }
}

INSTANTIATE_TEST_SUITE_P(Insert, InsertOfLength,
                         testing::Values(0, 1, chunkSize, 8 * chunkSize + 1, slotSize));

// The chain of files, the table and the database say the same of a file that was recorded.
TEST_F(Insert, OverARecordedFileChangesItsSizeEverywhere) {
    recorder.StartService({"--record", "1=" CLIP_PATH, "--fast"});
    ASSERT_TRUE(recorder.Logs(" stopped\n"));
    ASSERT_TRUE(ShowsFilesInUse(1, 1));
    WriteSource("1.day1", Noise(5000));
    EXPECT_EQ(recorder.Tool({"-y", "1.day1.ts"}),
              (Outcome{0, EchoOfName("1", "1.day1") + Copied("1.day1", 1, 5000, "success"), ""}));
    EXPECT_EQ(recorder.Tool({"-F", "0"}).status, 0);
    ASSERT_TRUE(recorder.Logs("StreamMgr:   file 1, 5000 bytes, "));
    EXPECT_EQ(recorder.Tool({"--lsmi"}),
              (Outcome{0, StreamFileTable({{1, "ControlUnknown", "true", 0, 5000}}, 3), ""}));
    EXPECT_TRUE(ShowsFilesInUse(1, 2));
}

TEST_F(Insert, MovesTheFiguresOfTheStorageWhereAFileBecomesFreeOrUsed) {
    recorder.StartService({"--record", "1=" CLIP_PATH, "--fast"});
    ASSERT_TRUE(recorder.Logs(" stopped\n"));
    ASSERT_TRUE(ShowsFilesInUse(1, 1));
    WriteSource("nothing", "");
    EXPECT_EQ(recorder.Tool({"-y", "1,nothing"}).status, 0);
    EXPECT_TRUE(ShowsFilesInUse(0, 1));
    WriteSource("byte", "x");
    EXPECT_EQ(recorder.Tool({"-y", "2,byte"}).status, 0);
    EXPECT_TRUE(ShowsFilesInUse(1, 2));
    EXPECT_EQ(recorder.Tool({"-y", "3,byte"}).status, 0);
    EXPECT_TRUE(ShowsFilesInUse(2, 1));
}

TEST_F(Insert, WithoutAServiceReportsThatTheServiceWasNotNotified) {
    WriteSource("clip.mpg", Noise(100));
    EXPECT_EQ(recorder.Tool({"-y", "3,clip.mpg"}),
              (Outcome{0,
                       notRunning +
                           "complete option string = [3,clip.mpg]\nfilenumstr = [3]\n"
                           "destination file number = 3\noptarg_ less prefix = [clip.mpg]\n"
                           "suffixstr = [mpg]\n\n"
                           "destination file number = 3\nsource file name = [clip.mpg.ts]\n\n" +
                           Copied("clip.mpg", 3, 100, "fail"),
                       ""}));
}

TEST_F(Insert, OfMoreThanASlotIsCutOff) {
    WriteSource("2", Noise(slotSize + 10));
    std::string const size = std::to_string(slotSize + 10);
    EXPECT_EQ(
        recorder.Tool({"-y", "2.ts"}),
        (Outcome{0,
                 notRunning + EchoOfName("2", "2") + CopyingFrom("2", "file number 2") +
                     "fstat returned a file size of " + size + " bytes\n" + Dots(slotSize) +
                     "StreamMgrApi::UpdateFileSize() notify message returned: fail\n" +
                     Result(slotSize + 10, slotSize),
                 " unexpected EOF: fileSize=" + size + " expectedWrite=10  actualWrite=0\n"}));
    EXPECT_EQ(recorder.Tool({"--lsmi"}),
              (Outcome{0, notRunning + StreamFileTable({}, 3), ""})); // full, and without a writer
}

struct OddArgument {
    char const* text;
    std::string out;
    std::string err;
};

void PrintTo(OddArgument const& argument, std::ostream* stream) {
    *stream << argument.text;
}

class OddInsert : public Insert, public testing::WithParamInterface<OddArgument> {};

TEST_P(OddInsert, IsRefused) {
    EXPECT_EQ(recorder.Tool({"-y", GetParam().text}),
              (Outcome{99,
                       notRunning + "complete option string = [" + GetParam().text + "]\n" +
                           GetParam().out,
                       GetParam().err}));
}

constexpr char const* noNumber = "error: comma implies a preceding destination file number.\n";
std::string const number0 = "File number is invalid: 0\n" + Result(0, 0);

INSTANTIATE_TEST_SUITE_P(
    Insert, OddInsert,
    testing::Values(
        OddArgument{",clip", "", ""}, OddArgument{"x,clip", "filenumstr = [x]\n", noNumber},
        OddArgument{"0,clip", "filenumstr = [0]\n", noNumber},
        OddArgument{"-1,clip", "filenumstr = [-1]\n", noNumber},
        OddArgument{"abc.ts", "filenumstr = [abc]\n", ""},
        OddArgument{"12", "\ndestination file number = 0\nsource file name = [12.ts]\n\n", number0},
        OddArgument{"", "\ndestination file number = 0\nsource file name = [.ts]\n\n", number0}));

// --- writers beside each other -----------------------------------------------------------------

TEST_F(Insert, IntoAFileThatIsBeingRecordedIsRefused) {
    Child& service = recorder.StartService({"--record", "1=-"});
    service.Type(ReadFile(CLIP_PATH));
    recorder.WaitForData(1);
    WriteSource("1", "x");
    EXPECT_EQ(recorder.Tool({"-Y", "1"}), (Outcome{99, CopyingFrom("1", "filesystem"), busy}));
    EXPECT_EQ(recorder.Tool({"-y", "1.ts"}),
              (Outcome{99, EchoOfName("1", "1") + CopyingFrom("1", "file number 1"), busy}));
    service.EndInput();
    ASSERT_TRUE(recorder.Logs(" stopped\n"));
    EXPECT_EQ(recorder.Tool({"-y", "1.ts"}),
              (Outcome{0, EchoOfName("1", "1") + Copied("1", 1, 1, "success"), ""}));
}

TEST_F(Insert, IsSeenInTheTableAndKeepsOthersOut) {
    HeldWriter const held(recorder);
    ASSERT_TRUE(held.tool->Says("."));
    EXPECT_EQ(
        recorder.Tool({"--lsmi"}),
        (Outcome{0, notRunning + StreamFileTable({{1, "ControlExternalProc", "false", 0, 0}}, 3),
                 ""}));
    WriteSource("x", "x");
    EXPECT_EQ(
        recorder.Tool({"-y", "1,x"}),
        (Outcome{99, notRunning + EchoOfNumberAndName("1", "x") + CopyingFrom("x", "file number 1"),
                 busy}));
}

TEST_F(Insert, ThatWasKilledKeepsNoOtherOut) {
    HeldWriter held(recorder);
    ASSERT_TRUE(held.tool->Says("."));
    held.tool->Signal(SIGKILL);
    EXPECT_EQ(held.tool->Finish().status, -SIGKILL);
    WriteSource("x", "x");
    EXPECT_EQ(
        recorder.Tool({"-y", "1,x"}),
        (Outcome{0, notRunning + EchoOfNumberAndName("1", "x") + Copied("x", 1, 1, "fail"), ""}));
    EXPECT_EQ(
        recorder.Tool({"--lsmi"}),
        (Outcome{0, notRunning + StreamFileTable({{1, "ControlUnknown", "false", 0, 1}}, 3), ""}));
    EXPECT_FALSE(recorder.IsRegistered(held.tool->Pid()));
}

TEST_F(Insert, ThatIsInterruptedGivesTheFileFree) {
    HeldWriter held(recorder);
    ASSERT_TRUE(held.tool->Says("."));
    held.tool->Signal(SIGINT);
    EXPECT_EQ(held.tool->Finish().status, 255);
    EXPECT_FALSE(recorder.IsRegistered(held.tool->Pid()));
    EXPECT_EQ(recorder.Tool({"--lsmi"}), (Outcome{0, notRunning + StreamFileTable({}, 3), ""}));
}

// Copying goes on for ever, since the bytes that the source stated never come.
TEST_F(Insert, OfASourceThatShrinksIsEndedByAnInterrupt) {
    fs::path const source = recorder.HardDisk() / "1.ts";
    bool goesOn = false;
    for (int attempt = 0; attempt < 20 && !goesOn; ++attempt) {
        WriteFile(source, Noise(slotSize)); // may be copied before it shrinks; then once more
        Child tool(recorder.ToolCommand({"-y", "1.ts"}));
        ASSERT_TRUE(tool.Says("fstat returned a file size of " + slotText));
        fs::resize_file(source, 0);
        goesOn = tool.Says(Dots(slotSize * 2).substr(0, 100));
        tool.Signal(SIGINT);
        EXPECT_EQ(tool.Finish().status, goesOn ? 255 : 0);
        EXPECT_FALSE(recorder.IsRegistered(tool.Pid()));
    }
    EXPECT_TRUE(goesOn);
    EXPECT_EQ(recorder.Tool({"--lsm"}).out.find("ControlExternalProc"), std::string::npos);
}

} // namespace
} // namespace e2e
