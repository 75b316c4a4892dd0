// Items to and from the payload of a message.
#pragma once

#include <initializer_list>
#include <span>
#include <vector>

class IpcMessage;
class Item;

namespace workstation::ipc {

// The encodings of the items, one directly after the other.
std::vector<char> EncodeItems(std::initializer_list<Item*> items);

// Decodes the items from a payload. False when it is not exactly what they encode to: it ends too
// early, continues after the last item, or contains a wrong length. The items are set in any case,
// missing ones to zero or empty.
bool DecodeItems(std::span<char> payload, std::initializer_list<Item*> items);

// Sets the id of `message`, and its payload to the encodings of the items. False when they are
// larger than IpcMessage::maxSize.
bool PackMessage(IpcMessage& message, unsigned int id, std::initializer_list<Item*> items);

// DecodeItems on the payload of `message`.
bool UnpackMessage(IpcMessage& message, std::initializer_list<Item*> items);

} // namespace workstation::ipc
