// What the tests of the stream-file tools have in common.
#pragma once

#include <algorithm>
#include <fstream>
#include <optional>
#include <sstream>
#include <string>

#include "fakes/Errno.h"
#include "fakes/SeamTest.h"
#include "fakes/Show.h"

inline constexpr long aChunk = FakePool::chunkSize;

// The length of a stream file or of a source, in bytes.
struct LengthCase : NamedCase {
    long length;
};

class StreamFileTest : public SeamTest {
protected:
    static constexpr long chunk = aChunk;
    static constexpr long slot = FakePool::slotSize;

    // ------------------------------------------------------------------ recorded calls
    static constexpr char const* initializeCall = "pool.InitializeFileAccess(false, true)\n";

    static std::string OpenCall(int number) { return "OpenStreamFile(" + Show(number) + ", 0)\n"; }
    static std::string LengthCall(int number) { return FileCall(number, "DataLength()"); }
    static std::string CloseCall(int number) { return FileCall(number, "close()"); }
    static std::string ReadCall(int number, long count, bool unbounded = false) {
        return FileCall(number, "Read(" + ShowAll(count, unbounded) + ")");
    }
    static std::string FileCall(int number, std::string const& call) {
        return "file" + Show(number) + "." + call + "\n";
    }
    static std::string CreateCall(std::string const& fileName) {
        return "open(" + Show(fileName) + ", O_WRONLY|O_CREAT|O_TRUNC, 0644)\n";
    }
    static std::string WriteCall(std::string const& fileName, long count) {
        return "write(" + fileName + ", " + Show(count) + ")\n";
    }
    static std::string CloseCall(std::string const& fileName) {
        return "close(" + fileName + ")\n";
    }

    // The calls that read `size` bytes, and what comes after each read.
    template <typename AfterRead>
    static std::string ChunkCalls(int number, long size, bool unbounded, AfterRead afterRead) {
        std::string calls;
        for (long done = 0; done < size; done += chunk) {
            long const count = std::min(chunk, size - done);
            calls += ReadCall(number, count, unbounded) + afterRead(count);
        }
        return calls;
    }
    static std::string ReadCalls(int number, long size, bool unbounded = false) {
        return ChunkCalls(number, size, unbounded, [](long) { return std::string(); });
    }
    static std::string CopyCalls(int number, long size, std::string const& fileName,
                                 bool unbounded = false) {
        return ChunkCalls(number, size, unbounded,
                          [&](long count) { return WriteCall(fileName, count); });
    }

    // The line about a read of fewer bytes than requested.
    static std::string ShortReadLine(long fileSize, long request, long got) {
        return " unexpected EOF: fileSize=" + Show(fileSize) + " expectedRead=" + Show(request) +
               "  actualRead=" + Show(got) + "\n";
    }
    // The write of as many bytes as a read that returns -2 has read.
    static std::string WriteCallOfMinusTwo(std::string const& fileName) {
        return "write(" + fileName + ", " + Show(static_cast<std::size_t>(-2)) + ")\n";
    }

    // The progress marks of so many chunks.
    static std::string Marks(long chunks) {
        return std::string(static_cast<std::size_t>(chunks / 8), '.');
    }

    // ------------------------------------------------------------------ the hard disk
    // What a file on the hard disk holds; none when it does not exist.
    std::optional<std::string> OnHardDisk(std::string const& fileName) const {
        std::ifstream file(platform.HardDisk(fileName), std::ios::binary);
        if (!file) {
            return std::nullopt;
        }
        std::ostringstream content;
        content << file.rdbuf();
        return content.str();
    }

    void PutOnHardDisk(std::string const& fileName, std::string const& content) const {
        std::ofstream(platform.HardDisk(fileName), std::ios::binary) << content;
    }

    void ExpectOnHardDisk(std::string const& fileName, std::string const& expected) const {
        auto const content = OnHardDisk(fileName);
        ASSERT_TRUE(content) << fileName << " does not exist";
        ExpectBytes(fileName, *content, expected);
    }

    // What was written over a stream file.
    void ExpectWritten(int number, std::string const& expected) {
        ExpectBytes("stream file " + Show(number), platform.pool.files[number].written, expected);
    }

private:
    // Compares without showing megabytes.
    static void ExpectBytes(std::string const& name, std::string const& found,
                            std::string const& expected) {
        if (found == expected) {
            return;
        }
        auto const difference =
            std::mismatch(found.begin(), found.end(), expected.begin(), expected.end()).first;
        ADD_FAILURE() << name << " differs from byte " << (difference - found.begin())
                      << " on: " << found.size() << " bytes, expected " << expected.size();
    }
};
