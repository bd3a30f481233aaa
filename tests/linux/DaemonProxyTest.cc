#include "linux/DaemonProxy.h"

#include <memory>
#include <string>

#include "linux/DaemonConnection.h"
#include "linux/SkiffFailure.h"
#include "linux/WireText.h"
#include "platform/tessera/GVErrors.h"
#include "tests/linux/LibraryTest.h"

namespace tessera {
namespace {

constexpr const char* kFolder = "01234567-89ab-cdef-0123-456789abcdef";

class DaemonProxyTest : public LibraryTest {
 protected:
  std::shared_ptr<GVDaemonProxy> proxy() {
    return DaemonConnection(*skiff).remoteObjectProxyWithErrorHandler(errors.handler());
  }

  Answer<NSErrorPtr> errors;
  Answer<GVQueryItems, std::uint64_t, NSErrorPtr> pages;
  Answer<GVQueryItems, std::vector<GVFileObjectID>, NSDataPtr, NSErrorPtr> changes;
};

void fillItem(wire::Item::Builder item, const std::string& name) {
  item.setFileObjectId(kFolder);
  item.setFilename(name);
}

TEST_F(DaemonProxyTest, ListsAFolderWithWhatItWasAskedWith) {
  startDaemon({.folder = [](auto context) -> kj::Promise<void> {
    const auto params = context.getParams();
    const std::string asked =
        textOf(params.getFolder()) + " " + std::to_string(params.getSortOrder()) + " " +
        std::to_string(params.getOffset()) + " " + std::to_string(params.getLimit());
    auto items = context.getResults().initItems(2);
    fillItem(items[0], asked);
    fillItem(items[1], "second");
    context.getResults().setNextOffset(600);
    return kj::READY_NOW;
  }});
  makeClient();
  proxy()->enumerateItemsInFolder(GVFileObjectID::fileObjectIDWithString(kFolder), 1, 400, 200,
                                  pages.handler());
  auto [items, next, error] = pages.wait();
  EXPECT_EQ(error, nullptr);
  EXPECT_EQ(next, 600U);
  ASSERT_EQ(items.size(), 2U);
  EXPECT_EQ(items[0]->filename(), std::string(kFolder) + " 1 400 200");
  proxy()->enumerateItemsInFolder(std::nullopt, 0, 0, 200, pages.handler());
  EXPECT_EQ(std::get<0>(pages.wait(2))[0]->filename(), " 0 0 200");
  endClient();
  EXPECT_EQ(pages.count(), 2U);
  EXPECT_EQ(errors.count(), 0U);
}

TEST_F(DaemonProxyTest, ListsAllFolders) {
  startDaemon({.allFolders = [](auto context) -> kj::Promise<void> {
    const auto params = context.getParams();
    fillItem(context.getResults().initItems(1)[0], std::to_string(params.getSortOrder()) + " " +
                                                       std::to_string(params.getOffset()) + " " +
                                                       std::to_string(params.getLimit()));
    return kj::READY_NOW;
  }});
  makeClient();
  proxy()->enumerateAllFoldersWithSortOrder(1, 200, 100, pages.handler());
  auto [items, next, error] = pages.wait();
  EXPECT_EQ(next, 0U);
  EXPECT_EQ(items.at(0)->filename(), "1 200 100");
}

TEST_F(DaemonProxyTest, HandsTheDaemonsErrorToTheCompletionAndNotToTheHandler) {
  startDaemon({.folder = [](auto context) -> kj::Promise<void> {
    auto error = context.getResults().initError();
    error.setDomain(GVTesseraErrorDomain);
    error.setCode(GVTesseraErrorLoggedOut);
    return kj::READY_NOW;
  }});
  makeClient();
  proxy()->enumerateItemsInFolder(std::nullopt, 0, 0, 200, pages.handler());
  auto [items, next, error] = pages.wait();
  ASSERT_NE(error, nullptr);
  EXPECT_EQ(error->code(), GVTesseraErrorLoggedOut);
  EXPECT_TRUE(items.empty());
  endClient();
  EXPECT_EQ(errors.count(), 0U);
}

TEST_F(DaemonProxyTest, HandsALostConnectionToTheHandlerAndNotToTheCompletion) {
  Answer<> arrived;
  startDaemon({.folder = [&](auto) -> kj::Promise<void> {
    arrived.handler()();
    return kj::NEVER_DONE;
  }});
  makeClient();
  proxy()->enumerateItemsInFolder(std::nullopt, 0, 0, 200, pages.handler());
  arrived.wait();
  daemon.reset();
  const auto error = std::get<0>(errors.wait());
  EXPECT_EQ(error->domain(), GVTesseraErrorDomain);
  EXPECT_EQ(error->code(), GVTesseraErrorDaemonNotResponding);
  endClient();
  EXPECT_EQ(errors.count(), 1U);
  EXPECT_EQ(pages.count(), 0U);
}

TEST_F(DaemonProxyTest, HandsAnAbsentDaemonToTheHandlerOnceForEachCall) {
  makeClient(impatient());
  const auto proxy = this->proxy();
  proxy->enumerateItemsInFolder(std::nullopt, 0, 0, 200, pages.handler());
  proxy->enumerateAllFoldersWithSortOrder(0, 0, 200, pages.handler());
  proxy->enumerateWorkingSetChangesFromChangeToken(nullptr, 200, changes.handler());
  errors.wait(3);
  EXPECT_EQ(std::get<0>(errors.wait())->localizedDescription(), kSkiffNotRunning);
  endClient();
  EXPECT_EQ(errors.count(), 3U);
  EXPECT_EQ(pages.count() + changes.count(), 0U);
}

TEST_F(DaemonProxyTest, PassesWorkingSetTokensOnAsTheyAre) {
  startDaemon({.workingSet = [](auto context) -> kj::Promise<void> {
    const auto params = context.getParams();
    auto results = context.getResults();
    fillItem(results.initUpdates(1)[0], std::to_string(params.getChangeToken().size()) + " " +
                                            std::to_string(params.getLimit()));
    auto deletions = results.initDeletions(2);
    deletions.set(0, kFolder);
    deletions.set(1, "nonsense");
    const kj::byte token[] = {0, 9, 0};
    results.setNewToken(capnp::Data::Reader(token, 3));
    return kj::READY_NOW;
  }});
  makeClient();
  proxy()->enumerateWorkingSetChangesFromChangeToken(nullptr, 200, changes.handler());
  auto [updates, deletions, token, error] = changes.wait();
  EXPECT_EQ(error, nullptr);
  EXPECT_EQ(updates.at(0)->filename(), "0 200");
  ASSERT_EQ(deletions.size(), 1U);
  EXPECT_EQ(deletions[0].asString(), kFolder);
  ASSERT_NE(token, nullptr);
  EXPECT_TRUE(token->isEqualToData(*NSData::dataWithBytes(std::vector<std::uint8_t>{0, 9, 0})));
  proxy()->enumerateWorkingSetChangesFromChangeToken(token, 200, changes.handler());
  EXPECT_EQ(std::get<0>(changes.wait(2)).at(0)->filename(), "3 200");
}

}  // namespace
}  // namespace tessera
