// Where everything that one workstation recorder owns lies.
#include "Root.h"

#include <pwd.h>
#include <unistd.h>

#include <bit>
#include <cstdlib>
#include <optional>
#include <vector>

namespace workstation {
namespace {

std::optional<std::string> Environment(char const* name) {
    char const* const value = std::getenv(name);
    if (value == nullptr || *value == '\0') {
        return std::nullopt;
    }
    return value;
}

// The user's home as the user database has it; the file system's root when it has none.
std::string HomeOfUser() {
    std::vector<char> text(16384);
    passwd entry{};
    passwd* found = nullptr;
    if (getpwuid_r(getuid(), &entry, text.data(), text.size(), &found) != 0 || found == nullptr) {
        return "/";
    }
    return found->pw_dir;
}

std::string StateHome() {
    if (auto const stateHome = Environment("XDG_STATE_HOME")) {
        return *stateHome;
    }
    auto const home = Environment("HOME");
    return (home ? *home : HomeOfUser()) + "/.local/state";
}

} // namespace

std::string RootDirectory() {
    auto const root = Environment("STREAMMGR_ROOT");
    return root ? *root : StateHome() + "/streammgr";
}

std::string PoolPath() {
    return RootDirectory() + "/pool";
}

std::string IpcDirectory() {
    return RootDirectory() + "/ipc";
}

std::string ProcessTablePath() {
    constexpr bool isLittleEndian = std::endian::native == std::endian::little;
    return RootDirectory() + "/shm/process_table" + (isLittleEndian ? "" : ".big-endian");
}

std::string DatabasePath() {
    return RootDirectory() + "/events.db";
}

} // namespace workstation
