#include "cli/ItemJson.h"

#include <capnp/message.h>
#include <gtest/gtest.h>

namespace tessera {
namespace {

TEST(ItemJson, WritesDatesWithTheDigitsThatSaySomething) {
  EXPECT_EQ(rfc3339(0), "1970-01-01T00:00:00Z");
  EXPECT_EQ(rfc3339(1'234'567'890'123'456'789), "2009-02-13T23:31:30.123456789Z");
  EXPECT_EQ(rfc3339(1'500'000'000), "1970-01-01T00:00:01.5Z");
  EXPECT_EQ(rfc3339(-500'000'000), "1969-12-31T23:59:59.5Z");
}

TEST(ItemJson, WritesSizesForPeople) {
  EXPECT_EQ(humanSize(0), "0");
  EXPECT_EQ(humanSize(1023), "1023");
  EXPECT_EQ(humanSize(1536), "1.5 KiB");
  EXPECT_EQ(humanSize(1024 * 1024 - 1), "1.0 MiB");
  EXPECT_EQ(humanSize(3ULL << 40), "3.0 TiB");
}

TEST(ItemJson, HoldsEveryFieldThatTheItemHas) {
  capnp::MallocMessageBuilder message;
  auto item = message.initRoot<wire::ProviderItem>();
  item.setIdentifier("i");
  item.setParentIdentifier("p");
  item.setFilename("a\xff.txt");
  item.setContentType("text/plain");
  item.setHasDocumentSize(true);
  item.setDocumentSize(7);
  item.setIsDownloaded(true);
  item.initTags(1).set(0, "red");
  const Json json = Json::parse(jsonLine(itemJson(item, "/a")));
  EXPECT_EQ(json["identifier"], "i");
  EXPECT_EQ(json["kind"], "document");
  EXPECT_EQ(json["size"], 7);
  EXPECT_EQ(json["downloaded"], true);
  EXPECT_EQ(json["tags"], Json::array({"red"}));
  EXPECT_FALSE(json.contains("modified"));
  EXPECT_FALSE(json.contains("children"));
}

TEST(ItemJson, ShowsARowThatIsSafeToPrint) {
  capnp::MallocMessageBuilder message;
  auto item = message.initRoot<wire::ProviderItem>();
  item.setFilename("x\x1b]0;y");
  item.setContentType("text/plain");
  EXPECT_EQ(itemRow(item).find('\x1b'), std::string::npos);
}

}  // namespace
}  // namespace tessera
