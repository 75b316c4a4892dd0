// Which stream files --stats and --tickinfo scan.
#include "streamfile/FilesToScan.h"

#include "common/FileAccess.h"
#include "transfer/PreChecks.h"

namespace streamfile {

std::optional<std::vector<int>> FilesToScan(int fileNumber) {
    if (!transfer::InitializePool()) {
        return std::nullopt;
    }
    if (fileNumber != 0) {
        return std::vector<int>{fileNumber};
    }
    std::vector<int> numbers;
    long const poolSize = fileAccess.GetFilePoolSize();
    for (int number = 1; number <= poolSize; ++number) {
        numbers.push_back(number);
    }
    return numbers;
}

} // namespace streamfile
