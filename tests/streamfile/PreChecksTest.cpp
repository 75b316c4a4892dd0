// The checks with which the tools that work on one stream file begin.
#include <functional>
#include <tuple>

#include "StreamFileAccess.h"
#include "StreamFileTest.h"
#include "fakes/IpcEndpoint.h"
#include "streamfile/CopyStreamFile.h"
#include "streamfile/OverwriteStreamFile.h"
#include "streamfile/OverwriteStreamFileFromName.h"
#include "streamfile/ReadStreamFile.h"

namespace {

struct Tool : NamedCase {
    std::function<bool(LinxIpc& ipc, int number, long& length, long& moved, bool unbounded)> run;
};

std::vector<Tool> Tools() {
    return {
        {{"Copy"},
         [](LinxIpc&, int number, long& length, long& moved, bool unbounded) {
             return CopyStreamFile(number, length, moved, unbounded);
         }},
        {{"Read"},
         [](LinxIpc&, int number, long& length, long& moved, bool unbounded) {
             return ReadStreamFile(number, length, moved, unbounded);
         }},
        {{"Overwrite"},
         [](LinxIpc&, int number, long& length, long& moved, bool unbounded) {
             return OverwriteStreamFile(number, length, moved, unbounded);
         }},
        {{"OverwriteFromName"},
         [](LinxIpc& ipc, int number, long& length, long& moved, bool unbounded) {
             return OverwriteStreamFileFromName(ipc, number, "5", length, moved, unbounded);
         }},
    };
}

class PreChecksTest : public StreamFileTest {
protected:
    static constexpr long untouched = -7;

    PreChecksTest() {
        PutOnHardDisk("5.ts", "old");
        platform.AddStreamFiles({5}, 200);
    }

    void ExpectNothingTouched() {
        EXPECT_EQ(length, untouched);
        EXPECT_EQ(moved, untouched);
        ExpectOnHardDisk("5.ts", "old");
        ExpectWritten(5, "");
    }

    IpcEndpoint endpoint{platform};
    long length = untouched;
    long moved = untouched;
};

// A reason to refuse, by what a tool was given.
struct Reason : NamedCase {
    int fileSystemType;
    int fileNumber;
    std::string message;
};

std::vector<Reason> Reasons() {
    std::string const ext4 = "Current file system is EXT4, use linux command line\n";
    std::string const unknown =
        "Current file system is UNKNOWN, no useful information in shared memory\n";
    std::string const zero = "File number is invalid: 0\n";
    return {
        {{"NumberZero"}, 2, 0, zero},
        {{"NegativeNumber"}, 2, -3, "File number is invalid: -3\n"},
        {{"SmallestNumber"}, 2, -2147483647 - 1, "File number is invalid: -2147483648\n"},
        {{"NumberComesBeforeExt4"}, 1, 0, zero},
        {{"NumberComesBeforeUnknown"}, 9, 0, zero},
        {{"Ext4"}, 1, 5, ext4},
        {{"TypeZero"}, 0, 5, unknown},
        {{"TypeThree"}, 3, 5, unknown},
        {{"NegativeType"}, -1, 5, unknown},
    };
}

class Refusal : public PreChecksTest,
                public ::testing::WithParamInterface<std::tuple<Tool, Reason>> {};

TEST_P(Refusal, IsReportedBeforeThePoolIsTouched) {
    auto const& [tool, reason] = GetParam();
    StreamFileAccess::fileSystemType = reason.fileSystemType;
    for (bool const unbounded : {false, true}) {
        EXPECT_FALSE(tool.run(endpoint.Ipc(), reason.fileNumber, length, moved, unbounded));
    }
    ExpectOutput("", reason.message + reason.message);
    EXPECT_EQ(platform.Calls(), "");
    ExpectNothingTouched();
}

INSTANTIATE_TEST_SUITE_P(Of, Refusal,
                         ::testing::Combine(::testing::ValuesIn(Tools()),
                                            ::testing::ValuesIn(Reasons())),
                         NameOfPair());

class UnreachablePool : public PreChecksTest, public ::testing::WithParamInterface<Tool> {};

TEST_P(UnreachablePool, EndsTheTool) {
    platform.Script("InitializeFileAccess", 1, {0});
    EXPECT_FALSE(GetParam().run(endpoint.Ipc(), 5, length, moved, true));
    ExpectOutput("", "can not proceed without fileAccess initialized\n");
    EXPECT_EQ(platform.Calls(), initializeCall);
    ExpectNothingTouched();
}

INSTANTIATE_TEST_SUITE_P(Of, UnreachablePool, ::testing::ValuesIn(Tools()), NameOfCase());

} // namespace
