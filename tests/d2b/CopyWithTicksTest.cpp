// d2b tick: the copy with ticks, and what is refused.
#include "d2b/CopyWithTicks.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "support/ChildProcess.h"
#include "support/FailureOf.h"
#include "support/TemporaryDirectory.h"
#include "ts/TestStream.h"

using namespace workstation;
using namespace workstation::d2b;
using namespace ts_test;

namespace {

constexpr std::uint64_t ms = ts::PcrClock::unitsPerSecond / 1000;

class CopyWithTicksTest : public testing::Test {
protected:
    std::string Path(std::string const& name) const { return directory_.Path(name); }

    void Put(std::string const& name, Bytes const& bytes) const {
        std::ofstream file(Path(name), std::ios::binary);
        file.write(reinterpret_cast<char const*>(bytes.data()),
                   static_cast<std::streamsize>(bytes.size()));
    }

    Bytes Get(std::string const& name) const {
        std::ifstream file(Path(name), std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    // The reason of a failure; empty on success.
    std::string Insert(std::string const& source, std::string const& target) const {
        return workstation::FailureOf(
            [&] { CopyWithTicks(Path(source), Path(target), ts::TickInserter(1000, 57)); });
    }

    // The failure of a source with these bytes, which must leave only the source.
    std::string FailureOf(Bytes const& source) const {
        Put("in.ts", source);
        std::string reason = Insert("in.ts", "out.ts");
        EXPECT_EQ(std::distance(std::filesystem::directory_iterator(directory_.Path()), {}), 1);
        return reason;
    }

    // What a shell command prints.
    static std::string OutputOf(std::string const& command) {
        std::string output;
        FILE* const pipe = popen(command.c_str(), "r");
        for (int byte = std::fgetc(pipe); byte != EOF; byte = std::fgetc(pipe)) {
            output += static_cast<char>(byte);
        }
        EXPECT_EQ(pclose(pipe), 0) << command;
        return output;
    }

private:
    TemporaryDirectory directory_;
};

TEST_F(CopyWithTicksTest, LargeStreamIsGivenItsTicks) {
    TestStream stream;
    for (std::uint64_t i = 0; i < 100; ++i) {
        stream.Media(29).Add(PcrPacket(50 * i * ms));
    }
    Put("in.ts", stream.Data());
    EXPECT_EQ(Insert("in.ts", "out.ts"), "");
    Ticks expected = {{0, 1000}};
    for (unsigned int i = 1; i < 100; ++i) {
        // after i ticks, the 30 packets of each PCR before, and 29 more
        expected.emplace_back((i + 30 * i + 29) * 188, 1000 + i);
    }
    EXPECT_EQ(Find(Get("out.ts")), expected);
}

TEST_F(CopyWithTicksTest, StreamMayTakeItsOwnPlace) {
    Put("in.ts", PcrPacket(0));
    EXPECT_EQ(Insert("in.ts", "in.ts"), "");
    EXPECT_EQ(Get("in.ts").size(), 2 * ts::tsPacketSize);
}

TEST_F(CopyWithTicksTest, FormerTargetIsReplacedOnlyWhenAllIsDone) {
    Put("out.ts", {1, 2, 3});
    Put("in.ts", MediaPacket());
    EXPECT_NE(Insert("in.ts", "out.ts"), "");
    EXPECT_EQ(Get("out.ts"), (Bytes{1, 2, 3}));
    Put("in.ts", PcrPacket(0));
    EXPECT_EQ(Insert("in.ts", "out.ts"), "");
    EXPECT_EQ(Get("out.ts").size(), 2 * ts::tsPacketSize);
}

TEST_F(CopyWithTicksTest, TargetGetsTheRightsOfANewFile) {
    Put("in.ts", PcrPacket(0));
    mode_t const mask = umask(027);
    EXPECT_EQ(Insert("in.ts", "out.ts"), "");
    umask(mask);
    struct stat status {};
    ASSERT_EQ(stat(Path("out.ts").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0640U);
}

TEST_F(CopyWithTicksTest, StreamWithoutPcrIsRefused) {
    EXPECT_EQ(FailureOf(TestStream().Media(3).Data()),
              "'" + Path("in.ts") + "' has no PCR to count the ticks by");
    EXPECT_EQ(FailureOf({}), "'" + Path("in.ts") + "' has no PCR to count the ticks by");
}

TEST_F(CopyWithTicksTest, WhatIsNoTransportStreamIsRefused) {
    EXPECT_EQ(FailureOf(Garbage(1000)),
              "'" + Path("in.ts") + "' is no transport stream: there is no packet at byte 0");
    EXPECT_EQ(FailureOf(TestStream().Add(PcrPacket(0)).Add(Garbage(188)).Media(3).Data()),
              "'" + Path("in.ts") + "' is no transport stream: there is no packet at byte 188");
}

TEST_F(CopyWithTicksTest, StreamThatEndsWithinAPacketIsRefused) {
    for (std::size_t const length : {1U, 187U}) {
        Bytes stream = TestStream().Add(PcrPacket(0)).Media(2000).Data();
        stream.resize(2000 * ts::tsPacketSize + length);
        EXPECT_EQ(FailureOf(stream),
                  "'" + Path("in.ts") + "' ends in the middle of the packet at byte 376000");
    }
}

TEST_F(CopyWithTicksTest, StreamThatHasTicksIsRefused) {
    EXPECT_EQ(FailureOf(TestStream().Add(PcrPacket(0)).Media(1).Tick(5).Media(1).Data()),
              "'" + Path("in.ts") + "' has ticks already, the first at byte 376");
}

TEST_F(CopyWithTicksTest, MissingSourceIsAFailure) {
    EXPECT_EQ(Insert("none.ts", "out.ts"),
              "cannot open '" + Path("none.ts") + "': No such file or directory");
}

TEST_F(CopyWithTicksTest, DirectoryAsSourceIsAFailure) {
    std::filesystem::create_directory(Path("in.ts"));
    EXPECT_EQ(Insert("in.ts", "out.ts"), "cannot read '" + Path("in.ts") + "': Is a directory");
    EXPECT_FALSE(std::filesystem::exists(Path("out.ts")));
}

TEST_F(CopyWithTicksTest, TargetThatCannotBeMadeIsAFailure) {
    Put("in.ts", PcrPacket(0));
    EXPECT_EQ(Insert("in.ts", "none/out.ts"),
              "cannot write '" + Path("none/out.ts") + "': No such file or directory");
}

TEST_F(CopyWithTicksTest, OnlyARegularFileIsReplaced) {
    Put("in.ts", PcrPacket(0));
    std::filesystem::create_symlink("/dev/null", Path("out.ts"));
    EXPECT_EQ(Insert("in.ts", "out.ts"), "'" + Path("out.ts") + "' is not a regular file");
}

TEST_F(CopyWithTicksTest, WriteErrorLeavesNoTarget) {
    Put("in.ts", TestStream().Add(PcrPacket(0)).Media(5000).Data());
    // A limit on the size of files stands in for a full disk.
    ChildProcess child([&] {
        signal(SIGXFSZ, SIG_IGN);
        rlimit const limit = {300000, 300000};
        setrlimit(RLIMIT_FSIZE, &limit);
        std::string const reason = Insert("in.ts", "out.ts");
        return reason == "cannot write '" + Path("out.ts") + "': File too large" ? 0 : 1;
    });
    EXPECT_EQ(child.Wait(), 0);
    EXPECT_FALSE(std::filesystem::exists(Path("out.ts")));
}

// A clip with H.264 and AAC, as cameras deliver it.
class CopyWithTicksIntoClip : public CopyWithTicksTest {
protected:
    void SetUp() override {
        if (std::system("command -v ffmpeg ffprobe >/dev/null 2>&1") != 0) {
            GTEST_SKIP() << "needs ffmpeg";
        }
        OutputOf("ffmpeg -v error -f lavfi -i testsrc=size=320x240:rate=25"
                 " -f lavfi -i sine=frequency=440 -t 5 -c:v libx264 -preset ultrafast"
                 " -c:a aac -f mpegts '" +
                 Path("in.ts") + "'");
        ASSERT_EQ(Insert("in.ts", "out.ts"), "");
    }

    // All streams of the kind (v, a) with their packets, and the programs; without the place in the
    // file.
    std::string Probe(std::string const& name, std::string const& kind) const {
        return OutputOf("ffprobe -v error -show_programs -show_streams -show_packets"
                        " -show_data_hash md5 -of compact -select_streams " +
                        kind + " '" + Path(name) + "' | sed 's/|pos=[0-9]*//'");
    }
};

TEST_F(CopyWithTicksIntoClip, PlayersSeeTheSameAudioAndVideo) {
    std::string const video = Probe("in.ts", "v");
    EXPECT_NE(video.find("codec_name=h264"), std::string::npos);
    EXPECT_EQ(Probe("out.ts", "v"), video);
    std::string const audio = Probe("in.ts", "a");
    EXPECT_NE(audio.find("codec_name=aac"), std::string::npos);
    EXPECT_EQ(Probe("out.ts", "a"), audio);
}

TEST_F(CopyWithTicksIntoClip, ThereAreTwentyTicksASecond) {
    Ticks const ticks = Find(Get("out.ts"));
    ASSERT_GE(ticks.size(), 98U); // the last PCR stands before the end
    ASSERT_LE(ticks.size(), 101U);
    for (unsigned int i = 0; i < ticks.size(); ++i) {
        EXPECT_EQ(ticks[i].second, 1000 + i);
    }
}

} // namespace
