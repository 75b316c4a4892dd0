// d2b report: its file, its exit status, and that it changes nothing. How it looks is checked in a
// browser.
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "../CommandRun.h"
#include "evidence/reporting/FirstFaults.h"
#include "evidence/reporting/Html.h"
#include "support/Snapshot.h"
#include "support/TestRoot.h"
#include "ts/TestStream.h"

using namespace workstation;

namespace {

class ReportCommandTest : public testing::Test {
protected:
    ReportCommandTest() {
        setenv("TZ", "UTC", 1);
        root_.MakePool(3);
        ts_test::TestStream stream;
        for (unsigned int tick = 1000; tick < 1100; ++tick) {
            stream.Tick(tick).Media(3);
        }
        LoadSlot(root_.Pool(), 2, {stream.Data().begin(), stream.Data().end()});
    }
    ~ReportCommandTest() override { unsetenv("TZ"); }

    std::string Path(std::string const& name) const { return root_.Path() + "/" + name; }

    static Outcome Report(std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), "report");
        return RunCommand(arguments);
    }

    static void ExpectHas(std::string const& page, std::string const& text) {
        EXPECT_NE(page.find(text), std::string::npos) << text << " is not in\n" << page;
    }

    TestRoot root_;
};

TEST_F(ReportCommandTest, IsTheSameInAFileAndOnStandardOutput) {
    EXPECT_EQ(Report({"-o", Path("report.html")}), (Outcome{0, "", ""}));
    auto const printed = Report({"-o", "-"});
    EXPECT_EQ(printed.status, 0);
    auto const withoutTime = [](std::string page) {
        auto const begin = page.find("<span id=\"made\">");
        return page.erase(begin, page.find("</span>", begin) - begin);
    };
    EXPECT_EQ(withoutTime(BytesOf(Path("report.html"))), withoutTime(printed.out));
}

TEST_F(ReportCommandTest, FileIsReplacedOnlyByForce) {
    std::ofstream(Path("report.html")) << "mine";
    EXPECT_EQ(
        Report({"-o", Path("report.html")}),
        (Outcome{1, "", "d2b: '" + Path("report.html") + "' exists (--force replaces it)\n"}));
    EXPECT_EQ(BytesOf(Path("report.html")), "mine");
    EXPECT_EQ(Report({"-o", Path("report.html"), "--force"}).status, 0);
    EXPECT_TRUE(BytesOf(Path("report.html")).starts_with("<!DOCTYPE html>"));
    EXPECT_EQ(Report({"--force", "-o", root_.Pool()}),
              (Outcome{1, "", "d2b: '" + root_.Pool() + "' is what is read\n"}));
    EXPECT_EQ(Report({}).status, 2);
}

TEST_F(ReportCommandTest, NeedsNoGnuplot) {
    std::string const path = std::getenv("PATH");
    setenv("PATH", root_.Path().c_str(), 1);
    EXPECT_EQ(Report({"-o", "-"}).status, 0);
    setenv("PATH", path.c_str(), 1);
}

TEST_F(ReportCommandTest, PathIsText) {
    std::string const name = Path("<script>alert(1)<&'\">");
    std::filesystem::rename(root_.Pool(), name);
    auto const page = Report({"--pool", name, "-o", "-"});
    EXPECT_EQ(page.status, 0);
    EXPECT_EQ(page.out.find("<script"), std::string::npos);
    ExpectHas(page.out, "&lt;script&gt;alert(1)&lt;&amp;&#39;&quot;&gt;");
}

TEST_F(ReportCommandTest, WithoutADatabaseItSaysWhatIsNotKnown) {
    auto const page = Report({"--pool", root_.Pool(), "-o", "-"}).out;
    ExpectHas(page, "none: streams, events and recordings are not known");
    ExpectHas(page, "<p>No stream is known.</p>");
    ExpectHas(page, "<tr id=\"slot-2\">");
}

TEST_F(ReportCommandTest, DamageOfTheImageIsOnThePage) {
    WriteBytes(root_.Pool(), "x", 0);
    auto const outcome = Report({"-o", "-"});
    EXPECT_EQ(outcome.status, 0);
    ExpectHas(outcome.out, "not a pool image: the magic number is missing</p>");
    ExpectHas(outcome.out, "the pool is damaged");
}

TEST_F(ReportCommandTest, ChangesNothing) {
    auto const before = Snapshot(root_.Path());
    EXPECT_EQ(Report({"-o", "-", "--progress"}).status, 0);
    EXPECT_EQ(Snapshot(root_.Path()), before);
}

// A page stays small, however much is damaged.
TEST_F(ReportCommandTest, OfManyFaultsTheFirstAreListed) {
    std::string bytes;
    for (int i = 0; i < 5000; ++i) {
        auto packet = ts_test::MediaPacket();
        packet[1] |= 0x80; // transport_error_indicator
        bytes.append(packet.begin(), packet.end());
    }
    LoadSlot(root_.Pool(), 1, bytes);
    auto const page = Report({"-o", "-"}).out;
    EXPECT_LT(page.size(), 60000U);
    ExpectHas(page, "faults are listed here, at most 50 of a slot; d2b scan shows all of them.");
    ExpectHas(page, "<th scope=\"row\">transport_error</th><td class=\"n\">5,000</td>");
}

TEST(Grouped, HasACommaAfterEachThreeDigits) {
    using evidence::reporting::Grouped;
    EXPECT_EQ(Grouped(0), "0");
    EXPECT_EQ(Grouped(999), "999");
    EXPECT_EQ(Grouped(1000), "1,000");
    EXPECT_EQ(Grouped(98566144), "98,566,144");
    EXPECT_EQ(Grouped(100000), "100,000");
}

} // namespace
