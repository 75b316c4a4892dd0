// Streams that differ from each other and have nothing wrong: a scan must find no fault in them.
#include <set>

#include <nlohmann/json.hpp>

#include <bitstream/mpeg/psi.h>
#include <bitstream/mpeg/ts.h>

#include "CommandRun.h"
#include "support/TestRoot.h"
#include "ts/TsPacket.h"

namespace workstation {
namespace {

using ts::tsPacketSize;

// Changes a stream; `packet` is the one at hand, and what is appended follows it.
using Change = void (*)(std::string& packet);

// Whether a stream holds what it is here for.
using Property = bool (*)(std::string const& stream);

struct CleanStream {
    char const* name;
    std::string encoding; // options of ffmpeg
    Change change = nullptr;
    Property property = nullptr;
};

void PrintTo(CleanStream const& stream, std::ostream* out) {
    *out << stream.name;
}

std::string const pictures = "-f lavfi -i testsrc2=size=352x288:rate=25 ";
std::string const tone = "-f lavfi -i sine=sample_rate=48000 ";
std::string const both = pictures + tone + "-c:v mpeg2video -c:a mp2 ";

std::string Video(std::string const& codec) {
    return pictures + "-strict -2 -c:v " + codec;
}

std::string Audio(std::string const& codec) {
    return tone + "-strict -2 -ac 2 -c:a " + codec;
}

unsigned char const* Bytes(std::string const& packet) {
    return reinterpret_cast<unsigned char const*>(packet.data());
}

unsigned char* Bytes(std::string& packet) {
    return reinterpret_cast<unsigned char*>(packet.data());
}

bool IsMedia(std::string const& packet) {
    return ts_get_pid(Bytes(packet)) >= 0x100 && ts_get_pid(Bytes(packet)) < 0x1000 &&
           ts_has_payload(Bytes(packet));
}

bool HasAdaptation(std::string const& packet) {
    return ts_has_adaptation(Bytes(packet)) && ts_get_adaptation(Bytes(packet)) > 0;
}

template <typename Predicate>
std::size_t Count(std::string const& stream, Predicate const& predicate) {
    std::size_t count = 0;
    for (std::size_t offset = 0; offset < stream.size(); offset += tsPacketSize) {
        count += predicate(stream.substr(offset, tsPacketSize)) ? 1 : 0;
    }
    return count;
}

// Even and odd keys.
void Scramble(std::string& packet) {
    if (IsMedia(packet)) {
        auto const control = static_cast<std::uint8_t>(2 + (ts_get_cc(Bytes(packet)) >> 3U));
        ts_set_scrambling(Bytes(packet), control);
    }
}

bool HasBothKeys(std::string const& stream) {
    std::set<unsigned int> controls;
    Count(stream, [&](std::string const& packet) {
        return controls.insert(ts_get_scrambling(Bytes(packet))).second;
    });
    return controls == std::set<unsigned int>{0, 2, 3};
}

// Every fourth packet of each PID, all but its PCR.
void Repeat(std::string& packet) {
    if (!ts_has_payload(Bytes(packet)) || ts_get_cc(Bytes(packet)) % 4 != 0) {
        return;
    }
    std::string repetition = packet;
    if (HasAdaptation(repetition) && tsaf_has_pcr(Bytes(repetition))) {
        tsaf_set_pcr(Bytes(repetition), tsaf_get_pcr(Bytes(repetition)) + 1);
    }
    packet += repetition;
}

bool HasRepetitions(std::string const& stream) {
    std::string before;
    return Count(stream, [&](std::string const& packet) {
               return packet.substr(12) == std::exchange(before, packet.substr(12));
           }) > 20;
}

// A packet without payload after every media packet: its counter is that of the packet before.
void FollowWithAdaptationAlone(std::string& packet) {
    if (!IsMedia(packet)) {
        return;
    }
    std::string alone(tsPacketSize, '\xFF');
    ts_init(Bytes(alone));
    ts_set_pid(Bytes(alone), ts_get_pid(Bytes(packet)));
    ts_set_cc(Bytes(alone), ts_get_cc(Bytes(packet)));
    ts_set_adaptation(Bytes(alone), tsPacketSize - 5);
    packet += alone;
}

bool HasPacketsWithoutPayload(std::string const& stream) {
    return Count(stream, [](std::string const& packet) { return !ts_has_payload(Bytes(packet)); }) >
           20;
}

bool HasNullPackets(std::string const& stream) {
    return Count(stream, [](std::string const& packet) {
               return ts_get_pid(Bytes(packet)) == 0x1FFF;
           }) > 20;
}

bool HasTwoProgrammes(std::string const& stream) {
    return Count(stream, [](std::string packet) {
               return ts_get_pid(Bytes(packet)) == 0 && ts_get_unitstart(Bytes(packet)) &&
                      pat_get_program(ts_section(Bytes(packet)), 1) != nullptr;
           }) > 0;
}

bool HasPcrWrap(std::string const& stream) {
    std::uint64_t last = 0;
    return Count(stream, [&](std::string const& packet) {
               return HasAdaptation(packet) && tsaf_has_pcr(Bytes(packet)) &&
                      tsaf_get_pcr(Bytes(packet)) <
                          std::exchange(last, tsaf_get_pcr(Bytes(packet)));
           }) == 1;
}

bool HasAnnouncedJumps(std::string const& stream) {
    return Count(stream, [](std::string const& packet) {
               return HasAdaptation(packet) && tsaf_has_discontinuity(Bytes(packet));
           }) > 4;
}

std::vector<CleanStream> const streams = {
    {"MPEG1Video", Video("mpeg1video")},
    {"MPEG2Video", Video("mpeg2video")},
    {"MPEG4", Video("mpeg4")},
    {"H264", Video("libx264 -preset ultrafast")},
    {"HEVC", Video("libx265 -preset ultrafast -x265-params log-level=error")},
    {"Dirac", Video("vc2")},
    {"JPEG2000", Video("jpeg2000")},
    {"MP2", Audio("mp2")},
    {"MP3", Audio("libmp3lame")},
    {"AAC", Audio("aac")},
    {"AACInLATM", Audio("aac -mpegts_flags latm")},
    {"AC3", Audio("ac3")},
    {"EAC3", Audio("eac3")},
    {"DTS", Audio("dca")},
    {"TrueHD", Audio("truehd")},
    {"S302M", Audio("s302m")},
    {"Opus", Audio("libopus")},
    {"NullPackets", both + "-muxrate 4M", nullptr, HasNullPackets},
    {"Programmes",
     both + "-map 0 -map 1 -map 0 -map 1 -program program_num=1:st=0:st=1 "
            "-program program_num=2:st=2:st=3",
     nullptr, HasTwoProgrammes},
    {"PCRWrap", both + "-output_ts_offset 95442.6", nullptr, HasPcrWrap},
    {"AnnouncedJumps", both + "-mpegts_flags initial_discontinuity", nullptr, HasAnnouncedJumps},
    {"Scrambled", both, Scramble, HasBothKeys},
    {"Repetitions", both, Repeat, HasRepetitions},
    {"PacketsWithoutPayload", both, FollowWithAdaptationAlone, HasPacketsWithoutPayload},
};

class CleanStreamsTest : public testing::TestWithParam<CleanStream> {};

// What ffmpeg writes, in which every packet is changed.
std::string Encode(CleanStream const& clean, std::string const& path) {
    std::string const command =
        "ffmpeg -v error " + clean.encoding + " -t 0.8 -f mpegts '" + path + "'";
    ChildProcess encoder([&] { return Execute({"/bin/sh", "-c", command}); });
    EXPECT_EQ(encoder.Wait(), 0) << command;
    std::string const encoded = BytesOf(path);
    std::string stream;
    for (std::size_t offset = 0; offset < encoded.size(); offset += tsPacketSize) {
        std::string packet = encoded.substr(offset, tsPacketSize);
        if (clean.change != nullptr) {
            clean.change(packet);
        }
        stream += packet;
    }
    return stream;
}

TEST_P(CleanStreamsTest, HasNoFault) {
    TestRoot root;
    root.MakePool(1);
    std::string const plain = root.Path() + "/plain.ts";
    std::string const ticked = root.Path() + "/ticked.ts";
    std::string stream = Encode(GetParam(), plain);
    if (GetParam().property == HasAnnouncedJumps) {
        stream += stream; // from the last counters to the first ones
    }
    EXPECT_GT(stream.size(), 40 * tsPacketSize);
    EXPECT_TRUE(GetParam().property == nullptr || GetParam().property(stream));
    std::ofstream(plain, std::ios::binary) << stream;
    ASSERT_EQ(RunCommand({"tick", plain, ticked, "--first", "1000", "--time", "50"}).status, 0);
    std::string const bytes = BytesOf(ticked);
    LoadSlot(root.Pool(), 1, bytes);
    auto const outcome = RunCommand({"scan", "--json"});
    EXPECT_EQ(outcome.status, 0);
    auto const slot = nlohmann::json::parse(outcome.out)["slots"][0];
    EXPECT_EQ(slot["faults"], nlohmann::json::array());
    EXPECT_EQ(slot["packets"], bytes.size() / tsPacketSize);
    EXPECT_GT(slot["ticks"], 10);
    EXPECT_EQ(bytes.size(), stream.size() + tsPacketSize * slot["ticks"].get<std::size_t>());
}

INSTANTIATE_TEST_SUITE_P(Corpus, CleanStreamsTest, testing::ValuesIn(streams),
                         [](auto const& stream) { return stream.param.name; });

} // namespace
} // namespace workstation
