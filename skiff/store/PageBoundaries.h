#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <list>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_map>

namespace tessera {

enum class SortOrder : std::uint8_t { ByName = 0, ByDate = 1 };

// Where a row stands in an order. `recency` counts by date only, `id` in listings over several
// folders only.
struct RowKey {
  std::int64_t recency = 0;
  std::string fold;
  std::string name;
  std::int64_t id = 0;

  auto operator<=>(const RowKey&) const = default;
};

// Remembers the key of the last row before an offset, so that a page can start behind it
// instead of walking there.
//
// Never skip: a folder that changes between two pages moves its rows over the offsets. A
// boundary that a listing was given and did not come back for yet is only ever replaced by a
// smaller one: that listing may see a row twice, but misses none. Boundaries that nobody waits
// for are replaced, so that a listing from the start sees each row once.
//
// Bounded: the least recently used listings are forgotten, which costs them one walk.
// Threads: any.
class PageBoundaries {
 public:
  using Clock = std::chrono::steady_clock;
  using Now = std::function<Clock::time_point()>;

  // A listing that has not come back after kAbandoned is not waited for any more.
  static constexpr std::chrono::minutes kAbandoned{10};

  explicit PageBoundaries(std::size_t capacity = 50'000, Now now = Clock::now)
      : _capacity(capacity), _now(std::move(now)) {}

  // `folder` 0 stands for the listing of all folders.
  void remember(std::int64_t folder, SortOrder order, std::uint64_t offset, RowKey key);
  [[nodiscard]] std::optional<RowKey> take(std::int64_t folder, SortOrder order,
                                           std::uint64_t offset);

 private:
  struct Boundary {
    RowKey key;
    std::uint32_t awaited = 0;  // listings that were told of it and did not come back
    Clock::time_point told;
  };
  struct Listing {
    std::map<std::uint64_t, Boundary> boundaries;
    std::list<std::uint64_t>::iterator use;
  };
  static std::uint64_t listingKey(std::int64_t folder, SortOrder order) {
    return static_cast<std::uint64_t>(folder) << 1 | static_cast<std::uint64_t>(order);
  }
  Listing& touch(std::uint64_t key);
  void shrink();

  const std::size_t _capacity;
  const Now _now;
  std::mutex _lock;
  std::unordered_map<std::uint64_t, Listing> _listings;  // guarded by _lock
  std::list<std::uint64_t> _recentlyUsed;                // guarded by _lock; latest first
  std::size_t _count = 0;                                // guarded by _lock; of boundaries
};

}  // namespace tessera
