// Requests reach their handlers and are logged with their sender.
#include "service/requests/RequestRouter.h"

#include <gmock/gmock.h>

#include <stdexcept>

#include "support/LogFile.h"
#include "support/TemporaryRoot.h"

using testing::ElementsAre;
using workstation::ipc::Letter;
using workstation::service::requests::RequestRouter;

namespace {

class RequestRouterTest : public testing::Test {
protected:
    TemporaryRoot root_;
    LogFile log_{root_.Path() / "log"};
    RequestRouter router_;
};

TEST_F(RequestRouterTest, RequestReachesTheHandlerOfItsId) {
    std::vector<std::string> handled;
    router_.On(5, "five", [&](Letter& request) { handled.push_back("5 " + request.sender); });
    router_.On(6, "six", [&](Letter& request) { handled.push_back("6 " + request.sender); });
    Letter request{"Asker", 6, 0, {}};
    router_.Handle(request);
    EXPECT_THAT(handled, ElementsAre("6 Asker"));
    EXPECT_THAT(log_.Entries(), ElementsAre("six requested by Asker"));
}

TEST_F(RequestRouterTest, UnknownRequestIsLoggedOnly) {
    Letter request{"Asker", 4711, 0, {}};
    router_.Handle(request);
    EXPECT_THAT(log_.Entries(), ElementsAre("unknown request 4711 from Asker"));
}

TEST_F(RequestRouterTest, HandlerThatThrowsIsLogged) {
    router_.On(5, "five", [](Letter&) { throw std::runtime_error("no room"); });
    Letter request{"Asker", 5, 0, {}};
    router_.Handle(request);
    EXPECT_THAT(log_.Entries(), ElementsAre("five requested by Asker", "five failed: no room"));
}

} // namespace
