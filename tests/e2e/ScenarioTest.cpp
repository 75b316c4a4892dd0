// Plays one list of scenarios with the tool under test and with this build's tool, and compares all
// that they print, log and leave in the pool.
#include <gtest/gtest.h>

#include <csignal>
#include <map>
#include <regex>
#include <sstream>

#include "TransportStream.h"

namespace e2e {
namespace {

namespace fs = std::filesystem;

struct Scenario {
    char const* name;
    bool isServed;
    std::vector<Words> commands;
};

void PrintTo(Scenario const& scenario, std::ostream* stream) {
    *stream << scenario.name;
}

// Numbers at the limits of 32 bits and beyond them.
Words const limits{"-1",          "2147483647",  "2147483648",  "4294967295",
                   "4294967297",  "-2147483648", "-2147483649", "-4294967297",
                   "99999999999", "+1",          "0x1",         ""};

std::vector<Words> ForEachLimit(std::vector<Words> commands, char const* option,
                                std::string const& before, std::string const& after) {
    for (std::string const& limit : limits) {
        commands.push_back({option, before + limit + after});
    }
    return commands;
}

std::vector<Scenario> Scenarios() {
    return {
        {"Usage", false, {{"-h"}, {}, {"-G"}, {"--stats"}, {"operand"}, {"--ping=1"}}},
        {"Extract", false,
         ForEachLimit({{"-x", "1"}, {"-X", "2"}, {"-x", "3"}, {"-x", "4", "-x", "0", "-x", "1"}},
                      "-x", "", "")},
        {"Insert", true,
         ForEachLimit({{"-y", "3,small"},
                       {"-x", "2", "-Y", "2"},
                       {"-y", "3,empty"},
                       {"--lsm"},
                       {"-y", "3,huge"},
                       {"-y", "3,missing"},
                       {"-y", ",small"},
                       {"-x", "3"},
                       {"-y", "2,largest"},
                       {"--lsmi"}},
                      "-y", "", ",small")},
        {"Ticks", false,
         ForEachLimit({{"--stats", "1"},
                       {"--stats", "0"},
                       {"--tickinfo", "1"},
                       {"--tickinfo", "4"},
                       {"--tickinfo", "1,m"},
                       {"--tickinfo", "4,m"},
                       {"--tickinfo", "0,m"},
                       {"--tickinfo", "4,a"},
                       {"--stats", "4"}},
                      "--tickinfo", "", ",m")},
        {"Cut", false,
         ForEachLimit(ForEachLimit({{"-e", "1,1020-1040"},
                                    {"-e", "1,1020-"},
                                    {"-e", "1,-1040"},
                                    {"-e", "4,4294967292-2"},
                                    {"-e", "4,-2"},
                                    {"-e", "1"},
                                    {"-e", "1,1040-1020"},
                                    {"-e", "-1,1060"}},
                                   "-e", "4,", "-"),
                      "-e", "4,-", "")},
        {"Parallel", false,
         ForEachLimit({{"--multiread", "1"},
                       {"--multiextract", "2"},
                       {"--multiread", " ,0,2 x,-1,"},
                       {"--multiextract", "0,-2,, 4 4294967296"},
                       {"--multiread", "2", "--multiextract", "1", "--multiread", "9"}},
                      "--multiread", "", "")},
        {"Requests", true,
         ForEachLimit(ForEachLimit(ForEachLimit({{"-p"},
                                                 {"-r"},
                                                 {"-S"},
                                                 {"-s", "3"},
                                                 {"-s", "1"},
                                                 {"-l"},
                                                 {"-l", "-l"},
                                                 {"-l", "-l", "-l"},
                                                 {"-d", "nobody"},
                                                 {"--ratf", "010120-000000,010120-000100"},
                                                 {"--ratf", "010120-000000,010140-000000"},
                                                 {"--ratf", "010168-000000,010169-000000,c"},
                                                 {"--ratf", "013120-250000,1"},
                                                 {"--split", "nobody,1M"},
                                                 {"--bkupdb", "/"}},
                                                "-s", "", ""),
                                   "-f", "", ""),
                      "--split", "nobody,", "M")},
        {"NobodyServes",
         false,
         {{"-p"},
          {"-s", "1"},
          {"-l"},
          {"-c"},
          {"-c", "-p"},
          {"-d", "nobody"},
          {"--split", "nobody,1"},
          {"-F", "1"},
          {"-q"},
          {"--ratf", "010120-000000,010120-000100"}}},
    };
}

// What is typed to every command: two log levels, for those that ask.
constexpr char const* typed = "1\n3\n";

// What a scenario printed, logged and left in the pool.
struct Performance {
    std::string said;
    std::map<std::string, std::string> logged; // by process
    std::map<std::string, std::string> left;   // by the file on the hard disk
    std::vector<std::string> pool;             // the table, and how each slot begins
};

std::string Without(std::string text, std::string const& unique, char const* name) {
    for (auto at = text.find(unique); at != std::string::npos; at = text.find(unique)) {
        text.replace(at, unique.size(), name);
    }
    return text;
}

// The last words of the program are replaced by the tool's path, so both have the same name.
class Player {
public:
    explicit Player(Words program)
        : program_(std::move(program)) {
        fs::path const link = recorder_.Directory() / "bin/StreamMgrCli";
        fs::create_symlink(program_.back(), link);
        program_.back() = link;
        recorder_.CreatePool(4);
        recorder_.Load(1, TickedClip(recorder_, {"--first", "1000", "--time", "57"}));
        recorder_.Load(2, Noise(2 * chunkSize + 1));
        recorder_.Load(4, TickedClip(recorder_, {"--first", "4294967290", "--time", "-10"}));
        WriteSource("small", Noise(chunkSize + 1));
        WriteSource("empty", "");
        WriteSource("huge", "");
        fs::resize_file(recorder_.HardDisk() / "huge.ts", 0x80000000);
        WriteSource("largest", "");
        fs::resize_file(recorder_.HardDisk() / "largest.ts", 0x7FFFFFFF);
    }

    Performance Play(Scenario const& scenario) {
        if (scenario.isServed) {
            recorder_.StartService();
        }
        Performance performance;
        for (Words const& arguments : scenario.commands) {
            performance.said += Run(arguments);
        }
        if (scenario.isServed) {
            EXPECT_EQ(recorder_.StopService(SIGTERM).status, 0);
        }
        performance.logged = Log();
        for (char const* const made : {"huge.ts", "largest.ts"}) {
            fs::remove(recorder_.HardDisk() / made);
        }
        for (auto const& file : fs::directory_iterator(recorder_.HardDisk())) {
            performance.left[file.path().filename()] = ReadFile(file.path());
        }
        performance.pool.push_back(ReadPiece(recorder_.Pool(), 0, 8192));
        for (std::size_t slot = 0; slot < 4; ++slot) {
            performance.pool.push_back(ReadPiece(
                recorder_.Pool(), static_cast<std::streamoff>(8192 + slot * slotSize), 0x200000));
        }
        return performance;
    }

private:
    void WriteSource(std::string const& name, std::string const& content) const {
        WriteFile(recorder_.HardDisk() / (name + ".ts"), content);
    }

    std::string Run(Words const& arguments) const {
        Command command = recorder_.ToolCommand({});
        command.words = program_;
        command.words.insert(command.words.end(), arguments.begin(), arguments.end());
        command.input = typed;
        Child tool(command);
        std::ostringstream said;
        for (std::string const& argument : arguments) {
            said << argument << ' ';
        }
        said << ": " << tool.Finish() << '\n';
        return WithoutPlace(
            Without(said.str(), "StreamMgrCli_" + std::to_string(tool.Pid()), "StreamMgrCli_PID"));
    }

    std::string WithoutPlace(std::string const& text) const {
        return Without(text, recorder_.Directory().string(), "RECORDER");
    }

    std::map<std::string, std::string> Log() const {
        static std::regex const processId("StreamMgrCli_[0-9]+");
        std::map<std::string, std::string> log;
        std::istringstream lines(
            std::regex_replace(WithoutPlace(recorder_.Log()), processId, "StreamMgrCli_PID"));
        for (std::string time, name, text; lines >> time >> name && std::getline(lines, text);) {
            log[name] += text + '\n';
        }
        return log;
    }

    Recorder recorder_;
    Words program_;
};

class ScenarioTest : public testing::TestWithParam<Scenario> {};

TEST_P(ScenarioTest, HasTheSameBytesWhoeverPlaysIt) {
    if (ToolWords() == Words{ThisBuildsTool()}) {
        GTEST_SKIP() << "the tool under test is this build's";
    }
    Performance const one = Player({ThisBuildsTool()}).Play(GetParam());
    Performance const other = Player(ToolWords()).Play(GetParam());
    EXPECT_NE(one.said, "");
    EXPECT_EQ(other.said, one.said);
    EXPECT_EQ(other.logged, one.logged);
    ASSERT_EQ(other.left.size(), one.left.size());
    for (auto const& [file, content] : one.left) {
        EXPECT_TRUE(other.left.contains(file) && other.left.at(file) == content) << file;
    }
    ASSERT_EQ(other.pool.size(), one.pool.size());
    for (std::size_t piece = 0; piece < one.pool.size(); ++piece) {
        EXPECT_TRUE(other.pool[piece] == one.pool[piece]) << "piece " << piece;
    }
}

INSTANTIATE_TEST_SUITE_P(Tools, ScenarioTest, testing::ValuesIn(Scenarios()),
                         [](auto const& scenario) { return std::string(scenario.param.name); });

} // namespace
} // namespace e2e
