// What one line says of the service.
#include "service/supervision/StatusLine.h"

#include <gtest/gtest.h>

namespace {

using namespace workstation::service::supervision;
using workstation::status::StreamStatus;
using State = StreamStatus::State;

StreamStatus Stream(unsigned int number, State state, std::string problem = "") {
    StreamStatus stream;
    stream.stream = number;
    stream.state = state;
    stream.problem = std::move(problem);
    return stream;
}

TEST(StatusLine, CountsStreamsAndSlots) {
    EXPECT_EQ(StatusLine({}, {400, 12}, ""), "recording nothing; 12 of 400 slots free");
    EXPECT_EQ(StatusLine({Stream(2, State::recording)}, {1, 0}, ""),
              "recording 1 of 1 stream; 0 of 1 slots free");
    EXPECT_EQ(StatusLine({Stream(1, State::recording), Stream(2, State::ended),
                          Stream(3, State::waiting), Stream(4, State::recording)},
                         {400, 12}, ""),
              "recording 2 of 4 streams, 1 waiting, 1 ended; 12 of 400 slots free");
}

TEST(StatusLine, SaysWhatIsWrong) {
    EXPECT_EQ(StatusLine({Stream(1, State::recording, "no file"),
                          Stream(2, State::ended, "cannot open"), Stream(3, State::recording)},
                         {4, 0}, "cannot make recordings durable"),
              "recording 1 of 3 streams, 1 ended; 0 of 4 slots free; stream 1: no file; stream 2: "
              "cannot open; cannot make recordings durable");
}

} // namespace
