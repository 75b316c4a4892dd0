// Options --multiextract and --multiread: several stream files at once, a thread for each.
#pragma once

// Extracts (`extract`) or only reads the files of `list`, numbers with commas or blanks between
// them; what is no number above 0 is passed over. Returns when every thread has ended; each has
// printed a result line of its own.
void MultiRead(char const* list, bool extract);
