// A disk that fails, hangs or is slow on command.
#pragma once

#include <string>

#include "Recorder.h"
#include "support/Sanitizers.h"

namespace e2e {

// For the service of a recorder that is started afterwards: see tests/support/FaultyDisk.cpp.
class FaultyDisk {
public:
    enum Fault : char { nothing = 0, slowFlush = 8, hangingFlush = 16 };

    explicit FaultyDisk(Recorder& recorder)
        : faults_(recorder.Directory() / "faults") {
        Set(nothing);
        recorder.SetForService("LD_PRELOAD", FAULTY_DISK_PATH);
        recorder.SetForService("STREAMMGR_FAULTS", faults_);
        recorder.SetForService("STREAMMGR_FAULTY_FILES", recorder.Root());
    }

    void Set(Fault fault) const { WriteFile(faults_, std::string(1, fault)); }

private:
    std::string faults_;
};

// What is loaded before a program would come before the sanitizers' own functions.
#define SKIP_WITH_SANITIZERS()                                                                     \
    if (hasAddressSanitizer || hasThreadSanitizer) {                                               \
        GTEST_SKIP() << "nothing can be loaded before the sanitizer";                              \
    }                                                                                              \
    static_assert(true)

} // namespace e2e
