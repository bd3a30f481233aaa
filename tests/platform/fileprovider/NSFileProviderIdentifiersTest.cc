#include "platform/fileprovider/NSFileProviderIdentifiers.h"

#include <gtest/gtest.h>

namespace tessera {
namespace {

TEST(NSFileProviderInitialPage, IsAlwaysTheSameObject) {
  EXPECT_EQ(NSFileProviderInitialPageSortedByName(), NSFileProviderInitialPageSortedByName());
  EXPECT_EQ(NSFileProviderInitialPageSortedByDate(), NSFileProviderInitialPageSortedByDate());
}

TEST(NSFileProviderInitialPage, TellsTheSortOrdersApart) {
  EXPECT_FALSE(NSFileProviderInitialPageSortedByName()->isEqualToData(
      *NSFileProviderInitialPageSortedByDate()));
}

}  // namespace
}  // namespace tessera
