// Asks the service what it is doing.
#include "api/StatusRequest.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "Failure.h"
#include "LinxServerNameList.h"
#include "Root.h"
#include "UserName.h"
#include "api/ServiceMessages.h"
#include "ipc/Payload.h"
#include "ipc/RequestEndpoint.h"
#include "status/ServiceStatusItem.h"

namespace workstation::api {
namespace {

constexpr int answerTimeoutMs = 3000;

// Names the owner of a directory that this user has no access to.
Failure WithOwner(Failure const& failure) {
    struct stat root {};
    bool const isForeign = stat(RootDirectory().c_str(), &root) == 0 && root.st_uid != geteuid();
    return isForeign
               ? Failure(failure.Error(), std::string(failure.what()) + "; '" + RootDirectory() +
                                              "' belongs to " + UserName(root.st_uid))
               : failure;
}

bool IsServed(std::string const& service) {
    try {
        return ipc::SocketDirectory::OpenExisting().Served(service).has_value();
    } catch (Failure const& failure) {
        if (failure.Error() == ENOENT) {
            return false;
        }
        throw;
    }
}

ipc::RequestEndpoint OpenEndpoint(std::string const& clientName, std::string const& service) {
    try {
        if (!IsServed(service)) {
            throw Failure(ECONNREFUSED, "no " + service + " runs in '" + RootDirectory() + "'");
        }
        return ipc::RequestEndpoint(clientName);
    } catch (Failure const& failure) {
        throw failure.Error() == EACCES ? WithOwner(failure) : failure;
    }
}

} // namespace

status::ServiceStatus AskForStatus(std::string const& clientName) {
    std::string const& service = LinxServerNameList::Instance()->Name(e_StreamMgr);
    ipc::RequestEndpoint client = OpenEndpoint(clientName, service);
    ipc::Letter answer = client.Request(service, statusRequest, {}, statusReply, answerTimeoutMs);
    status::ServiceStatusItem item;
    if (!ipc::DecodeItems(answer.payload, {&item})) {
        throw Failure(EBADMSG, service + " answers in another form: it is of another version");
    }
    return item.Value();
}

} // namespace workstation::api
