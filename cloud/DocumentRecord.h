#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "cloud/Record.h"

namespace tessera {

// The three containers every cloud knows.
inline constexpr const char* kDefaultContainer = "tessera.documents.default";
inline constexpr const char* kDocumentsContainer = "tessera.documents.user-documents";
inline constexpr const char* kDesktopContainer = "tessera.documents.user-desktop";

// The name of the record that stands for a zone's documents folder. It is the
// parent of the zone's top-level items and is never stored.
inline constexpr const char* kDocumentsFolderRecord = "documents";

enum class DocumentKind : std::uint8_t { Folder, Document, Reference };

// The typed view of the records that make up a tree of documents. A reference
// stands for a document kept elsewhere.
struct DocumentRecord {
  RecordID id;
  std::string changeTag;
  std::uint64_t version = 0;
  DocumentKind kind = DocumentKind::Document;
  std::string parent;            // record name, kDocumentsFolderRecord at the top
  std::string name;              // one path component, valid UTF-8, 1 to 255 bytes
  std::optional<Asset> content;  // documents only
  std::int64_t createdAt = 0;    // nanoseconds since the epoch
  std::int64_t modifiedAt = 0;   // of the content, nanoseconds since the epoch
  bool executable = false;
  std::string contentType;         // MIME type, empty when not known
  std::optional<RecordID> target;  // references only
  std::vector<std::string> tags;
  std::optional<std::int64_t> lastUsedAt;  // nanoseconds since the epoch
  std::optional<std::int64_t> favoriteRank;

  [[nodiscard]] static DocumentRecord fromRecord(const Record& record);
  [[nodiscard]] Record toRecord() const;
};

// Says what is wrong with `name` as an item's name, or nothing when it is fine:
// empty, ".", "..", a '/' or NUL in it, more than 255 bytes, not UTF-8, or beginning
// with the prefix that this system keeps for its own hidden files.
[[nodiscard]] std::optional<std::string> whyNotAnItemName(const std::string& name);

// Files of the system's own inside a tree begin with this; no item may.
inline constexpr const char* kReservedNamePrefix = ".tessera-";

}  // namespace tessera
