// An IPC endpoint that records its requests instead of sending them.
#include "api/RecordedIpc.h"

#include <iomanip>
#include <sstream>

#include "IpcMessage.h"
#include "LinxIpc.h"

std::vector<std::string> RecordedIpc::requests;
int RecordedIpc::result = 0;
std::string RecordedIpc::payload;

std::string const LinxIpc::emptyString;

class LinxIpc::Impl {};

LinxIpc::LinxIpc(std::string const&) {}

LinxIpc::~LinxIpc() = default;

int LinxIpc::Request(std::string const& server, IpcMessage& message, unsigned int replyId,
                     int timeoutMs, IpcMessage* reply) {
    std::ostringstream text;
    text << server << ' ' << std::hex << std::setfill('0') << message.Id() << ' ';
    for (char const byte : std::string(message.Data(), message.Size())) {
        text << std::setw(2) << static_cast<unsigned int>(static_cast<unsigned char>(byte));
    }
    text << (reply != nullptr ? " reply " : " no reply ") << replyId << std::dec << " timeout "
         << timeoutMs;
    RecordedIpc::requests.push_back(text.str());
    if (reply != nullptr) {
        auto const size = static_cast<unsigned int>(RecordedIpc::payload.size());
        reply->Allocate(replyId, size, nullptr);
        reply->Fill(RecordedIpc::payload.data(), size);
    }
    return RecordedIpc::result;
}

void LinxIpc::SetHandler(unsigned int, Handler, void*) {}
