// Option --lproc: lists the processes that use the pool.
#pragma once

// Prints each live process of the process table with its command line, and its threads with the
// numbers of the stream files that they have open. False, after a line on standard output, when
// there is no table.
bool ListProcesses();
