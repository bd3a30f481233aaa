#include "skiff/store/ChangeLog.h"

#include <charconv>

#include "skiff/store/ItemRow.h"
#include "skiff/store/SkiffError.h"

namespace tessera {

namespace {

constexpr std::size_t kLongestToken = 64;

const std::string kChanged =
    std::string("SELECT ") + kItemColumns + "FROM items WHERE seq > ? ORDER BY seq LIMIT ?";
constexpr const char* kDeaths =
    "SELECT seq, id, uuid, parent, dead FROM departures WHERE seq > ? AND dead = 1 "
    "ORDER BY seq LIMIT ?";
constexpr const char* kDepartures =
    "SELECT seq, id, uuid, parent, dead FROM departures WHERE seq > ? ORDER BY seq LIMIT ?";

Departure readDeparture(const Statement& row) {
  return {row.int64(0), row.int64(1), ItemID::fromBytes(row.blob(2)).value_or(ItemID()),
          row.int64(3), row.int64(4) != 0};
}

[[noreturn]] void throwExpired() {
  throw SkiffError(SkiffError::Code::TokenExpired,
                   "The change token is not one of this store, or too old. List again.");
}

}  // namespace

ChangeLog::ChangeLog(ItemStore& store)
    : _generation(store.reader()->text("generation").value_or("")) {}

ChangeBatch ChangeLog::after(const ItemTable& items, std::int64_t since, std::uint64_t limit,
                             bool movesToo) const {
  Statement changed = items.database().query(kChanged, since, limit);
  Statement departed = items.database().query(movesToo ? kDepartures : kDeaths, since, limit);
  ChangeBatch batch;
  bool moreChanged = changed.step();
  bool moreDeparted = departed.step();
  while (batch.entries.size() < limit && (moreChanged || moreDeparted)) {
    if (moreChanged && (!moreDeparted || changed.int64(1) < departed.int64(0))) {
      batch.entries.push_back({changed.int64(1), readItem(changed), std::nullopt});
      moreChanged = changed.step();
    } else {
      batch.entries.push_back({departed.int64(0), std::nullopt, readDeparture(departed)});
      moreDeparted = departed.step();
    }
  }
  return batch;
}

std::string ChangeLog::token(std::int64_t seq) const {
  return _generation + "." + std::to_string(seq);
}

std::int64_t ChangeLog::parse(const std::string& token, const ItemTable& items) const {
  if (token.empty()) return 0;
  if (token.size() > kLongestToken || !token.starts_with(_generation + ".")) throwExpired();
  const char* begin = token.data() + _generation.size() + 1;
  const char* end = token.data() + token.size();
  std::int64_t seq = 0;
  auto [rest, error] = std::from_chars(begin, end, seq);
  if (error != std::errc() || rest != end || begin == end || seq < 0) throwExpired();
  // What is ahead of the store comes from a copy of it that went further.
  if (seq > items.number("sequence") || seq < items.number("expiredUpTo")) throwExpired();
  return seq;
}

}  // namespace tessera
