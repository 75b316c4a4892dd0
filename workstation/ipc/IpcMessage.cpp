// A message of the recorder's message-passing IPC: an id and a payload.
#include "IpcMessage.h"

#include <algorithm>

IpcMessage::IpcMessage() = default;
IpcMessage::~IpcMessage() = default;

int IpcMessage::Allocate(unsigned int id, unsigned int size, char* buffer) {
    if (size > maxSize) {
        return -1;
    }
    storage_.clear();
    if (buffer == nullptr) {
        storage_.resize(size);
        buffer = storage_.data();
    }
    id_ = id;
    size_ = size;
    data_ = size > 0 ? buffer : nullptr;
    return 0;
}

int IpcMessage::Fill(char const* data, unsigned int size) {
    if (size > size_) {
        return -1;
    }
    std::copy_n(data, size, data_);
    return 0;
}

char* IpcMessage::Data() {
    return data_;
}

unsigned int IpcMessage::Size() const {
    return size_;
}

unsigned int IpcMessage::Id() const {
    return id_;
}
