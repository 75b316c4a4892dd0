// Takes over a standard stream for the length of a test.
#pragma once

#include <ostream>
#include <streambuf>

#include "Record.h"

// All that is written goes into the record, and every write leaves a meaningless errno, as writing
// to a terminal may. Only an explicit flush is recorded: the tie to another stream is undone until
// the end.
class CapturedStream : private std::streambuf {
public:
    CapturedStream(std::ostream& stream, Record& record, Record::Kind kind);
    ~CapturedStream() override;

    CapturedStream(CapturedStream const&) = delete;
    CapturedStream& operator=(CapturedStream const&) = delete;

private:
    int_type overflow(int_type character) override;
    std::streamsize xsputn(char const* text, std::streamsize count) override;
    int sync() override;

    std::ostream& stream_;
    Record& record_;
    Record::Kind kind_;
    std::streambuf* previousBuffer_;
    std::ostream* previousTie_;
};
