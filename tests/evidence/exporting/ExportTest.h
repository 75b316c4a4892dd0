// A recorder of which something is exported.
#pragma once

#include <cstdlib>
#include <fstream>

#include <nlohmann/json.hpp>

#include "../CommandRun.h"
#include "ProgramStream.h"
#include "store/EventStore.h"
#include "store/Statement.h"
#include "support/TestRoot.h"

namespace workstation::evidence::exporting {

class ExportTest : public testing::Test {
protected:
    ExportTest() {
        setenv("TZ", "UTC", 1);
        root_.MakePool(6);
    }
    ~ExportTest() override { unsetenv("TZ"); }

    // A group of pictures for each tick of `first` to `last`: 12 packets, of which the PAT is the
    // second.
    static ProgramStream& Append(ProgramStream& stream, std::uint32_t first, std::uint32_t last) {
        for (std::uint32_t tick = first; tick <= last; ++tick) {
            stream.Tick(tick).Pat().Pmt().KeyFrame().Video(6).Audio(2);
        }
        return stream;
    }
    static constexpr std::size_t packetsOfTick = 12;
    static constexpr std::size_t bytesOfTick = packetsOfTick * ts::tsPacketSize;

    // A recording of a stream in a slot, as its row and its packets are left.
    void Record(unsigned int stream, int slot, std::uint32_t first, std::uint32_t last,
                std::string const& packets) {
        auto const id = store_.BeginFile(stream, slot, first / 20, first);
        ASSERT_TRUE(id);
        LoadSlot(root_.Pool(), slot, packets);
        store_.FinishFile(*id, static_cast<unsigned int>(packets.size()), last / 20, last);
    }

    // Stream 1 in the slots 2, 3 and 5: ticks 1000 to 1299, the times 50 to 64.
    void RecordThreeSlots() {
        ProgramStream stream;
        bytes_ = Append(stream, 1000, 1299).Bytes();
        Record(1, 2, 1000, 1099, bytes_.substr(0, 100 * bytesOfTick));
        Record(1, 3, 1100, 1199, bytes_.substr(100 * bytesOfTick, 100 * bytesOfTick));
        Record(1, 5, 1200, 1299, bytes_.substr(200 * bytesOfTick));
    }

    void AddRecording(std::string const& reid, unsigned int stream, std::string const& from,
                      std::string const& to) const {
        store::Database database(root_.Path() + "/events.db", store::Database::Mode::existing);
        database.Execute("CREATE TABLE IF NOT EXISTS recording (id INTEGER PRIMARY KEY"
                         " AUTOINCREMENT, reid TEXT NOT NULL UNIQUE, stream INTEGER NOT NULL,"
                         " start_time INTEGER NOT NULL, stop_time INTEGER) STRICT;"
                         "PRAGMA user_version = 2");
        std::string const insert =
            "INSERT INTO recording (reid, stream, start_time, stop_time) VALUES ('" + reid + "', " +
            std::to_string(stream) + ", " + from + ", " + to + ")";
        database.Execute(insert.c_str());
    }

    // The bytes of stream 1 from a packet of a tick on, up to a tick.
    std::string Ticks(std::uint32_t first, std::size_t packet, std::uint32_t end) const {
        std::size_t const begin = (first - 1000) * bytesOfTick + packet * ts::tsPacketSize;
        return bytes_.substr(begin, (end - 1000) * bytesOfTick - begin);
    }

    std::string Out(std::string const& name = "out.ts") const { return directory_.Path(name); }

    Outcome Export(std::vector<std::string> arguments, std::string const& output) const {
        arguments.insert(arguments.begin(), "export");
        arguments.insert(arguments.end(), {"-o", output});
        return RunCommand(arguments);
    }
    Outcome Export(std::vector<std::string> const& arguments) const {
        return Export(arguments, Out());
    }

    static nlohmann::json Manifest(std::string const& output) {
        std::string const text = BytesOf(output + ".json");
        EXPECT_TRUE(FitsSchema(text, MANIFEST_SCHEMA)) << text;
        return nlohmann::json::parse(text);
    }

    static bool ChecksumIsRight(std::string const& output) {
        std::filesystem::path const path(output);
        ChildProcess check([&] {
            std::filesystem::current_path(path.parent_path());
            return Execute(
                {"sha256sum", "--status", "--strict", "-c", path.filename().string() + ".sha256"});
        });
        return check.Wait() == 0;
    }

    std::vector<std::string> Names() const {
        std::vector<std::string> names;
        for (auto const& entry : std::filesystem::directory_iterator(directory_.Path())) {
            names.push_back(entry.path().filename());
        }
        std::ranges::sort(names);
        return names;
    }

    TestRoot root_;
    TemporaryDirectory directory_;
    store::EventStore store_{root_.Path() + "/events.db"};
    std::string bytes_;
};

} // namespace workstation::evidence::exporting
