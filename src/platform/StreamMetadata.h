// The content of a system tick in a transport stream.
#pragma once

struct StreamMetadata {
    unsigned int tick; // counts up by one, 20 a second
    int time;          // seconds since the epoch
    unsigned int words[5];
};
