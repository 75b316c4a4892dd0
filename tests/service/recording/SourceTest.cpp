// Bytes are read from files, pipes, devices and standard input, and every wait can be stopped.
#include "service/recording/SourceFactory.h"

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

using Kind = Source::Kind;
using Outcome = Source::Outcome;

constexpr int endless = -1;

class SourceTest : public testing::Test {
protected:
    std::unique_ptr<Source> Open(std::string const& name) {
        auto source = MakeSource(name, stop_);
        source->Begin();
        return source;
    }
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
    auto const source = Open(directory_.Write("clip.ts", "abcdef"));
    EXPECT_EQ(source->GetKind(), Kind::file);
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(Read(*source), "abcd");
        EXPECT_EQ(Read(*source), "ef");
        EXPECT_EQ(ReadOutcome(*source), Outcome::end);
        source->Begin();
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
    auto const source = Open(path);
    EXPECT_EQ(source->GetKind(), Kind::live);
    // No process has opened the other end: that is not the end of the source.
    EXPECT_EQ(ReadOutcome(*source, 0), Outcome::timeout);
    FileDescriptor writer(open(path.c_str(), O_WRONLY | O_CLOEXEC));
    EXPECT_EQ(ReadOutcome(*source, 0), Outcome::timeout);
    ASSERT_EQ(write(writer.Get(), "abc", 3), 3);
    EXPECT_EQ(Read(*source), "abc");
    EXPECT_EQ(ReadOutcome(*source, 0), Outcome::timeout);
    ASSERT_EQ(write(writer.Get(), "def", 3), 3);
    writer.Reset();
    EXPECT_EQ(Read(*source), "def");
    EXPECT_EQ(ReadOutcome(*source), Outcome::end);
}

TEST_F(SourceTest, DeviceIsLive) {
    auto const source = Open("/dev/zero");
    EXPECT_EQ(source->GetKind(), Kind::live);
    EXPECT_EQ(Read(*source), std::string(4, '\0'));
}

TEST_F(SourceTest, StandardInputIsTakenAsItComesWhateverItIs) {
    StandardInput const input(directory_.Write("clip.ts", "abc"));
    auto const source = Open("-");
    EXPECT_EQ(source->GetKind(), Kind::input);
    EXPECT_EQ(Read(*source), "abc");
    EXPECT_EQ(ReadOutcome(*source), Outcome::end);
}

// As a shell passes the output of a command: no second writer can come.
TEST_F(SourceTest, DescriptorOfTheServiceIsTakenAsItComesAndNotPassedOn) {
    FileDescriptor const file(open(directory_.Write("clip.ts", "abc").c_str(), O_RDONLY));
    auto const source = Open("/dev/fd/" + std::to_string(file.Get()));
    EXPECT_EQ(source->GetKind(), Kind::input);
    EXPECT_EQ(fcntl(file.Get(), F_GETFD), FD_CLOEXEC);
    EXPECT_EQ(Read(*source), "abc");
    EXPECT_EQ(ReadOutcome(*source), Outcome::end);
}

TEST_F(SourceTest, DescriptorThatIsNotOpenIsRefused) {
    EXPECT_EQ(FailureOf([this] { Open("/dev/fd/12345"); }), "Bad file descriptor");
    EXPECT_EQ(FailureOf([this] { Open("/dev/fd/x"); }), "No such file or directory");
}

TEST_F(SourceTest, SetStopGoesBeforeBytes) {
    auto const source = Open("/dev/zero");
    stop_.Set();
    EXPECT_EQ(ReadOutcome(*source), Outcome::stopped);
}

TEST_F(SourceTest, StopEndsAReadThatWaits) {
    auto const source = Open(directory_.Fifo("pipe"));
    Outcome outcome = Outcome::end;
    std::thread reader([&] { outcome = ReadOutcome(*source); });
    stop_.Set();
    reader.join();
    EXPECT_EQ(outcome, Outcome::stopped);
}

TEST_F(SourceTest, SignalsDoNotEndAReadThatWaits) {
    InterruptingSignal const signal;
    std::string const path = directory_.Fifo("pipe");
    auto const source = Open(path);
    Outcome outcome{};
    {
        std::jthread reader([&] { EXPECT_NO_THROW(outcome = ReadOutcome(*source)); });
        signal.Interrupt(reader.native_handle());
        FileDescriptor const writer(open(path.c_str(), O_WRONLY | O_CLOEXEC));
        ASSERT_EQ(write(writer.Get(), "abc", 3), 3);
    }
    EXPECT_EQ(outcome, Outcome::bytes);
}

TEST_F(SourceTest, FailureHasTheReason) {
    // Memory of this process from address 0 on cannot be read.
    auto const source = Open("/proc/self/mem");
    auto const read = [&] { source->Read(room_, endless); };
    EXPECT_EQ(FailureOf(read), "Input/output error");
    EXPECT_EQ(ErrorOf(read), EIO);
}

// --- a FIFO that is begun again ------------------------------------------------------------------

class FifoTest : public SourceTest {
protected:
    FileDescriptor OpenWriter() const {
        return FileDescriptor(open(path_.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC));
    }
    static void Write(FileDescriptor const& writer, std::string const& text) {
        ASSERT_EQ(write(writer.Get(), text.data(), text.size()), static_cast<ssize_t>(text.size()));
    }

    std::string const path_ = directory_.Fifo("pipe");
    std::unique_ptr<Source> const source_ = Open(path_);
};

TEST_F(FifoTest, SecondWriterContinues) {
    for (std::string const text : {"abc", "def"}) {
        Write(OpenWriter(), text);
        EXPECT_EQ(Read(*source_), text);
        EXPECT_EQ(ReadOutcome(*source_), Outcome::end);
        source_->Begin();
        EXPECT_EQ(ReadOutcome(*source_, 0), Outcome::timeout); // no writer is no end
    }
}

TEST_F(FifoTest, WriterThatComesBeforeItIsBegunAgainLosesNothing) {
    Write(OpenWriter(), "abc");
    EXPECT_EQ(Read(*source_), "abc");
    EXPECT_EQ(ReadOutcome(*source_), Outcome::end);
    Write(OpenWriter(), "def"); // and goes
    FileDescriptor const third = OpenWriter();
    Write(third, "g");
    source_->Begin();
    Write(third, "h");
    EXPECT_EQ(Read(*source_), "defg");
    EXPECT_EQ(Read(*source_), "h");
}

TEST_F(FifoTest, FifoInItsPlaceIsTaken) {
    std::filesystem::remove(path_);
    EXPECT_EQ(FailureOf([&] { source_->Begin(); }), "No such file or directory");
    directory_.Fifo("pipe");
    source_->Begin();
    FileDescriptor const writer = OpenWriter();
    Write(writer, "abc");
    EXPECT_EQ(Read(*source_), "abc");
}

TEST_F(FifoTest, FileInItsPlaceIsRefused) {
    std::filesystem::remove(path_);
    directory_.Write("pipe", "abc");
    auto const begin = [&] { source_->Begin(); };
    EXPECT_EQ(FailureOf(begin), "neither a FIFO nor a device");
    EXPECT_EQ(ErrorOf(begin), EINVAL);
}

} // namespace
