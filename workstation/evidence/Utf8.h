// Texts from a database, which may be damaged.
#pragma once

#include <string>

namespace workstation::evidence {

// The text with `replacement` for each control character and for each byte that is no UTF-8.
std::string ValidUtf8(std::string const& text, std::string const& replacement);

} // namespace workstation::evidence
