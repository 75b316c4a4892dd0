// What the tests of the tool's options have in common.
#pragma once

#include "StreamMgrCli.h"
#include "fakes/SeamTest.h"

// The tool as main makes it.
class CliTest : public SeamTest {
protected:
    // The tool's endpoint is ready from the start: most tests go without PreInit.
    CliTest() { platform.endpoints.begin()->second.ready = true; }

    // Makes the tool as if the service's processes were these ("" for none), without a word about
    // it in the record.
    unsigned int Prepare(std::string const& pidofOutput = "321\n") {
        FakePlatform::Unrecorded const unrecorded(platform);
        platform.pidofOutput = pidofOutput;
        return cli.PreInit();
    }

    static constexpr char const* endpointName = "StreamMgrCli_4711";

    StreamMgrCli cli{endpointName};
};
