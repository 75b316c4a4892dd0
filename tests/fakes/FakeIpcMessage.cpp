// An IPC message, scripted.
#include "IpcMessage.h"

#include <algorithm>
#include <string_view>

#include "FakePlatform.h"
#include "Show.h"

IpcMessage::IpcMessage() {
    FakePlatform::Get().Note("IpcMessage()");
}

IpcMessage::~IpcMessage() {
    FakePlatform::Get().Note("~IpcMessage()");
}

int IpcMessage::Allocate(unsigned int id, unsigned int size, char* buffer) {
    std::string const arguments = ShowAll(id, size) + (buffer == nullptr ? ", null" : ", buffer");
    if (auto const answer = FakePlatform::Get().Enter("message.", "Allocate", arguments)) {
        return static_cast<int>(answer->value);
    }
    if (size > maxSize) {
        return 1;
    }
    id_ = id;
    size_ = size;
    storage_.assign(buffer == nullptr ? size : 0, '\0');
    data_ = buffer == nullptr ? storage_.data() : buffer;
    return 0;
}

int IpcMessage::Fill(char const* data, unsigned int size) {
    FakePlatform& platform = FakePlatform::Get();
    if (auto const answer =
            platform.Enter("message.", "Fill", ShowAll(std::string_view(data, size), size))) {
        return static_cast<int>(answer->value);
    }
    if (size > size_) {
        platform.Breach("more filled in than was allocated");
        return 1;
    }
    std::copy_n(data, size, data_);
    return 0;
}

char* IpcMessage::Data() {
    return size_ == 0 ? nullptr : data_;
}

unsigned int IpcMessage::Size() const {
    return size_;
}

unsigned int IpcMessage::Id() const {
    return id_;
}
