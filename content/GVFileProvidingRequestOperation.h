#pragma once

#include <cstdint>
#include <functional>

#include "platform/foundation/NSURL.h"
#include "platform/tessera/GVCPrettyPrintBitmap.h"
#include "platform/tessera/GVOperation.h"

namespace tessera {

// The names of a request's reading options, for GVCPrettyPrintBitmap. Other bits have none.
extern const GVCBitName kReadingOptionNames[5];

// Asks the daemon to make the content of one item present at its URL, and tells the outcome
// once. It knows nothing of what its creator keeps books about: that is the completion's.
//
// Invariant: the completion runs exactly once, before the operation counts as finished, so
// that whoever waits for the end sees its effects; then it is empty and holds nothing.
// Threads: the properties are set before the operation is queued and not touched after. The
// completion runs on the thread that ends the operation.
// Lifetime: shared; its queue and the daemon's reply hold it. Not reused.
class GVFileProvidingRequestOperation final : public GVOperation {
 public:
  using Completion = std::function<void(const NSErrorPtr&)>;

  // initWithURL:readingOptions: — the options go to the daemon as they are
  GVFileProvidingRequestOperation(NSURLPtr url, std::uint64_t readingOptions);

  // Whether the latest version is wanted rather than whatever is at hand.
  [[nodiscard]] bool wantsCurrentVersion() const noexcept { return _wantsCurrentVersion; }
  void setWantsCurrentVersion(bool wants) noexcept { _wantsCurrentVersion = wants; }
  // Required: an operation that ends without one breaks its contract. Gets the error as the
  // daemon, or the cancellation, gave it; nil when the content is there.
  [[nodiscard]] const Completion& fileProvidingCompletion() const noexcept {
    return _fileProvidingCompletion;
  }
  void setFileProvidingCompletion(Completion completion) {
    _fileProvidingCompletion = std::move(completion);
  }

  void main() override;

 protected:
  void finishWithResult(const NSObjectPtr& result, const NSErrorPtr& error) override;

 private:
  const NSURLPtr _url;
  const std::uint64_t _readingOptions;
  bool _wantsCurrentVersion = false;
  Completion _fileProvidingCompletion;
};

}  // namespace tessera
