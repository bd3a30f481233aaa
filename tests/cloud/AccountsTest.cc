#include <gtest/gtest.h>

#include <string>

#include "ScratchCloud.h"

namespace tessera {
namespace {

TEST(Accounts, AreMadeOnceAndFoundByName) {
  ScratchFolder folder;
  auto service = openCloudService(folder.cloud(), OpenCloud::CreateIfMissing);
  EXPECT_FALSE(service->account("ann"));
  CloudAccount made = service->makeAccount("ann");
  EXPECT_EQ(made.name, "ann");
  EXPECT_EQ(made.identifier.size(), 36u);
  EXPECT_EQ(service->makeAccount("ann").identifier, made.identifier);
  EXPECT_NE(service->makeAccount("bob").identifier, made.identifier);

  auto again = openCloudService(folder.cloud(), OpenCloud::Existing);
  ASSERT_TRUE(again->account("ann"));
  EXPECT_EQ(again->account("ann")->identifier, made.identifier);
}

TEST(Accounts, RefuseNamesThatCouldNotBeShownOrStored) {
  ScratchCloud cloud;
  for (const std::string& name :
       {std::string(), std::string("a/b"), std::string("a\nb"), std::string("a\x7f"),
        std::string("a\0b", 3), std::string(256, 'a'), std::string("\xff")}) {
    EXPECT_EQ(codeThrownBy([&cloud, &name] { cloud.service->makeAccount(name); }),
              CloudError::Code::InvalidArgument);
  }
  EXPECT_EQ(cloud.service->makeAccount(std::string(255, 'a')).name.size(), 255u);
}

TEST(Accounts, HaveDatabasesThatKnowNothingOfEachOther) {
  ScratchCloud cloud;
  cloud.service->makeAccount("bob");
  auto bobs = cloud.service->privateDatabase("bob");
  cloud.database->modify({recordNamed("one")}, {}, SavePolicy::IfUnchanged);

  EXPECT_FALSE(bobs->record(idOf("one")));
  EXPECT_TRUE(bobs->zones().empty());
  EXPECT_TRUE(bobs->changes("", 10).changed.empty());
  EXPECT_EQ(
      codeThrownBy([&bobs] { bobs->modify({recordNamed("one")}, {}, SavePolicy::Overwrite); }),
      CloudError::Code::InvalidArgument);
  EXPECT_EQ(codeThrownBy([&bobs] { bobs->modify({}, {idOf("one")}, SavePolicy::Overwrite); }),
            CloudError::Code::InvalidArgument);
  EXPECT_TRUE(cloud.database->record(idOf("one")));
}

TEST(Accounts, ThatDoNotExistHaveNoDatabase) {
  ScratchCloud cloud;
  EXPECT_EQ(codeThrownBy([&cloud] { (void)cloud.service->privateDatabase("nobody"); }),
            CloudError::Code::NoSuchAccount);
}

}  // namespace
}  // namespace tessera
