// The status of the service as the payload of a message.
#pragma once

#include <cstddef>
#include <utility>

#include "Item.h"
#include "status/ServiceStatus.h"

namespace workstation::status {

// Numbers of 64 bits are two words, the upper one first. A time before the epoch does not occur: 0
// stands for no time, and 0 for no slot.
class ServiceStatusItem : public Item {
public:
    // A payload with more streams is malformed.
    static constexpr std::size_t maxStreamCount = 256;

    ServiceStatusItem() = default;
    explicit ServiceStatusItem(ServiceStatus value)
        : value_(std::move(value)) {}

    ServiceStatus const& Value() const { return value_; }

    unsigned char* Encode(unsigned char* out) override;
    unsigned char* Decode(unsigned char* in) override;
    unsigned int Size() override;

private:
    ServiceStatus value_;
};

} // namespace workstation::status
