#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <string>

#include "ScratchCloud.h"

namespace tessera {
namespace {

std::map<std::string, std::string> displayNames(CloudService& service) {
  std::map<std::string, std::string> names;
  for (const auto& container : service.containers()) {
    names[container.identifier] = container.displayName;
  }
  return names;
}

TEST(Containers, OfANewCloudAreTheThreeThatEveryCloudHas) {
  ScratchCloud cloud;
  auto names = displayNames(*cloud.service);
  EXPECT_EQ(names.size(), 3u);
  EXPECT_TRUE(names.contains(kDefaultContainer));
  EXPECT_EQ(names[kDocumentsContainer], "Documents");
  EXPECT_EQ(names[kDesktopContainer], "Desktop");
}

TEST(Containers, AreAddedAndReplaced) {
  ScratchCloud cloud;
  Asset icon = cloud.assets->put(bytesOf("a picture"));
  cloud.assets->commit({icon});
  auto before = cloud.service->containersVersion();
  cloud.service->putContainer({"com.example.notes", "Notes", {{64, 32, icon}, {128, 64, icon}}});
  auto between = cloud.service->containersVersion();
  EXPECT_GT(between, before);

  auto all = cloud.service->containers();
  auto notes = std::find_if(all.begin(), all.end(), [](const CloudContainer& container) {
    return container.identifier == "com.example.notes";
  });
  ASSERT_NE(notes, all.end());
  EXPECT_EQ(notes->displayName, "Notes");
  ASSERT_EQ(notes->icons.size(), 2u);
  EXPECT_EQ(notes->icons[0].width, 64u);
  EXPECT_EQ(notes->icons[0].height, 32u);
  EXPECT_EQ(notes->icons[0].image, icon);
  EXPECT_EQ(notes->icons[1].width, 128u);

  cloud.service->putContainer({"com.example.notes", "My notes", {}});
  EXPECT_GT(cloud.service->containersVersion(), between);
  EXPECT_EQ(displayNames(*cloud.service)["com.example.notes"], "My notes");
  for (const auto& container : cloud.service->containers()) EXPECT_TRUE(container.icons.empty());
}

TEST(Containers, RefuseWhatIsNoIdentifier) {
  ScratchCloud cloud;
  for (const std::string& identifier :
       {std::string(), std::string("notes"), std::string(".com.notes"), std::string("com..notes"),
        std::string("com.notes."), std::string("com.-notes"), std::string("com-.notes"),
        std::string("com.notes-"), std::string("com/notes.x"), std::string("com.no tes"),
        std::string("com.n\xc3\xb6tes"), "com." + std::string(252, 'a')}) {
    EXPECT_EQ(codeThrownBy([&cloud, &identifier] {
                cloud.service->putContainer({identifier, "Name", {}});
              }),
              CloudError::Code::InvalidArgument)
        << identifier;
  }
  cloud.service->putContainer({"org.Example-2.a-b.c3", "Name", {}});
  EXPECT_TRUE(displayNames(*cloud.service).contains("org.Example-2.a-b.c3"));
}

TEST(Containers, RefuseADisplayNameThatIsNoNameOrTaken) {
  ScratchCloud cloud;
  auto version = cloud.service->containersVersion();
  for (const char* name : {"", "..", "a/b", "Documents", ".tessera-x"}) {
    EXPECT_EQ(codeThrownBy([&cloud, name] {
                cloud.service->putContainer({"com.example.notes", name, {}});
              }),
              CloudError::Code::InvalidArgument)
        << name;
  }
  EXPECT_EQ(cloud.service->containers().size(), 3u);
  EXPECT_EQ(cloud.service->containersVersion(), version);
}

TEST(Containers, RefuseIconsThatWereNotUploaded) {
  ScratchCloud cloud;
  Asset missing{std::string(64, 'a'), 5};
  EXPECT_EQ(codeThrownBy([&cloud, &missing] {
              cloud.service->putContainer({"com.example.notes", "Notes", {{8, 8, missing}}});
            }),
            CloudError::Code::NoSuchAsset);
  EXPECT_EQ(cloud.service->containers().size(), 3u);
}

}  // namespace
}  // namespace tessera
