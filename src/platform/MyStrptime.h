// Time parsing.
#pragma once

#include <ctime>

class MyStrptime {
public:
    // Parses `text` by a strptime-style `format` into `out`; fields that are not in the format stay
    // unchanged. Returns a pointer to the first character that was not parsed, null when the text
    // does not match the format. Characters after the parsed part are not an error.
    static char const* mystrptime(char const* text, char const* format, tm* out);
};
