// An IPC endpoint that records its requests instead of sending them.
#pragma once

#include <string>
#include <vector>

// The calls of LinxIpc::Request in this program, in place of the workstation's: "SERVER ID PAYLOAD
// reply ID timeout MS", the payload in hexadecimal digits, or "... no reply timeout MS".
struct RecordedIpc {
    static std::vector<std::string> requests;
    static int result;          // of Request
    static std::string payload; // of each reply
};
