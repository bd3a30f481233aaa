#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "ScratchCloud.h"
#include "cloud/embedded/EmbeddedDatabase.h"

namespace tessera {
namespace {

using Names = std::vector<std::string>;

void save(ScratchCloud& cloud, const Names& names, const std::string& text = "text") {
  std::vector<Record> records;
  for (const auto& name : names) records.push_back(recordNamed(name, text));
  cloud.database->modify(records, {}, SavePolicy::Overwrite);
}

void remove(ScratchCloud& cloud, const std::string& name) {
  cloud.database->modify({}, {idOf(name)}, SavePolicy::Overwrite);
}

void forgetDeletions(ScratchCloud& cloud, const ChangeToken& upTo) {
  dynamic_cast<EmbeddedDatabase&>(*cloud.database).dropTombstones(upTo);
}

bool isExpired(ScratchCloud& cloud, const ChangeToken& token) {
  return codeThrownBy([&] { (void)cloud.database->changes(token, 10); }) ==
         CloudError::Code::TokenExpired;
}

TEST(ChangeFeed, OfANewAccountIsEmpty) {
  ScratchCloud cloud;
  auto page = cloud.database->changes("", 10);
  EXPECT_TRUE(page.changed.empty());
  EXPECT_TRUE(page.deleted.empty());
  EXPECT_FALSE(page.moreComing);
  EXPECT_FALSE(page.token.empty());
}

TEST(ChangeFeed, TellsChangesInTheirOrderOverAllZones) {
  ScratchCloud cloud;
  save(cloud, {"b"});
  Record desktop = recordNamed("d");
  desktop.id.zone.container = kDesktopContainer;
  cloud.database->modify({desktop}, {}, SavePolicy::Overwrite);
  save(cloud, {"a", "c"});
  auto page = cloud.database->changes("", 10);
  EXPECT_EQ(namesOf(page.changed), (Names{"b", "d", "a", "c"}));
  EXPECT_EQ(page.changed[1].id, desktop.id);
  EXPECT_EQ(page.changed[0].fields["text"], FieldValue("text"));
}

TEST(ChangeFeed, GoesOnFromATokenWithWhatIsNew) {
  ScratchCloud cloud;
  save(cloud, {"a", "b"});
  auto token = cloud.database->changes("", 10).token;
  EXPECT_TRUE(cloud.database->changes(token, 10).changed.empty());
  save(cloud, {"c"});
  remove(cloud, "a");
  auto page = cloud.database->changes(token, 10);
  EXPECT_EQ(namesOf(page.changed), (Names{"c"}));
  EXPECT_EQ(namesOf(page.deleted), (Names{"a"}));
  EXPECT_EQ(page.deleted[0], idOf("a"));
}

TEST(ChangeFeed, TellsARecordChangedTwiceOnceInItsLatestVersion) {
  ScratchCloud cloud;
  save(cloud, {"a"}, "first");
  save(cloud, {"b"});
  save(cloud, {"a"}, "second");
  auto page = cloud.database->changes("", 10);
  ASSERT_EQ(namesOf(page.changed), (Names{"b", "a"}));
  EXPECT_EQ(page.changed[1].fields["text"], FieldValue("second"));
  EXPECT_EQ(page.changed[1].version, 2u);
}

TEST(ChangeFeed, TellsOnlyTheLastOfADeletionAndAReturn) {
  ScratchCloud cloud;
  save(cloud, {"a"});
  auto token = cloud.database->changes("", 10).token;
  remove(cloud, "a");
  save(cloud, {"a"}, "back");
  auto page = cloud.database->changes(token, 10);
  EXPECT_EQ(namesOf(page.changed), (Names{"a"}));
  EXPECT_TRUE(page.deleted.empty());
}

TEST(ChangeFeed, ComesInPagesOfTheSizeAskedFor) {
  ScratchCloud cloud;
  save(cloud, {"a", "b", "c", "d", "e"});
  remove(cloud, "b");
  Names seen;
  Names deleted;
  ChangeToken token;
  std::vector<std::size_t> sizes;
  bool more = true;
  while (more) {
    auto page = cloud.database->changes(token, 2);
    for (const auto& name : namesOf(page.changed)) seen.push_back(name);
    for (const auto& name : namesOf(page.deleted)) deleted.push_back(name);
    sizes.push_back(page.changed.size() + page.deleted.size());
    token = page.token;
    more = page.moreComing;
  }
  EXPECT_EQ(seen, (Names{"a", "c", "d", "e"}));
  EXPECT_EQ(deleted, (Names{"b"}));
  EXPECT_EQ(sizes, (std::vector<std::size_t>{2, 2, 1}));
}

TEST(ChangeFeed, SaysThatNothingMoreComesWhenThePageIsJustFull) {
  ScratchCloud cloud;
  save(cloud, {"a", "b"});
  EXPECT_FALSE(cloud.database->changes("", 2).moreComing);
  EXPECT_TRUE(cloud.database->changes("", 1).moreComing);
}

TEST(ChangeFeed, RefusesAPageWithoutRoom) {
  ScratchCloud cloud;
  EXPECT_EQ(codeThrownBy([&cloud] { (void)cloud.database->changes("", 0); }),
            CloudError::Code::InvalidArgument);
}

TEST(ChangeToken, OfAnotherCloudOrAccountIsExpired) {
  ScratchCloud cloud;
  ScratchCloud other;
  cloud.service->makeAccount("bob");
  EXPECT_TRUE(isExpired(cloud, other.database->changes("", 10).token));
  EXPECT_TRUE(isExpired(cloud, cloud.service->privateDatabase("bob")->changes("", 10).token));
  EXPECT_FALSE(isExpired(cloud, cloud.database->changes("", 10).token));
}

TEST(ChangeToken, ThatIsGarbageIsExpired) {
  ScratchCloud cloud;
  save(cloud, {"a"});
  ChangeToken good = cloud.database->changes("", 10).token;
  std::string prefix = good.substr(0, good.size() - 3);  // without "1.0"
  ASSERT_EQ(prefix + "1.0", good);
  EXPECT_FALSE(isExpired(cloud, prefix + "0.0"));
  for (const std::string& bad :
       {std::string("x"), std::string("t1"), prefix, prefix + "1", prefix + "1.", prefix + ".0",
        prefix + "-1.0", prefix + "+1.0", prefix + " 1.0", prefix + "01.0", prefix + "1.0 ",
        prefix + "1x.0", prefix + "1.0.0", prefix + "99999999999999999999.0", "t2" + good.substr(2),
        std::string("\0", 1), std::string(100'000, 'a')}) {
    EXPECT_TRUE(isExpired(cloud, bad)) << bad.substr(0, 200);
  }
}

TEST(ChangeToken, FromAheadOfTheFeedIsExpired) {
  // As after the cloud's folder was put back from a backup.
  ScratchCloud cloud;
  save(cloud, {"a"});
  ChangeToken good = cloud.database->changes("", 10).token;
  EXPECT_TRUE(isExpired(cloud, good.substr(0, good.size() - 3) + "2.0"));
}

TEST(ChangeToken, StaysGoodUntilDeletionsAfterItAreForgotten) {
  ScratchCloud cloud;
  save(cloud, {"a", "b"});
  auto old = cloud.database->changes("", 10).token;
  remove(cloud, "a");
  auto recent = cloud.database->changes(old, 10).token;
  save(cloud, {"c"});

  forgetDeletions(cloud, old);
  EXPECT_EQ(namesOf(cloud.database->changes(old, 10).deleted), (Names{"a"}));
  forgetDeletions(cloud, recent);
  EXPECT_TRUE(isExpired(cloud, old));
  EXPECT_EQ(namesOf(cloud.database->changes(recent, 10).changed), (Names{"c"}));
  auto fresh = cloud.database->changes("", 10);
  EXPECT_EQ(namesOf(fresh.changed), (Names{"b", "c"}));
  EXPECT_TRUE(fresh.deleted.empty());
}

TEST(ChangeToken, OfAListingBegunAfterTheForgettingMayBeBelowIt) {
  ScratchCloud cloud;
  save(cloud, {"a", "b", "c", "d"});
  remove(cloud, "d");
  forgetDeletions(cloud, cloud.database->changes("", 10).token);
  auto first = cloud.database->changes("", 1);
  auto second = cloud.database->changes(first.token, 1);
  EXPECT_EQ(namesOf(second.changed), (Names{"b"}));

  // A deletion that this listing needs to hear of is forgotten: begin again.
  remove(cloud, "a");
  forgetDeletions(cloud, cloud.database->changes("", 10).token);
  EXPECT_TRUE(isExpired(cloud, second.token));
}

TEST(ChangeToken, SurvivesAReopening) {
  ScratchCloud cloud;
  save(cloud, {"a"});
  auto token = cloud.database->changes("", 10).token;
  save(cloud, {"b"});
  auto again = openCloudService(cloud.folder.cloud(), OpenCloud::Existing);
  EXPECT_EQ(namesOf(again->privateDatabase("ann")->changes(token, 10).changed), (Names{"b"}));
}

}  // namespace
}  // namespace tessera
