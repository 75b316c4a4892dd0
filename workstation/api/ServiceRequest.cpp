// A request to a service, and its answer.
#include "api/ServiceRequest.h"

#include "IpcMessage.h"
#include "LinxIpc.h"
#include "ipc/Payload.h"

namespace workstation::api {

Answer Ask(RemoteService const& service, unsigned int requestId,
           std::initializer_list<Item*> request, unsigned int replyId,
           std::initializer_list<Item*> answer) {
    IpcMessage message;
    IpcMessage reply;
    if (!ipc::PackMessage(message, requestId, request) ||
        service.ipc.Request(service.name, message, replyId, service.timeoutMs, &reply) != 0) {
        return Answer::missing;
    }
    return ipc::UnpackMessage(reply, answer) ? Answer::received : Answer::malformed;
}

} // namespace workstation::api
