#include "skiff/store/ContentHash.h"

#include <openssl/evp.h>

#include <stdexcept>

namespace tessera {

struct ContentHash::State {
  State() : context(EVP_MD_CTX_new()) {
    if (context == nullptr || EVP_DigestInit_ex(context, EVP_sha256(), nullptr) != 1) {
      EVP_MD_CTX_free(context);
      throw std::runtime_error("SHA-256 is not available");
    }
  }
  ~State() { EVP_MD_CTX_free(context); }
  State(const State&) = delete;
  State& operator=(const State&) = delete;

  EVP_MD_CTX* context;
};

ContentHash::ContentHash() : _state(std::make_unique<State>()) {}
ContentHash::~ContentHash() = default;

void ContentHash::add(std::span<const std::byte> bytes) {
  if (EVP_DigestUpdate(_state->context, bytes.data(), bytes.size()) != 1) {
    throw std::runtime_error("SHA-256 failed");
  }
}

ContentHash::Digest ContentHash::finish() {
  Digest digest{};
  unsigned int length = 0;
  if (EVP_DigestFinal_ex(_state->context, digest.data(), &length) != 1 || length != digest.size()) {
    throw std::runtime_error("SHA-256 failed");
  }
  return digest;
}

std::string ContentHash::finishHex() {
  static constexpr char kDigits[] = "0123456789abcdef";
  std::string text;
  text.reserve(64);
  for (std::uint8_t byte : finish()) {
    text.push_back(kDigits[byte >> 4]);
    text.push_back(kDigits[byte & 15]);
  }
  return text;
}

ContentHash::Digest ContentHash::of(std::string_view text) {
  ContentHash hash;
  hash.add(std::as_bytes(std::span(text.data(), text.size())));
  return hash.finish();
}

}  // namespace tessera
