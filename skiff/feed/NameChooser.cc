#include "skiff/feed/NameChooser.h"

namespace tessera {

namespace {

constexpr std::size_t kLongestName = 255;

bool isContinuation(char byte) {
  return (static_cast<unsigned char>(byte) & 0xc0) == 0x80;
}

bool keepsItsName(const StoredItem& item) {
  return item.role != ItemRole::Ordinary || !item.hasRecord();
}

}  // namespace

std::string numberedName(const std::string& name, int number) {
  std::size_t dot = name.rfind('.');
  if (dot == std::string::npos || dot == 0 || name.size() - dot > 32) dot = name.size();
  std::string stem = name.substr(0, dot);
  std::string end = " (" + std::to_string(number) + ")" + name.substr(dot);
  if (stem.size() + end.size() > kLongestName) {
    std::size_t length = kLongestName - end.size();
    while (length > 0 && isContinuation(stem[length])) --length;
    stem.resize(length);
  }
  return stem + end;
}

std::string NameChooser::claim(std::int64_t folder, const std::string& wanted,
                               const StoredItem& item) {
  std::optional<StoredItem> holder = _writer.items().child(folder, wanted);
  if (!holder || holder->uuid == item.uuid) return wanted;
  if (keepsItsName(*holder)) return freeName(folder, wanted);
  bool holderWantsIt = holder->wantedName() == wanted;
  if (holderWantsIt && holder->uuid < item.uuid) return freeName(folder, wanted);
  giveWay(*holder);
  return wanted;
}

std::string NameChooser::freeName(std::int64_t folder, const std::string& wanted) {
  for (int number = 2;; ++number) {
    std::string name = numberedName(wanted, number);
    if (!_writer.items().child(folder, name) && !_editor.entryAt(folder, name)) return name;
  }
}

void NameChooser::giveWay(StoredItem holder) {
  moveTo(holder, holder.parent, holder.wantedName(), freeName(holder.parent, holder.wantedName()));
  _writer.update(holder);
}

void NameChooser::moveTo(StoredItem& item, std::int64_t folder, std::string wanted,
                         std::string name) {
  while (_editor.move(item, folder, name) == TreeEditor::Moved::NameTaken) {
    name = freeName(folder, wanted);
  }
  vacated(item.parent, item.name);
  item.parent = folder;
  item.name = std::move(name);
  item.cloudName = std::move(wanted);
}

void NameChooser::settle() {
  while (!_vacated.empty()) {
    auto [folder, name] = *_vacated.begin();
    _vacated.erase(_vacated.begin());
    if (_writer.items().child(folder, name)) continue;
    std::vector<StoredItem> waiting = _writer.items().waitingForName(folder, name);
    if (waiting.empty() || _editor.entryAt(folder, name)) continue;
    StoredItem& first = waiting.front();
    moveTo(first, folder, name, name);
    _writer.update(first);
  }
}

}  // namespace tessera
