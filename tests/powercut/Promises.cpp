// What a recorder promises, checked from the bytes of its files.
#include "powercut/Promises.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <sstream>

#include "e2e/EventDatabase.h"

namespace powercut {
namespace {

namespace fs = std::filesystem;
using workstation::ts::tsPacketSize;

// A row of the table `file` that is not wiped.
struct FileRow {
    long id;
    int number;
    int stream;
    long startTime;
    long stopTime;
    std::uint32_t firstTick;
    std::uint32_t lastTick;
    std::uint32_t size;
    bool isFinished;
};

// What is found of one recording, in the order of its slots.
struct FoundRecording {
    std::optional<std::uint64_t> first; // packet
    std::uint64_t end = 0;              // the packet after the last one
    std::vector<std::uint32_t> ticks;
};

std::string Quoted(std::string const& text) {
    return '\'' + text + '\'';
}

std::vector<FileRow> FilesInUse(fs::path const& database) {
    std::istringstream rows(
        e2e::Rows(database, "SELECT id, file_number, stream, start_time, stop_time, first_tick,"
                            " last_tick, size, finished FROM file WHERE wiped = 0 ORDER BY id"));
    std::vector<FileRow> files;
    FileRow row{};
    char bar = 0;
    while (rows >> row.id >> bar >> row.number >> bar >> row.stream >> bar >> row.startTime >>
           bar >> row.stopTime >> bar >> row.firstTick >> bar >> row.lastTick >> bar >> row.size >>
           bar >> row.isFinished) {
        files.push_back(row);
    }
    return files;
}

class Examination {
public:
    Examination(e2e::Recorder const& recorder, Expected const& expected)
        : database_(recorder.Root() / "events.db")
        , pool_(recorder.Pool())
        , expected_(expected)
        , files_(FilesInUse(database_)) {}

    void ExpectTableInOrder();
    void ExpectFilesHoldWhatWasRecorded();
    void ExpectRecordingsWhole();
    void ExpectNoTickUsedTwice();
    void ExpectRecordingRows();
    void ExpectAnswersDone();
    void ExpectHeldFilesUnchanged();
    void ExpectBackupsComplete();

    Findings const& Found() const { return findings_; }

private:
    void ExpectContents(int number, std::uint32_t length, Contents const& contents);
    void ExpectFile(FileRow const& file);
    void ExpectPacket(FileRow const& file, FoundPacket const& packet, std::uint32_t& run);
    FedRecording const* Fed(int stream, std::uint32_t run) const;
    void ExpectRow(std::string const& what, std::string const& query, bool isThere) const;

    fs::path database_;
    PoolBytes pool_;
    Expected const& expected_;
    std::vector<FileRow> files_;
    std::map<std::uint32_t, FoundRecording> found_;   // by run
    std::map<int, std::vector<std::uint32_t>> ticks_; // by stream, in the order of recording
    Findings findings_;
};

// --- the pool and the table `file` --------------------------------------------------------------

// Every stream file is at rest, and what the database knows of it is what its table states.
void Examination::ExpectTableInOrder() {
    std::map<int, FileRow> rows;
    for (FileRow const& file : files_) {
        rows.emplace(file.number, file);
    }
    for (int number = 1; number <= pool_.FileCount(); ++number) {
        TableEntry const entry = pool_.Entry(number);
        auto const row = rows.find(number);
        EXPECT_EQ(entry.controller, 0U) << "file " << number;
        EXPECT_EQ(entry.readers, 0U) << "file " << number;
        EXPECT_EQ(entry.length, row == rows.end() ? entry.length : row->second.size)
            << "file " << number;
        if (row == rows.end() || row->second.size != 0) {
            EXPECT_EQ(entry.dbMatch, row != rows.end() ? 1U : 0U) << "file " << number;
        }
        auto const contents = expected_.contents.find(number);
        if (contents != expected_.contents.end()) {
            ExpectContents(number, entry.length, contents->second);
        } else if (row == rows.end()) {
            EXPECT_EQ(entry.length, 0U) << "file " << number << " is in no row";
        }
    }
}

void Examination::ExpectContents(int number, std::uint32_t length, Contents const& contents) {
    EXPECT_TRUE(contents.overwrittenLength == length ||
                contents.whole.contains(pool_.Data(number, length)))
        << "file " << number << " states " << length << " bytes that were not put there whole";
}

FedRecording const* Examination::Fed(int stream, std::uint32_t run) const {
    auto const at = std::ranges::find_if(expected_.recordings, [&](FedRecording const& fed) {
        return fed.feed->Stream() == stream && fed.feed->Run() == run;
    });
    return at == expected_.recordings.end() ? nullptr : &*at;
}

// A packet belongs to the recording and follows the one before.
void Examination::ExpectPacket(FileRow const& file, FoundPacket const& packet, std::uint32_t& run) {
    std::string const where =
        "file " + std::to_string(file.number) + ", offset " + std::to_string(packet.offset);
    ASSERT_TRUE(packet.name) << where << ": not a packet that was recorded";
    PacketName const name = *packet.name;
    FedRecording const* const fed = Fed(file.stream, name.run);
    ASSERT_TRUE(fed != nullptr && name.stream == file.stream)
        << where << ": a packet of stream " << name.stream << ", recording " << name.run;
    ASSERT_TRUE(run == 0 || run == name.run)
        << where << ": a packet of recording " << name.run << " in recording " << run;
    run = name.run;
    ASSERT_TRUE(std::ranges::equal(packet.bytes, SequencePacket(name, fed->feed->Rate())))
        << where << ": packet " << name.index << " is damaged";
    FoundRecording& found = found_[name.run];
    if (!found.first) {
        found.first = name.index;
        found.end = name.index;
    }
    ASSERT_EQ(name.index, found.end) << where << ": packets are missing";
    ++found.end;
}

void Examination::ExpectFile(FileRow const& file) {
    std::string const what =
        "file " + std::to_string(file.number) + " of stream " + std::to_string(file.stream);
    EXPECT_TRUE(file.isFinished) << what;
    EXPECT_EQ(file.size % tsPacketSize, 0U) << what;
    std::uint32_t run = 0;
    std::vector<FoundTick> ticks;
    pool_.ForEachPacket(file.number, file.size, [&](FoundPacket const& packet) {
        if (packet.tick) {
            ticks.push_back(*packet.tick);
        } else if (!testing::Test::HasFatalFailure()) {
            ExpectPacket(file, packet, run);
        }
    });
    if (ticks.empty()) {
        return;
    }
    EXPECT_EQ(file.firstTick, ticks.front().number) << what;
    EXPECT_EQ(file.lastTick, ticks.back().number) << what;
    EXPECT_LE(file.startTime, ticks.front().time) << what;
    EXPECT_GE(file.stopTime, ticks.back().time) << what;
    for (FoundTick const& tick : ticks) {
        found_[run].ticks.push_back(tick.number);
        ticks_[file.stream].push_back(tick.number);
    }
}

void Examination::ExpectFilesHoldWhatWasRecorded() {
    for (FileRow const& file : files_) {
        if (!expected_.contents.contains(file.number)) {
            ExpectFile(file);
        }
    }
}

// --- recordings ---------------------------------------------------------------------------------

void Examination::ExpectRecordingsWhole() {
    for (FedRecording const& fed : expected_.recordings) {
        FoundRecording const& found = found_[fed.feed->Run()];
        std::string const what = "stream " + std::to_string(fed.feed->Stream()) + ", recording " +
                                 std::to_string(fed.feed->Run());
        bool const isOlder = fed.end < expected_.recordings.back().end;
        if (fed.mayBeWiped && isOlder && !found.first) {
            continue;
        }
        double const lossSeconds =
            std::chrono::duration<double>(fed.end - fed.feed->TimeOf(found.end + 1)).count();
        EXPECT_GE(found.end, fed.atLeast) << what << ": lost " << lossSeconds << " s";
        findings_.worstLossSeconds = std::max(findings_.worstLossSeconds, lossSeconds);
        if (!fed.mayBeWiped) {
            EXPECT_EQ(found.first.value_or(0), 0U) << what << ": its beginning is missing";
        }
        for (std::size_t i = 1; i < found.ticks.size(); ++i) {
            EXPECT_EQ(found.ticks[i], found.ticks[i - 1] + 1) << what;
        }
    }
}

// Neither in what is stated, nor in what an earlier recording left beyond a stated length, nor by a
// recording of which nothing is left. A tick is of the recording whose packet follows it.
void Examination::ExpectNoTickUsedTwice() {
    for (auto const& [stream, ticks] : ticks_) {
        EXPECT_TRUE(std::ranges::is_sorted(ticks, std::ranges::less_equal()) ||
                    std::ranges::adjacent_find(ticks, std::ranges::greater_equal()) == ticks.end())
            << "the ticks of stream " << stream << " do not grow";
    }
    std::map<std::pair<int, std::uint32_t>, std::uint32_t> runs; // by stream and tick
    for (int number = 1; number <= pool_.FileCount(); ++number) {
        std::optional<FoundTick> tick;
        pool_.ForEachPacketOfSlot(number, [&](FoundPacket const& packet) {
            if (tick && packet.name) {
                auto const [at, isNew] =
                    runs.try_emplace({packet.name->stream, tick->number}, packet.name->run);
                EXPECT_TRUE(isNew || at->second == packet.name->run)
                    << "tick " << tick->number << " of stream " << packet.name->stream
                    << " was used by recordings " << at->second << " and " << packet.name->run;
            }
            tick = packet.tick;
        });
    }
    std::map<int, std::uint32_t> next; // by stream: after the last one that was certainly used
    for (FedRecording const& fed : expected_.recordings) {
        auto const& ticks = found_[fed.feed->Run()].ticks;
        if (ticks.empty() || fed.stamped == 0) {
            continue;
        }
        PacketRate const& rate = fed.feed->Rate();
        std::uint64_t const lastPcr = (fed.stamped - 1) / rate.packetsPerPcr * rate.packetsPerPcr;
        // Slewing takes 5 % of the ticks at most, and what arrives late a second of them.
        auto const inTime = static_cast<std::uint32_t>(lastPcr * 20 / rate.packetsPerSecond);
        auto const lost = std::min(inTime, inTime / 20 + 20);
        auto const found = static_cast<std::uint32_t>(ticks.size());
        std::uint32_t const used = std::max(inTime - lost, found);
        std::uint32_t& nextOfStream = next[fed.feed->Stream()];
        EXPECT_GE(ticks.front(), nextOfStream)
            << "stream " << fed.feed->Stream() << ", recording " << fed.feed->Run();
        if (!fed.mayBeWiped) {
            nextOfStream = ticks.front() + used;
        }
    }
}

// Every tick lies in a recording of its stream, and every recording has ended.
void Examination::ExpectRecordingRows() {
    EXPECT_EQ(e2e::Rows(database_, "SELECT * FROM recording WHERE stop_time IS NULL"), "");
    EXPECT_EQ(e2e::Rows(database_, "SELECT file.id FROM file WHERE wiped = 0 AND size > 0 AND NOT"
                                   " EXISTS (SELECT 1 FROM recording WHERE"
                                   " recording.stream = file.stream AND"
                                   " recording.start_time <= file.start_time AND"
                                   " recording.stop_time >= file.stop_time)"),
              "");
    for (std::string const& reid : expected_.notified) {
        ExpectRow("recording " + reid, "SELECT 1 FROM recording WHERE reid = " + Quoted(reid),
                  true);
    }
}

// --- what was answered --------------------------------------------------------------------------

void Examination::ExpectRow(std::string const& what, std::string const& query, bool isThere) const {
    EXPECT_EQ(!e2e::Rows(database_, query).empty(), isThere) << what;
}

void Examination::ExpectAnswersDone() {
    EXPECT_EQ(e2e::Faults(database_), "");
    for (std::string const& reid : expected_.events) {
        if (!expected_.deleted.contains(reid) && !expected_.undecided.contains(reid)) {
            ExpectRow("event " + reid, "SELECT 1 FROM event WHERE reid = " + Quoted(reid), true);
        }
    }
    for (std::string const& reid : expected_.deleted) {
        ExpectRow("event " + reid, "SELECT 1 FROM event WHERE reid = " + Quoted(reid), false);
    }
    for (std::string const& reid : expected_.tagged) {
        ExpectRow("tags of " + reid,
                  "SELECT 1 FROM event WHERE tags_complete = 1 AND reid = " + Quoted(reid), true);
    }
}

void Examination::ExpectHeldFilesUnchanged() {
    for (HeldFile const& held : expected_.held) {
        EXPECT_EQ(e2e::Rows(database_, "SELECT file.id FROM file JOIN event_file ON file = file.id"
                                       " JOIN event ON event.id = event WHERE wiped = 0 AND"
                                       " file.id = " +
                                           held.row + " AND reid = " + Quoted(held.reid)),
                  held.row + '\n')
            << "event " << held.reid;
        EXPECT_EQ(pool_.Entry(held.number).length, held.data.size()) << "file " << held.number;
        EXPECT_TRUE(pool_.Data(held.number, static_cast<std::uint32_t>(held.data.size())) ==
                    held.data)
            << "file " << held.number << " of event " << held.reid << " has changed";
    }
}

void Examination::ExpectBackupsComplete() {
    for (auto const& [path, events] : expected_.backups) {
        EXPECT_EQ(e2e::Faults(path), "") << path;
        for (std::string const& reid : events) {
            EXPECT_EQ(e2e::Rows(path, "SELECT count(*) FROM event WHERE reid = " + Quoted(reid)),
                      "1\n")
                << path;
        }
    }
}

} // namespace

Findings ExpectPromisesKept(e2e::Recorder const& recorder, Expected const& expected) {
    Examination examination(recorder, expected);
    examination.ExpectTableInOrder();
    examination.ExpectFilesHoldWhatWasRecorded();
    examination.ExpectRecordingsWhole();
    examination.ExpectNoTickUsedTwice();
    examination.ExpectAnswersDone();
    examination.ExpectHeldFilesUnchanged();
    examination.ExpectBackupsComplete();
    examination.ExpectRecordingRows();
    return examination.Found();
}

} // namespace powercut
