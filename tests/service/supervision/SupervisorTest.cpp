// When the service manager is sent what.
#include "service/supervision/Supervisor.h"

#include <gmock/gmock.h>
#include <unistd.h>

#include <cstdlib>

#include "support/LogFile.h"
#include "support/NotifySocket.h"
#include "support/TemporaryDirectory.h"

namespace {

using namespace workstation::service::supervision;
using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

class SupervisorTest : public testing::Test {
protected:
    SupervisorTest() { setenv("NOTIFY_SOCKET", socket_.Path().c_str(), 1); }
    ~SupervisorTest() override {
        for (char const* const name : {"NOTIFY_SOCKET", "WATCHDOG_USEC", "WATCHDOG_PID"}) {
            unsetenv(name);
        }
    }

    Supervisor Make() {
        return {ServiceManager(),
                [this] {
                    return std::vector{WatchedThread{"thread", thread_}};
                },
                [this] { return status_; }};
    }
    std::string Sent() const { return socket_.Next(0ms); }

    TemporaryDirectory const directory_;
    NotifySocket const socket_{directory_.Path("notify")};
    LogFile const log_{directory_.Path("log")};
    Heartbeat thread_;
    std::string status_ = "first";
    Heartbeat::Time now_ = Heartbeat::Clock::now();
};

TEST_F(SupervisorTest, WithoutAServiceManagerSendsNothingAndAsksNothing) {
    unsetenv("NOTIFY_SOCKET");
    setenv("WATCHDOG_USEC", "1000000", 1);
    Supervisor supervisor(
        ServiceManager(),
        [] {
            ADD_FAILURE();
            return std::vector<WatchedThread>();
        },
        [] {
            ADD_FAILURE();
            return std::string();
        });
    supervisor.Report(now_);
    supervisor.Manager().Ready();
    EXPECT_EQ(supervisor.WaitMs(now_), -1);
    EXPECT_EQ(Sent(), "");
}

TEST_F(SupervisorTest, StatusIsSentWhenItChangesAtMostOnceASecond) {
    Supervisor supervisor = Make();
    supervisor.Report(now_);
    EXPECT_EQ(Sent(), "STATUS=first");
    EXPECT_EQ(supervisor.WaitMs(now_), -1) << "nothing to look for";
    now_ += 300ms;
    status_ = "second";
    supervisor.Report(now_);
    EXPECT_EQ(Sent(), "");
    EXPECT_EQ(supervisor.WaitMs(now_), 700);
    now_ += 700ms;
    supervisor.Report(now_);
    EXPECT_EQ(Sent(), "STATUS=second");
    now_ += 1s;
    supervisor.Report(now_);
    EXPECT_EQ(Sent(), "");
    EXPECT_EQ(supervisor.WaitMs(now_), -1);
}

TEST_F(SupervisorTest, WatchdogOfAnotherProcessIsNotFed) {
    setenv("WATCHDOG_USEC", "1000000", 1);
    setenv("WATCHDOG_PID", "1", 1);
    EXPECT_FALSE(ServiceManager().WatchdogPeriod());
    setenv("WATCHDOG_PID", std::to_string(getpid()).c_str(), 1);
    EXPECT_EQ(ServiceManager().WatchdogPeriod(), 1s);
}

class WatchdogTest : public SupervisorTest {
protected:
    WatchdogTest() {
        setenv("WATCHDOG_USEC", "10000000", 1);
        supervisor_ = std::make_unique<Supervisor>(Make());
    }
    bool Feeds() {
        supervisor_->Report(now_);
        bool feeds = false;
        for (std::string text = Sent(); !text.empty(); text = Sent()) {
            feeds = feeds || text == "WATCHDOG=1";
        }
        return feeds;
    }

    std::unique_ptr<Supervisor> supervisor_;
};

TEST_F(WatchdogTest, IsFedTwiceInItsTime) {
    EXPECT_TRUE(Feeds());
    EXPECT_EQ(supervisor_->WaitMs(now_), 5000);
    now_ += 4s;
    EXPECT_FALSE(Feeds());
    now_ += 1s;
    EXPECT_TRUE(Feeds());
}

TEST_F(WatchdogTest, IsNotFedWhileAThreadIsStuck) {
    thread_.WaitsUntil(now_ + 1s);
    EXPECT_TRUE(Feeds());
    now_ += 10s;
    EXPECT_TRUE(Feeds());
    EXPECT_THAT(log_.Entries(), IsEmpty());
    std::string const stuck = "thread is stuck: the service manager gets no sign of life";
    for (int times = 0; times < 3; ++times) {
        now_ += 5s;
        EXPECT_FALSE(Feeds());
        EXPECT_THAT(log_.Entries(), ElementsAre(stuck));
    }
    thread_.WaitsUntil(now_);
    now_ += 5s;
    EXPECT_TRUE(Feeds());
    EXPECT_THAT(log_.Entries(), ElementsAre(stuck, "thread goes on"));
}

} // namespace
