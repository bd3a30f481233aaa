#pragma once

#include "platform/fileprovider/NSFileProviderIdentifiers.h"
#include "platform/foundation/NSError.h"
#include "protocol/extension.capnp.h"

namespace tessera {

// Positions in listings and in histories of changes, as they travel. A token longer than
// kMaxTokenBytes is none of ours: it is refused with NSPOSIXErrorDomain EINVAL.
inline constexpr std::size_t kMaxTokenBytes = 4096;

// The initial pages come out as the platform's constants, the same objects every time.
[[nodiscard]] NSFileProviderPage decodePage(wire::Page::Reader wire, NSErrorPtr* error);
// nil is the end of the listing.
void encodePage(const NSFileProviderPage& page, wire::Page::Builder wire);

// Also empty tokens: nil.
[[nodiscard]] NSDataPtr decodeToken(capnp::Data::Reader wire, NSErrorPtr* error);
// nil is an empty token.
[[nodiscard]] capnp::Data::Reader encodeToken(const NSDataPtr& token);

}  // namespace tessera
