// What the recording threads have to tell the thread that serves requests.
#pragma once

#include <mutex>
#include <string>
#include <variant>
#include <vector>

#include "FileDescriptor.h"
#include "store/EventStore.h"

namespace workstation::service {

struct RecordStarted {
    std::string reid;
};
struct RecordStopped {
    store::Event recording;
};

using Notice = std::variant<RecordStarted, RecordStopped>;

// A queue that any thread may fill, and that can be waited for.
class Notices {
public:
    Notices();

    void Post(Notice notice);

    // For poll(2): readable when there is a notice.
    int Descriptor() const { return event_.Get(); }

    // All that have been posted, in that order. Never blocks.
    std::vector<Notice> Take();

private:
    FileDescriptor event_;
    std::mutex mutex_;
    std::vector<Notice> notices_;
};

} // namespace workstation::service
