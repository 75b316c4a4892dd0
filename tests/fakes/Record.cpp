// What a test saw the tool do: its calls and its output, in order.
#include "Record.h"

#include <utility>

#include "Show.h"

void Record::Add(Kind kind, std::string text) {
    std::scoped_lock const lock(mutex_);
    entries_.push_back({kind, std::move(text)});
}

std::string Record::Concatenated(Kind kind) const {
    std::scoped_lock const lock(mutex_);
    std::string all;
    for (Entry const& entry : entries_) {
        if (entry.kind == kind) {
            all += entry.text;
        }
    }
    return all;
}

std::string Record::Calls() const {
    std::scoped_lock const lock(mutex_);
    std::string all;
    for (Entry const& entry : entries_) {
        if (entry.kind == Kind::Call) {
            all += entry.text + "\n";
        }
    }
    return all;
}

std::string Record::Out() const {
    return Concatenated(Kind::Out);
}

std::string Record::Err() const {
    return Concatenated(Kind::Err);
}

std::string Record::FlushedOut() const {
    std::scoped_lock const lock(mutex_);
    std::string all;
    for (Entry const& entry : entries_) {
        if (entry.kind == Kind::Out) {
            all += entry.text;
        } else if (entry.kind == Kind::OutFlush) {
            all += "<flush>";
        }
    }
    return all;
}

std::string Record::Trace() const {
    std::scoped_lock const lock(mutex_);
    std::string all;
    Kind pendingKind = Kind::Call;
    std::string pending;
    auto const writePending = [&] {
        if (!pending.empty()) {
            all += (pendingKind == Kind::Out ? "out " : "err ") + Show(pending) + "\n";
        }
        pending.clear();
    };
    for (Entry const& entry : entries_) {
        if (entry.kind == Kind::OutFlush) {
            continue;
        }
        if (entry.kind != pendingKind) {
            writePending();
        }
        pendingKind = entry.kind;
        if (entry.kind == Kind::Call) {
            all += entry.text + "\n";
        } else {
            pending += entry.text;
        }
    }
    writePending();
    return all;
}
