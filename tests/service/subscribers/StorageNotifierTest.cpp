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
    std::vector<unsigned int> Told() {
        std::vector<unsigned int> told;
        while (auto const letter = client_.Receive()) {
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
    notifier_.NotifyNewSubscriber("Client");
    EXPECT_THAT(Told(), ElementsAre(7));
    notifier_.NotifyOfChanges(start_);
    EXPECT_THAT(Told(), IsEmpty());
}

TEST_F(StorageNotifierTest, ChangesAreSentAtMostOnceASecond) {
    notifier_.NotifyNewSubscriber("Client");
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
    EXPECT_THROW(notifier_.NotifyNewSubscriber("Client"), std::runtime_error);
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

} // namespace
