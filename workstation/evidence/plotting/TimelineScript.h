// A timeline as gnuplot draws it.
#pragma once

#include "evidence/plotting/Picture.h"
#include "evidence/plotting/Timeline.h"

namespace workstation::evidence::plotting {

Picture PictureOf(Timeline const& timeline, PictureFormat format);

// What a timeline shows, in words.
std::string Describe(Timeline const& timeline);

} // namespace workstation::evidence::plotting
