// Items to and from the payload of a message.
#include "ipc/Payload.h"

#include <algorithm>

#include "IpcMessage.h"
#include "Item.h"
#include "ipc/DecodeRange.h"

namespace workstation::ipc {
namespace {

unsigned char* Bytes(char* text) {
    return reinterpret_cast<unsigned char*>(text);
}

} // namespace

std::vector<char> EncodeItems(std::initializer_list<Item*> items) {
    std::size_t size = 0;
    for (Item* const item : items) {
        size += item->Size();
    }
    std::vector<char> payload(size);
    unsigned char* out = Bytes(payload.data());
    for (Item* const item : items) {
        out = item->Encode(out);
    }
    return payload;
}

bool DecodeItems(std::span<char> payload, std::initializer_list<Item*> items) {
    DecodeScope const scope(payload.data(), payload.size());
    unsigned char* in = Bytes(payload.data());
    for (Item* const item : items) {
        in = item->Decode(in);
    }
    return std::ranges::equal(payload, EncodeItems(items));
}

bool PackMessage(IpcMessage& message, unsigned int id, std::initializer_list<Item*> items) {
    auto const payload = EncodeItems(items);
    if (payload.size() > IpcMessage::maxSize) {
        return false;
    }
    auto const size = static_cast<unsigned int>(payload.size());
    return message.Allocate(id, size, nullptr) == 0 && message.Fill(payload.data(), size) == 0;
}

bool UnpackMessage(IpcMessage& message, std::initializer_list<Item*> items) {
    return DecodeItems({message.Data(), message.Size()}, items);
}

} // namespace workstation::ipc
