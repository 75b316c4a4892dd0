// A recorder's pool and database, for the parts of the service that work on them.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "Root.h"
#include "StreamFileAccess.h"
#include "pool/PoolImage.h"
#include "service/ring/SlotFiller.h"
#include "store/EventStore.h"
#include "support/LogFile.h"
#include "support/TemporaryRoot.h"

namespace workstation {

class PoolAndStore {
public:
    explicit PoolAndStore(unsigned int fileCount) {
        pool::PoolImage::Create(PoolPath(), fileCount);
        if (!pool_.InitializeFileAccess(false, true)) {
            throw std::runtime_error("no pool");
        }
    }
    ~PoolAndStore() { pool_.Unload(); }

    PoolAndStore(PoolAndStore const&) = delete;
    PoolAndStore& operator=(PoolAndStore const&) = delete;

    StreamFileAccess& Pool() { return pool_; }
    store::EventStore& Store() { return store_; }

    StreamMgrFileMgmnt::FileMgmnt_t Info(int number) {
        StreamMgrFileMgmnt::FileMgmnt_t info{};
        EXPECT_TRUE(pool_.GetFileInfo(number, info)) << number;
        return info;
    }

    // The stated lengths of all files.
    std::vector<unsigned int> Lengths() {
        std::vector<unsigned int> lengths;
        for (int number = 1; number <= pool_.GetFilePoolSize(); ++number) {
            lengths.push_back(Info(number).fileSize);
        }
        return lengths;
    }

    // Puts bytes into a file, and states as many.
    void Load(int number, std::vector<unsigned char> bytes) {
        StreamFileAccess file(number, false, StreamMgrFileMgmnt::ControlExternalProc);
        ASSERT_TRUE(file.IsOpen());
        auto const size = static_cast<unsigned int>(bytes.size());
        ASSERT_EQ(file.Write(bytes.data(), size), static_cast<int>(size));
        ASSERT_EQ(file.Truncate(static_cast<long>(size)), 0);
    }

    std::vector<unsigned char> Contents(int number) {
        StreamFileAccess file(number, 0);
        std::vector<unsigned char> bytes(Info(number).fileSize);
        EXPECT_EQ(file.Read(bytes.data(), static_cast<unsigned int>(bytes.size()), false),
                  static_cast<int>(bytes.size()));
        return bytes;
    }

private:
    TemporaryRoot root_;
    LogFile log_{root_.Path() / "log"};
    StreamFileAccess pool_;
    store::EventStore store_{DatabasePath()};

public:
    std::vector<std::string> Log() const { return log_.Entries(); }
    void AwaitLog(std::string const& text) const { log_.Await(text); }
};

// What a file holds with these ticks and sizes, one tick a second.
inline service::ring::SlotContents ContentsOf(std::size_t size, std::uint32_t firstTick,
                                              std::uint32_t lastTick) {
    return {size, service::ring::TickRange{{firstTick, static_cast<int>(1000 + firstTick)},
                                           {lastTick, static_cast<int>(1000 + lastTick)}}};
}

} // namespace workstation
