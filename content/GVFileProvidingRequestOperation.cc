#include "content/GVFileProvidingRequestOperation.h"

#include <utility>

namespace tessera {

// The third name has always been spelled like this in the log.
const GVCBitName kReadingOptionNames[5] = {
    {0x1, "without-changes"},
    {0x2, "resolves-symbolic-link"},
    {0x4, "metadata-ony"},
    {0x8, "for-uploading"},
    {0, nullptr},
};

GVFileProvidingRequestOperation::GVFileProvidingRequestOperation(NSURLPtr url,
                                                                 std::uint64_t readingOptions)
    : _url(std::move(url)), _readingOptions(readingOptions) {}

void GVFileProvidingRequestOperation::main() {
  const auto remote = remoteObject();
  const auto self = std::static_pointer_cast<GVOperation>(shared_from_this());
  remote->startOperation(
      self, _url, _readingOptions, _wantsCurrentVersion,
      [self](const NSErrorPtr& error) { self->completedWithResult(nullptr, error); });
}

void GVFileProvidingRequestOperation::finishWithResult(const NSObjectPtr& result,
                                                       const NSErrorPtr& error) {
  _fileProvidingCompletion(error);
  _fileProvidingCompletion = nullptr;
  GVOperation::finishWithResult(result, error);
}

}  // namespace tessera
