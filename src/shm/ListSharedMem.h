// Options --lsm and --lsmi: lists the table of stream files.
#pragma once

// Prints the table entry of every stream file, or only of those in an intermediate state: being
// written, or neither empty nor full. False, after an entry in the system log, when there is no
// usable pool.
bool ListSharedMem(bool intermediateOnly);
