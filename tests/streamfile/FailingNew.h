// Lets memory run out where a test wants it to.
#pragma once

#include <cstddef>

// While one lives, blocks of this size and above cannot be had: an ordinary new throws
// std::bad_alloc, a non-throwing one answers null.
class FailingNew {
public:
    explicit FailingNew(std::size_t smallestFailing);
    ~FailingNew();

    FailingNew(FailingNew const&) = delete;
    FailingNew& operator=(FailingNew const&) = delete;
};

// While one lives, a non-throwing new answers null.
class FailingNothrowNew {
public:
    FailingNothrowNew();
    ~FailingNothrowNew();

    FailingNothrowNew(FailingNothrowNew const&) = delete;
    FailingNothrowNew& operator=(FailingNothrowNew const&) = delete;
};
