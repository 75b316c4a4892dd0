// What the tests of the two insertions have in common.
#pragma once

#include "StreamFileTest.h"
#include "fakes/IpcEndpoint.h"

// Writes a file of the hard disk over stream file 5. The stated length begins with a value that
// shows whether it was touched.
class InsertionTest : public StreamFileTest {
protected:
    static constexpr int number = 5;
    static constexpr long untouched = -7;

    InsertionTest() { platform.AddStreamFiles({number}, 1000); }

    // The bytes of sources.
    static std::string Source(long from, long to) { return StreamFileContent(99, from, to - from); }

    static std::string OpenSourceCall(std::string const& fileName) {
        return "open(" + Show(fileName) + ", O_RDONLY)\n";
    }
    static std::string OpenTargetCall() { return "OpenStreamFile(5, false, 7)\n"; }
    static std::string ReadSourceCall(std::string const& fileName, long count) {
        return "read(" + fileName + ", " + Show(count) + ")\n";
    }
    static std::string WriteTargetCall(long count) {
        return FileCall(number, "Write(" + Show(count) + ")");
    }
    // The calls that move `size` bytes.
    static std::string MoveCalls(std::string const& fileName, long size) {
        std::string calls;
        for (long done = 0; done < size; done += chunk) {
            long const count = std::min(chunk, size - done);
            calls += ReadSourceCall(fileName, count) + WriteTargetCall(count);
        }
        return calls;
    }
    static std::string CallsAfterMove(std::string const& fileName) {
        return CloseCall(number) + CloseCall(fileName);
    }

    void ExpectCounters(long expectedStatedLength, long expectedCopied) const {
        EXPECT_EQ(statedLength, expectedStatedLength);
        EXPECT_EQ(copied, expectedCopied);
    }

    IpcEndpoint endpoint{platform};
    long statedLength = untouched;
    long copied = 0;
};
