// Time parsing.
#pragma once

#include <ctime>

class MyStrptime {
public:
    // Parses `text` by a strptime-style `format` into `out`; fields that the format does not name
    // stay as they are. Returns the first character that was not parsed, null when the text does
    // not fit the format. What follows the parsed part is not an error.
    static char const* mystrptime(char const* text, char const* format, tm* out);
};
