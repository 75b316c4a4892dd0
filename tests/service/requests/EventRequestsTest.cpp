// The requests about events, stream files and the database.
#include "service/requests/EventRequests.h"

#include "Item.h"
#include "api/ServiceMessages.h"
#include "ipc/Endpoint.h"
#include "ipc/Payload.h"
#include "service/PoolAndStore.h"
#include "service/ring/FileAllocator.h"

using namespace workstation;
using namespace workstation::service;
using namespace workstation::service::requests;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class EventRequestsTest : public testing::Test {
protected:
    EventRequestsTest() {
        setenv("TZ", "UTC", 1);
        tzset();
        AddEventRequests(router_, {service_, &parts_.Pool(), parts_.Store()});
    }
    ~EventRequestsTest() override {
        unsetenv("TZ");
        tzset();
    }

    // Files of one packet, one after the other, with one tick each from tick 0, time 1000 on.
    void Record(int stream, unsigned int count) {
        for (unsigned int file = 0; file < count; ++file, ++nextTick_) {
            auto const taken = files_.Take(stream);
            ASSERT_TRUE(taken);
            taken->Append(std::vector<unsigned char>(188, 0x47), RangeOf(nextTick_, nextTick_), {});
            taken->Finish();
        }
    }

    void Tell(std::uint32_t id, std::vector<char> payload) {
        ipc::Letter request{"Client", id, 9, std::move(payload)};
        router_.Handle(request);
    }

    // Sends a request and decodes the answer. False when no answer, or another one, comes.
    bool Ask(std::uint32_t id, std::vector<char> payload, std::uint32_t replyId,
             std::initializer_list<Item*> answer) {
        Tell(id, std::move(payload));
        auto letter = client_.Receive();
        return letter && letter->id == replyId && letter->correlation == 9 &&
               ipc::DecodeItems(letter->payload, answer);
    }

    bool Done(std::uint32_t id, std::vector<char> payload) {
        BoolItem done;
        EXPECT_TRUE(Ask(id, std::move(payload), api::doneReply, {&done}));
        return done.Value();
    }

    // The identifier of the new event; empty when none was made.
    std::string AfterTheFact(int start, int stop, unsigned int state) {
        IntItem startItem(start);
        IntItem stopItem(stop);
        UIntItem stateItem(state);
        BoolItem made;
        StringItem reid;
        EXPECT_TRUE(Ask(api::recordAfterTheFactRequest,
                        ipc::EncodeItems({&startItem, &stopItem, &stateItem}),
                        api::recordAfterTheFactReply, {&made, &reid}));
        EXPECT_EQ(made.Value(), !reid.Value().empty());
        return reid.Value();
    }

    static std::vector<char> Encoded(std::string const& text) {
        StringItem item(text);
        return ipc::EncodeItems({&item});
    }

    PoolAndStore parts_{6};
    ring::Flusher flusher_{parts_.Pool()};
    ring::FileAllocator files_{parts_.Session(), parts_.Store(), flusher_};
    ipc::Endpoint service_ = ipc::Endpoint::Open("Service");
    ipc::Endpoint client_ = ipc::Endpoint::Open("Client");
    RequestRouter router_;
    unsigned int nextTick_ = 0;
};

TEST_F(EventRequestsTest, EventAfterTheFactHoldsTheStreamsOfItsState) {
    for (int stream = 1; stream <= 4; ++stream) {
        Record(stream, 1);
    }
    struct Case {
        unsigned int state;
        std::vector<unsigned int> streams;
    };
    for (Case const& c : {Case{0, {1, 3}}, Case{1, {2, 4}}, Case{3, {1, 2, 3, 4}}}) {
        std::string const reid = AfterTheFact(1000, 1003, c.state);
        std::vector<unsigned int> streams;
        for (store::RecordedFile const& file : parts_.Store().FilesOf(reid)) {
            streams.push_back(file.stream);
        }
        EXPECT_EQ(streams, c.streams) << c.state;
    }
    EXPECT_EQ(AfterTheFact(1000, 1003, 2), "");
}

TEST_F(EventRequestsTest, IntervalOfWhichNothingIsHeldMakesNoEvent) {
    Record(1, 2);
    EXPECT_EQ(AfterTheFact(2000, 3000, 3), "");
    EXPECT_EQ(AfterTheFact(1001, 1000, 3), "");
    EXPECT_THAT(parts_.Store().Events(), IsEmpty());
    EXPECT_THAT(parts_.Log(),
                testing::Contains("nothing is held of the interval from 1970-01-01 00:33:20 UTC to "
                                  "1970-01-01 00:50:00 UTC"));
}

TEST_F(EventRequestsTest, RecordingIsNoEventAndTheLogSaysSo) {
    std::string const reid = parts_.Store().BeginRecording(1, 1000);
    Tell(api::deleteEventRequest, Encoded(reid));
    EXPECT_THAT(parts_.Log(), testing::Contains(reid + " is a recording, not an event"));
    EXPECT_TRUE(parts_.Store().IsRecording(reid));
}

TEST_F(EventRequestsTest, EventIsDeleted) {
    Record(1, 1);
    std::string const reid = AfterTheFact(1000, 1000, 3);
    Tell(api::deleteEventRequest, Encoded(reid));
    EXPECT_THAT(parts_.Store().Events(), IsEmpty());
    Tell(api::deleteEventRequest, Encoded("no'; DROP TABLE event; --"));
    EXPECT_FALSE(client_.Receive());
    auto log = parts_.Log();
    EXPECT_THAT(std::vector<std::string>(log.end() - 3, log.end()),
                ElementsAre("deleted event " + reid, "delete event requested by Client",
                            "there is no event no'; DROP TABLE event; --"));
}

TEST_F(EventRequestsTest, TagsOfAKnownEventAreCompleted) {
    Record(1, 1);
    std::string const reid = AfterTheFact(1000, 1000, 3);
    EXPECT_TRUE(Done(api::setTagsCompleteRequest, Encoded(reid)));
    EXPECT_TRUE(parts_.Store().FindEvent(reid)->tagsComplete);
    EXPECT_FALSE(Done(api::setTagsCompleteRequest, Encoded("unknown")));
}

TEST_F(EventRequestsTest, FileChainIsLoggedWithOrWithoutTheWiped) {
    Record(2, 2);
    ASSERT_TRUE(parts_.Store().Wipe(parts_.Store().Chain(2, true)[0].id));
    UIntItem stream(1);
    BoolItem withWiped(true);
    Tell(api::logFileChainRequest, ipc::EncodeItems({&stream, &withWiped}));
    withWiped.Value(false);
    Tell(api::logFileChainRequest, ipc::EncodeItems({&stream, &withWiped}));
    std::string const second =
        "  file 2, 188 bytes, ticks 1 to 1, 1970-01-01 00:16:41 UTC to 1970-01-01 00:16:41 UTC";
    EXPECT_THAT(parts_.Log(),
                ElementsAre("file chain requested by Client",
                            "file chain of stream 2 (requested as 1): 2 files",
                            "  file 1, 188 bytes, ticks 0 to 0, 1970-01-01 00:16:40 UTC to "
                            "1970-01-01 00:16:40 UTC, wiped",
                            second, "file chain requested by Client",
                            "file chain of stream 2 (requested as 1): 1 files", second));
}

TEST_F(EventRequestsTest, ChainOfAStreamThatDoesNotExistIsReported) {
    UIntItem stream(4);
    BoolItem withWiped(true);
    Tell(api::logFileChainRequest, ipc::EncodeItems({&stream, &withWiped}));
    EXPECT_THAT(parts_.Log(), ElementsAre("file chain requested by Client",
                                          "there is no stream 5 (requested as 4)"));
}

TEST_F(EventRequestsTest, SplitUsesAtLeastTheSizeOfASlot) {
    struct Case {
        unsigned int size;
        unsigned int used;
    };
    Record(1, 3);
    std::string const reid = AfterTheFact(1000, 1002, 3);
    // In GiB what is no multiple of 1024, else in KiB.
    for (Case const& c : {Case{1, 1}, Case{1023, 1023}, Case{1024, 96256}, Case{1025, 1025},
                          Case{95232, 96256}, Case{96255, 96255}, Case{96256, 96256},
                          Case{96257, 96257}, Case{0xFFFFFFFF, 0xFFFFFFFF}}) {
        StringItem event(reid);
        UIntItem size(c.size);
        BoolItem taken;
        UIntItem used;
        EXPECT_TRUE(Ask(api::splitEventRequest, ipc::EncodeItems({&event, &size}),
                        api::splitEventReply, {&taken, &used}));
        EXPECT_TRUE(taken.Value());
        EXPECT_EQ(used.Value(), c.used) << c.size;
    }
}

TEST_F(EventRequestsTest, LimitOfASplitIsInGibOrInMib) {
    struct {
        unsigned int size;
        unsigned int limitKiB;
    } const cases[] = {
        {1, 1048576},        {1023, 1023 * 1048576U}, {1025, 1025 * 1048576U},
        {4095, 4293918720U}, {4097, 0xFFFFFFFF},      {0xFFFFFFFF, 0xFFFFFFFF},
        {1024, 96256},       {95232, 96256},          {96256, 96256},
        {97280, 97280},      {4194304, 4194304},      {0xFFFFFC00, 0xFFFFFC00},
    };
    for (auto const& split : cases) {
        EXPECT_EQ(SplitLimitKiB(split.size), split.limitKiB) << split.size;
    }
}

TEST_F(EventRequestsTest, SplitIntoPartsOfNoSizeFails) {
    Record(1, 2);
    StringItem event(AfterTheFact(1000, 1001, 3));
    UIntItem size(0);
    BoolItem taken(true);
    UIntItem used;
    EXPECT_TRUE(Ask(api::splitEventRequest, ipc::EncodeItems({&event, &size}), api::splitEventReply,
                    {&taken, &used}));
    EXPECT_FALSE(taken.Value());
    EXPECT_EQ(parts_.Store().Events().size(), 1U);
}

TEST_F(EventRequestsTest, SplitOfAnUnknownEventFails) {
    StringItem event("unknown");
    UIntItem size(1);
    BoolItem taken(true);
    UIntItem used;
    EXPECT_TRUE(Ask(api::splitEventRequest, ipc::EncodeItems({&event, &size}), api::splitEventReply,
                    {&taken, &used}));
    EXPECT_FALSE(taken.Value());
}

TEST_F(EventRequestsTest, BackupGoesWhereItIsAskedForOrFails) {
    std::string const path = RootDirectory() + "/backup";
    EXPECT_TRUE(Done(api::backupDatabaseRequest, Encoded(path)));
    EXPECT_EQ(store::EventStore(path).Events(), parts_.Store().Events());
    EXPECT_FALSE(Done(api::backupDatabaseRequest, Encoded("/proc/backup")));
    EXPECT_FALSE(Done(api::backupDatabaseRequest, Encoded("backup")));
    EXPECT_FALSE(Done(api::backupDatabaseRequest, Encoded(RootDirectory() + "/./pool")));
    EXPECT_FALSE(Done(api::backupDatabaseRequest, Encoded(PoolPath())));
    EXPECT_THAT(parts_.Lengths(), testing::SizeIs(6));
    EXPECT_FALSE(Done(api::backupDatabaseRequest, Encoded("")));
}

TEST_F(EventRequestsTest, ChangedFileSizeReachesTheDatabase) {
    Record(1, 1);
    parts_.Load(1, std::vector<unsigned char>(1000));
    parts_.Load(5, std::vector<unsigned char>(2000));
    IntItem number(1);
    EXPECT_TRUE(Done(api::updateFileSizeRequest, ipc::EncodeItems({&number})));
    EXPECT_EQ(parts_.Store().Chain(1, false)[0].size, 1000U);
    EXPECT_TRUE(parts_.IsKnown(1));
    number.Value(5);
    EXPECT_TRUE(Done(api::updateFileSizeRequest, ipc::EncodeItems({&number})));
    EXPECT_FALSE(parts_.IsKnown(5));
    for (int unknown : {0, -1, 7}) {
        number.Value(unknown);
        EXPECT_FALSE(Done(api::updateFileSizeRequest, ipc::EncodeItems({&number})));
    }
}

TEST_F(EventRequestsTest, LockedDatabaseRefusesAndIsUsedAgainAfterwards) {
    Record(1, 1);
    std::string const reid = AfterTheFact(1000, 1000, 3);
    store::Database other(DatabasePath(), store::Database::Mode::existing);
    other.Execute("BEGIN EXCLUSIVE");
    EXPECT_FALSE(Done(api::setTagsCompleteRequest, Encoded(reid)));
    EXPECT_EQ(AfterTheFact(1000, 1000, 3), "");
    Tell(api::deleteEventRequest, Encoded(reid));
    other.Execute("ROLLBACK");
    EXPECT_EQ(std::ranges::count_if(parts_.Log(),
                                    [](std::string const& entry) {
                                        return entry.find("database is locked") !=
                                               std::string::npos;
                                    }),
              3);
    EXPECT_TRUE(Done(api::setTagsCompleteRequest, Encoded(reid)));
    Tell(api::deleteEventRequest, Encoded(reid));
    EXPECT_THAT(parts_.Store().Events(), IsEmpty());
}

TEST_F(EventRequestsTest, MalformedRequestsAreRefused) {
    for (std::uint32_t id :
         {api::setTagsCompleteRequest, api::backupDatabaseRequest, api::updateFileSizeRequest}) {
        for (std::vector<char> const& payload : {std::vector<char>{}, std::vector<char>{0, 0},
                                                 std::vector<char>{-1, -1, -1, -1, 'a'}}) {
            EXPECT_FALSE(Done(id, payload)) << id;
        }
    }
    BoolItem made(true);
    StringItem reid;
    EXPECT_TRUE(Ask(api::recordAfterTheFactRequest, {0, 0, 0}, api::recordAfterTheFactReply,
                    {&made, &reid}));
    EXPECT_FALSE(made.Value());
    Tell(api::deleteEventRequest, {0, 0, 0, 9, 'a'});
    Tell(api::logFileChainRequest, {0});
    EXPECT_FALSE(client_.Receive());
}

} // namespace
