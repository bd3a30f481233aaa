#pragma once

#include <cstdint>

#include "platform/fileprovider/NSFileProviderIdentifiers.h"
#include "platform/foundation/UUID.h"

namespace tessera {

// The tokens that the platform stores for us and gives back (category Additions of NSData).
// Both are read and written in the processor's byte order and carry no version or checksum.
//
//   page token, 16 bytes:    0 offset (8)   8 sort order (1)   9 zero (7)
//   change token, 24 bytes:  0 rank (8)     8 uuid of the generation (16)
//
// A token that is too long is read from its first bytes; what is missing from one that is
// too short, nil included, reads as zero. The platform's two initial pages are page tokens
// too: offset 0, by name or by date.

// gv_pageTokenSortOrder — 0 by name, 1 by date
[[nodiscard]] std::uint8_t gv_pageTokenSortOrder(const NSFileProviderPage& page);
// gv_pageTokenOffset — index of the first item of the page
[[nodiscard]] std::uint64_t gv_pageTokenOffset(const NSFileProviderPage& page);
// gv_pageTokenFromSortOrder:offset: — nil for offset 0, which is how the daemon says that
// the listing is complete and how the platform is told
[[nodiscard]] NSFileProviderPage gv_pageTokenFromSortOrder(std::uint8_t sortOrder,
                                                           std::uint64_t offset);

// gv_changeTokenFromRank:uuid: — never nil
[[nodiscard]] NSFileProviderSyncAnchor gv_changeTokenFromRank(std::uint64_t rank,
                                                              const UUIDBytes& uuid);
// gv_changeTokenRankWithUUID: — the rank if the token is of the generation `uuid`, else -1.
// Ranks of 2^63 and more come out negative as well: every negative result is "expired".
[[nodiscard]] std::int64_t gv_changeTokenRankWithUUID(const NSFileProviderSyncAnchor& token,
                                                      const UUIDBytes& uuid);

}  // namespace tessera
