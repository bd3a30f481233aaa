#include "tests/support/tessera/FakeClientLibrary.h"

#include <gtest/gtest.h>

#include "tests/support/tessera/SampleItems.h"

namespace tessera {
namespace {

TEST(FakeClientLibrary, AnswersThroughTheClientLibrarysOwnCalls) {
  const auto calls = std::make_shared<CallRecorder>();
  FakeClientLibrary library(calls);
  const auto error = NSError::errorWithDomain("domain", 1);
  const auto url = NSURL::fileURLWithPath("/tree/a");
  const auto item = sampleItem(1);
  library.putDocumentURL(sampleID(1), url);
  library.putItem("/tree/a", item);
  library.putItem("/tree/b", nullptr, error);
  library.putContainer("box", url, item);

  NSErrorPtr reported;
  EXPECT_NE(nullptr, GVAccount::currentLoggedInAccountWithError(&reported));
  EXPECT_EQ(url, gv_documentURLFromFileObjectID(sampleID(1), &reported));
  EXPECT_EQ(item, GVQueryItem::askDaemonQueryItemForURL(url, true, &reported));
  EXPECT_EQ("box", gv_containerIDIfIsDocumentsContainerURL(url));
  EXPECT_EQ(item,
            GVQueryItem::containerItemForContainer(GVContainer::allContainers().at(0), false));
  EXPECT_EQ(nullptr, reported);
  EXPECT_EQ(nullptr, GVQueryItem::askDaemonQueryItemForURL(NSURL::fileURLWithPath("/tree/b"), false,
                                                           &reported));
  EXPECT_EQ(error, reported);
  EXPECT_EQ((std::vector<std::string>{
                "account.current", "url.document(00000000-0000-0000-0000-000000000001)",
                "item.query(/tree/a, scan=1)", "containers.all", "container.item(box, scan=0)",
                "item.query(/tree/b, scan=0)"}),
            calls->calls());
}

TEST(FakeClientLibrary, GivesAnErrorForWhatItDoesNotKnow) {
  FakeClientLibrary library(std::make_shared<CallRecorder>());
  NSErrorPtr error;
  EXPECT_EQ(nullptr, gv_documentURLFromFileObjectID(sampleID(9), &error));
  EXPECT_NE(nullptr, error);
  error = nullptr;
  EXPECT_EQ(nullptr, GVQueryItem::askDaemonQueryItemForURL(NSURL::fileURLWithPath("/tree/x"), false,
                                                           &error));
  EXPECT_NE(nullptr, error);
}

TEST(FakeClientLibrary, KnowsItsTreeItsReferencesAndItsPromises) {
  FakeClientLibrary library(std::make_shared<CallRecorder>());
  const auto inside = NSURL::fileURLWithPath("/tree/link");
  const auto target = NSURL::fileURLWithPath("/elsewhere/document");
  EXPECT_TRUE(gv_isInSyncedLocation(inside));
  EXPECT_FALSE(gv_isInSyncedLocation(target));
  EXPECT_FALSE(gv_isInSyncedLocation(NSURL::fileURLWithPath("/treehouse")));
  EXPECT_FALSE(gv_isExternalDocumentReference(inside));
  library.putReference("/tree/link", target);
  EXPECT_TRUE(gv_isExternalDocumentReference(inside));
  EXPECT_EQ(target, gv_URLByResolvingExternalDocumentReferenceWithError(inside, nullptr));
  EXPECT_FALSE(gv_isPromiseURL(inside));
  library.putPromise("/tree/link");
  EXPECT_TRUE(gv_isPromiseURL(inside));
}

}  // namespace
}  // namespace tessera
