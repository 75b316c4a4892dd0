// The short and long options of the tool, in the form that getopt_long takes. Their texts are in
// StreamMgrCli::Usage.
#pragma once

#include <getopt.h>

namespace cli {

// Values of the options that have no short form.
enum LongOption : int {
    optionRatf = 0xff00,
    optionBackupDb = 0xff01,
    optionListFiles = 0xff02,
    optionListIntermediateFiles = 0xff03,
    optionListProcesses = 0xff04,
    optionMultiExtract = 0xff05,
    optionMultiRead = 0xff06,
    optionSplit = 0xff07,
    optionStats = 0xff08,
    optionTickInfo = 0xff09,
};

inline constexpr char const* shortOptions = "hpqrilcs:x:e:X:y:Y:f:F:d:S";

inline constexpr option longOptions[] = {
    {"help", no_argument, nullptr, 'h'},
    {"usage", no_argument, nullptr, 'h'},
    {"ping", no_argument, nullptr, 'p'},
    {"quit", no_argument, nullptr, 'q'},
    {"reaper", no_argument, nullptr, 'r'},
    {"info", no_argument, nullptr, 'i'},
    {"loglevel", no_argument, nullptr, 'l'},
    {"connect", no_argument, nullptr, 'c'},
    {"filechain", required_argument, nullptr, 'f'},
    {"FILECHAIN", required_argument, nullptr, 'F'},
    {"delete", required_argument, nullptr, 'd'},
    {"setloglevel", required_argument, nullptr, 's'},
    {"extract", required_argument, nullptr, 'x'},
    {"editandextract", required_argument, nullptr, 'e'},
    {"extractunbounded", required_argument, nullptr, 'X'},
    {"insertboundedbyname", required_argument, nullptr, 'y'},
    {"insertunbounded", required_argument, nullptr, 'Y'},
    {"ratf", required_argument, nullptr, optionRatf},
    {"bkupdb", required_argument, nullptr, optionBackupDb},
    {"lsm", no_argument, nullptr, optionListFiles},
    {"lsmi", no_argument, nullptr, optionListIntermediateFiles},
    {"listsharedmem", no_argument, nullptr, optionListFiles},
    {"lproc", no_argument, nullptr, optionListProcesses},
    {"listprocesses", no_argument, nullptr, optionListProcesses},
    {"multiextract", required_argument, nullptr, optionMultiExtract},
    {"multiread", required_argument, nullptr, optionMultiRead},
    {"split", required_argument, nullptr, optionSplit},
    {"stats", required_argument, nullptr, optionStats},
    {"tickinfo", required_argument, nullptr, optionTickInfo},
    {"Storage", no_argument, nullptr, 'S'},
    {nullptr, 0, nullptr, 0},
};

} // namespace cli
