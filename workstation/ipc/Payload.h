// Items to and from the payload of a message.
#pragma once

#include <initializer_list>
#include <span>
#include <vector>

class IpcMessage;
class Item;

namespace workstation::ipc {

// The encodings of the items, back to back.
std::vector<char> EncodeItems(std::initializer_list<Item*> items);

// Decodes the items from a payload. True when it is exactly what they encode to: a payload that
// ends too early, goes on after the last item, or states a false length is none of theirs. The
// items are set in any case, the missing ones to zero or empty.
bool DecodeItems(std::span<char> payload, std::initializer_list<Item*> items);

// Makes `message` one with this id and the encodings of the items. False when they are larger than
// a message can be.
bool PackMessage(IpcMessage& message, unsigned int id, std::initializer_list<Item*> items);

// DecodeItems on the payload of `message`.
bool UnpackMessage(IpcMessage& message, std::initializer_list<Item*> items);

} // namespace workstation::ipc
