// Cases for the client calls with good and bad replies.
#include <gtest/gtest.h>

#include "LinxIpc.h"
#include "StreamMgrApi.h"
#include "SubscribeClient.h"
#include "api/Replies.h"
#include "api/ServiceMessages.h"
#include "support/TemporaryRoot.h"

using namespace workstation;
using namespace workstation::api;

namespace {

constexpr unsigned int askedSize = 7;
constexpr unsigned int usedSize = 9;

std::string const madeReid = "0123456789abcdef:01";

struct Call {
    char const* name;
    unsigned int replyId;
    std::string yes;
    std::string no;
    std::vector<std::string> malformed; // wrong lengths, and bools that are neither 0 nor 1

    // Whether it succeeded. It changes its out-parameters only when it did.
    bool (*make)(LinxIpc&);
};

void PrintTo(Call const& call, std::ostream* stream) {
    *stream << call.name;
}

bool RecordAfterTheFact(LinxIpc& ipc) {
    std::string reid;
    bool const done = StreamMgrApi::RecordAfterTheFact(ipc, 1, 2, reid, patienceMs,
                                                       StreamMgrApi::EventStreamBoth);
    EXPECT_EQ(reid, done ? madeReid : "");
    return done;
}

bool SplitEvent(LinxIpc& ipc) {
    std::string reid = madeReid;
    unsigned int size = askedSize;
    bool const done = StreamMgrApi::SplitEvent(ipc, reid, size);
    EXPECT_EQ(reid, madeReid);
    EXPECT_EQ(size, done ? usedSize : askedSize);
    return done;
}

bool BackupDatabase(LinxIpc& ipc) {
    return StreamMgrApi::BackupDatabase(ipc, "/backup", patienceMs);
}

bool SetTagsComplete(LinxIpc& ipc) {
    return StreamMgrApi::SetTagsComplete(madeReid, ipc, patienceMs);
}

bool UpdateFileSize(LinxIpc& ipc) {
    return StreamMgrApi::UpdateFileSize(ipc, 1);
}

bool Subscribe(LinxIpc& ipc) {
    StringItem everything;
    return SubscribeClient(ipc, "StreamMgr", patienceMs)
               .Subscribe(10, storageSpaceNotification, everything, nullptr, nullptr) == 0;
}

Call Confirmation(char const* name, unsigned int replyId, bool (*make)(LinxIpc&)) {
    return {name,
            replyId,
            Bytes(BoolItem(true)),
            Bytes(BoolItem(false)),
            {"\x02", "\xFF", Bytes(UIntItem(1)), Bytes(StringItem("yes"))},
            make};
}

std::vector<Call> Calls() {
    std::string const yes = Bytes(BoolItem(true));
    std::string const no = Bytes(BoolItem(false));
    return {
        {"RecordAfterTheFact",
         recordAfterTheFactReply,
         yes + Bytes(StringItem(madeReid)),
         no + Bytes(StringItem(madeReid)),
         {yes + Bytes(UIntItem(0xFFFFFFFF)) + madeReid, yes + Bytes(UIntItem(0x7FFFFFFF)),
          yes + Bytes(UIntItem(20)) + madeReid, yes + Bytes(UIntItem(18)) + madeReid,
          yes + Bytes(UIntItem(0)) + madeReid, "\x02" + Bytes(StringItem(madeReid))},
         RecordAfterTheFact},
        {"SplitEvent",
         splitEventReply,
         yes + Bytes(UIntItem(usedSize)),
         no + Bytes(UIntItem(usedSize)),
         {"\x02" + Bytes(UIntItem(usedSize)), yes + Bytes(StringItem("9"))},
         SplitEvent},
        Confirmation("BackupDatabase", doneReply, BackupDatabase),
        Confirmation("SetTagsComplete", doneReply, SetTagsComplete),
        Confirmation("UpdateFileSize", doneReply, UpdateFileSize),
        Confirmation("Subscribe", subscribeReply, Subscribe),
    };
}

class ClientCallTest : public testing::TestWithParam<Call> {
protected:
    ClientCallTest() { EXPECT_EQ(client_.Init(), 0); }

    TemporaryRoot root_;
    LinxIpc client_{"Client"};
};

TEST_P(ClientCallTest, SucceedsWhenTheServiceSaysYes) {
    ReplyingService const service(GetParam().replyId, {GetParam().yes});
    EXPECT_TRUE(GetParam().make(client_));
}

TEST_P(ClientCallTest, FailsOnEveryReplyThatIsNoYesAndHandsNothingOut) {
    std::string const& yes = GetParam().yes;
    std::vector<std::string> replies = GetParam().malformed;
    replies.push_back(GetParam().no);
    for (std::size_t size = 0; size < yes.size(); ++size) {
        replies.push_back(yes.substr(0, size));
    }
    replies.push_back(yes + '\0');
    replies.push_back(yes + yes);
    replies.push_back(yes + std::string(65536 - yes.size(), '\xFF')); // the largest payload

    ReplyingService const service(GetParam().replyId, replies);
    for (std::string const& reply : replies) {
        EXPECT_FALSE(GetParam().make(client_)) << testing::PrintToString(reply.substr(0, 100));
    }
}

TEST_P(ClientCallTest, FailsWithoutAService) {
    EXPECT_FALSE(GetParam().make(client_));
}

INSTANTIATE_TEST_SUITE_P(Service, ClientCallTest, testing::ValuesIn(Calls()),
                         [](auto const& call) { return std::string(call.param.name); });

} // namespace
