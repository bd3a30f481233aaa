#include "tests/linux/FakeExtension.h"

#include "platform/foundation/TextSink.h"

namespace tessera {
namespace {

class Item final : public NSFileProviderItem {
 public:
  explicit Item(std::string identifier) : _identifier(std::move(identifier)) {}

  NSFileProviderItemIdentifier itemIdentifier() const override { return _identifier; }
  NSFileProviderItemIdentifier parentItemIdentifier() const override { return "parent"; }
  const std::string& filename() const override { return _identifier; }
  const std::string& contentType() const override { return _nothing; }
  std::optional<std::uint64_t> documentSize() const override { return std::nullopt; }
  std::optional<std::uint64_t> childItemCount() const override { return std::nullopt; }
  std::optional<NSDate> creationDate() const override { return std::nullopt; }
  std::optional<NSDate> contentModificationDate() const override { return std::nullopt; }
  std::optional<NSDate> lastUsedDate() const override { return std::nullopt; }
  std::optional<std::int64_t> favoriteRank() const override { return std::nullopt; }
  const std::vector<std::string>& tagNames() const override { return _noTags; }
  const std::string& versionIdentifier() const override { return _nothing; }
  bool isDownloaded() const override { return false; }
  bool isMostRecentVersionDownloaded() const override { return false; }
  bool isUploaded() const override { return true; }
  bool isTrashed() const override { return false; }
  bool isShared() const override { return false; }
  void describe(TextSink& sink) const override { sink.append(_identifier); }

 private:
  const std::string _identifier;
  const std::string _nothing;
  const std::vector<std::string> _noTags;
};

}  // namespace

NSFileProviderItemPtr makeItem(const std::string& identifier) {
  return std::make_shared<const Item>(identifier);
}

std::function<std::shared_ptr<NSFileProviderExtension>()>& principalObjectMaker() {
  static std::function<std::shared_ptr<NSFileProviderExtension>()> maker;
  return maker;
}

std::shared_ptr<NSFileProviderExtension> NSExtensionCreatePrincipalObject() {
  return principalObjectMaker()();
}

}  // namespace tessera
