// The system ticks of a transport stream.
#pragma once

#include <utility>
#include <vector>

#include "StreamMetadata.h"

class TsHelper {
public:
    // The kinds of tick that a stream can carry.
    enum StreamSystickId {
        StreamSystickSystem = 2, // the recorder's system tick
    };

    // `stream` must outlive the object and stay as it is.
    explicit TsHelper(std::vector<unsigned char>& stream);
    ~TsHelper();

    // All ticks of a kind that start at byte offset `from` or later, each with its byte offset, in
    // stream order. Damaged parts of the stream are skipped, and so is a tick that the end of the
    // stream cuts off.
    std::vector<std::pair<unsigned int, StreamMetadata>> SystemTick(StreamSystickId id,
                                                                    unsigned int from);

private:
    std::vector<unsigned char>& stream_;
};
