// The environment variables of the workstation's programs, as their help texts list them.
#pragma once

namespace workstation {

constexpr char const* environmentHelp =
    "Environment:\n"
    "  STREAMMGR_ROOT      the recorder's directory (unset: $XDG_STATE_HOME/streammgr, else\n"
    "                      ~/.local/state/streammgr)\n"
    "  STREAMMGR_LOG       the file that takes the log entries (unset: the system log)\n"
    "  STREAMMGR_LOGLEVEL  what is logged: 1 errors and notifications, 2 notes, 3 both (unset: 1)";

} // namespace workstation
