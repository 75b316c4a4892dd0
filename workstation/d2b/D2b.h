// The pool tool: makes, fills, changes and checks the pool of a workstation recorder.
#pragma once

namespace workstation::d2b {

// Carries out one command line and returns the exit status: 0 done, 1 failed (after one line on
// standard error, or after the findings of a check on standard output), 2 misuse.
int RunD2b(int argc, char const* const* argv);

} // namespace workstation::d2b
