// Places in a stream file at which something happens to a transfer.
#pragma once

#include <algorithm>
#include <tuple>

#include "fakes/FakePool.h"
#include "fakes/SeamTest.h"

// One chunk of a file of ten, the last of which is small.
struct ChunkOfTen {
    static constexpr long length = 9 * FakePool::chunkSize + 100;

    explicit ChunkOfTen(int thePosition)
        : position(thePosition) {}

    int position; // counted from 1
    long before = (position - 1) * FakePool::chunkSize;
    long request = std::min(FakePool::chunkSize, length - before);
};

struct PositionCase : NamedCase {
    int position;
};

inline PositionCase const positions[] = {
    {{"First"}, 1}, {{"Fifth"}, 5}, {{"Eighth"}, 8}, {{"Last"}, 10}};

// How much comes when a read is short, counted from nothing, or from what was asked for.
struct ShortCase : NamedCase {
    long got;

    long Of(long request) const { return got < 0 ? request + got : got; }
};

inline ShortCase const shortReads[] = {{{"Nothing"}, 0}, {{"OneByte"}, 1}, {{"OneByteLess"}, -1}};

using ShortReadCase = std::tuple<PositionCase, ShortCase>;
