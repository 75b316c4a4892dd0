// The status of the service as the payload of a message.
#include "status/ServiceStatusItem.h"

#include <algorithm>

namespace workstation::status {
namespace {

using State = StreamStatus::State;

// A pass goes over all items in their order, and encodes, decodes or measures each. A function here
// makes an item of a value, passes it, and takes its value back: so the layout stands here once.

template <typename Pass>
void Word(Pass& pass, std::uint32_t& value) {
    UIntItem item(value);
    pass(item);
    value = item.Value();
}

template <typename Pass>
void Wide(Pass& pass, std::uint64_t& value) {
    auto upper = static_cast<std::uint32_t>(value >> 32U);
    auto lower = static_cast<std::uint32_t>(value);
    Word(pass, upper);
    Word(pass, lower);
    value = std::uint64_t{upper} << 32U | lower;
}

template <typename Pass>
void Flag(Pass& pass, bool& value) {
    BoolItem item(value);
    pass(item);
    value = item.Value();
}

template <typename Pass>
void Text(Pass& pass, std::string& value) {
    StringItem item(value);
    pass(item);
    value = item.Value();
}

// 0 stands for nothing.
template <typename Pass, typename Number>
void OptionalWord(Pass& pass, std::optional<Number>& value) {
    auto word = static_cast<std::uint32_t>(value.value_or(0));
    Word(pass, word);
    value = word == 0 ? std::nullopt : std::make_optional(static_cast<Number>(word));
}

// An unknown word becomes a state: its encoding then shows that the payload is malformed.
template <typename Pass>
void StateWord(Pass& pass, State& state) {
    auto word = static_cast<std::uint32_t>(state);
    Word(pass, word);
    state = static_cast<State>(std::min(word, static_cast<std::uint32_t>(State::ended)));
}

template <typename Pass>
void Stream(Pass& pass, StreamStatus& stream) {
    Word(pass, stream.stream);
    Text(pass, stream.source);
    Flag(pass, stream.isLive);
    StateWord(pass, stream.state);
    OptionalWord(pass, stream.lastPacket);
    Wide(pass, stream.bitsPerSecond);
    Word(pass, stream.restarts);
    Wide(pass, stream.droppedBytes);
    OptionalWord(pass, stream.slot);
    Text(pass, stream.problem);
}

template <typename Pass>
void Service(Pass&& pass, ServiceStatus& status) {
    Word(pass, status.process);
    Word(pass, status.upSeconds);
    auto count = static_cast<std::uint32_t>(status.streams.size());
    Word(pass, count);
    status.streams.resize(std::min<std::size_t>(count, ServiceStatusItem::maxStreamCount));
    for (StreamStatus& stream : status.streams) {
        Stream(pass, stream);
    }
    Wide(pass, status.storage.totalKiB);
    Wide(pass, status.storage.bufferKiB);
    Wide(pass, status.storage.freeKiB);
    Word(pass, status.subscribers);
    Text(pass, status.problem);
}

} // namespace

unsigned char* ServiceStatusItem::Encode(unsigned char* out) {
    Service([&out](Item& item) { out = item.Encode(out); }, value_);
    return out;
}

unsigned char* ServiceStatusItem::Decode(unsigned char* in) {
    Service([&in](Item& item) { in = item.Decode(in); }, value_);
    return in;
}

unsigned int ServiceStatusItem::Size() {
    unsigned int size = 0;
    Service([&size](Item& item) { size += item.Size(); }, value_);
    return size;
}

} // namespace workstation::status
