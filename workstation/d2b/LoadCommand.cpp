// d2b load: puts an ordinary file into the pool.
#include "d2b/LoadCommand.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <memory>
#include <vector>

#include "Failure.h"
#include "FileDescriptor.h"
#include "d2b/Commands.h"
#include "pool/PoolSession.h"
#include "pool/StreamFile.h"
#include "ts/TsPacket.h"

namespace workstation::d2b {
namespace {

// The size of a source that can be loaded. Throws Failure for any other.
long SizeOfSource(int descriptor, std::string const& source) {
    struct stat status {};
    if (fstat(descriptor, &status) != 0) {
        throw SystemFailure("'" + source + "'");
    }
    if (!S_ISREG(status.st_mode)) {
        throw Failure(EINVAL, "'" + source + "' is not a regular file");
    }
    if (status.st_size > off_t{pool::poolSlotSize}) {
        throw Failure(EFBIG, "'" + source + "': " + std::to_string(status.st_size) +
                                 " bytes do not fit into a slot of " +
                                 std::to_string(pool::poolSlotSize));
    }
    return static_cast<long>(status.st_size);
}

// Copies exactly `size` bytes; a source that has become shorter is a failure.
void Copy(int descriptor, std::string const& source, long size, pool::StreamFile& target) {
    std::vector<unsigned char> buffer(ts::tsBlockSize);
    for (long copied = 0; copied < size;) {
        auto const wanted = std::min(buffer.size(), static_cast<std::size_t>(size - copied));
        ssize_t const got = read(descriptor, buffer.data(), wanted);
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got < 0) {
            throw SystemFailure("cannot read '" + source + "'");
        }
        if (got == 0) {
            throw Failure(EIO, "'" + source + "' ended after " + std::to_string(copied) + " of " +
                                   std::to_string(size) + " bytes");
        }
        target.Write(buffer.data(), static_cast<unsigned int>(got));
        copied += got;
    }
}

} // namespace

void LoadIntoPool(int fileNumber, std::string const& source) {
    FileDescriptor const file(open(source.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    if (!file) {
        throw SystemFailure("cannot open '" + source + "'");
    }
    long const size = SizeOfSource(file.Get(), source);
    pool::PoolSession session;
    session.Load(true);
    auto const target = pool::StreamFile::OpenForWriting(session, fileNumber,
                                                         StreamMgrFileMgmnt::ControlExternalProc);
    Copy(file.Get(), source, size, *target);
    target->SetLengthDurably(size);
}

void AddLoadCommand(CLI::App& tool) {
    struct Options {
        int fileNumber = 0;
        std::string source;
    };
    auto const options = std::make_shared<Options>();
    auto* const command = tool.add_subcommand("load", "Writes a file over a stream file.");
    command->add_option("NUMBER", options->fileNumber, "Number of the stream file, from 1")
        ->required();
    command->add_option("FILE", options->source, "What to write")->required();
    command->callback([options] { LoadIntoPool(options->fileNumber, options->source); });
}

} // namespace workstation::d2b
