#pragma once

#include <optional>
#include <vector>

#include "platform/fileprovider/NSFileProviderItem.h"
#include "platform/tessera/GVFileObjectID.h"
#include "platform/tessera/GVQueryItem.h"
#include "protocol/extension.capnp.h"
#include "protocol/item.capnp.h"

namespace tessera {

// Items as they travel: from the daemon to here, and from here to the host service.
//
// What comes in is checked. A record whose identifiers are not identifiers, or whose name
// is not a name, is left out with an error line; so are the entries of a list beyond
// kMaxWireItems, which is ten times what anyone asks for.
inline constexpr unsigned kMaxWireItems = 10'000;

// nil for a record that cannot be used.
[[nodiscard]] GVQueryItemPtr decodeItem(wire::Item::Reader wire);
[[nodiscard]] GVQueryItems decodeItems(capnp::List<wire::Item>::Reader wire);
[[nodiscard]] std::vector<GVFileObjectID> decodeIdentifiers(capnp::List<capnp::Text>::Reader wire);

void encodeProviderItem(const NSFileProviderItem& item, wire::ProviderItem::Builder wire);
// `wire` is as long as `items`; none of them is nil.
void encodeProviderItems(const NSFileProviderItems& items,
                         capnp::List<wire::ProviderItem>::Builder wire);

}  // namespace tessera
