#include "cloud/embedded/Sha256.h"

#include <openssl/evp.h>

#include <algorithm>
#include <array>
#include <new>
#include <stdexcept>

namespace tessera {

namespace {

// Looked up once: with EVP_sha256() every hash would search the providers again.
const EVP_MD* algorithm() {
  static const EVP_MD* const kAlgorithm = EVP_MD_fetch(nullptr, "SHA256", nullptr);
  if (kAlgorithm == nullptr) throw std::runtime_error("This OpenSSL has no SHA-256");
  return kAlgorithm;
}

}  // namespace

Sha256::Sha256() : _context(EVP_MD_CTX_new()) {
  if (_context == nullptr) throw std::bad_alloc();
  if (EVP_DigestInit_ex2(_context, algorithm(), nullptr) != 1) {
    EVP_MD_CTX_free(_context);
    throw std::runtime_error("SHA-256 cannot start");
  }
}

Sha256::~Sha256() {
  EVP_MD_CTX_free(_context);
}

void Sha256::update(std::span<const std::byte> bytes) {
  if (EVP_DigestUpdate(_context, bytes.data(), bytes.size()) != 1) {
    throw std::runtime_error("SHA-256 cannot go on");
  }
}

std::string Sha256::finish() {
  std::array<unsigned char, EVP_MAX_MD_SIZE> digest;
  unsigned int length = 0;
  if (EVP_DigestFinal_ex(_context, digest.data(), &length) != 1) {
    throw std::runtime_error("SHA-256 cannot end");
  }
  constexpr char kDigits[] = "0123456789abcdef";
  std::string text;
  text.reserve(2 * length);
  for (unsigned int index = 0; index < length; ++index) {
    text.push_back(kDigits[digest[index] >> 4]);
    text.push_back(kDigits[digest[index] & 15]);
  }
  return text;
}

bool Sha256::isDigest(std::string_view text) {
  return text.size() == 64 && std::all_of(text.begin(), text.end(), [](char c) {
           return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f');
         });
}

}  // namespace tessera
