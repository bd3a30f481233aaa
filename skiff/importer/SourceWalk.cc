#include "skiff/importer/SourceWalk.h"

#include <algorithm>
#include <optional>
#include <system_error>
#include <utility>

#include "cloud/DocumentRecord.h"
#include "skiff/importer/ImportReport.h"

namespace tessera {

namespace {

const char* whyNoItem(SourceEntry::Kind kind) {
  switch (kind) {
    case SourceEntry::Kind::SymbolicLink:
      return "It is a symbolic link";
    case SourceEntry::Kind::Socket:
      return "It is a socket";
    case SourceEntry::Kind::Fifo:
      return "It is a named pipe";
    case SourceEntry::Kind::Device:
      return "It is a device";
    default:
      return "It is neither a file nor a folder";
  }
}

std::string text(int error) {
  return std::generic_category().message(error);
}

[[noreturn]] void refuse(const std::filesystem::path& top, const std::error_code& why) {
  if (why == std::errc::no_such_file_or_directory) {
    throw ImportRefused("There is no folder " + top.string());
  }
  if (why == std::errc::not_a_directory) throw ImportRefused(top.string() + " is not a folder");
  throw ImportRefused("The folder " + top.string() + " cannot be read: " + why.message());
}

}  // namespace

bool SourceWalk::run(const std::filesystem::path& top, const std::stop_token& stop) {
  enterTop(top);
  while (!_frames.empty()) {
    if (stop.stop_requested()) return false;
    Frame& frame = _frames.back();
    if (frame.next == frame.entries.size()) {
      leave();
    } else if (!frame.folder.isOpen() && !reopen(_frames.size() - 1)) {
      std::string name = frame.name;
      leave();
      _visitor.leaveOut(name, "It was moved or removed while it was read; its rest is missing");
    } else {
      // Taken out: descending may move the frames, and the listing need not be kept.
      SourceEntry entry = std::move(frame.entries[frame.next++]);
      visit(entry);
    }
  }
  return true;
}

void SourceWalk::enterTop(const std::filesystem::path& top) {
  try {
    SourceFolder folder(top);
    FileIdentity identity = folder.facts().identity;
    SourceFolder::Listing listing = folder.list();
    if (listing.error != 0) throw std::system_error(listing.error, std::generic_category());
    _frames.push_back({{}, std::move(folder), identity, std::move(listing.entries)});
  } catch (const std::system_error& error) {
    refuse(top, error.code());
  }
}

void SourceWalk::visit(const SourceEntry& entry) {
  if (auto wrong = whyNotAnItemName(entry.name)) {
    _visitor.leaveOut(entry.name, *wrong);
  } else if (entry.kind == SourceEntry::Kind::File) {
    _visitor.visitFile(_frames.back().folder.descriptor(), entry.name);
  } else if (entry.kind == SourceEntry::Kind::Folder) {
    descend(entry.name);
  } else {
    _visitor.leaveOut(entry.name, whyNoItem(entry.kind));
  }
}

void SourceWalk::descend(const std::string& name) {
  std::optional<SourceFolder> folder;
  FileIdentity identity;
  SourceFolder::Listing listing;
  try {
    folder.emplace(_frames.back().folder.descriptor(), name);
    identity = folder->facts().identity;
    if (std::find(_excluded.begin(), _excluded.end(), identity) != _excluded.end()) {
      _visitor.leaveOut(name, "It holds this system's own files");
      return;
    }
    listing = folder->list();
  } catch (const std::system_error& error) {
    _visitor.leaveOut(name, "The folder cannot be read: " + text(error.code().value()));
    return;
  }
  if (listing.error != 0) {
    _visitor.leaveOut(name, "The folder cannot be read to its end: " + text(listing.error));
  }
  if (!_visitor.enterFolder(*folder, name)) return;
  if (_frames.size() >= kMostOpenFolders) _frames.back().folder.close();
  _frames.push_back({name, std::move(*folder), identity, std::move(listing.entries)});
}

// The long way back: opens a folder that was closed on the way down again by going down from
// the nearest one above it that is open still (the top always is).
bool SourceWalk::reopen(std::size_t index) {
  std::size_t open = index;
  while (!_frames[open].folder.isOpen()) --open;
  try {
    std::optional<SourceFolder> at;
    for (std::size_t below = open + 1; below <= index; ++below) {
      int parent = at ? at->descriptor() : _frames[open].folder.descriptor();
      at = SourceFolder(parent, _frames[below].name);
    }
    if (at->facts().identity != _frames[index].identity) return false;
    _frames[index].folder = std::move(*at);
    return true;
  } catch (const std::system_error&) {
    return false;  // the caller says so
  }
}

void SourceWalk::leave() {
  if (_frames.size() > 1 && !_frames[_frames.size() - 2].folder.isOpen()) reopenAbove();
  _frames.pop_back();
  if (!_frames.empty()) _visitor.leaveFolder();
}

// The short way back: going down from the top for every folder would make the work grow
// with the square of the depth. A folder that was moved meanwhile stands in another one.
void SourceWalk::reopenAbove() {
  const Frame& frame = _frames.back();
  Frame& above = _frames[_frames.size() - 2];
  if (!frame.folder.isOpen()) return;
  try {
    SourceFolder folder(frame.folder.descriptor(), "..");
    if (folder.facts().identity == above.identity) above.folder = std::move(folder);
  } catch (const std::system_error&) {
    // reopen() tries the long way.
  }
}

}  // namespace tessera
