// SHA-256 of bytes that come in parts.
#include "evidence/exporting/Sha256.h"

#include <array>
#include <new>

#include <openssl/evp.h>

namespace workstation::evidence::exporting {
namespace {

void Require(int result) {
    if (result != 1) {
        throw std::bad_alloc();
    }
}

} // namespace

void Sha256::Free::operator()(evp_md_ctx_st* context) const {
    EVP_MD_CTX_free(context);
}

Sha256::Sha256()
    : context_(EVP_MD_CTX_new()) {
    Begin();
}

void Sha256::Begin() {
    Require(EVP_DigestInit_ex(context_.get(), EVP_sha256(), nullptr));
}

void Sha256::Add(std::span<unsigned char const> bytes) {
    Require(EVP_DigestUpdate(context_.get(), bytes.data(), bytes.size()));
}

std::string Sha256::Take() {
    std::array<unsigned char, EVP_MAX_MD_SIZE> hash{};
    unsigned int size = 0;
    Require(EVP_DigestFinal_ex(context_.get(), hash.data(), &size));
    Begin();
    constexpr char digits[] = "0123456789abcdef";
    std::string text;
    for (unsigned char const byte : std::span(hash).first(size)) {
        text += digits[byte >> 4U];
        text += digits[byte & 0xFU];
    }
    return text;
}

} // namespace workstation::evidence::exporting
