#include "cloud/embedded/AccountTable.h"

#include <algorithm>

#include "cloud/CloudError.h"
#include "cloud/Utf8.h"
#include "cloud/embedded/UniqueIdentifier.h"
#include "sqlite/Database.h"

namespace tessera {

namespace {

constexpr std::size_t kLongestName = 255;  // bytes

void checkName(const std::string& name) {
  bool good = !name.empty() && name.size() <= kLongestName && isValidUtf8(name) &&
              std::none_of(name.begin(), name.end(),
                           [](unsigned char c) { return c < 0x20 || c == 0x7f || c == '/'; });
  if (!good) {
    throw CloudError(CloudError::Code::InvalidArgument,
                     "An account's name has 1 to 255 bytes of UTF-8 text without control "
                     "characters or '/'.");
  }
}

}  // namespace

std::optional<StoredAccount> AccountTable::find(const std::string& name) {
  auto row = _database.query("SELECT id, name, identifier FROM account WHERE name = ?", name);
  if (!row.step()) return std::nullopt;
  return StoredAccount{row.int64(0), CloudAccount{row.string(1), row.string(2)}};
}

CloudAccount AccountTable::findOrAdd(const std::string& name) {
  checkName(name);
  if (auto found = find(name)) return found->account;
  CloudAccount account{name, makeUniqueIdentifier()};
  _database.run("INSERT INTO account (name, identifier) VALUES (?, ?)", account.name,
                account.identifier);
  return account;
}

}  // namespace tessera
