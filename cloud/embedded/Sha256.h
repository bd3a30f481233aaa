#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>

struct evp_md_ctx_st;

namespace tessera {

// A SHA-256 in the making. Threads: one at a time.
class Sha256 {
 public:
  Sha256();
  ~Sha256();
  Sha256(const Sha256&) = delete;
  Sha256& operator=(const Sha256&) = delete;

  void update(std::span<const std::byte> bytes);
  // The hash as 64 lower-case hexadecimal digits. Called once.
  [[nodiscard]] std::string finish();

  // Whether `text` has the form that finish() gives.
  [[nodiscard]] static bool isDigest(std::string_view text);

 private:
  evp_md_ctx_st* _context;
};

}  // namespace tessera
