// The table of stream files as --lsm shows it.
#include "StreamFileTable.h"

namespace e2e {
namespace {

std::string RightAligned(std::string const& text, std::size_t width) {
    return std::string(width - text.size(), ' ') + text;
}

} // namespace

std::string StreamFileTable(std::vector<StreamFileRow> const& rows, int poolSize) {
    std::string table = "StreamFileNum      WriteController        StreamDBMatch    "
                        "NumProcAtomicRead      FileSizeInBytes\n"
                        "-------------      ---------------        -------------    "
                        "-----------------      ---------------\n";
    for (StreamFileRow const& row : rows) {
        table += RightAligned(std::to_string(row.number), 13) + RightAligned(row.controller, 21) +
                 RightAligned(row.isKnown, 21) + RightAligned(std::to_string(row.readers), 21) +
                 RightAligned(std::to_string(row.size), 21) + '\n';
    }
    return table + "Total number of files: " + std::to_string(poolSize) + '\n';
}

} // namespace e2e
