// The pool that the tools share; in the tool itself it stands beside main.
#include "common/FileAccess.h"

StreamFileAccess fileAccess;
