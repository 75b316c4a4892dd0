// Texts in XML and HTML.
#include "evidence/XmlText.h"

#include "evidence/Utf8.h"

namespace workstation::evidence {

std::string XmlText(std::string const& text) {
    std::string escaped;
    for (char const character : ValidUtf8(text, "\xEF\xBF\xBD")) {
        switch (character) {
        case '&':
            escaped += "&amp;";
            break;
        case '<':
            escaped += "&lt;";
            break;
        case '>':
            escaped += "&gt;";
            break;
        case '"':
            escaped += "&quot;";
            break;
        case '\'':
            escaped += "&#39;";
            break;
        default:
            escaped += character;
        }
    }
    return escaped;
}

} // namespace workstation::evidence
