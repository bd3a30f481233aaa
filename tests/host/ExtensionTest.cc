#include <csignal>
#include <cstdlib>

#include <gtest/gtest.h>

#include "HostFixture.h"

namespace tessera {
namespace {

constexpr const char* kEnded = "NSCocoaErrorDomain 4097";

TEST(Extension, IsStartedByTheFirstRequestAndStays) {
  HostFixture host;
  EXPECT_EQ(host.status().getStatus().getExtensionPid(), 0U);
  EXPECT_EQ(host.status().getStatus().getExtensionStarts(), 0U);
  const auto first = host.askForItem("a").wait(host.io.waitScope);
  EXPECT_TRUE(first.getFound());
  EXPECT_EQ(first.getItem().getFilename(), "name of a"_kj);
  const auto second = host.askForItem("b").wait(host.io.waitScope);
  EXPECT_EQ(first.getItem().getDocumentSize(), second.getItem().getDocumentSize());
  EXPECT_EQ(host.status().getStatus().getExtensionPid(), first.getItem().getDocumentSize());
  EXPECT_EQ(host.status().getStatus().getExtensionStarts(), 1U);
}

TEST(Extension, IsNotNeededForThePingOfTheHostItself) {
  HostFixture host;
  host.service().pingRequest().send().wait(host.io.waitScope);
  EXPECT_EQ(host.status().getStatus().getExtensionStarts(), 0U);
  const auto response = host.service().pingExtensionRequest().send().wait(host.io.waitScope);
  EXPECT_EQ(nameOf(response.getError()), "");
  EXPECT_EQ(host.status().getStatus().getExtensionStarts(), 1U);
}

TEST(Extension, ErrorsOfItsOwnPassThrough) {
  HostFixture host;
  EXPECT_EQ(host.itemOutcome("refused"), "NSFileProviderErrorDomain -1000");
  auto providing = host.service().startProvidingRequest();
  providing.setPath("/tree/refused");
  EXPECT_EQ(nameOf(providing.send().wait(host.io.waitScope).getError()),
            "NSFileProviderErrorDomain -1000");
  auto enumerator = host.service().enumeratorRequest();
  enumerator.setContainerIdentifier("none");
  EXPECT_EQ(nameOf(enumerator.send().wait(host.io.waitScope).getError()),
            "NSFileProviderErrorDomain -1000");
}

TEST(Extension, CrashGivesARequestInFlightAnErrorAndTheNextOneANewExtension) {
  HostFixture host;
  const auto before = host.askForItem("a").wait(host.io.waitScope).getItem().getDocumentSize();
  auto hanging = host.askForItem("hang");
  EXPECT_EQ(host.itemOutcome("crash"), kEnded);
  EXPECT_EQ(host.outcomeOf(kj::mv(hanging)), kEnded);
  const auto after = host.askForItem("a").wait(host.io.waitScope).getItem().getDocumentSize();
  EXPECT_NE(before, after);
  EXPECT_EQ(host.status().getStatus().getExtensionStarts(), 2U);
  EXPECT_EQ(host.status().getStatus().getExtensionCrashes(), 1U);
}

TEST(Extension, KilledFromOutsideIsStartedAgain) {
  HostFixture host;
  ASSERT_EQ(host.itemOutcome("a"), "found");
  ::kill(static_cast<pid_t>(host.status().getStatus().getExtensionPid()), SIGKILL);
  host.waitUntil([&] { return host.status().getStatus().getExtensionPid() == 0; });
  EXPECT_EQ(host.itemOutcome("a"), "found");
}

TEST(Extension, ThatKeepsCrashingIsLeftAloneForAWhile) {
  HostFixture host;
  for (int i = 0; i < 4; ++i) EXPECT_EQ(host.itemOutcome("crash"), kEnded);
  const auto refused = host.askForItem("a").wait(host.io.waitScope);
  EXPECT_EQ(nameOf(refused.getError()), "NSCocoaErrorDomain 4099");
  EXPECT_NE(descriptionOf(refused.getError()).find("keeps ending"), std::string::npos);
  EXPECT_EQ(host.status().getStatus().getExtensionStarts(), 4U);
  host.waitUntil([&] { return host.itemOutcome("a") == "found"; });
  EXPECT_EQ(host.status().getStatus().getExtensionStarts(), 5U);
}

TEST(Extension, ThatCannotBeStartedIsSaid) {
  auto options = HostFixture::fastOptions();
  options.extension.program = "/no/such/extension";
  HostFixture host(options);
  const auto response = host.askForItem("a").wait(host.io.waitScope);
  EXPECT_EQ(nameOf(response.getError()), "NSCocoaErrorDomain 4099");
  EXPECT_NE(descriptionOf(response.getError()).find("/no/such/extension"), std::string::npos);
}

TEST(Extension, ThatEndsAtOnceGivesAnError) {
  ::setenv("FAKE_ENDS_AT_ONCE", "1", 1);
  HostFixture host;
  EXPECT_EQ(host.itemOutcome("a"), kEnded);
}

TEST(Extension, ThatThrowsGivesAnErrorWithItsText) {
  HostFixture host;
  const auto response = host.askForItem("throw").wait(host.io.waitScope);
  EXPECT_EQ(nameOf(response.getError()), "NSCocoaErrorDomain 4101");
  EXPECT_NE(descriptionOf(response.getError()).find("thrown by the extension"), std::string::npos);
  EXPECT_EQ(host.itemOutcome("a"), "found");
  EXPECT_EQ(host.status().getStatus().getExtensionStarts(), 1U);
}

TEST(Extension, ThatHangsIsKilledAndItsRequestsAreAnswered) {
  auto options = HostFixture::fastOptions();
  options.extension.pingPatience = 100 * kj::MILLISECONDS;
  HostFixture host(options);
  ASSERT_EQ(host.itemOutcome("a"), "found");
  const auto pid = static_cast<pid_t>(host.status().getStatus().getExtensionPid());
  EXPECT_EQ(host.itemOutcome("stop"), kEnded);
  EXPECT_EQ(host.itemOutcome("a"), "found");
  host.waitUntil([&] { return ::kill(pid, 0) != 0; });
  EXPECT_EQ(host.status().getStatus().getExtensionCrashes(), 1U);
}

TEST(Extension, ARequestThatTakesLongIsNotTakenForAHang) {
  auto options = HostFixture::fastOptions();
  options.extension.pingEvery = 1 * kj::MILLISECONDS;
  options.extension.pingPatience = 10 * kj::SECONDS;
  HostFixture host(options);
  auto slow = host.askForItem("hang");
  for (int i = 0; i < 100; ++i) EXPECT_EQ(host.itemOutcome("a"), "found");
  EXPECT_FALSE(slow.poll(host.io.waitScope));
  EXPECT_EQ(host.status().getStatus().getExtensionCrashes(), 0U);
}

TEST(Extension, EndsWhenItIsIdleAndThatIsNoCrash) {
  auto options = HostFixture::fastOptions();
  options.extension.idle = 1 * kj::MILLISECONDS;
  HostFixture host(options);
  EXPECT_EQ(host.itemOutcome("a"), "found");
  host.waitUntil([&] { return host.status().getStatus().getExtensionPid() == 0; });
  EXPECT_EQ(host.itemOutcome("a"), "found");
  host.waitUntil([&] {
    return contentOf(host.home.log() / "fileproviderd.log").find("exit status 0") !=
           std::string::npos;
  });
  EXPECT_EQ(host.status().getStatus().getExtensionStarts(), 2U);
  EXPECT_EQ(host.status().getStatus().getExtensionCrashes(), 0U);
}

TEST(Extension, IsKilledWhenItDoesNotEnd) {
  ::setenv("FAKE_NEVER_ENDS", "1", 1);
  auto options = HostFixture::fastOptions();
  options.extension.idle = 1 * kj::MILLISECONDS;
  options.extension.endPatience = 10 * kj::MILLISECONDS;
  HostFixture host(options);
  EXPECT_EQ(host.itemOutcome("a"), "found");
  host.waitUntil([&] {
    return contentOf(host.home.log() / "fileproviderd.log").find("signal 9") != std::string::npos;
  });
}

TEST(Extension, StaysWhileAnEnumeratorIsReferenced) {
  auto options = HostFixture::fastOptions();
  options.extension.idle = 1 * kj::MILLISECONDS;
  HostFixture host(options);
  auto request = host.service().enumeratorRequest();
  request.setContainerIdentifier("folder");
  kj::Maybe<wire::Enumerator::Client> enumerator =
      request.send().wait(host.io.waitScope).getEnumerator();
  const auto anchor = [&] {
    return KJ_ASSERT_NONNULL(enumerator)
        .currentSyncAnchorRequest()
        .send()
        .wait(host.io.waitScope)
        .getAnchor()
        .size();
  };
  for (int i = 0; i < 20; ++i) {
    EXPECT_EQ(anchor(), 6U);
    host.loop.timer.afterDelay(2 * kj::MILLISECONDS).wait(host.io.waitScope);
  }
  EXPECT_EQ(host.status().getStatus().getExtensionStarts(), 1U);
  enumerator = nullptr;
  host.waitUntil([&] { return host.status().getStatus().getExtensionPid() == 0; });
}

TEST(Enumerator, HandsOutThePagesOfTheExtension) {
  HostFixture host;
  auto request = host.service().enumeratorRequest();
  request.setContainerIdentifier("folder");
  auto enumerator = request.send().wait(host.io.waitScope).getEnumerator();
  auto first = enumerator.enumerateItemsRequest();
  first.initStartingAt().setInitialByName();
  const auto page = first.send().wait(host.io.waitScope);
  ASSERT_EQ(page.getItems().size(), 2U);
  EXPECT_EQ(page.getItems()[1].getIdentifier(), "2"_kj);
  ASSERT_TRUE(page.getNext().isToken());
  auto second = enumerator.enumerateItemsRequest();
  second.setStartingAt(page.getNext());
  const auto last = second.send().wait(host.io.waitScope);
  EXPECT_EQ(last.getItems()[0].getIdentifier(), "3"_kj);
  EXPECT_TRUE(last.getNext().isNone());
}

TEST(Enumerator, OfADeadExtensionAnswersAnError) {
  HostFixture host;
  auto request = host.service().enumeratorRequest();
  request.setContainerIdentifier("folder");
  auto enumerator = request.send().wait(host.io.waitScope).getEnumerator();
  auto page = enumerator.enumerateItemsRequest();
  page.initStartingAt().setToken(kj::StringPtr("crash").asBytes());
  EXPECT_EQ(nameOf(page.send().wait(host.io.waitScope).getError()), kEnded);
  const auto anchor = enumerator.currentSyncAnchorRequest().send().wait(host.io.waitScope);
  EXPECT_EQ(nameOf(anchor.getError()), kEnded);
}

TEST(Lookup, ThatFindsNothingSaysWhy) {
  HostFixture host;
  auto path = host.service().identifierForItemAtPathRequest();
  path.setPath("/tree/none");
  const auto missing = path.send().wait(host.io.waitScope);
  EXPECT_FALSE(missing.getFound());
  EXPECT_EQ(nameOf(missing.getError()), "NSCocoaErrorDomain 4");
  EXPECT_NE(descriptionOf(missing.getError()).find("/tree/none"), std::string::npos);
  auto url = host.service().urlForItemRequest();
  url.setIdentifier("none");
  EXPECT_EQ(nameOf(url.send().wait(host.io.waitScope).getError()),
            "NSFileProviderErrorDomain -1005");
  EXPECT_EQ(host.itemOutcome("none"), "NSFileProviderErrorDomain -1005");
}

TEST(Lookup, ThatFindsNothingBecauseNobodyIsSignedInSaysSo) {
  ::setenv("FAKE_SIGNED_OUT", "1", 1);
  HostFixture host;
  auto path = host.service().identifierForItemAtPathRequest();
  path.setPath("/tree/none");
  EXPECT_EQ(nameOf(path.send().wait(host.io.waitScope).getError()),
            "NSFileProviderErrorDomain -1000");
}

TEST(Lookup, MapsPathsAndIdentifiers) {
  HostFixture host;
  auto path = host.service().identifierForItemAtPathRequest();
  path.setPath("/tree/x");
  EXPECT_EQ(path.send().wait(host.io.waitScope).getIdentifier(), "x"_kj);
  auto url = host.service().urlForItemRequest();
  url.setIdentifier("x");
  EXPECT_EQ(url.send().wait(host.io.waitScope).getPath(), "/tree/x"_kj);
}

TEST(ExtensionHost, AnswersSignalsAndRefusesNamesThatCannotBeOnes) {
  HostFixture host;
  EXPECT_EQ(host.itemOutcome("signal:folder"), "found");
  const auto refused = host.askForItem("signal:" + std::string(300, 'x')).wait(host.io.waitScope);
  EXPECT_FALSE(refused.getFound());
}

TEST(StartProviding, ThatNobodyWaitsForIsDropped) {
  auto options = HostFixture::fastOptions();
  options.extension.idle = 1 * kj::MILLISECONDS;
  HostFixture host(options);
  auto request = host.service().startProvidingRequest();
  request.setPath("/tree/hang");
  {
    auto call = request.send();
    EXPECT_FALSE(call.poll(host.io.waitScope));
    host.waitUntil([&] { return host.status().getStatus().getExtensionPid() != 0; });
  }
  // With no request in flight any more the extension is idle.
  host.waitUntil([&] { return host.status().getStatus().getExtensionPid() == 0; });
}

}  // namespace
}  // namespace tessera
