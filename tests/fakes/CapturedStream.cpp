// Takes over a standard stream for the length of a test.
#include "CapturedStream.h"

#include <cerrno>
#include <string>

#include "Errno.h"

CapturedStream::CapturedStream(std::ostream& stream, Record& record, Record::Kind kind)
    : stream_(stream)
    , record_(record)
    , kind_(kind)
    , previousBuffer_(stream.rdbuf(this))
    , previousTie_(stream.tie(nullptr)) {}

CapturedStream::~CapturedStream() {
    stream_.rdbuf(previousBuffer_);
    stream_.tie(previousTie_);
}

CapturedStream::int_type CapturedStream::overflow(int_type character) {
    if (traits_type::eq_int_type(character, traits_type::eof())) {
        return traits_type::not_eof(character);
    }
    char const text = traits_type::to_char_type(character);
    xsputn(&text, 1);
    return character;
}

std::streamsize CapturedStream::xsputn(char const* text, std::streamsize count) {
    record_.Add(kind_, std::string(text, static_cast<std::size_t>(count)));
    errno = meaninglessErrno;
    return count;
}

int CapturedStream::sync() {
    if (kind_ == Record::Kind::Out) {
        record_.Add(Record::Kind::OutFlush, "");
    }
    errno = meaninglessErrno;
    return 0;
}
