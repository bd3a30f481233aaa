// The extension as the host calls it, over a socket.

#include "linux/HostConnection.h"

#include <cerrno>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <sys/socket.h>

#include "linux/ErrorCodec.h"
#include "linux/PageCodec.h"
#include "linux/WireText.h"
#include "platform/fileprovider/NSFileProviderError.h"
#include "tests/linux/FakeExtension.h"
#include "tests/linux/FakeHost.h"

namespace tessera {
namespace {

using Extension = FakeHost::Extension;

struct Page {
  std::vector<std::string> identifiers;
  wire::Page::Which next = wire::Page::NONE;
  std::string token;
  NSErrorPtr error;
};

class HostConnectionTest : public ::testing::Test {
 protected:
  void SetUp() override { open(); }
  void open(FakeHost::OnSignal onSignal = {}) {
    int ends[2];
    ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), 0);
    close();
    loop.emplace();
    requests.emplace();
    connection.emplace(*loop, callbacks.emplace(), kj::AutoCloseFd(ends[0]));
    host.emplace(ends[1], std::move(onSignal));
  }
  void serve() { connection->serve(*requests, extension); }
  void close() {
    host.reset();
    connection.reset();
    requests.reset();
    loop.reset();
    callbacks.reset();
  }
  void TearDown() override { close(); }

  Outcome<bool> ping() {
    return host->call<bool>([](Extension& remote) {
      return remote.pingRequest().send().then([](auto&&) { return true; });
    });
  }
  Page list(const FakeHost::Enumerator& enumerator, auto setPage) {
    auto outcome = callBlocking<Page>(host->loop(), [&] {
      auto request = enumerator.get().enumerateItemsRequest();
      setPage(request.initStartingAt());
      return request.send().then([](auto&& results) {
        Page page;
        for (auto item : results.getItems()) page.identifiers.push_back(item.getIdentifier());
        page.next = results.getNext().which();
        if (page.next == wire::Page::TOKEN) {
          const auto token = results.getNext().getToken();
          page.token.assign(token.begin(), token.end());
        }
        page.error = decodeError(results.getError());
        return page;
      });
    });
    EXPECT_TRUE(outcome.ok()) << outcome.failure().text;
    return outcome.ok() ? std::move(outcome).value() : Page{};
  }

  std::shared_ptr<FakeExtension> extension = std::make_shared<FakeExtension>();
  std::shared_ptr<FakeChangingEnumerator> fake = std::make_shared<FakeChangingEnumerator>();
  std::optional<CallbackPool> callbacks;
  std::optional<EventLoop> loop;
  std::optional<WorkerPool> requests;
  std::optional<HostConnection> connection;
  std::optional<FakeHost> host;
};

TEST_F(HostConnectionTest, LetsRequestsWaitUntilTheExtensionIsServed) {
  Answer<Outcome<bool>> answer;
  host->callLater<bool>(
      [](Extension& remote) {
        return remote.pingRequest().send().then([](auto&&) { return true; });
      },
      answer.handler());
  EXPECT_EQ(answer.count(), 0U);
  serve();
  EXPECT_TRUE(std::get<0>(answer.wait()).ok());
}

TEST_F(HostConnectionTest, FindsItemsOrSaysWhyNot) {
  extension->onItem = [](const std::string& identifier, NSErrorPtr* error) {
    if (identifier == "there") return makeItem("there");
    *error = fileProviderErrorForNonExistentItemWithIdentifier(identifier);
    return NSFileProviderItemPtr();
  };
  serve();
  const auto ask = [this](const char* identifier) {
    return host
        ->call<std::pair<std::string, NSErrorPtr>>([identifier](Extension& remote) {
          auto request = remote.itemForIdentifierRequest();
          request.setIdentifier(identifier);
          return request.send().then([](auto&& results) {
            return std::pair(results.getFound() ? textOf(results.getItem().getFilename()) : "",
                             decodeError(results.getError()));
          });
        })
        .value();
  };
  EXPECT_EQ(ask("there").first, "there");
  EXPECT_EQ(ask("there").second, nullptr);
  const auto [name, error] = ask("elsewhere");
  EXPECT_EQ(name, "");
  ASSERT_NE(error, nullptr);
  EXPECT_EQ(error->code(), NSFileProviderErrorNoSuchItem);
}

TEST_F(HostConnectionTest, MapsIdentifiersToPathsAndBack) {
  extension->onUrl = [](const std::string& identifier) {
    return identifier == "a" ? NSURL::fileURLWithPath("/tree/a") : nullptr;
  };
  extension->onIdentifier = [](const NSURLPtr& url) -> std::optional<std::string> {
    if (url->path() != "/tree/a") return std::nullopt;
    return "a";
  };
  serve();
  const auto urlFor = [this](const char* identifier) {
    return host
        ->call<std::string>([identifier](Extension& remote) {
          auto request = remote.urlForItemRequest();
          request.setIdentifier(identifier);
          return request.send().then(
              [](auto&& r) { return r.getFound() ? textOf(r.getPath()) : "not found"; });
        })
        .value();
  };
  const auto identifierAt = [this](const char* path) {
    return host
        ->call<std::string>([path](Extension& remote) {
          auto request = remote.identifierForItemAtPathRequest();
          request.setPath(path);
          return request.send().then(
              [](auto&& r) { return r.getFound() ? textOf(r.getIdentifier()) : "not found"; });
        })
        .value();
  };
  EXPECT_EQ(urlFor("a"), "/tree/a");
  EXPECT_EQ(urlFor("b"), "not found");
  EXPECT_EQ(identifierAt("/tree/a"), "a");
  EXPECT_EQ(identifierAt("/tree/b"), "not found");
  EXPECT_EQ(identifierAt("tree/a"), "not found");
}

TEST_F(HostConnectionTest, PassesPagesAndItemsThrough) {
  fake->onItems = [](auto observer, NSFileProviderPage page) {
    const bool byDate = page == NSFileProviderInitialPageSortedByDate();
    observer->didEnumerateItems({makeItem(byDate ? "date" : "other"), nullptr});
    observer->didEnumerateItems({makeItem("second")});
    observer->finishEnumeratingUpToPage(byDate ? NSData::dataWithText("next") : page);
    observer->finishEnumeratingUpToPage(nullptr);  // once too often changes nothing
  };
  extension->onEnumerator = [this](const std::string&, NSErrorPtr*) { return fake; };
  serve();
  const auto enumerator = host->enumerator("folder").value();
  const Page first = list(enumerator, [](auto page) { page.setInitialByDate(); });
  EXPECT_EQ(first.identifiers, (std::vector<std::string>{"date", "second"}));
  EXPECT_EQ(first.token, "next");
  const Page second = list(enumerator, [](auto page) {
    page.setToken(capnp::Data::Reader(reinterpret_cast<const kj::byte*>("tok"), 3));
  });
  EXPECT_EQ(second.token, "tok");
  EXPECT_EQ(list(enumerator, [](auto page) { page.setNone(); }).next, wire::Page::NONE);
  EXPECT_EQ(list(enumerator, [](auto page) { page.setInitialByName(); }).next,
            wire::Page::INITIAL_BY_NAME);
}

TEST_F(HostConnectionTest, RefusesATokenThatIsTooLongWithoutAskingTheExtension) {
  fake->onItems = [](auto, auto) { FAIL(); };
  extension->onEnumerator = [this](const std::string&, NSErrorPtr*) { return fake; };
  serve();
  const auto enumerator = host->enumerator("folder").value();
  const Page page = list(enumerator, [](auto wire) { wire.initToken(kMaxTokenBytes + 1); });
  ASSERT_NE(page.error, nullptr);
  EXPECT_EQ(page.error->code(), EINVAL);
}

TEST_F(HostConnectionTest, HandsOnAListingsErrorWithoutItsItems) {
  fake->onItems = [](auto observer, auto) {
    observer->didEnumerateItems({makeItem("half")});
    observer->finishEnumeratingWithError(NSError::errorWithDomain("D", 7));
  };
  extension->onEnumerator = [this](const std::string&, NSErrorPtr*) { return fake; };
  serve();
  const Page page = list(host->enumerator("f").value(), [](auto wire) { wire.setNone(); });
  ASSERT_NE(page.error, nullptr);
  EXPECT_EQ(page.error->code(), 7);
  EXPECT_TRUE(page.identifiers.empty());
}

TEST_F(HostConnectionTest, FailsAListingThatNobodyWillFinish) {
  fake->onItems = [](auto, auto) {};  // lets the observer go
  extension->onEnumerator = [this](const std::string&, NSErrorPtr*) { return fake; };
  serve();
  const auto enumerator = host->enumerator("f").value();
  const auto outcome = callBlocking<bool>(host->loop(), [&] {
    return enumerator.get().enumerateItemsRequest().send().then([](auto&&) { return true; });
  });
  EXPECT_FALSE(outcome.ok());
}

TEST_F(HostConnectionTest, SaysWhyThereIsNoEnumerator) {
  extension->onEnumerator = [](const std::string& identifier, NSErrorPtr* error) {
    if (identifier == "refused") *error = NSError::errorWithDomain("D", 3);
    return NSFileProviderEnumeratorPtr();
  };
  serve();
  const auto errorFor = [this](const char* identifier) {
    return host
        ->call<NSErrorPtr>([identifier](Extension& remote) {
          auto request = remote.enumeratorForContainerRequest();
          request.setIdentifier(identifier);
          return request.send().then([](auto&& r) { return decodeError(r.getError()); });
        })
        .value();
  };
  EXPECT_EQ(errorFor("refused")->code(), 3);
  EXPECT_NE(errorFor("without a word"), nullptr);
}

TEST_F(HostConnectionTest, PassesChangesAndAnchorsThrough) {
  fake->onAnchor = [](auto completion) { completion(NSData::dataWithText("now")); };
  fake->onChanges = [](auto observer, NSFileProviderSyncAnchor anchor) {
    observer->didUpdateItems({makeItem("up")});
    observer->didDeleteItemsWithIdentifiers({"gone", "away"});
    observer->finishEnumeratingChangesUpToSyncAnchor(anchor, true);
  };
  extension->onEnumerator = [this](const std::string&, NSErrorPtr*) { return fake; };
  serve();
  const auto enumerator = host->enumerator("f").value();
  const auto anchor = callBlocking<std::string>(host->loop(), [&] {
    return enumerator.get().currentSyncAnchorRequest().send().then(
        [](auto&& r) { return std::string(r.getAnchor().begin(), r.getAnchor().end()); });
  });
  EXPECT_EQ(anchor.value(), "now");
  const auto text = callBlocking<std::string>(host->loop(), [&] {
    auto request = enumerator.get().enumerateChangesRequest();
    request.setFromAnchor(capnp::Data::Reader(reinterpret_cast<const kj::byte*>("old"), 3));
    return request.send().then([](auto&& r) {
      std::string all(r.getAnchor().begin(), r.getAnchor().end());
      for (auto item : r.getUpdates()) all += " +" + textOf(item.getIdentifier());
      for (auto gone : r.getDeletions()) all += " -" + textOf(gone);
      return all + (r.getMoreComing() ? " more" : "") + (r.getError().hasDomain() ? " error" : "");
    });
  });
  EXPECT_EQ(text.value(), "old +up -gone -away more");
}

TEST_F(HostConnectionTest, AnswersWithAnErrorForChangesWhereThereAreNone) {
  auto plain = std::make_shared<FakeEnumerator>();
  extension->onEnumerator = [&](const std::string&, NSErrorPtr*) { return plain; };
  serve();
  const auto enumerator = host->enumerator("f").value();
  const auto changes = callBlocking<NSErrorPtr>(host->loop(), [&] {
    return enumerator.get().enumerateChangesRequest().send().then(
        [](auto&& r) { return decodeError(r.getError()); });
  });
  const auto anchor = callBlocking<NSErrorPtr>(host->loop(), [&] {
    return enumerator.get().currentSyncAnchorRequest().send().then(
        [](auto&& r) { return decodeError(r.getError()); });
  });
  EXPECT_EQ(changes.value()->code(), ENOTSUP);
  EXPECT_EQ(anchor.value()->code(), ENOTSUP);
}

TEST_F(HostConnectionTest, InvalidatesAnEnumeratorWhoseLastReferenceIsDropped) {
  extension->onEnumerator = [this](const std::string&, NSErrorPtr*) { return fake; };
  serve();
  auto first = host->enumerator("f").value();
  auto second = first;
  first.reset();
  EXPECT_TRUE(ping().ok());
  EXPECT_EQ(fake->invalidated.count(), 0U);
  second.reset();
  fake->invalidated.wait();
}

TEST_F(HostConnectionTest, InvalidatesEnumeratorsWhenTheHostIsGone) {
  extension->onEnumerator = [this](const std::string&, NSErrorPtr*) { return fake; };
  serve();
  const auto enumerator = host->enumerator("f").value();
  host->hangUp();
  connection->waitUntilGone();
  connection->close();
  fake->invalidated.wait();
  close();
  EXPECT_EQ(fake->invalidated.count(), 1U);
}

TEST_F(HostConnectionTest, HandsOverWhatContentRequestsNeedAndTheirEnd) {
  extension->onProviding = [](NSURLPtr url, std::uint64_t options, auto completion) {
    completion(url->path() == "/tree/a" && options == 0x20008 ? nullptr
                                                              : NSError::errorWithDomain("D", 5));
  };
  extension->onPlaceholder = [](NSURLPtr url, auto completion) {
    completion(url->path() == "/tree/a" ? nullptr : NSError::errorWithDomain("D", 6));
  };
  serve();
  const auto provide = [this](const char* path) {
    return host
        ->call<NSErrorPtr>([path](Extension& remote) {
          auto request = remote.startProvidingRequest();
          request.setPath(path);
          request.setReadingOptions(0x20008);
          return request.send().then([](auto&& r) { return decodeError(r.getError()); });
        })
        .value();
  };
  const auto placeholder = [this](const char* path) {
    return host
        ->call<NSErrorPtr>([path](Extension& remote) {
          auto request = remote.providePlaceholderRequest();
          request.setPath(path);
          return request.send().then([](auto&& r) { return decodeError(r.getError()); });
        })
        .value();
  };
  EXPECT_EQ(provide("/tree/a"), nullptr);
  EXPECT_EQ(provide("/tree/b")->code(), 5);
  EXPECT_EQ(provide("relative")->code(), EINVAL);
  EXPECT_EQ(placeholder("/tree/a"), nullptr);
  EXPECT_EQ(placeholder("/tree/b")->code(), 6);
  EXPECT_EQ(placeholder("")->code(), EINVAL);
}

TEST_F(HostConnectionTest, AnswersAContentRequestLongAfterItsThreadIsBack) {
  Answer<NSProvidingCompletion> started;
  extension->onProviding = [&](auto, auto, auto completion) { started.handler()(completion); };
  serve();
  Answer<Outcome<NSErrorPtr>> answer;
  host->callLater<NSErrorPtr>(
      [](Extension& remote) {
        auto request = remote.startProvidingRequest();
        request.setPath("/tree/a");
        return request.send().then([](auto&& r) { return decodeError(r.getError()); });
      },
      answer.handler());
  const auto completion = std::get<0>(started.wait());
  EXPECT_TRUE(ping().ok());
  EXPECT_EQ(answer.count(), 0U);
  completion(NSError::errorWithDomain("D", 1));
  completion(nullptr);  // once too often changes nothing
  EXPECT_EQ(std::get<0>(answer.wait()).value()->code(), 1);
}

TEST_F(HostConnectionTest, StarvesNoRequestWhileManyOthersBlock) {
  constexpr unsigned kBlocked = 40;
  std::promise<void> release;
  const auto released = release.get_future().share();
  Answer<> blocked;
  extension->onUrl = [&](const std::string&) {
    blocked.handler()();
    released.wait();
    return NSURL::fileURLWithPath("/tree/late");
  };
  serve();
  Answer<Outcome<std::string>> late;
  for (unsigned i = 0; i < kBlocked; ++i) {
    host->callLater<std::string>(
        [](Extension& remote) {
          return remote.urlForItemRequest().send().then(
              [](auto&& r) { return textOf(r.getPath()); });
        },
        late.handler());
  }
  blocked.wait(kBlocked);
  EXPECT_TRUE(ping().ok());
  EXPECT_EQ(late.count(), 0U);
  release.set_value();
  for (unsigned i = 1; i <= kBlocked; ++i) {
    EXPECT_EQ(std::get<0>(late.wait(i)).value(), "/tree/late");
  }
}

TEST_F(HostConnectionTest, AnswersEachOfManyConcurrentRequestsWithItsOwn) {
  extension->onItem = [](const std::string& identifier, NSErrorPtr*) {
    return makeItem(identifier);
  };
  serve();
  std::vector<std::thread> threads;
  std::atomic<int> right{0};
  for (int t = 0; t < 8; ++t) {
    threads.emplace_back([&, t] {
      for (int i = 0; i < 100; ++i) {
        const std::string name = std::to_string(t) + "-" + std::to_string(i);
        const auto answer = host->call<std::string>([name](Extension& remote) {
          auto request = remote.itemForIdentifierRequest();
          request.setIdentifier(name);
          return request.send().then([](auto&& r) { return textOf(r.getItem().getFilename()); });
        });
        if (answer.ok() && answer.value() == name) ++right;
      }
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(right, 800);
}

TEST_F(HostConnectionTest, SignalsThePlatformAndHandsOnItsAnswer) {
  Answer<std::string> signalled;
  open([&](const std::string& identifier) {
    signalled.handler()(identifier);
    return identifier == "refused" ? 9 : 0;
  });
  serve();
  Answer<NSErrorPtr> completions;
  connection->signalEnumeratorForContainerItemIdentifier("folder", completions.handler());
  EXPECT_EQ(std::get<0>(completions.wait()), nullptr);
  EXPECT_EQ(std::get<0>(signalled.wait()), "folder");
  connection->signalEnumeratorForContainerItemIdentifier("refused", completions.handler());
  EXPECT_EQ(std::get<0>(completions.wait(2))->code(), 9);
}

TEST_F(HostConnectionTest, CompletesSignalsOnceAlsoWhenTheHostIsGone) {
  serve();
  Answer<NSErrorPtr> completions;
  connection->signalEnumeratorForContainerItemIdentifier("unanswered", completions.handler());
  EXPECT_TRUE(ping().ok());
  host->hangUp();
  EXPECT_EQ(std::get<0>(completions.wait())->code(), NSXPCConnectionInvalid);
  connection->waitUntilGone();
  connection->signalEnumeratorForContainerItemIdentifier("late", completions.handler());
  EXPECT_NE(std::get<0>(completions.wait(2)), nullptr);
  connection->close();
  connection->signalEnumeratorForContainerItemIdentifier("later", completions.handler());
  EXPECT_NE(std::get<0>(completions.wait(3)), nullptr);
  close();
  EXPECT_EQ(completions.count(), 3U);
}

}  // namespace
}  // namespace tessera
