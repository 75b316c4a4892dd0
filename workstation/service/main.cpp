// The stream manager service.
#include "service/CommandLine.h"
#include "service/Service.h"

int main(int argc, char** argv) {
    return workstation::service::RunWithCommandLine(argc, argv, workstation::service::RunService);
}
