// A recorder's directory with a pool, for one test.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>

#include "Root.h"
#include "StreamFileAccess.h"
#include "pool/PoolImage.h"
#include "support/TemporaryRoot.h"

namespace workstation {

// A new directory that is the recorder's during the life of the object, for tests of the pool.
class TestRoot {
public:
    TestRoot() = default;
    ~TestRoot() { StreamFileAccess().Unload(); }

    TestRoot(TestRoot const&) = delete;
    TestRoot& operator=(TestRoot const&) = delete;

    std::string Path() const { return root_.Path(); }
    std::string Pool() const { return root_.Path() / "pool"; }
    std::string ProcessTable() const {
        return root_.Path() / "shm" / std::filesystem::path(ProcessTablePath()).filename();
    }

    // Sets STREAMMGR_ROOT to this directory again, after it was set to another one.
    void Use() const { root_.Use(); }

    void MakePool(std::uint32_t fileCount) const { pool::PoolImage::Create(Pool(), fileCount); }

private:
    TemporaryRoot root_;
};

} // namespace workstation
