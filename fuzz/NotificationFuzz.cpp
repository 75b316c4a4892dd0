// Sends a subscriber of the service whatever a message can hold.
#include <array>
#include <cstdint>
#include <optional>
#include <string>

#include "LinxIpc.h"
#include "LogClient.h"
#include "Messages.h"
#include "Require.h"
#include "StreamMgrCli.h"
#include "ipc/MessageHeader.h"
#include "ipc/RawSocket.h"
#include "support/TemporaryRoot.h"

using namespace workstation;

namespace {

constexpr std::array<std::uint32_t, 3> subscribed{0x3614, 0x3615, 0x3616};

class Subscriber {
public:
    Subscriber() {
        setenv("STREAMMGR_LOG", "/dev/null", 1);
        LogClient::Instance()->Level(3);
        Require(ipc_.Init() == 0);
        sender_.emplace(root_.Ipc() / "StreamMgr");
        ipc_.SetHandler(subscribed[0], StreamSubscriptionHandler, nullptr);
        ipc_.SetHandler(subscribed[1], RecordStartHandler, nullptr);
        ipc_.SetHandler(subscribed[2], RecordStopHandler, nullptr);
    }

    void Send(std::string const& datagram) const {
        Require(sender_->Send(root_.Ipc() / "Subscriber", datagram));
    }

    // Whether there was a message.
    bool Handle() { return ipc_.Receive(0, 0, LinxIpc::emptyString, nullptr) == 0; }

private:
    TemporaryRoot root_;
    LinxIpc ipc_{"Subscriber"};
    std::optional<RawSocket> sender_; // in the directory that Init makes
};

// A notification, or with the kind beyond them a datagram as it stands.
std::string Datagram(FuzzedMessage const& message) {
    std::string payload(message.payload.begin(), message.payload.end());
    std::size_t const kind = message.kind % (subscribed.size() + 1);
    if (kind == subscribed.size()) {
        return payload;
    }
    auto const header =
        ipc::EncodeHeader({subscribed.at(kind), 0, static_cast<std::uint32_t>(payload.size())});
    return std::string(header.begin(), header.end()) + payload;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(unsigned char const* data, std::size_t size) {
    static Subscriber subscriber;
    for (FuzzedMessage const& message : MessagesIn({data, size})) {
        std::string const datagram = Datagram(message);
        auto const* const bytes = reinterpret_cast<unsigned char const*>(datagram.data());
        bool const isMessage = ipc::DecodeHeader({bytes, datagram.size()}).has_value();
        subscriber.Send(datagram);
        Require(subscriber.Handle() == isMessage);
    }
    return 0;
}
