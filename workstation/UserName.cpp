// Users as people know them.
#include "UserName.h"

#include <pwd.h>

#include <array>

namespace workstation {

std::string UserName(uid_t user) {
    std::string const number = "uid " + std::to_string(user);
    std::array<char, 1024> names{};
    passwd entry{};
    passwd* found = nullptr;
    getpwuid_r(user, &entry, names.data(), names.size(), &found);
    return found == nullptr ? number : std::string("user '") + entry.pw_name + "' (" + number + ")";
}

} // namespace workstation
