#include "linux/QueryItems.h"

#include <string>

#include "linux/SkiffFailure.h"
#include "linux/WireText.h"
#include "platform/tessera/GVContainer.h"
#include "platform/tessera/GVErrors.h"
#include "platform/tessera/GVLog.h"
#include "tests/linux/LibraryTest.h"
#include "tests/support/log/CapturingLog.h"

namespace tessera {
namespace {

constexpr const char* kItem = "01234567-89ab-cdef-0123-456789abcdef";

class QueryItemsTest : public LibraryTest {
 protected:
  GVQueryItemPtr itemAt(const char* path, bool scan, NSErrorPtr* error) {
    return QueryItems(*skiff).itemAtURL(NSURL::fileURLWithPath(path), scan, error);
  }
  GVContainerPtr container = std::make_shared<const GVContainer>(
      "app.notes", "Notes", NSURL::fileURLWithPath("/tree/Notes"),
      *GVFileObjectID::fileObjectIDWithString(kItem));
};

TEST_F(QueryItemsTest, AsksForTheRecordAtAPath) {
  startDaemon({.itemAtPath = [](auto context) -> kj::Promise<void> {
    auto item = context.getResults().initItem();
    item.setFileObjectId(kItem);
    item.setFilename(context.getParams().getScanFirst() ? "scanned" : "known");
    item.setContentType(context.getParams().getPath());
    return kj::READY_NOW;
  }});
  makeClient();
  NSErrorPtr error;
  const auto known = itemAt("/tree/a", false, &error);
  ASSERT_NE(known, nullptr);
  EXPECT_EQ(error, nullptr);
  EXPECT_EQ(known->filename(), "known");
  EXPECT_EQ(known->contentType(), "/tree/a");
  EXPECT_EQ(itemAt("/tree/a", true, nullptr)->filename(), "scanned");
}

TEST_F(QueryItemsTest, HandsOnErrorsToWhoWantsThem) {
  startDaemon({.itemAtPath = [](auto context) -> kj::Promise<void> {
    auto error = context.getResults().initError();
    error.setDomain(NSPOSIXErrorDomain);
    error.setCode(2);
    return kj::READY_NOW;
  }});
  makeClient();
  NSErrorPtr error;
  EXPECT_EQ(itemAt("/tree/a", false, &error), nullptr);
  ASSERT_NE(error, nullptr);
  EXPECT_EQ(error->code(), 2);
  EXPECT_EQ(itemAt("/tree/a", false, nullptr), nullptr);
}

TEST_F(QueryItemsTest, TakesAnUnusableRecordForAnError) {
  startDaemon({.itemAtPath = [](auto context) -> kj::Promise<void> {
    context.getResults().initItem().setFileObjectId("nonsense");
    return kj::READY_NOW;
  }});
  makeClient();
  NSErrorPtr error;
  EXPECT_EQ(itemAt("/tree/a", false, &error), nullptr);
  ASSERT_NE(error, nullptr);
  EXPECT_EQ(error->code(), GVTesseraErrorUnknown);
}

TEST_F(QueryItemsTest, SaysThatTheDaemonIsNotRunning) {
  makeClient(impatient());
  NSErrorPtr error;
  EXPECT_EQ(itemAt("/tree/a", false, &error), nullptr);
  ASSERT_NE(error, nullptr);
  EXPECT_EQ(error->localizedDescription(), kSkiffNotRunning);
}

TEST_F(QueryItemsTest, AsksForAContainersRecordByItsIdentifier) {
  startDaemon({.containerItem = [](auto context) -> kj::Promise<void> {
    const auto params = context.getParams();
    const bool known = textOf(params.getContainerId()) == "app.notes";
    context.getResults().setFound(known && params.getScanFirst());
    auto item = context.getResults().initItem();
    item.setFileObjectId(kItem);
    item.setFilename("Notes");
    return kj::READY_NOW;
  }});
  makeClient();
  const auto item = QueryItems(*skiff).containerItem(container, true);
  ASSERT_NE(item, nullptr);
  EXPECT_EQ(item->filename(), "Notes");
  EXPECT_EQ(QueryItems(*skiff).containerItem(container, false), nullptr);
}

TEST_F(QueryItemsTest, GivesNoContainersRecordWithoutTheDaemonButALine) {
  makeClient(impatient());
  CapturingLogBackend log(gvc_default_log());
  EXPECT_EQ(QueryItems(*skiff).containerItem(container, false), nullptr);
  ASSERT_EQ(log.texts(LogType::Error).size(), 1U);
  EXPECT_TRUE(log.texts(LogType::Error)[0].starts_with(
      "[ERROR] cannot get the record of container app.notes: "));
}

}  // namespace
}  // namespace tessera
