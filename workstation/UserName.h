// Users as people know them.
#pragma once

#include <sys/types.h>

#include <string>

namespace workstation {

// "user 'daemon' (uid 1)", or "uid 4711" for a user without a name.
std::string UserName(uid_t user);

} // namespace workstation
