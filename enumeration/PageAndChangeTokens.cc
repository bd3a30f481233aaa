#include "enumeration/PageAndChangeTokens.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

namespace tessera {
namespace {

struct PageToken {
  std::uint64_t offset = 0;
  std::uint8_t sortOrder = 0;
  std::uint8_t padding[7] = {};
};
static_assert(sizeof(PageToken) == 16 && offsetof(PageToken, sortOrder) == 8);

struct ChangeToken {
  std::uint64_t rank = 0;
  UUIDBytes uuid = {};
};
static_assert(sizeof(ChangeToken) == 24 && offsetof(ChangeToken, uuid) == 8);

template <class Token>
Token decode(const NSDataPtr& data) {
  Token token;
  if (data && data->length() > 0)
    std::memcpy(&token, data->bytes().data(), std::min(data->length(), sizeof token));
  return token;
}

template <class Token>
NSDataPtr encode(const Token& token) {
  return NSData::dataWithBytes({reinterpret_cast<const std::uint8_t*>(&token), sizeof token});
}

bool isEqual(const NSFileProviderPage& page, const NSFileProviderPage& constant) {
  return page && page->isEqualToData(*constant);
}

}  // namespace

std::uint8_t gv_pageTokenSortOrder(const NSFileProviderPage& page) {
  if (isEqual(page, NSFileProviderInitialPageSortedByDate())) return 1;
  if (isEqual(page, NSFileProviderInitialPageSortedByName())) return 0;
  return decode<PageToken>(page).sortOrder;
}

std::uint64_t gv_pageTokenOffset(const NSFileProviderPage& page) {
  if (isEqual(page, NSFileProviderInitialPageSortedByDate())) return 0;
  if (isEqual(page, NSFileProviderInitialPageSortedByName())) return 0;
  return decode<PageToken>(page).offset;
}

NSFileProviderPage gv_pageTokenFromSortOrder(std::uint8_t sortOrder, std::uint64_t offset) {
  if (offset == 0) return nullptr;
  return encode(PageToken{.offset = offset, .sortOrder = sortOrder});
}

NSFileProviderSyncAnchor gv_changeTokenFromRank(std::uint64_t rank, const UUIDBytes& uuid) {
  return encode(ChangeToken{.rank = rank, .uuid = uuid});
}

std::int64_t gv_changeTokenRankWithUUID(const NSFileProviderSyncAnchor& token,
                                        const UUIDBytes& uuid) {
  const auto decoded = decode<ChangeToken>(token);
  if (uuid_compare(decoded.uuid, uuid) != 0) return -1;
  return static_cast<std::int64_t>(decoded.rank);
}

}  // namespace tessera
