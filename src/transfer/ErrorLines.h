// The lines on standard error that the stream-file tools have in common.
#pragma once

#include <initializer_list>
#include <string_view>

namespace transfer {

// Prints the texts one after the other, then errno in decimal and its text. Deliberately nothing
// between the number and the text: scripts that read these lines rely on it.
void SystemErrorLine(std::initializer_list<std::string_view> texts);

// Prints the line about a read or write of fewer bytes than expected. `what` is "Read" or "Write",
// `size` the bytes of the whole transfer.
void ShortTransferLine(std::string_view what, long size, long expected, long actual);

} // namespace transfer
