// d2b plot and d2b report, beside a service that records.
#include <gtest/gtest.h>

#include <filesystem>

#include <nlohmann/json.hpp>

#include "Recorder.h"

namespace e2e {
namespace {

// Four slots that are recorded over as fast as possible.
TEST(Pictures, OfARingThatTurnsAreWholeAndChangeNothing) {
    Recorder recorder;
    recorder.CreatePool(4);
    recorder.StartService({"--record", "2=" CLIP_PATH, "--fast", "--loop"});
    ASSERT_TRUE(recorder.Logs("recording into stream file 1\n", 2));
    std::string const picture = recorder.Directory() / "timeline.svg";
    std::string const page = recorder.Directory() / "report.html";
    for (int run = 0; run < 3; ++run) {
        Outcome const plotted = recorder.PoolTool({"plot", "timeline", "-o", picture, "--force"});
        EXPECT_EQ(plotted.status, 0) << plotted;
        EXPECT_TRUE(ReadFile(picture).ends_with("</svg>\n\n"));
        Outcome const reported = recorder.PoolTool({"report", "-o", page, "--force"});
        EXPECT_EQ(reported.status, 0) << reported;
        EXPECT_TRUE(ReadFile(page).ends_with("</html>\n"));
        EXPECT_NE(ReadFile(page).find("<th scope=\"row\">2</th>"), std::string::npos);
    }
    Outcome const stopped = recorder.StopService(SIGTERM);
    EXPECT_EQ(stopped.status, 0) << stopped;
}

TEST(Pictures, ShowTheSlotThatIsBeingRecorded) {
    Recorder recorder;
    recorder.CreatePool(2);
    recorder.StartService({"--record", "1=" CLIP_PATH, "--loop"});
    recorder.WaitForData(1);
    Outcome const data = recorder.PoolTool({"plot", "timeline", "--data"});
    EXPECT_EQ(data.status, 0) << data;
    EXPECT_NE(data.out.find("\n1 1 recording "), std::string::npos) << data;
    EXPECT_NE(data.out.find("\"slot being recorded\""), std::string::npos);
    Outcome const page = recorder.PoolTool({"report", "-o", "-"});
    EXPECT_NE(page.out.find("<td>recording</td>"), std::string::npos) << page;
    EXPECT_NE(page.out.find("<td>goes on</td>"), std::string::npos) << page;
}

} // namespace
} // namespace e2e
