// A checksum of bytes that come in parts, for what happens by accident.
#pragma once

#include <array>
#include <memory>
#include <span>

struct evp_mac_ctx_st;

namespace workstation::evidence::exporting {

// GMAC with a key that is always the same: 128 bits, several times as fast as SHA-256. Throws
// std::bad_alloc where there is no memory, as its operations do.
class Gmac {
public:
    using Tag = std::array<unsigned char, 16>;

    Gmac();

    void Add(std::span<unsigned char const> bytes);

    // The checksum of all that was added. To be called once.
    Tag Take();

private:
    struct Free {
        void operator()(evp_mac_ctx_st* context) const;
    };

    std::unique_ptr<evp_mac_ctx_st, Free> context_;
};

} // namespace workstation::evidence::exporting
