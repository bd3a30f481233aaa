#include "tests/support/tessera/FakeOperationRemote.h"

#include <charconv>
#include <string>
#include <utility>

namespace tessera {
namespace {

std::string hexText(std::uint64_t number) {
  char digits[16];
  const auto end = std::to_chars(digits, digits + sizeof digits, number, 16).ptr;
  return "0x" + std::string(digits, end);
}

}  // namespace

// Operations keep their remote object, so it may outlive the fake.
class FakeOperationRemote::Remote final : public GVOperationRemoteObject {
 public:
  explicit Remote(CallRecorderPtr calls) : _calls(std::move(calls)) {}

  void startOperation(const std::shared_ptr<GVOperation>& operation,
                      const NSURLPtr& toDownloadItemAtURL, std::uint64_t readingOptions,
                      bool wantsCurrentVersion, Reply reply) override {
    _calls->record("operation.download(" + toDownloadItemAtURL->path() + ", options=" +
                   hexText(readingOptions) + ", current=" + (wantsCurrentVersion ? "1)" : "0)"));
    downloads.push(
        {operation, toDownloadItemAtURL, readingOptions, wantsCurrentVersion, std::move(reply)});
  }

  void cancelOperation(GVOperation&) override { _calls->record("operation.cancel"); }

  CallQueue<Download> downloads;

 private:
  const CallRecorderPtr _calls;
};

FakeOperationRemote::FakeOperationRemote(CallRecorderPtr calls)
    : _remote(std::make_shared<Remote>(std::move(calls))) {}

FakeOperationRemote::~FakeOperationRemote() = default;

std::shared_ptr<GVOperationRemoteObject> FakeOperationRemote::remoteObject() {
  return _remote;
}

CallQueue<FakeOperationRemote::Download>& FakeOperationRemote::downloads() {
  return _remote->downloads;
}

}  // namespace tessera
