// Whether the service does its work as it should.
#include "status/ServiceStatus.h"

#include <gmock/gmock.h>

namespace workstation::status {
namespace {

using State = StreamStatus::State;
using testing::ElementsAre;
using testing::IsEmpty;

StreamStatus Stream(bool isLive, State state) {
    StreamStatus stream;
    stream.stream = 2;
    stream.source = "exec:camera";
    stream.isLive = isLive;
    stream.state = state;
    return stream;
}

ServiceStatus With(StreamStatus const& stream) {
    ServiceStatus status;
    status.streams = {stream};
    return status;
}

TEST(ServiceStatus, OfAServiceWithoutStreamsIsWell) {
    EXPECT_THAT(WhyDegraded({}), IsEmpty());
}

TEST(ServiceStatus, IsDegradedWhileALiveSourceIsWaiting) {
    EXPECT_THAT(WhyDegraded(With(Stream(true, State::waiting))),
                ElementsAre("stream 2: waiting for exec:camera"));
    EXPECT_THAT(WhyDegraded(With(Stream(true, State::recording))), IsEmpty());
}

TEST(ServiceStatus, OfAFileIsWellBeforeItsFirstPacketAndAfterItsLast) {
    for (State const state : {State::waiting, State::recording, State::ended}) {
        EXPECT_THAT(WhyDegraded(With(Stream(false, state))), IsEmpty());
    }
}

TEST(ServiceStatus, IsDegradedByEachProblem) {
    StreamStatus stream = Stream(true, State::waiting);
    stream.problem = "no file to record into";
    ServiceStatus status = With(stream);
    status.problem = "the disk is gone";
    EXPECT_THAT(WhyDegraded(status),
                ElementsAre("the disk is gone", "stream 2: no file to record into",
                            "stream 2: waiting for exec:camera"));
}

} // namespace
} // namespace workstation::status
