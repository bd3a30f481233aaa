#pragma once

#include <cstdint>
#include <string>

#include "cloud/CloudDatabase.h"

namespace tessera {

// Where a reader stands in one account's sequence of changes, as it travels in a
// ChangeToken.
//
// `floor` is the account's compaction floor at the time the reader began from
// nothing: a reader that is still working through the records below the floor has
// missed no deletion as long as the floor has not moved since.
struct FeedPosition {
  std::int64_t sequence = 0;
  std::int64_t floor = 0;

  [[nodiscard]] ChangeToken toToken(const std::string& cloud, const std::string& account) const;

  // Throws TokenExpired for the token of another cloud or account and for what is no
  // token at all. `token` must not be empty.
  [[nodiscard]] static FeedPosition fromToken(const ChangeToken& token, const std::string& cloud,
                                              const std::string& account);

  // Whether everything after this position can still be told, in an account that has
  // reached `latest` and dropped the tombstones up to `currentFloor`.
  [[nodiscard]] bool canContinue(std::int64_t latest, std::int64_t currentFloor) const {
    return sequence <= latest && (sequence >= currentFloor || floor >= currentFloor);
  }
};

}  // namespace tessera
