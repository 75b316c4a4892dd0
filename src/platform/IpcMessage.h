// A message of the recorder's message-passing IPC: an id and a payload.
#pragma once

#include <vector>

class IpcMessage {
public:
    // The largest payload, in bytes, that a message can carry.
    static constexpr unsigned int maxSize = 65536;

    // An empty message: id 0, no payload.
    IpcMessage();
    ~IpcMessage();

    IpcMessage(IpcMessage const&) = delete;
    IpcMessage& operator=(IpcMessage const&) = delete;

    // Sets the id and replaces the payload by `size` zero bytes. With a `buffer` that is not null,
    // the payload is that buffer of `size` bytes instead, unchanged; it belongs to the caller and
    // must outlive the message. 0 on success, non-zero when `size` is above maxSize.
    int Allocate(unsigned int id, unsigned int size, char* buffer);

    // Copies `size` bytes to the start of the payload. 0 on success, non-zero when the payload is
    // smaller than that.
    int Fill(char const* data, unsigned int size);

    // The payload; null when it is empty. Valid until the next Allocate and while the message
    // lives.
    char* Data();
    // Payload size in bytes.
    unsigned int Size() const;
    unsigned int Id() const;

private:
    unsigned int id_ = 0;
    unsigned int size_ = 0;
    char* data_ = nullptr;
    std::vector<char> storage_;
};
