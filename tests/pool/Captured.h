// What is written to a standard stream in the meantime.
#pragma once

#include <ostream>
#include <sstream>
#include <string>

namespace workstation {

class Captured {
public:
    explicit Captured(std::ostream& stream)
        : stream_(stream)
        , former_(stream.rdbuf(text_.rdbuf())) {}
    ~Captured() { stream_.rdbuf(former_); }
    Captured(Captured const&) = delete;
    Captured& operator=(Captured const&) = delete;

    std::string Text() const { return text_.str(); }

private:
    std::ostringstream text_;
    std::ostream& stream_;
    std::streambuf* former_;
};

} // namespace workstation
