// Texts in XML and HTML.
#pragma once

#include <string>

namespace workstation::evidence {

// The text as it stands between tags and in attributes: nothing in it is markup. What XML cannot
// hold becomes U+FFFD.
std::string XmlText(std::string const& text);

} // namespace workstation::evidence
