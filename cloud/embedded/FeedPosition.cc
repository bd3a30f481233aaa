#include "cloud/embedded/FeedPosition.h"

#include <charconv>
#include <string_view>

#include "cloud/CloudError.h"

namespace tessera {

namespace {

// Reads a number without sign or leading zeros off the front of `text`.
bool takeNumber(std::string_view& text, std::int64_t& number) {
  if (text.empty() || text[0] < '0' || text[0] > '9') return false;
  if (text[0] == '0' && text.size() > 1 && text[1] != '.') return false;
  auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc()) return false;
  text.remove_prefix(static_cast<std::size_t>(end - text.data()));
  return true;
}

std::string prefix(const std::string& cloud, const std::string& account) {
  return "t1." + cloud + "." + account + ".";
}

}  // namespace

ChangeToken FeedPosition::toToken(const std::string& cloud, const std::string& account) const {
  return prefix(cloud, account) + std::to_string(sequence) + "." + std::to_string(floor);
}

FeedPosition FeedPosition::fromToken(const ChangeToken& token, const std::string& cloud,
                                     const std::string& account) {
  std::string expected = prefix(cloud, account);
  FeedPosition position;
  std::string_view rest = token;
  bool good = rest.starts_with(expected);
  if (good) {
    rest.remove_prefix(expected.size());
    good = takeNumber(rest, position.sequence) && rest.starts_with('.');
  }
  if (good) {
    rest.remove_prefix(1);
    good = takeNumber(rest, position.floor) && rest.empty();
  }
  if (!good) {
    throw CloudError(CloudError::Code::TokenExpired,
                     "The change token is not one of this account in this cloud.");
  }
  return position;
}

}  // namespace tessera
