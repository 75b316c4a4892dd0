// A process is killed at any moment: what the store reported as done is kept, and the database is
// consistent.
#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <filesystem>
#include <map>
#include <optional>
#include <random>
#include <thread>

#include "StoreInvariants.h"
#include "StoreTest.h"
#include "support/ChildProcess.h"

namespace workstation::store {
namespace {

constexpr int lastFileNumber = 20;

// What the recorder reports before it continues.
struct Told {
    enum Kind : std::int64_t { begun, finished, usingTicks };

    std::int64_t kind;
    std::int64_t stream; // or the link
    std::int64_t first;
    std::int64_t count;
};

class Pipe {
public:
    Pipe() {
        std::array<int, 2> ends{};
        EXPECT_EQ(pipe2(ends.data(), O_CLOEXEC), 0);
        out_.Reset(ends[0]);
        in_.Reset(ends[1]);
    }

    void Tell(Told const& told) const {
        if (write(in_.Get(), &told, sizeof told) != sizeof told) {
            _exit(3);
        }
    }

    void CloseInput() { in_.Reset(); }

    // Null when no process has the other end any more.
    std::optional<Told> Hear() const {
        Told told{};
        pollfd readable{out_.Get(), POLLIN, 0};
        if (poll(&readable, 1, patienceMs) != 1 ||
            read(out_.Get(), &told, sizeof told) != sizeof told) {
            return std::nullopt;
        }
        return told;
    }

private:
    FileDescriptor out_;
    FileDescriptor in_;
};

using Random = std::mt19937;

int Below(Random& random, int limit) {
    return std::uniform_int_distribution<int>(0, limit - 1)(random);
}

// Records, wipes, makes and deletes events and copies the database until it is killed.
class Recorder {
public:
    Recorder(std::string const& directory, unsigned int seed, Pipe const& pipe)
        : store_(directory + "/events.db")
        , copy_(directory + "/copy.db")
        , random_(seed)
        , pipe_(pipe) {
        now_ = static_cast<std::int64_t>(seed) * 100000;
    }

    [[noreturn]] void Run() {
        for (;; ++now_) {
            int const step = Below(random_, 200);
            if (step < 60) {
                BeginFile();
            } else if (step < 100) {
                FinishFile();
            } else if (step < 120) {
                WipeFile();
            } else if (step < 160) {
                UseTicks();
            } else if (step < 174) {
                store_.RecordAfterTheFact(now_ - 20, now_, allStreams, now_);
            } else if (step < 182) {
                SplitEvent();
            } else if (step < 198) {
                DeleteEvent();
            } else {
                store_.Backup(copy_);
            }
        }
    }

private:
    unsigned int AnyStream() { return static_cast<unsigned int>(1 + Below(random_, 4)); }

    std::optional<Event> AnyEvent() {
        auto const events = store_.Events();
        if (events.empty()) {
            return std::nullopt;
        }
        return events[static_cast<std::size_t>(Below(random_, static_cast<int>(events.size())))];
    }

    void BeginFile() {
        if (auto const id =
                store_.BeginFile(AnyStream(), 1 + Below(random_, lastFileNumber), now_, 0)) {
            pipe_.Tell({Told::begun, *id, 0, 0});
        }
    }

    void FinishFile() {
        auto const files = store_.UnfinishedFiles();
        if (!files.empty() && store_.FinishFile(files[0].id, 1024 * 1024, now_, 1)) {
            pipe_.Tell({Told::finished, files[0].id, 0, 0});
        }
    }

    void WipeFile() {
        auto const files = store_.UnprotectedFiles();
        if (!files.empty()) {
            store_.Wipe(files[0].id);
        }
    }

    void UseTicks() {
        unsigned int const stream = AnyStream();
        unsigned int const first = store_.ReserveTicks(stream, 100);
        auto const used = static_cast<unsigned int>(Below(random_, 101));
        pipe_.Tell({Told::usingTicks, stream, first, used});
        if (Below(random_, 2) == 0) {
            store_.ReturnTicks(stream, first + used);
        }
    }

    void SplitEvent() {
        if (auto const event = AnyEvent()) {
            store_.SplitEvent(event->reid, 2048);
        }
    }

    void DeleteEvent() {
        if (auto const event = AnyEvent()) {
            store_.DeleteEvent(event->reid);
        }
    }

    EventStore store_;
    std::string copy_;
    Random random_;
    Pipe const& pipe_;
    std::int64_t now_;
};

// Compares everything that was reported, over all rounds, with the database.
class Witness {
public:
    void Hear(Told const& told) {
        switch (told.kind) {
        case Told::begun:
            EXPECT_GT(told.stream, lastBegun_) << "a link's number was used again";
            lastBegun_ = told.stream;
            break;
        case Told::finished:
            lastFinished_ = told.stream;
            break;
        default:
            EXPECT_GE(told.first, nextTick_[told.stream]) << "a tick was used twice";
            nextTick_[told.stream] = told.first + told.count;
            ticksUsed_ += told.count;
        }
    }

    void Compare(std::string const& path) const {
        Database const database(path, Database::Mode::existing);
        auto const number = [](Statement const& row) { return row.Number(0); };
        if (lastBegun_ > 0) {
            EXPECT_EQ(QueryFirst(database, number, "SELECT id FROM file WHERE id = ?", lastBegun_),
                      lastBegun_);
        }
        if (lastFinished_ > 0) {
            EXPECT_EQ(QueryFirst(database, number, "SELECT finished FROM file WHERE id = ?",
                                 lastFinished_)
                          .value_or(1), // forgotten since
                      1);
        }
    }

    std::int64_t TicksUsed() const { return ticksUsed_; }

private:
    std::int64_t lastBegun_ = 0;
    std::int64_t lastFinished_ = 0;
    std::map<std::int64_t, std::int64_t> nextTick_;
    std::int64_t ticksUsed_ = 0;
};

// The moment of the kill is drawn, not waited for.
void PassTime(Random& random, int mostMicroseconds) {
    std::this_thread::sleep_for(std::chrono::microseconds(Below(random, mostMicroseconds)));
}

class KillTest : public testing::Test {
protected:
    TemporaryRoot root_;
    Random random_{20261121};
};

TEST_F(KillTest, DatabaseIsConsistentAndNothingAnsweredIsLostOrUsedTwice) {
    std::string const database = root_.Path() / "events.db";
    std::string const copy = root_.Path() / "copy.db";
    Witness witness;
    for (unsigned int round = 1; round <= 200 && !HasFailure(); ++round) {
        Pipe pipe;
        ChildProcess recorder([&]() -> int { Recorder(root_.Path(), round, pipe).Run(); });
        pipe.CloseInput();
        int const patience = Below(random_, 60);
        std::optional<Told> told;
        for (int i = 0; i < patience && (told = pipe.Hear()); ++i) {
            witness.Hear(*told);
        }
        PassTime(random_, 500);
        recorder.Kill();
        while ((told = pipe.Hear())) {
            witness.Hear(*told);
        }
        ExpectConsistent(database);
        witness.Compare(database);
        if (std::filesystem::exists(copy)) {
            ExpectConsistent(copy);
        }
    }
    EXPECT_GT(witness.TicksUsed(), 0);
    EXPECT_TRUE(std::filesystem::exists(copy));
}

TEST_F(KillTest, DatabaseThatWasBeingMadeIsMadeAtTheNextStart) {
    std::string const path = root_.Path() / "events.db";
    for (int round = 1; round <= 100 && !HasFailure(); ++round) {
        Pipe pipe;
        ChildProcess maker([&] {
            pipe.Tell({});
            EventStore const store(path);
            pause();
            return 0;
        });
        ASSERT_TRUE(pipe.Hear());
        PassTime(random_, 4000);
        maker.Kill();
        EXPECT_TRUE(EventStore(path).BeginFile(1, 1, 100, 0));
        ExpectConsistent(path);
        std::filesystem::remove(path);
    }
}

} // namespace
} // namespace workstation::store
