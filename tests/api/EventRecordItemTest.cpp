// Cases for the record of an event.
#include <gtest/gtest.h>

#include "StreamMgrApi.h"
#include "ipc/Payload.h"

using namespace workstation::ipc;

TEST(EventRecordItemTest, EncodingHasTheseBytesAndComesBack) {
    StreamMgrApi::EventRecordItem record;
    record.reid.Value("ab:01");
    record.tagsComplete.Value(true);
    record.startTime.Value(2);
    record.stopTime.Value(-1);
    record.streams.Value(0xF);
    auto payload = EncodeItems({&record});
    EXPECT_EQ(std::string(payload.begin(), payload.end()), std::string("\0\0\0\x05"
                                                                       "ab:01"
                                                                       "\x01"
                                                                       "\0\0\0\x02"
                                                                       "\xFF\xFF\xFF\xFF"
                                                                       "\0\0\0\x0F",
                                                                       22));
    EXPECT_EQ(record.Size(), 22U);

    StreamMgrApi::EventRecordItem decoded;
    EXPECT_TRUE(DecodeItems(payload, {&decoded}));
    EXPECT_EQ(decoded.reid.Value(), "ab:01");
    EXPECT_TRUE(decoded.tagsComplete.Value());
    EXPECT_EQ(decoded.startTime.Value(), 2);
    EXPECT_EQ(decoded.stopTime.Value(), -1);
    EXPECT_EQ(decoded.streams.Value(), 0xFU);
}
