// Bytes are read from files, pipes, devices and standard input, and every wait can be stopped.
#include "service/recording/Source.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <thread>

#include "service/recording/InterruptingSignal.h"
#include "service/recording/TestDirectory.h"
#include "support/FailureOf.h"

namespace {

using namespace recording_test;
using namespace workstation;
using namespace workstation::service;
using namespace workstation::service::recording;

using Outcome = Source::Outcome;

constexpr int endless = -1;

class SourceTest : public testing::Test {
protected:
    Source Open(std::string const& name) { return Source::Open(name, stop_); }
    std::string Read(Source& source) {
        auto const result = source.Read(room_, endless);
        EXPECT_EQ(result.outcome, Outcome::bytes);
        return {room_.begin(), room_.begin() + static_cast<std::ptrdiff_t>(result.size)};
    }
    Outcome ReadOutcome(Source& source, int timeoutMs = endless) {
        return source.Read(room_, timeoutMs).outcome;
    }

    TestDirectory directory_;
    StopEvent stop_;
    std::array<unsigned char, 4> room_{};
};

TEST_F(SourceTest, FileIsReadToItsEndAndAgain) {
    Source source = Open(directory_.Write("clip.ts", "abcdef"));
    EXPECT_FALSE(source.IsLive());
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(Read(source), "abcd");
        EXPECT_EQ(Read(source), "ef");
        EXPECT_EQ(ReadOutcome(source), Outcome::end);
        source.Rewind();
    }
}

TEST_F(SourceTest, WhatIsNoSourceIsRefused) {
    auto const openMissing = [this] { Open(directory_.Path("missing")); };
    EXPECT_EQ(FailureOf(openMissing), "No such file or directory");
    EXPECT_EQ(ErrorOf(openMissing), ENOENT);
    EXPECT_EQ(FailureOf([this] { Open(directory_.Path("")); }), "Is a directory");
}

TEST_F(SourceTest, PipeIsLive) {
    std::string const path = directory_.Fifo("pipe");
    Source source = Open(path);
    EXPECT_TRUE(source.IsLive());
    // No process has opened the other end: that is not the end of the source.
    EXPECT_EQ(ReadOutcome(source, 0), Outcome::timeout);
    FileDescriptor writer(open(path.c_str(), O_WRONLY | O_CLOEXEC));
    EXPECT_EQ(ReadOutcome(source, 0), Outcome::timeout);
    ASSERT_EQ(write(writer.Get(), "abc", 3), 3);
    EXPECT_EQ(Read(source), "abc");
    EXPECT_EQ(ReadOutcome(source, 0), Outcome::timeout);
    ASSERT_EQ(write(writer.Get(), "def", 3), 3);
    writer.Reset();
    EXPECT_EQ(Read(source), "def");
    EXPECT_EQ(ReadOutcome(source), Outcome::end);
}

TEST_F(SourceTest, DeviceIsLive) {
    Source source = Open("/dev/zero");
    EXPECT_TRUE(source.IsLive());
    EXPECT_EQ(Read(source), std::string(4, '\0'));
}

TEST_F(SourceTest, StandardInputIsTakenAsItComesWhateverItIs) {
    StandardInput const input(directory_.Write("clip.ts", "abc"));
    Source source = Open("-");
    EXPECT_TRUE(source.IsLive());
    EXPECT_EQ(Read(source), "abc");
    EXPECT_EQ(ReadOutcome(source), Outcome::end);
}

TEST_F(SourceTest, SetStopGoesBeforeBytes) {
    Source source = Open("/dev/zero");
    stop_.Set();
    EXPECT_EQ(ReadOutcome(source), Outcome::stopped);
}

TEST_F(SourceTest, StopEndsAReadThatWaits) {
    Source source = Open(directory_.Fifo("pipe"));
    Outcome outcome = Outcome::end;
    std::thread reader([&] { outcome = ReadOutcome(source); });
    stop_.Set();
    reader.join();
    EXPECT_EQ(outcome, Outcome::stopped);
}

TEST_F(SourceTest, SignalsDoNotEndAReadThatWaits) {
    InterruptingSignal const signal;
    std::string const path = directory_.Fifo("pipe");
    Source source = Open(path);
    Outcome outcome{};
    {
        std::jthread reader([&] { EXPECT_NO_THROW(outcome = ReadOutcome(source)); });
        signal.Interrupt(reader.native_handle());
        FileDescriptor const writer(open(path.c_str(), O_WRONLY | O_CLOEXEC));
        ASSERT_EQ(write(writer.Get(), "abc", 3), 3);
    }
    EXPECT_EQ(outcome, Outcome::bytes);
}

TEST_F(SourceTest, FailureHasTheReason) {
    // Memory of this process from address 0 on cannot be read.
    Source source = Open("/proc/self/mem");
    auto const read = [&] { source.Read(room_, endless); };
    EXPECT_EQ(FailureOf(read), "Input/output error");
    EXPECT_EQ(ErrorOf(read), EIO);
}

TEST_F(SourceTest, WhatCannotGoBackSaysSo) {
    Source source = Open(directory_.Fifo("pipe"));
    EXPECT_EQ(FailureOf([&] { source.Rewind(); }), "lseek: Illegal seek");
}

} // namespace
