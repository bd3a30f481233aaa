#include "skiff/transfer/Hydrator.h"

#include <fcntl.h>

#include <memory>
#include <system_error>

#include "cloud/CloudError.h"
#include "skiff/store/SkiffError.h"
#include "skiff/tree/TreeEditor.h"
#include "skiff/tree/TreeRecovery.h"

namespace tessera {

namespace {

constexpr std::size_t kBlock = 1024 * 1024;
// A document that gets another version during each of so many transfers is given up.
constexpr int kMostAttempts = 8;

[[noreturn]] void throwGone() {
  throw SkiffError(SkiffError::Code::NoSuchItem, "The document is not there any more.");
}

}  // namespace

std::string Hydrator::pathOf(const StoredItem& item) {
  return _tree.absolutePath(_store.reader()->path(item.id).value_or(item.name));
}

bool Hydrator::isPresent(const ItemID& uuid) {
  ItemStore::Reader reader = _store.reader();
  std::optional<StoredItem> item = reader->find(uuid);
  if (!item || item->kind != ItemKind::Document || !item->isLocal()) return false;
  std::optional<std::string> folderPath = reader->path(item->parent);
  if (!folderPath) return false;
  try {
    OpenFile folder = _tree.openFolder(*folderPath);
    std::optional<TreeEntry> entry = TreeEntry::at(folder.get(), item->name);
    return entry && entry->type == TreeEntry::Type::File && entry->stamp == item->stamp;
  } catch (const std::system_error&) {
    return false;
  }
}

void Hydrator::hydrate(const ItemID& uuid, bool wantsCurrent, HydrationObserver& observer,
                       const std::stop_token& stop) {
  if (wantsCurrent) {
    std::optional<StoredItem> item = _store.reader()->find(uuid);
    if (!item) throwGone();
    if (item->hasRecord()) _source.refresh(*item);
  }
  try {
    for (int attempt = 0; attempt < kMostAttempts; ++attempt) {
      std::optional<StoredItem> item = begin(uuid, wantsCurrent);
      if (!item) return;
      observer.reached(HydrationStage::Noted);
      switch (transfer(*item, observer, stop)) {
        case Outcome::Done:
          _problems.settle(uuid.toString());
          return;
        case Outcome::NameTaken:
          adopt(uuid);
          return;
        case Outcome::Outdated:
          break;
      }
    }
    throw CloudError(CloudError::Code::Unreachable,
                     "The document changes too quickly to be fetched. Try again.");
  } catch (...) {
    giveUp(uuid);
    throw;
  }
}

std::optional<StoredItem> Hydrator::begin(const ItemID& uuid, bool wantsCurrent) {
  std::optional<StoredItem> result;
  _store.writeTogether([&](StoreWriter& writer) {
    result.reset();
    std::optional<StoredItem> item = writer.items().find(uuid);
    if (!item) throwGone();
    if (item->kind == ItemKind::Reference) return;
    if (item->kind == ItemKind::Folder) {
      throw SkiffError(SkiffError::Code::BadArgument, "A folder has no content to fetch.");
    }
    TreeEditor editor(_tree, writer.items());
    if (item->state == ContentState::Placeholder && item->stamp) {
      removeOldContent(writer, editor, *item);
    }
    if (item->isLocal() && settleLocal(writer, *item, wantsCurrent)) return;
    if (item->state != ContentState::Hydrating) {
      if (item->isLocal()) editor.placePromise(*item);  // its file is gone
      item->state = ContentState::Hydrating;
      item->stamp.reset();
      writer.update(*item);
    }
    result = std::move(item);
  });
  return result;
}

bool Hydrator::settleLocal(StoreWriter& writer, const StoredItem& item, bool wantsCurrent) {
  TreeEditor editor(_tree, writer.items());
  std::string path = _tree.absolutePath(writer.items().path(item.id).value_or(item.name));
  TreeEditor::Found found = editor.look(item);
  if (found == TreeEditor::Found::Missing) {
    if (!item.hasRecord()) {
      throw SkiffError(SkiffError::Code::NoSuchItem, "There is nothing at " + path + ".", path);
    }
    return false;
  }
  bool changedHere = found == TreeEditor::Found::Different || !item.uploaded;
  if (wantsCurrent && changedHere && item.localHash != item.contentHash) {
    throw SkiffError(SkiffError::Code::LocallyChanged,
                     "The document was changed here and in the cloud. The file here is not "
                     "replaced; move it away to fetch the other one: " +
                         path,
                     path);
  }
  return true;
}

Hydrator::Outcome Hydrator::transfer(const StoredItem& item, HydrationObserver& observer,
                                     const std::stop_token& stop) {
  // Any folder of the tree will do: a name in another one can be given later as well.
  StagedFile file(_tree.rootFolder());
  fill(file, item, observer, stop);
  observer.reached(HydrationStage::Staged);
  verify(file, item);
  FileStamp sealed = file.seal(item.executable, item.modifiedAt);
  observer.reached(HydrationStage::Verified);
  return publish(file, sealed, item, observer);
}

void Hydrator::fill(StagedFile& file, const StoredItem& item, HydrationObserver& observer,
                    const std::stop_token& stop) {
  observer.progressed(0, item.contentSize);
  if (item.contentHash.empty()) return;  // a document that never had content
  std::unique_ptr<AssetDownload> download = _source.open({item.contentHash, item.contentSize});
  auto buffer = std::make_unique_for_overwrite<std::byte[]>(kBlock);
  for (;;) {
    if (stop.stop_requested()) {
      throw SkiffError(SkiffError::Code::Cancelled, "The transfer was cancelled.");
    }
    std::size_t length = download->read({buffer.get(), kBlock});
    if (length == 0) return;
    file.write({buffer.get(), length});
    if (file.size() > item.contentSize) return;  // refused below
    observer.progressed(file.size(), item.contentSize);
  }
}

void Hydrator::verify(StagedFile& file, const StoredItem& item) {
  if (item.contentHash.empty()) return;
  if (file.size() == item.contentSize && file.finishHash() == item.contentHash) return;
  std::string path = pathOf(item);
  std::string text = "The content that the cloud has of " + path +
                     " is damaged and was not put in place. Save the document again on a "
                     "device that has it.";
  _problems.report(item.uuid.toString(), text);
  throw SkiffError(SkiffError::Code::CorruptContent, text, path);
}

Hydrator::Outcome Hydrator::publish(StagedFile& file, const FileStamp& sealed,
                                    const StoredItem& item, HydrationObserver& observer) {
  Outcome outcome = Outcome::Done;
  _store.writeTogether([&](StoreWriter& writer) {
    std::optional<StoredItem> now = writer.items().find(item.uuid);
    if (!now) throwGone();
    if (now->contentHash != item.contentHash || now->state != ContentState::Hydrating) {
      outcome = Outcome::Outdated;
      return;
    }
    TreeEditor editor(_tree, writer.items());
    if (file.publish(editor.folder(now->parent), now->name) == StagedFile::Published::NameTaken) {
      outcome = Outcome::NameTaken;
      return;
    }
    observer.reached(HydrationStage::Published);
    bool otherAttributes = now->modifiedAt != item.modifiedAt || now->executable != item.executable;
    now->stamp = sealed;
    noteLocal(writer, *now, otherAttributes ? editor.setAttributes(*now) : sealed);
  });
  if (outcome == Outcome::Done) observer.reached(HydrationStage::Committed);
  return outcome;
}

void Hydrator::noteLocal(StoreWriter& writer, StoredItem& item, const FileStamp& stamp) {
  item.state = ContentState::Local;
  item.stamp = stamp;
  item.localHash = item.contentHash;
  item.uploaded = true;
  writer.update(item);
  TreeEditor editor(_tree, writer.items());
  auto folder = std::make_shared<OpenFile>(::fcntl(editor.folder(item.parent), F_DUPFD_CLOEXEC, 0));
  writer.afterCommit([folder, uuid = item.uuid] {
    try {
      dropPromise(folder->get(), uuid);
    } catch (const std::system_error&) {
      // A promise beside a document that is there misleads nobody; the next change of the
      // item removes it.
    }
  });
}

void Hydrator::adopt(const ItemID& uuid) {
  std::optional<StoredItem> item = _store.reader()->find(uuid);
  if (!item) throwGone();
  std::string path = pathOf(*item);
  SkiffError refusal(SkiffError::Code::FileExists,
                     "A file of yours is already there and is not replaced. Move it away to "
                     "fetch the document: " +
                         path,
                     path);
  OpenFile folder = _tree.openFolder(_store.reader()->path(item->parent).value_or(""));
  OpenFile file(openBeneath(folder.get(), item->name, O_RDONLY | O_NONBLOCK | O_CLOEXEC));
  if (!file) throw refusal;
  TreeEntry before = TreeEntry::of(file.get());
  bool isContent = before.type == TreeEntry::Type::File && !item->contentHash.empty() &&
                   before.stamp.size == item->contentSize &&
                   hashOfFile(file.get()) == item->contentHash;
  if (!isContent) throw refusal;
  _store.writeTogether([&](StoreWriter& writer) {
    std::optional<StoredItem> now = writer.items().find(uuid);
    if (!now) throwGone();
    TreeEditor editor(_tree, writer.items());
    std::optional<TreeEntry> entry = editor.entryAt(now->parent, now->name);
    bool stillIsContent = now->contentHash == item->contentHash && entry &&
                          entry->stamp == before.stamp && now->state == ContentState::Hydrating;
    if (!stillIsContent) throw refusal;
    noteLocal(writer, *now, before.stamp);
  });
}

void Hydrator::giveUp(const ItemID& uuid) noexcept {
  try {
    _store.writeTogether([&uuid](StoreWriter& writer) {
      std::optional<StoredItem> item = writer.items().find(uuid);
      if (!item || item->state != ContentState::Hydrating) return;
      item->state = ContentState::Placeholder;
      writer.update(*item);
    });
  } catch (...) {
    // A full disk, for example: the row goes on saying that it is hydrating, which the next
    // request and the next start settle.
  }
}

}  // namespace tessera
