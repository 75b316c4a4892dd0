// Works on the pool until SIGINT, and ends as the tool does: unloads and exits in the handler.
//   interrupted_worker read|write|threads
#include <signal.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include "StreamFileAccess.h"

namespace {

StreamFileAccess fileAccess;

std::atomic<bool> isEnding = false;

void Terminate(int /*signal*/) {
    isEnding = true;
    fileAccess.Unload();
    exit(-1); // NOLINT(cert-err33-c,bugprone-signal-handler): just what the tool does
}

bool WorkOnce(bool writing) {
    std::vector<unsigned char> buffer(1000);
    if (!fileAccess.InitializeFileAccess(false, true)) {
        return false;
    }
    if (writing) {
        StreamFileAccess file(2, false, StreamMgrFileMgmnt::ControlExternalProc);
        return file.IsOpen() && file.Write(buffer.data(), 1000) == 1000 && file.Truncate(1000) == 0;
    }
    StreamFileAccess file(1, 0);
    return file.IsOpen() && file.Read(buffer.data(), 1000, true) == 1000;
}

// Ends with the process; what becomes of its work during exit() does not matter.
void WorkForEver() {
    for (;;) {
        static_cast<void>(WorkOnce(false));
    }
}

} // namespace

int main(int /*argc*/, char** argv) {
    std::string const kind = argv[1];
    signal(SIGINT, Terminate);
    if (kind == "threads") {
        for (int i = 0; i < 3; ++i) {
            std::thread(WorkForEver).detach();
        }
    }
    if (write(STDOUT_FILENO, "!", 1) != 1) {
        return 1;
    }
    for (bool unload = false;; unload = !unload) {
        if (!WorkOnce(kind == "write")) {
            while (isEnding) {
                pause(); // the handler runs in another thread, and is about to end the process
            }
            return 2;
        }
        if (unload && kind != "threads") {
            fileAccess.Unload(); // so that registering is interrupted as well
        }
    }
}
