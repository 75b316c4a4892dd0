// Pool images: what is refused and why, and how the table lies in the file.
#include "pool/PoolImage.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "support/FailureOf.h"
#include "support/TestRoot.h"

namespace workstation::pool {
namespace {

class PoolImageTest : public testing::Test {
protected:
    // Why the pool is refused with `error`, without the part that names it.
    std::string Refusal(int error) const {
        EXPECT_EQ(ErrorOf([&] { PoolImage::Open(root_.Pool()); }), error);
        std::string const failure = FailureOf([&] { PoolImage::Open(root_.Pool()); });
        std::string const name = "pool '" + root_.Pool() + "': ";
        EXPECT_EQ(failure.find(name), 0U) << failure;
        return failure.substr(std::min(failure.size(), name.size()));
    }

    std::unique_ptr<PoolImage> Open() const { return PoolImage::Open(root_.Pool()); }

    TestRoot root_;
};

TEST_F(PoolImageTest, MissingPoolIsRefused) {
    EXPECT_EQ(Refusal(ENOENT), "cannot open: No such file or directory");
}

TEST_F(PoolImageTest, DirectoryIsRefused) {
    std::filesystem::create_directory(root_.Pool());
    EXPECT_EQ(Refusal(EISDIR), "cannot open: Is a directory");
}

TEST_F(PoolImageTest, PipeIsRefusedWithoutWaiting) {
    ASSERT_EQ(mkfifo(root_.Pool().c_str(), 0600), 0);
    EXPECT_EQ(Refusal(EINVAL), "not a regular file");
}

TEST_F(PoolImageTest, FileWithoutHeaderPageIsRefused) {
    for (unsigned const size : {0U, 1U, 39U, 40U, 4095U}) {
        root_.MakePool(2);
        std::filesystem::resize_file(root_.Pool(), size);
        EXPECT_EQ(Refusal(EUCLEAN),
                  "not a pool image: " + std::to_string(size) + " bytes are no header page");
    }
}

TEST_F(PoolImageTest, ImageOfAnyOtherSizeIsRefused) {
    struct {
        std::uint64_t size;
        char const* fault;
    } const cases[] = {
        {4096, "truncated: 4096 bytes"},
        {4097, "truncated: 4097 bytes"},
        {4128, "truncated: 4128 bytes"},
        {8191, "truncated: 8191 bytes"},
        {8192, "truncated: 8192 bytes"},
        {8192 + 98566144 - 1, "truncated: 98574335 bytes"},
        {8192 + 98566144, "truncated: 98574336 bytes"},
        {8192 + 2 * 98566144 - 1, "truncated: 197140479 bytes"},
        {8192 + 2 * 98566144 + 1, "too long: 197140481 bytes"},
    };
    for (auto const& wrong : cases) {
        root_.MakePool(2);
        std::filesystem::resize_file(root_.Pool(), wrong.size);
        EXPECT_EQ(Refusal(EUCLEAN),
                  std::string(wrong.fault) + ", but 2 stream files take 197140480");
    }
}

TEST_F(PoolImageTest, DamagedHeaderIsRefusedWithItsFault) {
    root_.MakePool(2);
    WriteBytes(root_.Pool(), "X", 0);
    EXPECT_EQ(Refusal(EUCLEAN), "not a pool image: the magic number is missing");
}

TEST_F(PoolImageTest, NewImageHoldsEmptyFilesAndTakesNoSpace) {
    root_.MakePool(3);
    auto const image = Open();
    EXPECT_EQ(image->FileCount(), 3);
    for (int number = 1; number <= 3; ++number) {
        for (auto const word : {EntryWord::controller, EntryWord::dbMatch, EntryWord::atomicReaders,
                                EntryWord::length}) {
            EXPECT_EQ(image->Get(number, word), 0U);
        }
    }
    struct stat status {};
    ASSERT_EQ(stat(root_.Pool().c_str(), &status), 0);
    EXPECT_EQ(static_cast<std::uint64_t>(status.st_size), PoolImageSize(3));
    EXPECT_LT(status.st_blocks, 64);
    EXPECT_EQ(status.st_mode & 0777U, 0600U);
}

TEST_F(PoolImageTest, PoolWithoutFilesIsSound) {
    root_.MakePool(0);
    auto const image = Open();
    EXPECT_EQ(image->FileCount(), 0);
    EXPECT_FALSE(image->Has(0));
    EXPECT_FALSE(image->Has(1));
}

TEST_F(PoolImageTest, EntryLiesInTheFileBigEndian) {
    root_.MakePool(2);
    auto const image = Open();
    image->Set(2, EntryWord::controller, 0x01020304);
    image->Set(2, EntryWord::dbMatch, 0x05060708);
    image->Set(2, EntryWord::atomicReaders, 0x090A0B0C);
    image->Set(2, EntryWord::length, 0x05E00000);
    std::ifstream file(root_.Pool(), std::ios::binary);
    std::string bytes(48, '?');
    file.seekg(4096);
    file.read(bytes.data(), 48);
    EXPECT_EQ(bytes, std::string(16, '\0') +
                         std::string("\1\2\3\4\5\6\7\x8\x9\xA\xB\xC\x5\xE0\0\0", 16) +
                         std::string(16, '\0'));
}

TEST_F(PoolImageTest, ChangesShowInEveryMapping) {
    root_.MakePool(2);
    auto const writer = Open();
    auto const reader = Open();
    writer->Set(1, EntryWord::length, 4711);
    EXPECT_EQ(reader->Get(1, EntryWord::length), 4711U);
}

TEST_F(PoolImageTest, ReplacedImageIsNotTakenForTheOldOne) {
    root_.MakePool(2);
    auto const image = Open();
    EXPECT_TRUE(image->LiesAt(root_.Pool()));
    EXPECT_TRUE(image->OpenDescriptor(O_RDONLY, "pool"));

    std::filesystem::rename(root_.Pool(), root_.Path() + "/old");
    EXPECT_FALSE(image->LiesAt(root_.Pool()));
    EXPECT_EQ(ErrorOf([&] { image->OpenDescriptor(O_RDONLY, "pool"); }), ENOENT);

    root_.MakePool(2);
    EXPECT_FALSE(image->LiesAt(root_.Pool()));
    EXPECT_EQ(ErrorOf([&] { image->OpenDescriptor(O_RDONLY, "pool"); }), ESTALE);
    EXPECT_EQ(FailureOf([&] { image->OpenDescriptor(O_RDONLY, "pool"); }),
              "pool: Stale file handle");
}

TEST_F(PoolImageTest, ImageThatCannotBeMadeSaysWhy) {
    auto const create = [&] { PoolImage::Create(root_.Path() + "/none/pool", 1); };
    EXPECT_EQ(FailureOf(create),
              "cannot create '" + root_.Path() + "/none/pool': No such file or directory");
    EXPECT_EQ(ErrorOf(create), ENOENT);
}

} // namespace
} // namespace workstation::pool
