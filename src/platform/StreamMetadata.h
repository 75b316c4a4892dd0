// What a system tick in a transport stream carries.
#pragma once

struct StreamMetadata {
    unsigned int tick; // counts up by one, 20 a second
    int time;          // seconds since the epoch
    unsigned int words[5];
};
