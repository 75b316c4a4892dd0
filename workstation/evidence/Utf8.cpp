// Texts from a database, which may be damaged.
#include "evidence/Utf8.h"

#include <cstdint>

namespace workstation::evidence {
namespace {

constexpr std::size_t notValid = 0;

// The bytes of the character that begins at `place`, or notValid.
std::size_t CharacterAt(std::string const& text, std::size_t place) {
    struct Kind {
        unsigned int mask;
        unsigned int begin;
        std::uint32_t smallest;
    };
    constexpr Kind kinds[] = {
        {0x80, 0x00, 0x20}, {0xE0, 0xC0, 0x80}, {0xF0, 0xE0, 0x800}, {0xF8, 0xF0, 0x10000}};
    auto const byte = [&](std::size_t at) { return static_cast<unsigned char>(text[at]); };
    for (std::size_t size = 1; size <= std::size(kinds); ++size) {
        Kind const& kind = kinds[size - 1];
        if ((byte(place) & kind.mask) != kind.begin) {
            continue;
        }
        if (place + size > text.size()) {
            return notValid;
        }
        std::uint32_t code = byte(place) & ~kind.mask;
        for (std::size_t i = 1; i < size; ++i) {
            if ((byte(place + i) & 0xC0U) != 0x80) {
                return notValid;
            }
            code = code << 6U | (byte(place + i) & 0x3FU);
        }
        bool const isControl = code == 0x7F || (code >= 0x80 && code < 0xA0);
        bool const isNoCharacter =
            (code >= 0xD800 && code < 0xE000) || code > 0x10FFFF || (code & 0xFFFEU) == 0xFFFE;
        return code < kind.smallest || isControl || isNoCharacter ? notValid : size;
    }
    return notValid;
}

} // namespace

std::string ValidUtf8(std::string const& text, std::string const& replacement) {
    std::string valid;
    for (std::size_t place = 0; place < text.size();) {
        std::size_t const size = CharacterAt(text, place);
        valid += size == notValid ? replacement : text.substr(place, size);
        place += size == notValid ? 1 : size;
    }
    return valid;
}

} // namespace workstation::evidence
