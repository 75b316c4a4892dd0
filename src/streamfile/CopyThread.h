// The thread function of --multiextract and --multiread.
#pragma once

// Processes one stream file. `argument` is a number cast to a pointer: -N extracts file N, N reads
// it. Prints a result line. Returns null.
void* CopyThread(void* argument);
