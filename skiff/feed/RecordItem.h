#pragma once

#include "cloud/DocumentRecord.h"
#include "skiff/store/StoredItem.h"

namespace tessera {

// Copies what a record says of its item, except for name, place and content.
void takeAttributes(StoredItem& item, const DocumentRecord& record);

// Copies what a record says of the cloud's content.
void takeContent(StoredItem& item, const DocumentRecord& record);

[[nodiscard]] ItemKind kindOf(const DocumentRecord& record);

}  // namespace tessera
