// A recorder's pool and database, for the parts of the service that work on them.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "Root.h"
#include "pool/PoolImage.h"
#include "pool/PoolSession.h"
#include "pool/StreamFile.h"
#include "service/ring/SlotContents.h"
#include "store/EventStore.h"
#include "support/LogFile.h"
#include "support/TemporaryRoot.h"

namespace workstation {

class PoolAndStore {
public:
    explicit PoolAndStore(unsigned int fileCount) {
        pool::PoolImage::Create(PoolPath(), fileCount);
        session_.Load(true);
    }

    PoolAndStore(PoolAndStore const&) = delete;
    PoolAndStore& operator=(PoolAndStore const&) = delete;

    pool::PoolSession& Session() { return session_; }
    pool::PoolImage& Pool() { return session_.Pool(); }
    store::EventStore& Store() { return store_; }

    // What the table of files states about a file.
    unsigned int Length(int number) const { return Word(number, pool::EntryWord::length); }
    unsigned int Controller(int number) const { return Word(number, pool::EntryWord::controller); }
    bool IsKnown(int number) const { return Word(number, pool::EntryWord::dbMatch) != 0; }

    // The stated lengths of all files.
    std::vector<unsigned int> Lengths() const {
        std::vector<unsigned int> lengths;
        for (int number = 1; number <= session_.Pool().FileCount(); ++number) {
            lengths.push_back(Length(number));
        }
        return lengths;
    }

    // Puts bytes into a file, and states as many.
    void Load(int number, std::vector<unsigned char> const& bytes) {
        auto const file = pool::StreamFile::OpenForWriting(session_, number,
                                                           StreamMgrFileMgmnt::ControlExternalProc);
        auto const size = static_cast<unsigned int>(bytes.size());
        ASSERT_EQ(file->Write(bytes.data(), size), size);
        file->SetLength(static_cast<long>(size));
    }

    std::vector<unsigned char> Contents(int number) {
        auto const file = pool::StreamFile::OpenForReading(session_, number);
        std::vector<unsigned char> bytes(Length(number));
        EXPECT_EQ(file->Read(bytes.data(), static_cast<unsigned int>(bytes.size()), false),
                  bytes.size());
        return bytes;
    }

    std::vector<std::string> Log() const { return log_.Entries(); }
    void AwaitLog(std::string const& text) const { log_.Await(text); }

private:
    unsigned int Word(int number, pool::EntryWord word) const {
        return session_.Pool().Get(number, word);
    }

    TemporaryRoot root_;
    LogFile log_{root_.Path() / "log"};
    pool::PoolSession session_;
    store::EventStore store_{DatabasePath()};
};

// These ticks, one a second.
inline service::ring::TickRange RangeOf(std::uint32_t firstTick, std::uint32_t lastTick) {
    return {{firstTick, static_cast<int>(1000 + firstTick)},
            {lastTick, static_cast<int>(1000 + lastTick)}};
}

} // namespace workstation
