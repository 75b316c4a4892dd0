// What the tool relies on in the lists: the names of the services and the process table.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <utility>
#include <vector>

#include "LinxServerNameList.h"
#include "StreamFileAccess.h"
#include "StreamMgrFileMgmnt.h"
#include "contract/Scene.h"

namespace {

class ServerNameContract : public testing::Test {
protected:
    Scene scene_;
};

TEST_F(ServerNameContract, ThereIsOneList) {
    ASSERT_NE(LinxServerNameList::Instance(), nullptr);
    EXPECT_EQ(LinxServerNameList::Instance(), LinxServerNameList::Instance());
}

TEST_F(ServerNameContract, ServiceHasANameThatBelongsToTheList) {
    std::string const& name = LinxServerNameList::Instance()->Name(static_cast<e_Process>(20));
    EXPECT_NE(name, "");
    EXPECT_EQ(&LinxServerNameList::Instance()->Name(e_StreamMgr), &name);
}

TEST_F(ServerNameContract, OtherProcessesHaveNoName) {
    for (int const process : {0, 19, 21}) {
        EXPECT_EQ(LinxServerNameList::Instance()->Name(static_cast<e_Process>(process)), "");
    }
}

class ProcessTableContract : public testing::Test {
protected:
    ProcessTableContract() { scene_.MakePool(3, {{2, 500}}); }
    ~ProcessTableContract() override { StreamFileAccess().Unload(); }

    static std::int32_t Word(unsigned char const* at) {
        std::int32_t word = 0;
        std::memcpy(&word, at, sizeof word);
        return word;
    }

    Scene scene_;
};

TEST_F(ProcessTableContract, TableIsNullUntilItIsMapped) {
    scene_.ListThisProcess(2);
    StreamMgrFileMgmnt tables;
    EXPECT_EQ(tables.ProcessTable(), nullptr);
    ASSERT_TRUE(tables.Initialize(0, false, false));
    EXPECT_NE(tables.ProcessTable(), nullptr);
}

TEST_F(ProcessTableContract, TableThatDoesNotExistIsNotMapped) {
    scene_.RemoveProcessTable();
    StreamMgrFileMgmnt tables;
    EXPECT_FALSE(tables.Initialize(0, false, false));
    EXPECT_EQ(tables.ProcessTable(), nullptr);
}

TEST_F(ProcessTableContract, TableHasTheDocumentedLayout) {
    constexpr std::size_t headerSize = 28;
    constexpr std::size_t recordSize = 772;
    constexpr std::size_t slotSize = 12;
    scene_.ListThisProcess(2);
    StreamMgrFileMgmnt tables;
    ASSERT_TRUE(tables.Initialize(0, false, false));
    std::vector<int> processes;
    std::vector<int> files;
    for (std::size_t record = 0; record < 128; ++record) {
        auto const* const at = tables.ProcessTable() + headerSize + record * recordSize;
        if (Word(at) < 1) {
            continue;
        }
        processes.push_back(Word(at));
        for (std::size_t slot = 0; slot < 64; ++slot) {
            auto const* const thread = at + 4 + slot * slotSize;
            if (Word(thread) != 0) {
                EXPECT_NE(Word(thread + 4), 0);
                files.push_back(Word(thread + 8));
            }
        }
    }
    EXPECT_EQ(processes, std::vector<int>{getpid()});
    EXPECT_EQ(files, std::vector<int>{2});
}

} // namespace
