// d2b plot: its files, its exit status, and that it changes nothing.
#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "../CommandRun.h"
#include "evidence/plotting/Picture.h"
#include "support/Snapshot.h"
#include "support/TestRoot.h"
#include "ts/TestStream.h"

using namespace workstation;

namespace {

class PlotCommandTest : public testing::Test {
protected:
    PlotCommandTest() {
        setenv("TZ", "UTC", 1);
        root_.MakePool(3);
        ts_test::TestStream stream;
        for (unsigned int tick = 1000; tick < 1100; ++tick) {
            stream.Tick(tick).Media(3);
        }
        LoadSlot(root_.Pool(), 1, {stream.Data().begin(), stream.Data().end()});
        LoadSlot(root_.Pool(), 2, "no packets");
        std::filesystem::create_directory(Path("out"));
    }
    ~PlotCommandTest() override {
        unsetenv("TZ");
        setenv("PATH", path_.c_str(), 1);
    }

    std::string Path(std::string const& name) const { return root_.Path() + "/" + name; }

    static Outcome Plot(std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), "plot");
        return RunCommand(arguments);
    }

    void ExpectNothingWritten() const { EXPECT_TRUE(std::filesystem::is_empty(Path("out"))); }

    // A program that is found instead of gnuplot.
    void ReplaceGnuplot(std::string const& script) const {
        std::filesystem::create_directory(Path("bin"));
        if (!script.empty()) {
            std::ofstream(Path("bin/gnuplot")) << script;
            chmod(Path("bin/gnuplot").c_str(), 0755);
        }
        setenv("PATH", Path("bin").c_str(), 1);
    }

    TestRoot root_;
    std::string const path_ = std::getenv("PATH");
};

TEST_F(PlotCommandTest, FormatIsThatOfTheName) {
    EXPECT_EQ(Plot({"timeline", "-o", Path("out/a.svg")}), (Outcome{0, "", ""}));
    EXPECT_EQ(Plot({"timeline", "-o", Path("out/a.png")}), (Outcome{0, "", ""}));
    EXPECT_EQ(Plot({"clock", "1", "-o", Path("out/b.svg")}), (Outcome{0, "", ""}));
    EXPECT_EQ(Plot({"clock", "1", "-o", Path("out/b.png")}), (Outcome{0, "", ""}));
    for (std::string const name : {"out/a", "out/b"}) {
        EXPECT_TRUE(BytesOf(Path(name + ".svg")).starts_with("<?xml")) << name;
        EXPECT_TRUE(BytesOf(Path(name + ".png")).starts_with("\x89PNG")) << name;
    }
}

TEST_F(PlotCommandTest, FileIsReplacedOnlyByForce) {
    std::ofstream(Path("out/a.svg")) << "mine";
    EXPECT_EQ(Plot({"timeline", "-o", Path("out/a.svg")}),
              (Outcome{1, "", "d2b: '" + Path("out/a.svg") + "' exists (--force replaces it)\n"}));
    EXPECT_EQ(BytesOf(Path("out/a.svg")), "mine");
    EXPECT_EQ(Plot({"timeline", "-o", Path("out/a.svg"), "--force"}), (Outcome{0, "", ""}));
    EXPECT_TRUE(BytesOf(Path("out/a.svg")).starts_with("<?xml"));
}

TEST_F(PlotCommandTest, MisuseIsRefused) {
    for (std::vector<std::string> const& arguments : {std::vector<std::string>{},
                                                      {"picture"},
                                                      {"timeline"},
                                                      {"timeline", "-o", Path("out/a.gif")},
                                                      {"clock", "-o", Path("out/a.svg")},
                                                      {"timeline", "1", "-o", Path("out/a.svg")},
                                                      {"clock", "one", "-o", Path("out/a.svg")},
                                                      {"timeline", "-o", "-"}}) {
        EXPECT_EQ(Plot(arguments).status, 2);
    }
    ExpectNothingWritten();
}

TEST_F(PlotCommandTest, FailureIsOneLineAndNoFile) {
    EXPECT_EQ(Plot({"clock", "4", "-o", Path("out/a.svg")}),
              (Outcome{1, "", "d2b: stream file 4: the pool has no such file; it has 3\n"}));
    EXPECT_EQ(Plot({"clock", "2", "-o", Path("out/a.svg")}),
              (Outcome{1, "", "d2b: stream file 2 has no ticks\n"}));
    EXPECT_EQ(Plot({"timeline", "-o", Path("missing/a.svg")}),
              (Outcome{1, "",
                       "d2b: cannot write '" + Path("missing/a.svg") +
                           "': No such file or directory\n"}));
    ExpectNothingWritten();
}

TEST_F(PlotCommandTest, PoolIsNotReplaced) {
    std::filesystem::create_symlink(root_.Pool(), Path("out/pool.svg"));
    EXPECT_EQ(Plot({"timeline", "--force", "-o", Path("out/pool.svg")}),
              (Outcome{1, "", "d2b: '" + Path("out/pool.svg") + "' is what is read\n"}));
}

TEST_F(PlotCommandTest, MissingGnuplotIsNamedBeforeAnyWork) {
    ReplaceGnuplot("");
    Outcome const missing{1, "",
                          "d2b: gnuplot draws the pictures and is missing: install gnuplot-nox\n"};
    EXPECT_EQ(Plot({"timeline", "-o", Path("out/a.svg")}), missing);
    EXPECT_EQ(Plot({"clock", "9", "-o", Path("out/a.svg")}), missing);
    ExpectNothingWritten();
}

TEST_F(PlotCommandTest, DataNeedsNoGnuplot) {
    auto const drawn = Plot({"timeline", "--data"});
    ReplaceGnuplot("");
    EXPECT_EQ(Plot({"timeline", "--data"}), drawn);
    EXPECT_EQ(drawn.status, 0);
    EXPECT_NE(drawn.out.find("1 - unknown 75200 1000 1099 50 54 "), std::string::npos) << drawn.out;
    EXPECT_EQ(Plot({"clock", "1", "--data"}).status, 0);
}

TEST_F(PlotCommandTest, DataIsForThePictureThatIsNamed) {
    auto const png = Plot({"timeline", "--data", "-o", Path("out/a.png")});
    EXPECT_TRUE(png.out.starts_with("set terminal pngcairo ")) << png.out;
    ExpectNothingWritten();
}

TEST_F(PlotCommandTest, GnuplotThatFailsIsReported) {
    ReplaceGnuplot("#!/bin/sh\necho '  line 3: no memory' >&2\nexit 1\n");
    EXPECT_EQ(Plot({"timeline", "-o", Path("out/a.svg")}),
              (Outcome{1, "", "d2b: gnuplot failed: line 3: no memory\n"}));
    ReplaceGnuplot("#!/bin/sh\nkill -9 $$\n");
    EXPECT_EQ(Plot({"timeline", "-o", Path("out/a.svg")}),
              (Outcome{1, "", "d2b: gnuplot failed: no reason given\n"}));
    ExpectNothingWritten();
}

// The script has no other input than what is printed, and gnuplot reads no start file of the user.
TEST_F(PlotCommandTest, GnuplotIsGivenWhatIsPrinted) {
    ReplaceGnuplot("#!/bin/sh\necho \"$*\" >>'" + Path("out/arguments") + "'\n/bin/cat\n");
    EXPECT_EQ(Plot({"clock", "1", "-o", Path("out/a.png")}), (Outcome{0, "", ""}));
    EXPECT_EQ(BytesOf(Path("out/a.png")), Plot({"clock", "1", "--data", "-o", "a.png"}).out);
    EXPECT_EQ(BytesOf(Path("out/arguments")), "--version\n-d\n");
}

TEST_F(PlotCommandTest, ChangesNothing) {
    auto const before = Snapshot(root_.Path());
    EXPECT_EQ(Plot({"timeline", "--data"}).status, 0);
    EXPECT_EQ(Plot({"clock", "1", "--data", "--progress"}).status, 0);
    EXPECT_EQ(Snapshot(root_.Path()), before);
}

TEST_F(PlotCommandTest, DamagedImageIsDrawnAndReported) {
    WriteBytes(root_.Pool(), "x", 0);
    EXPECT_EQ(Plot({"timeline", "-o", Path("out/a.svg")}),
              (Outcome{0, "",
                       "d2b: pool '" + root_.Pool() +
                           "': not a pool image: the magic number is missing\n"}));
}

TEST(Quoted, HasNothingThatGnuplotReads) {
    using evidence::plotting::Quoted;
    EXPECT_EQ(Quoted("a 'b' `c` $d"), "\"a 'b' `c` $d\"");
    EXPECT_EQ(Quoted("\"\\n\n\xFF"), "\"\\042\\\\n??\"");
}

} // namespace
