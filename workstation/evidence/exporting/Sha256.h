// SHA-256 of bytes that come in parts.
#pragma once

#include <memory>
#include <span>
#include <string>

struct evp_md_ctx_st;

namespace workstation::evidence::exporting {

// Throws std::bad_alloc where there is no memory, as its operations do.
class Sha256 {
public:
    Sha256();

    void Add(std::span<unsigned char const> bytes);

    // The hash of what was added since the last call, as 64 hexadecimal digits.
    std::string Take();

private:
    struct Free {
        void operator()(evp_md_ctx_st* context) const;
    };

    void Begin();

    std::unique_ptr<evp_md_ctx_st, Free> context_;
};

} // namespace workstation::evidence::exporting
