// A checksum of bytes that come in parts, for what happens by accident.
#include "evidence/exporting/Gmac.h"

#include <new>
#include <string>

#include <openssl/core_names.h>
#include <openssl/evp.h>
#include <openssl/params.h>

namespace workstation::evidence::exporting {
namespace {

void Require(bool isDone) {
    if (!isDone) {
        throw std::bad_alloc();
    }
}

evp_mac_ctx_st* NewContext() {
    EVP_MAC* const mac = EVP_MAC_fetch(nullptr, "GMAC", nullptr);
    evp_mac_ctx_st* const context = EVP_MAC_CTX_new(mac);
    EVP_MAC_free(mac); // the context keeps it
    return context;
}

} // namespace

void Gmac::Free::operator()(evp_mac_ctx_st* context) const {
    EVP_MAC_CTX_free(context);
}

Gmac::Gmac()
    : context_(NewContext()) {
    Require(context_ != nullptr);
    std::string cipher = "AES-128-GCM";
    std::array<unsigned char, 12> start{};
    std::array<unsigned char, 16> const key{};
    std::array const parameters = {
        OSSL_PARAM_construct_utf8_string(OSSL_MAC_PARAM_CIPHER, cipher.data(), 0),
        OSSL_PARAM_construct_octet_string(OSSL_MAC_PARAM_IV, start.data(), start.size()),
        OSSL_PARAM_construct_end()};
    Require(EVP_MAC_init(context_.get(), key.data(), key.size(), parameters.data()) == 1);
}

void Gmac::Add(std::span<unsigned char const> bytes) {
    Require(EVP_MAC_update(context_.get(), bytes.data(), bytes.size()) == 1);
}

Gmac::Tag Gmac::Take() {
    Tag tag{};
    std::size_t size = 0;
    Require(EVP_MAC_final(context_.get(), tag.data(), &size, tag.size()) == 1);
    return tag;
}

} // namespace workstation::evidence::exporting
