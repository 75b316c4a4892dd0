// A command is a source: its output, its end, and the end of all that it started.
#include "service/recording/ExecSource.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <memory>
#include <thread>

#include "support/FailureOf.h"

namespace {

using namespace workstation;
using namespace workstation::service::recording;

using Outcome = Source::Outcome;

constexpr int endless = -1;

class ExecSourceTest : public testing::Test {
protected:
    // After a test no child is left, not even a dead one.
    ~ExecSourceTest() override {
        source_.reset();
        EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1);
        EXPECT_EQ(errno, ECHILD);
    }

    void Begin(std::string const& command) {
        source_ = std::make_unique<ExecSource>(command, stop_);
        source_->Begin();
    }
    // Reads up to the end of a line.
    std::string ReadLine() {
        std::string text;
        while (text.empty() || text.back() != '\n') {
            std::array<unsigned char, 1> room{};
            EXPECT_EQ(source_->Read(room, endless).outcome, Outcome::bytes);
            text += static_cast<char>(room[0]);
        }
        text.pop_back();
        return text;
    }
    pid_t ReadPid() { return std::stoi(ReadLine()); }
    // Why the source is gone.
    std::string Reason() {
        std::array<unsigned char, 1000> room{};
        return FailureOf([&] {
            while (source_->Read(room, endless).outcome == Outcome::bytes) {
            }
        });
    }
    static bool IsThere(pid_t pid) { return kill(pid, 0) == 0; }

    StopEvent stop_;
    std::unique_ptr<ExecSource> source_;
};

TEST_F(ExecSourceTest, OutputIsTheStream) {
    Begin("echo one; cat /dev/stdin; echo two");
    EXPECT_EQ(source_->GetKind(), Source::Kind::live);
    EXPECT_EQ(ReadLine(), "one");
    EXPECT_EQ(ReadLine(), "two");
    EXPECT_EQ(Reason(), "it has ended with status 0");
}

TEST_F(ExecSourceTest, StatusIsTheReason) {
    Begin("exit 3");
    EXPECT_EQ(Reason(), "it has ended with status 3");
    Begin("kill -9 $$");
    EXPECT_EQ(Reason(), "it has ended with status 137");
    Begin("/no/such/program");
    EXPECT_EQ(Reason(), "it has ended with status 127");
}

TEST_F(ExecSourceTest, IsBegunAgain) {
    Begin("echo $$");
    pid_t const first = ReadPid();
    Reason();
    source_->Begin();
    EXPECT_NE(ReadPid(), first);
}

TEST_F(ExecSourceTest, LastWordsAreThoseOnStandardError) {
    Begin("echo one >&2; echo two >&2; exit 1");
    Reason();
    EXPECT_EQ(source_->LastWords(), (std::vector<std::string>{"one", "two"}));
    source_->Begin();
    Reason();
    EXPECT_EQ(source_->LastWords(), (std::vector<std::string>{"one", "two"}));
}

TEST_F(ExecSourceTest, FloodOnStandardErrorDoesNotStopTheStream) {
    Begin("head -c 1000000 /dev/zero >&2; echo one");
    EXPECT_EQ(ReadLine(), "one");
}

TEST_F(ExecSourceTest, ClosedStandardErrorDoesNotStopTheStream) {
    Begin("exec 2>&-; echo one; echo two");
    EXPECT_EQ(ReadLine(), "one");
    EXPECT_EQ(ReadLine(), "two");
    EXPECT_EQ(Reason(), "it has ended with status 0");
}

TEST_F(ExecSourceTest, OutputIsWaitedForUntilTheTimeoutAndTheStop) {
    Begin("exec sleep 1000");
    std::array<unsigned char, 10> room{};
    EXPECT_EQ(source_->Read(room, 0).outcome, Outcome::timeout);
    Outcome outcome{};
    std::thread reader([&] { outcome = source_->Read(room, endless).outcome; });
    stop_.Set();
    reader.join();
    EXPECT_EQ(outcome, Outcome::stopped);
}

TEST_F(ExecSourceTest, SignalsForTheProcessGroupDoNotReachIt) {
    Begin("echo $$; exec sleep 1000");
    pid_t const command = ReadPid();
    EXPECT_NE(getsid(command), getsid(0));
    EXPECT_NE(getpgid(command), getpgid(0));
}

// The service blocks signals and ignores others.
TEST_F(ExecSourceTest, SignalsEndIt) {
    sigset_t term;
    sigset_t former;
    sigemptyset(&term);
    sigaddset(&term, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &term, &former);
    Begin("kill $$; echo blocked");
    pthread_sigmask(SIG_SETMASK, &former, nullptr);
    EXPECT_EQ(Reason(), "it has ended with status 143");
}

TEST_F(ExecSourceTest, EndsWhenItIsBegunAgain) {
    Begin("echo $$; exec sleep 1000");
    pid_t const first = ReadPid();
    EXPECT_TRUE(IsThere(first));
    source_->Begin();
    EXPECT_FALSE(IsThere(first));
    EXPECT_TRUE(IsThere(ReadPid()));
}

// A command that closes its output has ended, whatever it goes on to do.
TEST_F(ExecSourceTest, EndsWhenItClosesItsOutput) {
    Begin("echo $$; exec sleep 1000 >&-");
    pid_t const command = ReadPid();
    EXPECT_EQ(Reason(), "it has ended with status 143");
    EXPECT_FALSE(IsThere(command));
}

TEST_F(ExecSourceTest, WhatItStartedEndsWithIt) {
    Begin("sleep 1000 & echo $!; sleep 1000 & echo $!; wait");
    pid_t const first = ReadPid();
    pid_t const second = ReadPid();
    source_.reset();
    EXPECT_FALSE(IsThere(first));
    EXPECT_FALSE(IsThere(second));
}

TEST_F(ExecSourceTest, WhatItStartedEndsWhenItHasEnded) {
    Begin("sleep 1000 & echo $!");
    pid_t const left = ReadPid();
    EXPECT_EQ(Reason(), "it has ended with status 0");
    EXPECT_FALSE(IsThere(left));
}

// It ignores SIGTERM, and has a session and a parent of its own.
TEST_F(ExecSourceTest, WhatDoesNotWantToEndEnds) {
    Begin("trap '' TERM\n"
          "(setsid sh -c 'echo $$; exec sleep 1000' &)\n"
          "echo $$; exec sleep 1000");
    pid_t const first = ReadPid();
    pid_t const second = ReadPid();
    EXPECT_TRUE(IsThere(first));
    EXPECT_TRUE(IsThere(second));
    source_.reset();
    EXPECT_FALSE(IsThere(first));
    EXPECT_FALSE(IsThere(second));
}

} // namespace
