#include "linux/TreeURLs.h"

#include <filesystem>
#include <fstream>
#include <string>

#include "home/PublishedState.h"
#include "linux/WireText.h"
#include "platform/tessera/GVErrors.h"
#include "tests/linux/LibraryTest.h"

namespace tessera {
namespace {

constexpr const char* kItem = "01234567-89ab-cdef-0123-456789abcdef";

class TreeURLsTest : public LibraryTest {
 protected:
  void makeUrls(const SkiffPatience& patience = impatient()) {
    makeClient(patience);
    containers.emplace(scratch.home);
    urls.emplace(*skiff, *containers, scratch.home);
  }
  NSURLPtr inTree(const std::string& below) const {
    return NSURL::fileURLWithPath(scratch.home.tree().string() + below);
  }

  std::optional<PublishedContainers> containers;
  std::optional<TreeURLs> urls;
};

TEST_F(TreeURLsTest, TheSyncedLocationIsTheTreeAndWhatIsBelowItByThePathAlone) {
  makeUrls();
  EXPECT_TRUE(urls->isInSyncedLocation(inTree("")));
  EXPECT_TRUE(urls->isInSyncedLocation(inTree("/")));
  EXPECT_TRUE(urls->isInSyncedLocation(inTree("/a/b")));
  EXPECT_TRUE(urls->isInSyncedLocation(inTree("/a/../b")));
  EXPECT_FALSE(urls->isInSyncedLocation(inTree("/../x")));
  EXPECT_FALSE(urls->isInSyncedLocation(inTree("-other/a")));
  EXPECT_FALSE(urls->isInSyncedLocation(NSURL::fileURLWithPath("/")));
  EXPECT_FALSE(urls->isInSyncedLocation(NSURL::fileURLWithPath(scratch.home.name().string())));
}

TEST_F(TreeURLsTest, APromiseIsKnownByItsName) {
  makeUrls();
  const std::string identifier = kItem;
  EXPECT_TRUE(urls->isPromiseURL(inTree("/a/.tessera-" + identifier + ".promise")));
  EXPECT_FALSE(urls->isPromiseURL(inTree("/a/.tessera-" + identifier)));
  EXPECT_FALSE(urls->isPromiseURL(inTree("/a/tessera-" + identifier + ".promise")));
  EXPECT_FALSE(urls->isPromiseURL(inTree("/a/.tessera-xyz.promise")));
  EXPECT_FALSE(urls->isPromiseURL(inTree("/a/.tessera-.promise")));
  EXPECT_FALSE(urls->isPromiseURL(inTree("/a/.tessera.promise")));
  EXPECT_FALSE(urls->isPromiseURL(inTree("/.tessera-" + identifier + ".promise/b")));
}

TEST_F(TreeURLsTest, AReferenceIsALinkInTheTreeOrWhatTheDaemonSaidIsOne) {
  startDaemon({.documentPath = [this](auto context) -> kj::Promise<void> {
    context.getResults().setPath(scratch.home.tree().string() + "/ref");
    context.getResults().setIsReference(true);
    return kj::READY_NOW;
  }});
  makeUrls();
  std::filesystem::create_symlink("/nowhere", scratch.home.tree() / "link");
  std::filesystem::create_symlink("/nowhere", scratch.home.state() / "link");
  std::ofstream(scratch.home.tree() / "ref") << "x";
  EXPECT_TRUE(urls->isExternalDocumentReference(inTree("/link")));
  EXPECT_FALSE(urls->isExternalDocumentReference(
      NSURL::fileURLWithPath((scratch.home.state() / "link").string())));
  EXPECT_FALSE(urls->isExternalDocumentReference(inTree("/ref")));
  EXPECT_FALSE(urls->isExternalDocumentReference(inTree("/missing")));
  NSErrorPtr error;
  const auto url =
      urls->documentURLFromFileObjectID(*GVFileObjectID::fileObjectIDWithString(kItem), &error);
  ASSERT_NE(url, nullptr);
  EXPECT_TRUE(urls->isExternalDocumentReference(url));
  EXPECT_TRUE(urls->isExternalDocumentReference(url->copy()));
}

TEST_F(TreeURLsTest, AsksTheDaemonWhereADocumentIs) {
  startDaemon({.documentPath = [this](auto context) -> kj::Promise<void> {
    context.getResults().setPath(scratch.home.tree().string() + "/" +
                                 textOf(context.getParams().getFileObjectId()));
    return kj::READY_NOW;
  }});
  makeUrls();
  NSErrorPtr error;
  const auto url =
      urls->documentURLFromFileObjectID(*GVFileObjectID::fileObjectIDWithString(kItem), &error);
  ASSERT_NE(url, nullptr);
  EXPECT_EQ(error, nullptr);
  EXPECT_TRUE(url->isEqual(*inTree(std::string("/") + kItem)));
  EXPECT_FALSE(urls->isExternalDocumentReference(url));
}

TEST_F(TreeURLsTest, HandsOnErrorsAndRefusesWhatIsNoPath) {
  Answer<std::string> path;
  startDaemon({.documentPath = [](auto context) -> kj::Promise<void> {
                 context.getResults().setPath("not/absolute");
                 return kj::READY_NOW;
               },
               .resolveReference = [](auto context) -> kj::Promise<void> {
                 auto error = context.getResults().initError();
                 error.setDomain(NSPOSIXErrorDomain);
                 error.setCode(2);
                 return kj::READY_NOW;
               }});
  makeUrls();
  const auto identifier = *GVFileObjectID::fileObjectIDWithString(kItem);
  NSErrorPtr error;
  EXPECT_EQ(urls->documentURLFromFileObjectID(identifier, &error), nullptr);
  ASSERT_NE(error, nullptr);
  EXPECT_EQ(error->code(), GVTesseraErrorUnknown);
  EXPECT_EQ(urls->resolveExternalDocumentReference(inTree("/a"), &error), nullptr);
  EXPECT_EQ(error->domain(), NSPOSIXErrorDomain);
  EXPECT_EQ(urls->resolveExternalDocumentReference(inTree("/a"), nullptr), nullptr);
  daemon.reset();
  EXPECT_EQ(urls->documentURLFromFileObjectID(identifier, &error), nullptr);
  EXPECT_EQ(error->code(), GVTesseraErrorDaemonNotResponding);
}

TEST_F(TreeURLsTest, ResolvesAReferenceThroughTheDaemon) {
  startDaemon({.resolveReference = [](auto context) -> kj::Promise<void> {
    context.getResults().setPath("/elsewhere" + textOf(context.getParams().getPath()));
    return kj::READY_NOW;
  }});
  makeUrls();
  NSErrorPtr error;
  const auto target = urls->resolveExternalDocumentReference(inTree("/ref"), &error);
  ASSERT_NE(target, nullptr);
  EXPECT_EQ(target->path(), "/elsewhere" + inTree("/ref")->path());
}

TEST_F(TreeURLsTest, KnowsContainersFoldersFromThePublishedList) {
  makeUrls();
  publishFile(scratch.home.containersFile(),
              containersToJson({{"app.notes", "Notes", "Apps/Notes", kItem}}));
  EXPECT_EQ(urls->containerIDIfIsDocumentsContainerURL(inTree("/Apps/Notes")), "app.notes");
  EXPECT_EQ(urls->containerIDIfIsDocumentsContainerURL(inTree("/Apps/Notes/x")), std::nullopt);
}

}  // namespace
}  // namespace tessera
