// Runs the evidence verbs of the pool tool in this process.
#pragma once

#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <vector>

#include "d2b/D2b.h"
#include "pool/PoolImage.h"
#include "support/ChildProcess.h"
#include "support/Execute.h"
#include "support/Files.h"
#include "support/TemporaryDirectory.h"

namespace workstation {

struct Outcome {
    int status;
    std::string out;
    std::string err;

    bool operator==(Outcome const&) const = default;
};

inline Outcome RunCommand(std::vector<std::string> const& arguments) {
    std::vector<char const*> argv{"d2b"};
    for (std::string const& argument : arguments) {
        argv.push_back(argument.c_str());
    }
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    int const status = d2b::RunD2b(static_cast<int>(argv.size()), argv.data());
    std::string const out = testing::internal::GetCapturedStdout();
    return {status, out, testing::internal::GetCapturedStderr()};
}

inline bool FitsSchema(std::string const& document, std::string const& schema) {
    TemporaryDirectory const directory;
    std::string const path = directory.Path("document.json");
    std::ofstream(path) << document;
    ChildProcess validator([&] {
        return Execute({"/usr/bin/python3", "-m", "jsonschema", "-i", path, schema});
    });
    return validator.Wait() == 0;
}

// Puts bytes into a slot, and states their length.
inline void LoadSlot(std::string const& pool, int slot, std::string const& bytes) {
    auto const image = pool::PoolImage::Open(pool);
    WriteBytes(pool, bytes, image->SlotOffset(slot));
    image->Set(slot, pool::EntryWord::length, static_cast<std::uint32_t>(bytes.size()));
}

} // namespace workstation
