// The stream manager service.
#include "service/Service.h"
#include "service/ServiceOptions.h"

using namespace workstation::service;

int main(int argc, char** argv) {
    auto const parsed = ParseServiceOptions(argc, argv);
    if (int const* const status = std::get_if<int>(&parsed)) {
        return *status;
    }
    return RunService(std::get<ServiceOptions>(parsed),
                      [argc, argv] { return ParseServiceOptionsAgain(argc, argv); });
}
