// The lines on standard error that the stream-file tools have in common.
#pragma once

#include <initializer_list>
#include <string_view>

namespace streamfile {

// The texts one after the other, then errno in decimal and its text. Nothing stands between the
// number and the text: the scripts that read these lines rely on it.
void SystemErrorLine(std::initializer_list<std::string_view> texts);

// A transfer that came short. `what` is "Read" or "Write", `size` the whole length that was to be
// moved.
void ShortTransferLine(std::string_view what, long size, long expected, long actual);

} // namespace streamfile
