// Option --lproc: lists who works on the pool.
#pragma once

// Prints each live process of the process table with its command line, and its threads with the
// stream files they work on. False, after a line on standard output, when there is no table.
bool ListProcesses();
