#include "platform/tessera/GVContainer.h"

#include <gtest/gtest.h>

#include "tests/support/tessera/FakeClientLibrary.h"

namespace tessera {
namespace {

TEST(GVContainer, ListsContainersInTheOrderOfTheirIdentifiers) {
  FakeClientLibrary library(std::make_shared<CallRecorder>());
  EXPECT_TRUE(GVContainer::allContainers().empty());
  library.putContainer("b", nullptr);
  library.putContainer("a", NSURL::fileURLWithPath("/tree/a"));
  const auto containers = GVContainer::allContainers();
  ASSERT_EQ(2U, containers.size());
  EXPECT_EQ("a", containers[0]->containerID());
  EXPECT_EQ("/tree/a", containers[0]->documentsURL()->path());
  EXPECT_EQ("b", containers[1]->containerID());
  EXPECT_EQ(nullptr, containers[1]->documentsURL());
}

}  // namespace
}  // namespace tessera
