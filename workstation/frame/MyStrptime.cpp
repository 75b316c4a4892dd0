// Parses times.
#include "MyStrptime.h"

char const* MyStrptime::mystrptime(char const* text, char const* format, tm* out) {
    return strptime(text, format, out);
}
