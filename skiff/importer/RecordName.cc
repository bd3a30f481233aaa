#include "skiff/importer/RecordName.h"

#include <uuid/uuid.h>

namespace tessera {

std::string newRecordName() {
  uuid_t bytes;
  ::uuid_generate_random(bytes);
  char text[UUID_STR_LEN];
  ::uuid_unparse_lower(bytes, text);
  return text;
}

}  // namespace tessera
