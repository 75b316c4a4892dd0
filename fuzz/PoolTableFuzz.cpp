// Opens stream files whose entries in the table, flush marks and packets are arbitrary.
#include <fcntl.h>
#include <fuzzer/FuzzedDataProvider.h>
#include <unistd.h>

#include <cerrno>
#include <string>
#include <vector>

#include "BigEndian.h"
#include "Failure.h"
#include "FileDescriptor.h"
#include "Require.h"
#include "Root.h"
#include "pool/PoolImage.h"
#include "pool/PoolSession.h"
#include "pool/StreamFile.h"
#include "service/ring/InterruptedFile.h"
#include "support/TemporaryRoot.h"

using namespace workstation;

namespace {

constexpr std::uint32_t fileCount = 2;

// Lengths up to here take no time to read.
constexpr std::uint32_t shortLength = 0x4000;

class Pool {
public:
    Pool() {
        setenv("STREAMMGR_LOG", "/dev/null", 1);
        pool::PoolImage::Create(PoolPath(), fileCount);
        image_.Reset(open(PoolPath().c_str(), O_RDWR | O_CLOEXEC));
        session_.Load(false);
    }

    void Write(std::uint64_t offset, std::vector<unsigned char> const& bytes) const {
        Require(pwrite(image_.Get(), bytes.data(), bytes.size(), static_cast<off_t>(offset)) ==
                static_cast<ssize_t>(bytes.size()));
    }

    pool::PoolSession& Session() { return session_; }

private:
    TemporaryRoot root_;
    FileDescriptor image_;
    pool::PoolSession session_;
};

// Short, or anything.
std::uint32_t AnyLength(FuzzedDataProvider& plan) {
    return plan.ConsumeBool() ? plan.ConsumeIntegralInRange(0U, shortLength)
                              : ~plan.ConsumeIntegralInRange(0U, 0x08000000U);
}

void WriteEntries(FuzzedDataProvider& plan, Pool const& pool) {
    for (std::uint32_t number = 1; number <= fileCount; ++number) {
        std::vector<unsigned char> entry(pool::poolEntrySize);
        PutBig32(entry.data(), plan.ConsumeIntegral<std::uint32_t>());
        PutBig32(entry.data() + 4, plan.ConsumeIntegral<std::uint32_t>());
        PutBig32(entry.data() + 8, plan.ConsumeIntegral<std::uint32_t>());
        PutBig32(entry.data() + 12, AnyLength(plan));
        pool.Write(pool::PoolEntryOffset(static_cast<int>(number)), entry);
    }
}

// A mark of any content, or one whose checksum is right for the packets of the first file.
service::ring::FlushMark AnyMark(FuzzedDataProvider& plan, std::vector<unsigned char> const& slot) {
    service::ring::FlushMark mark{plan.ConsumeIntegralInRange<std::int64_t>(0, 2), AnyLength(plan),
                                  AnyLength(plan), plan.ConsumeIntegral<std::uint64_t>()};
    if (mark.begin <= mark.end && mark.end <= slot.size() && plan.ConsumeBool()) {
        service::ring::RunningChecksum checksum;
        checksum.Add(std::span(slot).subspan(mark.begin, mark.end - mark.begin));
        mark.checksum = checksum.Value();
    }
    return mark;
}

void ReadFile(pool::PoolSession& session, int number,
              std::array<service::ring::FlushMark, service::ring::marksPerStream> const& marks) {
    std::uint32_t const stated = session.Pool().Get(number, pool::EntryWord::length);
    try {
        auto const file = pool::StreamFile::OpenForReading(session, number);
        Require(stated <= pool::poolSlotSize && file->Length() == stated);
        std::vector<unsigned char> bytes(shortLength + 1);
        auto const count = file->Read(bytes.data(), static_cast<unsigned int>(bytes.size()), false);
        Require(count == std::min<std::size_t>(bytes.size(), stated));
        Require(service::ring::RecordedLength(*file, 1, marks) <= pool::poolSlotSize);
        if (stated <= shortLength) {
            Require(service::ring::ReadContents(*file).size <= stated);
        }
    } catch (Failure const& failure) {
        Require(stated > pool::poolSlotSize && failure.Error() == EUCLEAN);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(unsigned char const* data, std::size_t size) {
    static Pool pool;
    FuzzedDataProvider plan(data, size);
    WriteEntries(plan, pool);
    std::vector<unsigned char> slot(shortLength);
    std::array<service::ring::FlushMark, service::ring::marksPerStream> marks;
    auto const packets =
        plan.ConsumeBytes<unsigned char>(plan.ConsumeIntegralInRange<std::size_t>(0, 1024));
    std::copy(packets.begin(), packets.end(), slot.begin());
    pool.Write(pool::PoolSlotOffset(fileCount, 1), slot);
    for (unsigned int turn = 0; turn < service::ring::marksPerStream; ++turn) {
        service::ring::WriteFlushMark(pool.Session().Pool(), 1, turn, AnyMark(plan, slot));
    }
    marks = service::ring::ReadFlushMarks(pool.Session().Pool(), 1);
    for (int number = 1; number <= static_cast<int>(fileCount); ++number) {
        ReadFile(pool.Session(), number, marks);
    }
    return 0;
}
