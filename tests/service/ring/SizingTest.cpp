// docs/sizing.md says what the service does: how much a stream takes, and how far the ring reaches
// back.
#include <algorithm>
#include <array>
#include <fstream>
#include <iomanip>
#include <map>
#include <numeric>
#include <sstream>

#include "pool/PoolLayout.h"
#include "service/PoolAndStore.h"
#include "service/ring/FileAllocator.h"
#include "ts/TickInserter.h"

using namespace workstation;
using namespace workstation::service;

namespace {

constexpr double slotSize = pool::poolSlotSize;
constexpr double daySeconds = 86400;

// Of a stream with its ticks.
double BytesPerSecond(double megabits) {
    return megabits * 1e6 / 8 + ts::TickInserter::usualRate * ts::tsPacketSize;
}

std::string Rounded(double number, int digits) {
    std::ostringstream text;
    text << std::fixed << std::setprecision(digits) << number;
    return text.str();
}

// The rows of the tables, each as the text of its cells.
std::vector<std::vector<std::string>> Rows() {
    std::ifstream page(SIZING_PAGE);
    EXPECT_TRUE(page);
    std::vector<std::vector<std::string>> rows;
    for (std::string line; std::getline(page, line);) {
        if (!line.starts_with("| ") || line.find_first_of("0123456789") != 2) {
            continue;
        }
        std::istringstream cells(line.substr(1));
        rows.emplace_back();
        for (std::string cell; std::getline(cells, cell, '|');) {
            rows.back().push_back(cell.substr(1, cell.size() - 2));
        }
    }
    return rows;
}

TEST(Sizing, TableOfAStreamIsRight) {
    int count = 0;
    for (auto const& row : Rows()) {
        if (row.size() != 4) {
            continue;
        }
        double const rate = BytesPerSecond(std::stod(row[0]));
        EXPECT_EQ(row[1], Rounded(rate * daySeconds / 1e9, 1)) << row[0];
        EXPECT_EQ(row[2], Rounded(rate * daySeconds / slotSize, 0)) << row[0];
        EXPECT_EQ(row[3], Rounded(slotSize / rate / 60, 1)) << row[0];
        ++count;
    }
    EXPECT_EQ(count, 8);
}

TEST(Sizing, TableOfTheReachIsRight) {
    constexpr std::array<double, 4> megabits{2, 4, 8, 10};
    constexpr unsigned int streams = 4;
    int count = 0;
    for (auto const& row : Rows()) {
        if (row.size() != 2 + megabits.size()) {
            continue;
        }
        std::uint64_t const unit = row[0].back() == 'T' ? std::uint64_t{1} << 40U : 1U << 30U;
        std::uint32_t const slots = pool::PoolFileCountWithin(std::stoull(row[0]) * unit);
        EXPECT_EQ(row[1], std::to_string(slots)) << row[0];
        for (std::size_t i = 0; i < megabits.size(); ++i) {
            double const rate = BytesPerSecond(megabits[i]);
            double const reach = (slots - streams) * slotSize / (streams * rate) - slotSize / rate;
            EXPECT_EQ(row[2 + i], Rounded(reach / daySeconds, 1)) << row[0];
        }
        ++count;
    }
    EXPECT_EQ(count, 6);
}

// Streams of which each fills a slot in so many seconds, recorded into a ring of slots for so long
// that it has gone round many times. At every moment the ring reaches back as far as the page says.
TEST(Sizing, RingReachesBackAsFarAsThePageSays) {
    constexpr int slots = 16;
    std::map<int, int> const secondsPerSlot{{1, 3}, {2, 5}, {3, 5}, {4, 13}};
    double const slotsPerSecond =
        std::accumulate(secondsPerSlot.begin(), secondsPerSlot.end(), 0.0,
                        [](double sum, auto const& stream) { return sum + 1.0 / stream.second; });
    double const shared = (slots - static_cast<double>(secondsPerSlot.size())) / slotsPerSecond;

    PoolAndStore parts(slots);
    ring::Flusher flusher(parts.Pool());
    ring::FileAllocator files(parts.Session(), parts.Store(), flusher);
    std::map<int, std::unique_ptr<ring::FileBeingRecorded>> open;
    double shortest = 1000; // reach beyond what the page promises, in seconds
    for (int now = 0; now < 140; ++now) {
        for (auto const& [stream, seconds] : secondsPerSlot) {
            if (now % seconds != 0) {
                continue;
            }
            if (open[stream]) {
                open[stream]->Finish();
            }
            open[stream] = files.Take(stream);
            ASSERT_TRUE(open[stream]);
            auto const tick = static_cast<std::uint32_t>(now);
            open[stream]->Append(std::vector<unsigned char>(ts::tsPacketSize, 0x47),
                                 RangeOf(tick, tick), {});
        }
        if (now < 60) {
            continue; // the ring has not gone round
        }
        for (auto const& [stream, seconds] : secondsPerSlot) {
            auto const chain = parts.Store().Chain(static_cast<unsigned int>(stream), false);
            int const reach = now - static_cast<int>(chain.front().firstTick);
            EXPECT_GE(reach, shared - seconds) << "stream " << stream << " at " << now;
            shortest = std::min(shortest, reach - (shared - seconds));
        }
    }
    EXPECT_LT(shortest, 5) << "the page could promise a slot more";
    for (auto const& file : open) {
        file.second->Finish();
    }
}

} // namespace
