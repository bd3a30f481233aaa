#include "skiff/store/PageBoundaries.h"

namespace tessera {

PageBoundaries::Listing& PageBoundaries::touch(std::uint64_t key) {
  auto found = _listings.find(key);
  if (found == _listings.end()) {
    _recentlyUsed.push_front(key);
    Listing& listing = _listings[key];
    listing.use = _recentlyUsed.begin();
    return listing;
  }
  _recentlyUsed.splice(_recentlyUsed.begin(), _recentlyUsed, found->second.use);
  return found->second;
}

void PageBoundaries::remember(std::int64_t folder, SortOrder order, std::uint64_t offset,
                              RowKey key) {
  std::lock_guard lock(_lock);
  Listing& listing = touch(listingKey(folder, order));
  auto [place, isNew] = listing.boundaries.try_emplace(offset);
  Boundary& boundary = place->second;
  Clock::time_point now = _now();
  if (isNew) ++_count;
  if (!isNew && boundary.awaited > 0 && now - boundary.told >= kAbandoned) boundary.awaited = 0;
  if (boundary.awaited == 0 || key < boundary.key) boundary.key = std::move(key);
  ++boundary.awaited;
  boundary.told = now;
  shrink();
}

std::optional<RowKey> PageBoundaries::take(std::int64_t folder, SortOrder order,
                                           std::uint64_t offset) {
  std::lock_guard lock(_lock);
  auto found = _listings.find(listingKey(folder, order));
  if (found == _listings.end()) return std::nullopt;
  Listing& listing = touch(found->first);
  auto place = listing.boundaries.find(offset);
  if (place == listing.boundaries.end()) return std::nullopt;
  if (place->second.awaited > 0) --place->second.awaited;
  return place->second.key;
}

void PageBoundaries::shrink() {
  while (_count > _capacity && _recentlyUsed.size() > 1) {
    auto oldest = _listings.find(_recentlyUsed.back());
    _count -= oldest->second.boundaries.size();
    _listings.erase(oldest);
    _recentlyUsed.pop_back();
  }
  // A single listing that is larger than all there is room for keeps its later half, which
  // is where it goes on.
  if (_count > _capacity && !_recentlyUsed.empty()) {
    auto& boundaries = _listings[_recentlyUsed.front()].boundaries;
    while (_count > _capacity / 2 && boundaries.size() > 1) {
      boundaries.erase(boundaries.begin());
      --_count;
    }
  }
}

}  // namespace tessera
