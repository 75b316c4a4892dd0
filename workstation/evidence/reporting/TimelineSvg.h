// A timeline as a part of an HTML page.
#pragma once

#include "evidence/plotting/Timeline.h"
#include "evidence/reporting/Html.h"

namespace workstation::evidence::reporting {

// The ids of the rows to which slots and events link.
std::string SlotId(int slot);
std::string EventId(std::size_t index); // in the order in which the events were made

// An <svg> element whose looks the page's style sheet states. `events` are those of the timeline's
// facts.
Markup SvgOf(plotting::Timeline const& timeline, std::vector<HeldEvent> const& events);

} // namespace workstation::evidence::reporting
