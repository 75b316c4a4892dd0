// Stream files copied out with -x and -X.
#include <gtest/gtest.h>

#include <csignal>

#include "Recorder.h"
#include "TransportStream.h"

namespace e2e {
namespace {

namespace fs = std::filesystem;

// What a copy prints on standard output: a dot for every eighth chunk of 188 * 1024 bytes.
std::string CopyText(fs::path const& target, std::size_t planned, std::size_t copied) {
    std::size_t const chunks = (copied + chunkSize - 1) / chunkSize;
    return "Copying requested stream file to '" + target.string() + "'\n" +
           std::string(chunks / 8, '.') + "\nStated file length: " + std::to_string(planned) +
           "  copied: " + std::to_string(copied) + '\n';
}

Outcome Copied(fs::path const& target, std::size_t size) {
    return {0, notRunning + CopyText(target, size, size), ""};
}

Outcome Refused(std::string const& err) {
    return {99, notRunning, err + "Stated file length: 0  copied: 0\n"};
}

class ExtractOfLength : public testing::TestWithParam<std::size_t> {};

TEST_P(ExtractOfLength, CopiesWhatWasLoaded) {
    Recorder recorder;
    recorder.CreatePool(2);
    std::string const content = Noise(GetParam());
    recorder.Load(2, content);
    EXPECT_EQ(recorder.Tool({"-x", "2"}), Copied(recorder.Extracted(2), content.size()));
    EXPECT_TRUE(ReadFile(recorder.Extracted(2)) == content);
    EXPECT_EQ(fs::status(recorder.Extracted(2)).permissions() & fs::perms::others_all,
              fs::perms::others_read);
}

INSTANTIATE_TEST_SUITE_P(Extract, ExtractOfLength,
                         testing::Values(1, 188, chunkSize - 1, chunkSize, chunkSize + 1,
                                         8 * chunkSize - 1, 8 * chunkSize, 8 * chunkSize + 1,
                                         16 * chunkSize, slotSize - 1, slotSize));

TEST(Extract, LongOptionCopiesAsWell) {
    Recorder recorder;
    recorder.CreatePool(1);
    recorder.Load(1, Noise(1000));
    EXPECT_EQ(recorder.Tool({"--extract=1"}), Copied(recorder.Extracted(1), 1000));
}

TEST(Extract, ReplacesALongerFile) {
    Recorder recorder;
    recorder.CreatePool(1);
    recorder.Load(1, Noise(1000));
    WriteFile(recorder.Extracted(1), Noise(5000));
    EXPECT_EQ(recorder.Tool({"-x", "1"}), Copied(recorder.Extracted(1), 1000));
    EXPECT_TRUE(ReadFile(recorder.Extracted(1)) == Noise(1000));
}

TEST(Extract, SeveralOptionsAreCarriedOutInOrderAndAFailedOneStopsNone) {
    Recorder recorder;
    recorder.CreatePool(2);
    recorder.Load(1, Noise(1000));
    recorder.Load(2, Noise(2000));
    EXPECT_EQ(recorder.Tool({"-x", "2", "-x", "0", "-x", "1"}),
              (Outcome{99,
                       notRunning + CopyText(recorder.Extracted(2), 2000, 2000) +
                           CopyText(recorder.Extracted(1), 1000, 1000),
                       "File number is invalid: 0\nStated file length: 0  copied: 0\n"}));
}

TEST(Extract, WorksBesideTheRunningService) {
    Recorder recorder;
    recorder.CreatePool(1);
    recorder.Load(1, Noise(1000));
    recorder.StartService();
    EXPECT_EQ(recorder.Tool({"-x", "1"}),
              (Outcome{0, CopyText(recorder.Extracted(1), 1000, 1000), ""}));
}

TEST(Extract, OfAnEmptyFileLeavesTheTargetAlone) {
    Recorder recorder;
    recorder.CreatePool(1);
    EXPECT_EQ(recorder.Tool({"-x", "1"}), Refused("zero-length file.  File was not copied.\n"));
    EXPECT_FALSE(fs::exists(recorder.Extracted(1)));
    WriteFile(recorder.Extracted(1), "kept");
    EXPECT_EQ(recorder.Tool({"-x", "1"}), Refused("zero-length file.  File was not copied.\n"));
    EXPECT_EQ(ReadFile(recorder.Extracted(1)), "kept");
}

TEST(ExtractUnbounded, CopiesTheWholeSlotWhateverTheLength) {
    Recorder recorder;
    recorder.CreatePool(2);
    std::string content = Noise(1000);
    recorder.Load(1, content);
    EXPECT_EQ(recorder.Tool({"-X", "1"}), Copied(recorder.Extracted(1), slotSize));
    content.resize(slotSize);
    EXPECT_TRUE(ReadFile(recorder.Extracted(1)) == content);
}

TEST(ExtractUnbounded, OfAnEmptyFileCopiesTheWholeSlot) {
    Recorder recorder;
    recorder.CreatePool(1);
    EXPECT_EQ(recorder.Tool({"--extractunbounded", "1"}), Copied(recorder.Extracted(1), slotSize));
    EXPECT_EQ(fs::file_size(recorder.Extracted(1)), slotSize);
}

TEST(Extract, RealStreamIsReadByAPlayerWithoutAnError) {
    Recorder recorder;
    recorder.CreatePool(1);
    std::string const stream = ClipRepeated(slotSize);
    recorder.Load(1, stream);
    EXPECT_EQ(recorder.Tool({"-x", "1"}), Copied(recorder.Extracted(1), slotSize));
    ASSERT_TRUE(ReadFile(recorder.Extracted(1)) == stream);
    EXPECT_EQ(Play(recorder.Extracted(1)), (Outcome{0, "h264\naac\n\nh264\naac\n", ""}));
}

struct Number {
    char const* text;
    char const* complaint;
};

void PrintTo(Number const& number, std::ostream* stream) {
    *stream << '"' << number.text << '"';
}

class ExtractOfNumber : public testing::TestWithParam<Number> {};

TEST_P(ExtractOfNumber, ThatThePoolDoesNotHaveIsRefused) {
    Recorder recorder;
    recorder.CreatePool(2);
    std::string const complaint = GetParam().complaint + std::string("\n");
    EXPECT_EQ(recorder.Tool({"-x", GetParam().text}), Refused(complaint));
    EXPECT_EQ(recorder.Tool({"-X", GetParam().text}), Refused(complaint));
    EXPECT_TRUE(fs::is_empty(recorder.HardDisk()));
}

constexpr char const* noSuchFile = "could not open stream file: 2No such file or directory";

INSTANTIATE_TEST_SUITE_P(Extract, ExtractOfNumber,
                         testing::Values(Number{"0", "File number is invalid: 0"},
                                         Number{"abc", "File number is invalid: 0"},
                                         Number{"", "File number is invalid: 0"},
                                         Number{"-3", "File number is invalid: -3"},
                                         Number{"-4294967297",
                                                "File number is invalid: -2147483648"},
                                         Number{"3", noSuchFile}, Number{"2147483647", noSuchFile},
                                         Number{"4294967297", noSuchFile}));

TEST(Extract, TextAfterTheNumberIsIgnored) {
    Recorder recorder;
    recorder.CreatePool(2);
    recorder.Load(2, Noise(1000));
    EXPECT_EQ(recorder.Tool({"-x", "2abc"}), Copied(recorder.Extracted(2), 1000));
}

TEST(Extract, LeavesNoRecordInTheProcessTable) {
    Recorder recorder;
    recorder.CreatePool(1);
    recorder.Load(1, Noise(1000));
    Child tool(recorder.ToolCommand({"-x", "1"}));
    EXPECT_EQ(tool.Finish().status, 0);
    EXPECT_FALSE(recorder.IsRegistered(tool.Pid()));
}

} // namespace
} // namespace e2e
