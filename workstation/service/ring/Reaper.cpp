// The reaper: wipes the oldest stream files to make room for recordings.
#include "service/ring/Reaper.h"

#include <string>

#include "log/PlatformLog.h"
#include "pool/StreamFile.h"
#include "service/ring/FreeFile.h"

namespace workstation::service::ring {

unsigned int Reaper::Reap() {
    pool::PoolImage const& image = session_.Pool();
    int const wanted = (image.FileCount() + 9) / 10;
    int free = 0;
    for (int number = 1; number <= image.FileCount(); ++number) {
        free += IsFree(image, number) ? 1 : 0;
    }
    unsigned int wiped = 0;
    while (free < wanted && WipeOldest()) {
        ++free;
        ++wiped;
    }
    return wiped;
}

// The database first: if the process dies in between, the next start of the service finishes a wipe
// that the database knows of.
bool Reaper::WipeOldest() {
    auto const oldest = store_.OldestUnprotected();
    if (!oldest || !session_.Pool().Has(oldest->fileNumber)) {
        return false;
    }
    auto const file = pool::StreamFile::TryOpenForWriting(session_, oldest->fileNumber,
                                                          StreamMgrFileMgmnt::ControlPrimaryThread);
    if (!file || !store_.Wipe(oldest->id)) {
        return false;
    }
    file->SetLength(0);
    session_.Pool().MarkKnown(oldest->fileNumber, false);
    log::LogNote("wiped " + pool::StreamFileName(oldest->fileNumber) + " of stream " +
                 std::to_string(oldest->stream));
    return true;
}

} // namespace workstation::service::ring
