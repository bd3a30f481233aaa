// An extension that does what it is asked to, by the identifiers and paths of the requests:
// "crash", "hang" (no answer), "stop" (the whole process), "throw", "none" (nothing found),
// "refused" (an error), "signal:NAME" (signals the host first). Otherwise it answers.
// With FAKE_SIGNED_OUT set every record is refused; with FAKE_ENDS_AT_ONCE set it ends.
#include <csignal>
#include <cstdlib>
#include <string>

#include <capnp/rpc-twoparty.h>
#include <kj/async-io.h>
#include <kj/debug.h>
#include <unistd.h>

#include "protocol/extension.capnp.h"
#include "rpc/RpcConnection.h"

namespace tessera {
namespace {

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"

void refuse(wire::Error::Builder error) {
  error.setDomain("NSFileProviderErrorDomain");
  error.setCode(-1000);
  auto entries = error.initUserInfo(1);
  entries[0].setKey("NSLocalizedDescription");
  entries[0].getValue().setText("Nobody is signed in.");
}

// What never comes back from some of the requests.
kj::Promise<void> misbehave(const std::string& how) {
  if (how == "crash") ::raise(SIGSEGV);
  if (how == "stop") ::raise(SIGSTOP);
  if (how == "throw") KJ_FAIL_REQUIRE("thrown by the extension");
  if (how == "hang" || how == "stop") return kj::NEVER_DONE;
  return kj::READY_NOW;
}

std::string lastPart(kj::StringPtr path) {
  const std::string text(path.cStr());
  return text.substr(text.find_last_of('/') + 1);
}

void fill(wire::ProviderItem::Builder item, kj::StringPtr identifier) {
  item.setIdentifier(identifier);
  item.setFilename(kj::str("name of ", identifier));
  item.setContentType("text/plain");
  item.setDocumentSize(::getpid());
  item.setHasDocumentSize(true);
}

class FakeEnumerator final : public wire::Enumerator::Server {
 public:
  explicit FakeEnumerator(std::string container) : _container(std::move(container)) {}

  kj::Promise<void> enumerateItems(EnumerateItemsContext context) override {
    const auto page = context.getParams().getStartingAt();
    if (page.isToken() && lastPart(kj::str(page.getToken().asChars())) == "crash") {
      ::raise(SIGKILL);
    }
    auto results = context.getResults();
    if (_container == "refused") {
      refuse(results.initError());
      return kj::READY_NOW;
    }
    auto items = results.initItems(2);
    const bool first = !page.isToken();
    fill(items[0], first ? "1" : "3");
    fill(items[1], first ? "2" : "4");
    if (first) {
      results.initNext().setToken(kj::StringPtr("second").asBytes());
    } else {
      results.initNext().setNone();
    }
    return kj::READY_NOW;
  }

  kj::Promise<void> currentSyncAnchor(CurrentSyncAnchorContext context) override {
    context.getResults().setAnchor(kj::StringPtr("anchor").asBytes());
    return kj::READY_NOW;
  }

 private:
  const std::string _container;
};

class FakeExtension final : public wire::FileProviderExtension::Server {
 public:
  explicit FakeExtension(kj::Maybe<wire::ExtensionHost::Client>& host) : _host(host) {}

  kj::Promise<void> ping(PingContext) override { return kj::READY_NOW; }

  kj::Promise<void> itemForIdentifier(ItemForIdentifierContext context) override {
    const std::string identifier = context.getParams().getIdentifier();
    if (std::getenv("FAKE_SIGNED_OUT") != nullptr || identifier == "refused") {
      refuse(context.getResults().initError());
      return kj::READY_NOW;
    }
    if (identifier.starts_with("signal:")) return signal(identifier.substr(7), context);
    return misbehave(identifier).then([context, identifier]() mutable {
      if (identifier == "none") return;
      fill(context.getResults().initItem(), identifier.c_str());
      context.getResults().setFound(true);
    });
  }

  kj::Promise<void> urlForItem(UrlForItemContext context) override {
    if (context.getParams().getIdentifier() == "none"_kj) return kj::READY_NOW;
    context.getResults().setPath(kj::str("/tree/", context.getParams().getIdentifier()));
    context.getResults().setFound(true);
    return kj::READY_NOW;
  }

  kj::Promise<void> identifierForItemAtPath(IdentifierForItemAtPathContext context) override {
    const std::string name = lastPart(context.getParams().getPath());
    return misbehave(name).then([context, name]() mutable {
      if (name == "none") return;
      context.getResults().setIdentifier(name.c_str());
      context.getResults().setFound(true);
    });
  }

  kj::Promise<void> enumeratorForContainer(EnumeratorForContainerContext context) override {
    const std::string container = context.getParams().getIdentifier();
    if (container == "none") {
      refuse(context.getResults().initError());
    } else {
      context.getResults().setEnumerator(kj::heap<FakeEnumerator>(container));
    }
    return kj::READY_NOW;
  }

  kj::Promise<void> startProviding(StartProvidingContext context) override {
    context.allowCancellation();
    const std::string name = lastPart(context.getParams().getPath());
    if (name == "refused") refuse(context.getResults().initError());
    return misbehave(name);
  }

 private:
  kj::Promise<void> signal(const std::string& container, ItemForIdentifierContext context) {
    auto request = KJ_ASSERT_NONNULL(_host).signalEnumeratorRequest();
    request.setContainerIdentifier(container.c_str());
    return request.send().then([context](auto response) mutable {
      fill(context.getResults().initItem(), "signalled");
      context.getResults().setFound(response.getError().getDomain().size() == 0);
    });
  }

  kj::Maybe<wire::ExtensionHost::Client>& _host;
};

#pragma GCC diagnostic pop

int run() {
  if (std::getenv("FAKE_ENDS_AT_ONCE") != nullptr) return 7;
  auto io = kj::setupAsyncIo();
  kj::Maybe<wire::ExtensionHost::Client> host;
  RpcConnection connection(*io.lowLevelProvider, io.provider->getTimer(),
                           kj::AutoCloseFd(std::atoi(std::getenv("TESSERA_EXTENSION_SOCKET"))),
                           RpcConnection::Side::Server,
                           wire::FileProviderExtension::Client(kj::heap<FakeExtension>(host)));
  host = connection.bootstrapAs<wire::ExtensionHost>();
  auto end = kj::newPromiseAndFulfiller<void>();
  connection.onDisconnect([&end] { end.fulfiller->fulfill(); });
  end.promise.wait(io.waitScope);
  // One that does not end by itself.
  while (std::getenv("FAKE_NEVER_ENDS") != nullptr) ::pause();
  return 0;
}

}  // namespace
}  // namespace tessera

int main() {
  return tessera::run();
}
