// Options --multiextract and --multiread: several stream files at once, a thread for each.
#pragma once

// Extracts (`extract`) or only reads the stream files in `list`: numbers separated by commas or
// blanks. Anything that is not a number above 0 is skipped. Returns when every thread has ended;
// each has printed its result line.
void MultiRead(char const* list, bool extract);
