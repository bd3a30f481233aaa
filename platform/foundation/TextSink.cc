#include "platform/foundation/TextSink.h"

namespace tessera {
namespace {

constexpr std::string_view kCutMark = "…";

// The largest position up to `position` that does not split a UTF-8 sequence. Bytes
// that are no UTF-8 at all are cut where they are.
std::size_t sequenceBoundary(std::string_view text, std::size_t position) {
  constexpr std::size_t kLongestSequence = 4;
  std::size_t boundary = position;
  for (std::size_t back = 0; back < kLongestSequence; ++back) {
    if ((static_cast<unsigned char>(text[boundary]) & 0xC0U) != 0x80U) return boundary;
    if (boundary == 0) break;
    --boundary;
  }
  return position;
}

}  // namespace

void TextSink::append(std::string_view text) {
  if (_full || text.empty()) return;
  const std::size_t room = _limit - _text.size();
  if (text.size() <= room) {
    _text.append(text);
    return;
  }
  _full = true;
  // One byte more than fits, so that the byte behind the cut can be looked at.
  _text.append(text.substr(0, room + 1));
  const bool marked = _limit >= kCutMark.size();
  _text.resize(sequenceBoundary(_text, marked ? _limit - kCutMark.size() : _limit));
  if (marked) _text.append(kCutMark);
}

}  // namespace tessera
