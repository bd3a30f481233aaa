#include "tests/support/tessera/FakeDaemon.h"

#include <string>
#include <utility>

namespace tessera {
namespace {

std::string pageText(std::uint8_t sortOrder, std::uint64_t offset, std::uint64_t limit) {
  return "sort=" + std::to_string(sortOrder) + ", offset=" + std::to_string(offset) +
         ", limit=" + std::to_string(limit) + ")";
}

std::string tokenText(const NSDataPtr& token) {
  if (!token) return "nil";
  return std::string(token->bytes().begin(), token->bytes().end());
}

}  // namespace

class FakeDaemon::Proxy final : public GVDaemonProxy {
 public:
  Proxy(FakeDaemon& daemon, GVErrorHandler failConnection)
      : _daemon(daemon), _failConnection(std::move(failConnection)) {}

  void enumerateItemsInFolder(const std::optional<GVFileObjectID>& folder, std::uint8_t sortOrder,
                              std::uint64_t offset, std::uint64_t limit,
                              PageCompletion completion) override {
    _daemon._calls->record("daemon.enumerateItems(" + (folder ? folder->asString() : "root") +
                           ", " + pageText(sortOrder, offset, limit));
    _daemon.pages.push({folder, sortOrder, offset, limit, std::move(completion), _failConnection});
  }

  void enumerateAllFoldersWithSortOrder(std::uint8_t sortOrder, std::uint64_t offset,
                                        std::uint64_t limit, PageCompletion completion) override {
    _daemon._calls->record("daemon.enumerateAllFolders(" + pageText(sortOrder, offset, limit));
    _daemon.folders.push(
        {std::nullopt, sortOrder, offset, limit, std::move(completion), _failConnection});
  }

  void enumerateWorkingSetChangesFromChangeToken(const NSDataPtr& changeToken, std::uint64_t limit,
                                                 WorkingSetCompletion completion) override {
    _daemon._calls->record("daemon.enumerateWorkingSetChanges(" + tokenText(changeToken) +
                           ", limit=" + std::to_string(limit) + ")");
    _daemon.workingSets.push({changeToken, limit, std::move(completion), _failConnection});
  }

  void getItemUpdateSenderWithReceiver(const std::shared_ptr<GVItemNotificationReceiving>& receiver,
                                       SenderReply reply) override {
    _daemon._calls->record("daemon.getItemUpdateSender");
    if (const NSErrorPtr refusal = _daemon.senderRefusal()) {
      reply(nullptr, {}, refusal);
      return;
    }
    _daemon.senders.push({receiver, std::move(reply), _failConnection});
  }

 private:
  FakeDaemon& _daemon;
  const GVErrorHandler _failConnection;
};

FakeDaemon::FakeDaemon(CallRecorderPtr calls) : _calls(std::move(calls)) {}

void FakeDaemon::refuseSenders(NSErrorPtr error) {
  const std::lock_guard held(_lock);
  _senderRefusal = std::move(error);
}

NSErrorPtr FakeDaemon::senderRefusal() {
  const std::lock_guard held(_lock);
  return _senderRefusal;
}

std::shared_ptr<GVDaemonProxy> FakeDaemon::remoteObjectProxyWithErrorHandler(
    GVErrorHandler handler) {
  return std::make_shared<Proxy>(*this, std::move(handler));
}

}  // namespace tessera
