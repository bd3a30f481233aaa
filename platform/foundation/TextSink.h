#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace tessera {

// A bounded text buffer: takes text until it is full and drops the rest, so that
// printing a folder of a thousand items costs no more than the line that is kept.
//
// Invariant: at most `limit` bytes; never ends within a UTF-8 sequence; a text that was
// cut ends in "…", which is part of the limit (and left out where it does not fit).
// Threads: one at a time.
class TextSink {
 public:
  explicit TextSink(std::size_t limit) : _limit(limit) {}

  void append(std::string_view text);
  // Once true, further text is dropped: long loops may end.
  [[nodiscard]] bool full() const noexcept { return _full; }
  [[nodiscard]] std::string_view text() const noexcept { return _text; }
  [[nodiscard]] std::string take() && { return std::move(_text); }

 private:
  std::size_t _limit;  // bytes
  bool _full = false;
  std::string _text;
};

}  // namespace tessera
