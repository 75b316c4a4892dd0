// Where everything that one workstation recorder owns lies.
#pragma once

#include <string>

namespace workstation {

// The recorder's directory: $STREAMMGR_ROOT, else $XDG_STATE_HOME/streammgr, else
// ~/.local/state/streammgr. An empty variable counts as unset. Read at each call.
std::string RootDirectory();

// The pool: a regular file is a pool image, a directory a pool of ordinary files.
std::string PoolPath();

// The directory with the socket of each IPC endpoint.
std::string IpcDirectory();

// The table of processes that have stream files open. Its words are the machine's: processes of
// the other byte order, as under emulation, have another.
std::string ProcessTablePath();

// The service's event database.
std::string DatabasePath();

} // namespace workstation
