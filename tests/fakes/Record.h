// What a test saw the tool do: its calls and its output, in order.
#pragma once

#include <mutex>
#include <string>
#include <vector>

// Filled from any thread; read when the work is done.
class Record {
public:
    enum class Kind { Call, Out, OutFlush, Err };

    void Add(Kind kind, std::string text);

    // The calls, one a line.
    std::string Calls() const;

    // Everything that was written to one of the two streams.
    std::string Out() const;
    std::string Err() const;

    // Standard output with "<flush>" wherever it was flushed.
    std::string FlushedOut() const;

    // Calls and output in the order in which they came, one a line; output is quoted after "out "
    // or "err ", and what was written to one stream without a call between stands in one line.
    std::string Trace() const;

private:
    struct Entry {
        Kind kind;
        std::string text;
    };

    std::string Concatenated(Kind kind) const;

    mutable std::mutex mutex_;
    std::vector<Entry> entries_;
};
