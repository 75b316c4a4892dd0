// The thread body of --multiextract and --multiread.
#pragma once

// Works on the one file whose number stands in `argument`: -N extracts file N, N reads it. Prints
// its result line. Returns null.
void* CopyThread(void* argument);
