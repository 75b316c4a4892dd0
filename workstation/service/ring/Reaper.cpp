// The reaper: wipes the oldest stream files to make room for recordings.
#include "service/ring/Reaper.h"

#include <algorithm>
#include <string>

#include "log/PlatformLog.h"
#include "pool/StreamFile.h"
#include "service/ring/FreeFile.h"

namespace workstation::service::ring {

unsigned int Reaper::Reap() {
    pool::PoolImage const& image = session_.Pool();
    int const wanted = (image.FileCount() + 9) / 10;
    int free = CountFree(image);
    unsigned int wiped = 0;
    while (free < wanted && WipeOldest()) {
        ++free;
        ++wiped;
    }
    return wiped;
}

bool Reaper::WipeOldest() {
    auto const files = store_.UnprotectedFiles();
    return std::ranges::any_of(files, [&](store::RecordedFile const& file) { return Wipe(file); });
}

// The database first: if the process dies in between, the next start of the service finishes a wipe
// that the database knows of.
bool Reaper::Wipe(store::RecordedFile const& wiped) {
    if (!session_.Pool().Has(wiped.fileNumber)) {
        return false;
    }
    auto const file = pool::StreamFile::TryOpenForWriting(session_, wiped.fileNumber,
                                                          StreamMgrFileMgmnt::ControlPrimaryThread);
    if (!file || !store_.Wipe(wiped.id)) {
        return false;
    }
    file->SetLength(0);
    session_.Pool().MarkKnown(wiped.fileNumber, false);
    log::LogNote("wiped " + pool::StreamFileName(wiped.fileNumber) + " of stream " +
                 std::to_string(wiped.stream));
    return true;
}

} // namespace workstation::service::ring
