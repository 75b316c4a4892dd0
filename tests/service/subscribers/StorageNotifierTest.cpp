// When subscribers are notified of the storage.
#include "service/subscribers/StorageNotifier.h"

#include <gmock/gmock.h>

#include <stdexcept>

#include "ipc/Endpoint.h"
#include "support/LogFile.h"
#include "support/TemporaryRoot.h"

using namespace workstation;
using namespace workstation::service;
using namespace workstation::service::subscribers;
using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class StorageNotifierTest : public testing::Test {
protected:
    StorageNotifierTest() { subscribers_.Add("Client", Subscription::storage, 100); }

    StorageFigures Count() const {
        if (fails_) {
            throw std::runtime_error("no figures");
        }
        return figures_;
    }

    // The last byte of each notification: that of the free space.
    std::vector<unsigned int> Told() { return Told(client_); }
    static std::vector<unsigned int> Told(ipc::Endpoint& client) {
        std::vector<unsigned int> told;
        while (auto const letter = client.Receive()) {
            told.push_back(static_cast<unsigned char>(letter->payload.at(19)));
        }
        return told;
    }

    TemporaryRoot root_;
    LogFile log_{root_.Path() / "log"};
    ipc::Endpoint service_ = ipc::Endpoint::Open("Service");
    ipc::Endpoint client_ = ipc::Endpoint::Open("Client");
    Subscribers subscribers_{service_};
    StorageFigures figures_{10, 3, 0, 0, 7};
    bool fails_ = false;
    StorageNotifier notifier_{subscribers_, [this] { return Count(); }};
    StorageNotifier::Clock::time_point const start_ = StorageNotifier::Clock::now();
};

TEST_F(StorageNotifierTest, NewcomerIsNotifiedAtOnce) {
    notifier_.NotifyNewSubscriber("Client", start_);
    EXPECT_THAT(Told(), ElementsAre(7));
    notifier_.NotifyOfChanges(start_);
    EXPECT_THAT(Told(), IsEmpty());
}

TEST_F(StorageNotifierTest, ChangesAreSentAtMostOnceASecond) {
    notifier_.NotifyNewSubscriber("Client", start_);
    notifier_.NotifyOfChanges(start_);
    figures_.free = 6;
    notifier_.NotifyOfChanges(start_ + 999ms);
    EXPECT_EQ(notifier_.WaitMs(start_ + 999ms), 1);
    EXPECT_THAT(Told(), ElementsAre(7));
    figures_.free = 5;
    notifier_.NotifyOfChanges(start_ + 1000ms);
    EXPECT_EQ(notifier_.WaitMs(start_ + 1000ms), 1000);
    notifier_.NotifyOfChanges(start_ + 2000ms);
    EXPECT_THAT(Told(), ElementsAre(5));
}

TEST_F(StorageNotifierTest, WithoutSubscribersNothingIsWaitedFor) {
    Subscribers nobody(service_);
    StorageNotifier news(nobody, []() -> StorageFigures { throw std::logic_error("counted"); });
    EXPECT_EQ(news.WaitMs(start_), -1);
    news.NotifyOfChanges(start_);
    EXPECT_THAT(log_.Entries(), IsEmpty());
}

TEST_F(StorageNotifierTest, FiguresThatCannotBeCountedAreSentLater) {
    fails_ = true;
    EXPECT_THROW(notifier_.NotifyNewSubscriber("Client", start_), std::runtime_error);
    notifier_.NotifyOfChanges(start_);
    notifier_.NotifyOfChanges(start_ + 1s);
    EXPECT_THAT(log_.Entries(), ElementsAre("cannot tell of the storage: no figures"));
    fails_ = false;
    notifier_.NotifyOfChanges(start_ + 2s);
    EXPECT_THAT(Told(), ElementsAre(7));
    fails_ = true;
    notifier_.NotifyOfChanges(start_ + 3s);
    EXPECT_THAT(log_.Entries(), testing::SizeIs(2));
}

// The figures changed since the others were notified; the newcomer already has the new ones.
TEST_F(StorageNotifierTest, NewcomerIsNotSentTheSameFiguresTwice) {
    ipc::Endpoint newcomer = ipc::Endpoint::Open("Newcomer");
    notifier_.NotifyNewSubscriber("Client", start_);
    notifier_.NotifyOfChanges(start_);
    figures_.free = 6;
    subscribers_.Add("Newcomer", Subscription::storage, 100);
    notifier_.NotifyNewSubscriber("Newcomer", start_ + 999ms);
    notifier_.NotifyOfChanges(start_ + 1000ms);
    EXPECT_THAT(Told(newcomer), ElementsAre(6));
    EXPECT_THAT(Told(), ElementsAre(7, 6));
    figures_.free = 5;
    notifier_.NotifyOfChanges(start_ + 2000ms);
    EXPECT_THAT(Told(newcomer), ElementsAre(5));
    EXPECT_THAT(Told(), ElementsAre(5));
}

// For the others nothing has changed.
TEST_F(StorageNotifierTest, NewcomerWithoutFiguresIsSentThemAloneWhenCountingWorksAgain) {
    ipc::Endpoint newcomer = ipc::Endpoint::Open("Newcomer");
    notifier_.NotifyNewSubscriber("Client", start_);
    notifier_.NotifyOfChanges(start_);
    EXPECT_THAT(Told(), ElementsAre(7));
    fails_ = true;
    subscribers_.Add("Newcomer", Subscription::storage, 100);
    EXPECT_THROW(notifier_.NotifyNewSubscriber("Newcomer", start_ + 500ms), std::runtime_error);
    fails_ = false;
    notifier_.NotifyOfChanges(start_ + 1000ms);
    EXPECT_THAT(Told(newcomer), ElementsAre(7));
    notifier_.NotifyOfChanges(start_ + 2000ms);
    EXPECT_THAT(Told(newcomer), IsEmpty());
    EXPECT_THAT(Told(), IsEmpty());
}

TEST_F(StorageNotifierTest, CountingThatFailsIsTriedAgainASecondLater) {
    fails_ = true;
    EXPECT_THROW(notifier_.NotifyNewSubscriber("Client", start_), std::runtime_error);
    fails_ = false;
    EXPECT_EQ(notifier_.WaitMs(start_), 1000);
    notifier_.NotifyOfChanges(start_ + 999ms);
    EXPECT_THAT(Told(), IsEmpty());
    notifier_.NotifyOfChanges(start_ + 1000ms);
    EXPECT_THAT(Told(), ElementsAre(7));
}

TEST_F(StorageNotifierTest, NewcomersForWhomCountingFailsDoNotPutTheRetryOff) {
    fails_ = true;
    for (auto const later : {0ms, 400ms, 800ms}) {
        EXPECT_THROW(notifier_.NotifyNewSubscriber("Client", start_ + later), std::runtime_error);
    }
    EXPECT_EQ(notifier_.WaitMs(start_ + 800ms), 200);
}

// A process of the same name has taken the place of one that was sent these figures.
TEST_F(StorageNotifierTest, RepeatedSubscriptionIsSentTheFiguresAgain) {
    notifier_.NotifyNewSubscriber("Client", start_);
    notifier_.NotifyNewSubscriber("Client", start_);
    EXPECT_THAT(Told(), ElementsAre(7, 7));
    fails_ = true;
    EXPECT_THROW(notifier_.NotifyNewSubscriber("Client", start_), std::runtime_error);
    fails_ = false;
    notifier_.NotifyOfChanges(start_ + 1s);
    EXPECT_THAT(Told(), ElementsAre(7));
}

} // namespace
