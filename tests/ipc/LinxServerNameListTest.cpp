// Cases for the names of the services.
#include "LinxServerNameList.h"

#include <gtest/gtest.h>

TEST(LinxServerNameListTest, StreamManagerHasItsName) {
    EXPECT_EQ(LinxServerNameList::Instance()->Name(e_StreamMgr), "StreamMgr");
    EXPECT_EQ(LinxServerNameList::Instance()->Name(static_cast<e_Process>(20)), "StreamMgr");
}

TEST(LinxServerNameListTest, OtherServicesHaveNoName) {
    EXPECT_EQ(LinxServerNameList::Instance()->Name(static_cast<e_Process>(0)), "");
    EXPECT_EQ(LinxServerNameList::Instance()->Name(static_cast<e_Process>(21)), "");
}

TEST(LinxServerNameListTest, NameStaysWhereItIs) {
    EXPECT_EQ(LinxServerNameList::Instance(), LinxServerNameList::Instance());
    EXPECT_EQ(&LinxServerNameList::Instance()->Name(e_StreamMgr),
              &LinxServerNameList::Instance()->Name(e_StreamMgr));
}
