// Options --lsm and --lsmi: lists the table of stream files.
#pragma once

// Prints the entry of every stream file, or only of those in an intermediate state: owned by a
// controller, or neither empty nor full. False, after a log entry only, when there is no pool to
// list.
bool ListSharedMem(bool intermediateOnly);
