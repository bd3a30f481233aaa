#include "cloud/embedded/ContainerTable.h"

#include <string_view>

#include "cloud/CloudError.h"
#include "cloud/DocumentRecord.h"
#include "sqlite/Database.h"

namespace tessera {

namespace {

constexpr std::size_t kLongestIdentifier = 255;  // bytes, so that it can name a folder

bool isLabelCharacter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-';
}

// Two labels or more, each of letters, digits and inner hyphens.
bool isReverseDns(std::string_view text) {
  if (text.size() > kLongestIdentifier || text.find('.') == std::string_view::npos) return false;
  char previous = '.';
  for (char c : text) {
    if (c == '.') {
      if (previous == '.' || previous == '-') return false;
    } else if (!isLabelCharacter(c) || (c == '-' && previous == '.')) {
      return false;
    }
    previous = c;
  }
  return previous != '.' && previous != '-';
}

[[noreturn]] void refuse(const std::string& message) {
  throw CloudError(CloudError::Code::InvalidArgument, message);
}

}  // namespace

void ContainerTable::check(const CloudContainer& container) {
  if (!isReverseDns(container.identifier)) {
    refuse("\"" + container.identifier +
           "\" is not a container identifier: it must be like com.example.notes, of letters, "
           "digits, hyphens and dots.");
  }
  if (auto wrong = whyNotAnItemName(container.displayName)) refuse(*wrong);
  for (const auto& icon : container.icons) {
    if (icon.width == 0 || icon.height == 0) refuse("An icon's width and height must not be 0.");
  }
}

std::vector<CloudContainer> ContainerTable::all() {
  std::vector<CloudContainer> containers;
  auto row = _database.query("SELECT identifier, display_name FROM container ORDER BY identifier");
  auto icons = _database.statement(
      "SELECT width, height, sha256, size FROM container_icon WHERE container = ? "
      "ORDER BY position");
  while (row.step()) {
    CloudContainer container{row.string(0), row.string(1), {}};
    icons.bind(1, row.text(0));
    while (icons.step()) {
      container.icons.push_back(
          {static_cast<std::uint32_t>(icons.int64(0)), static_cast<std::uint32_t>(icons.int64(1)),
           Asset{icons.string(2), static_cast<std::uint64_t>(icons.int64(3))}});
    }
    icons.reset();
    containers.push_back(std::move(container));
  }
  return containers;
}

void ContainerTable::put(const CloudContainer& container) {
  auto namesake =
      _database.query("SELECT 1 FROM container WHERE display_name = ? AND identifier <> ?",
                      container.displayName, container.identifier);
  if (namesake.step()) {
    refuse("There is another container named \"" + container.displayName +
           "\". Give this one a name of its own.");
  }
  _database.run(
      "INSERT INTO container VALUES (?, ?) "
      "ON CONFLICT (identifier) DO UPDATE SET display_name = excluded.display_name",
      container.identifier, container.displayName);
  _database.run("DELETE FROM container_icon WHERE container = ?", container.identifier);
  auto add = _database.statement("INSERT INTO container_icon VALUES (?, ?, ?, ?, ?, ?)");
  std::int64_t position = 0;
  for (const auto& icon : container.icons) {
    add.run(container.identifier, position++, icon.width, icon.height, icon.image.sha256,
            icon.image.size);
  }
  _database.run("UPDATE cloud SET containers_version = containers_version + 1");
}

std::int64_t ContainerTable::version() {
  auto row = _database.query("SELECT containers_version FROM cloud");
  row.step();
  return row.int64(0);
}

}  // namespace tessera
