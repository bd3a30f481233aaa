#include "cloud/DocumentRecord.h"

#include "cloud/CloudError.h"
#include "cloud/Utf8.h"

namespace tessera {

namespace {

// The record types, in the order of DocumentKind.
constexpr const char* kTypes[] = {"folder", "document", "reference"};

constexpr const char* kParent = "parent";
constexpr const char* kName = "name";
constexpr const char* kContent = "content";
constexpr const char* kCreatedAt = "createdAt";
constexpr const char* kModifiedAt = "modifiedAt";
constexpr const char* kExecutable = "executable";
constexpr const char* kContentType = "contentType";
constexpr const char* kTarget = "target";  // owner, container, record name
constexpr const char* kTags = "tags";
constexpr const char* kLastUsedAt = "lastUsedAt";
constexpr const char* kFavoriteRank = "favoriteRank";

constexpr std::size_t kLongestName = 255;  // bytes, NAME_MAX of Linux file systems

[[noreturn]] void refuse(const Record& record, const std::string& why) {
  throw CloudError(CloudError::Code::Corrupt,
                   "Record " + record.id.name + " is not a document record: " + why + ".");
}

// The field `name`, null when absent. A field of another type is refused.
template <typename T>
const T* field(const Record& record, const char* name) {
  auto found = record.fields.find(name);
  if (found == record.fields.end()) return nullptr;
  const T* value = std::get_if<T>(&found->second);
  if (value == nullptr) refuse(record, std::string("field ") + name + " has another type");
  return value;
}

template <typename T>
const T& requiredField(const Record& record, const char* name) {
  const T* value = field<T>(record, name);
  if (value == nullptr) refuse(record, std::string("field ") + name + " is missing");
  return *value;
}

DocumentKind kindOf(const Record& record) {
  for (std::size_t kind = 0; kind < std::size(kTypes); ++kind) {
    if (record.type == kTypes[kind]) return static_cast<DocumentKind>(kind);
  }
  refuse(record, "its type is \"" + record.type + "\"");
}

std::optional<RecordID> targetOf(const Record& record) {
  const auto* parts = field<std::vector<std::string>>(record, kTarget);
  if (parts == nullptr) return std::nullopt;
  if (parts->size() != 3) refuse(record, "its target has not three parts");
  return RecordID{ZoneID{(*parts)[0], (*parts)[1]}, (*parts)[2]};
}

}  // namespace

DocumentRecord DocumentRecord::fromRecord(const Record& record) {
  DocumentRecord document;
  document.id = record.id;
  document.changeTag = record.changeTag;
  document.version = record.version;
  document.kind = kindOf(record);
  document.parent = requiredField<RecordReference>(record, kParent).recordName;
  document.name = requiredField<std::string>(record, kName);
  // A name becomes a path on somebody's disk: a bad one must not get that far.
  if (auto wrong = whyNotAnItemName(document.name)) refuse(record, *wrong);
  if (const auto* content = field<Asset>(record, kContent)) document.content = *content;
  document.createdAt = requiredField<std::int64_t>(record, kCreatedAt);
  document.modifiedAt = requiredField<std::int64_t>(record, kModifiedAt);
  if (const auto* flag = field<std::int64_t>(record, kExecutable)) document.executable = *flag != 0;
  if (const auto* type = field<std::string>(record, kContentType)) document.contentType = *type;
  document.target = targetOf(record);
  if (const auto* tags = field<std::vector<std::string>>(record, kTags)) document.tags = *tags;
  if (const auto* used = field<std::int64_t>(record, kLastUsedAt)) document.lastUsedAt = *used;
  if (const auto* rank = field<std::int64_t>(record, kFavoriteRank)) document.favoriteRank = *rank;
  return document;
}

Record DocumentRecord::toRecord() const {
  if (auto wrong = whyNotAnItemName(name)) {
    throw CloudError(CloudError::Code::InvalidArgument, *wrong);
  }
  Record record;
  record.id = id;
  record.type = kTypes[static_cast<std::size_t>(kind)];
  record.changeTag = changeTag;
  record.version = version;
  record.fields[kParent] = RecordReference{parent};
  record.fields[kName] = name;
  record.fields[kCreatedAt] = createdAt;
  record.fields[kModifiedAt] = modifiedAt;
  // Values that say nothing are left out: most documents have none of them.
  if (content) record.fields[kContent] = *content;
  if (executable) record.fields[kExecutable] = std::int64_t{1};
  if (!contentType.empty()) record.fields[kContentType] = contentType;
  if (target) {
    record.fields[kTarget] =
        std::vector<std::string>{target->zone.owner, target->zone.container, target->name};
  }
  if (!tags.empty()) record.fields[kTags] = tags;
  if (lastUsedAt) record.fields[kLastUsedAt] = *lastUsedAt;
  if (favoriteRank) record.fields[kFavoriteRank] = *favoriteRank;
  return record;
}

std::optional<std::string> whyNotAnItemName(const std::string& name) {
  if (name.empty()) return "A name must not be empty";
  if (name == "." || name == "..") return "\"" + name + "\" is not a name but a place";
  if (name.find('/') != std::string::npos) return "A name must not contain '/'";
  if (name.find('\0') != std::string::npos) return "A name must not contain a NUL character";
  if (name.size() > kLongestName) return "A name must not be longer than 255 bytes";
  if (!isValidUtf8(name)) return "A name must be valid UTF-8";
  if (name.starts_with(kReservedNamePrefix)) {
    return "Names that begin with \"" + std::string(kReservedNamePrefix) +
           "\" are kept for the system's own files";
  }
  return std::nullopt;
}

}  // namespace tessera
