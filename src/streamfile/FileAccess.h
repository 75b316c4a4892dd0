// The pool as a whole, shared by every tool of the process.
#pragma once

#include "StreamFileAccess.h"

// Constructed before main begins, unloaded once on the way out.
extern StreamFileAccess fileAccess;
