// How the arguments of recorded calls are written.
#pragma once

#include <concepts>
#include <cstddef>
#include <cstdio>
#include <string>
#include <string_view>
#include <type_traits>

template <std::integral T>
std::string Show(T value) {
    if constexpr (std::is_same_v<T, bool>) {
        return value ? "true" : "false";
    } else {
        return std::to_string(value);
    }
}

inline std::string Show(std::nullptr_t) {
    return "null";
}

// Text in quotes; what cannot be printed as it is stands as \n, \0 or \xNN.
inline std::string Show(std::string_view text) {
    std::string shown = "\"";
    for (char const character : text) {
        auto const byte = static_cast<unsigned char>(character);
        if (character == '\n') {
            shown += "\\n";
        } else if (character == '\0') {
            shown += "\\0";
        } else if (byte < ' ' || byte > '~') {
            char code[5];
            (void)std::snprintf(code, sizeof code, "\\x%02x", byte);
            shown += code;
        } else {
            shown += character;
        }
    }
    return shown + "\"";
}

// The arguments of one call, separated by ", ".
template <typename First, typename... Rest>
std::string ShowAll(First const& first, Rest const&... rest) {
    std::string shown = Show(first);
    ((shown += ", " + Show(rest)), ...);
    return shown;
}

inline std::string ShowAll() {
    return "";
}
