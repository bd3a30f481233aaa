#include "platform/tessera/GVFileObjectID.h"

#include <gtest/gtest.h>

#include <unordered_set>

#include "platform/fileprovider/NSFileProviderIdentifiers.h"
#include "tests/support/tessera/SampleItems.h"

namespace tessera {
namespace {

constexpr const char* kText = "0123abcd-4567-89ef-fedc-ba9876543210";

TEST(GVFileObjectID, ComesBackFromItsString) {
  const auto parsed = GVFileObjectID::fileObjectIDWithString(kText);
  ASSERT_TRUE(parsed);
  EXPECT_EQ(kText, parsed->asString());
  EXPECT_EQ((GVFileObjectID::Bytes{0x01, 0x23, 0xab, 0xcd, 0x45, 0x67, 0x89, 0xef, 0xfe, 0xdc, 0xba,
                                   0x98, 0x76, 0x54, 0x32, 0x10}),
            parsed->bytes());
}

TEST(GVFileObjectID, RejectsTheReservedIdentifiers) {
  for (const char* reserved :
       {NSFileProviderRootContainerItemIdentifier, NSFileProviderWorkingSetContainerItemIdentifier,
        NSFileProviderAllDirectoriesContainerItemIdentifier}) {
    EXPECT_EQ(std::nullopt, GVFileObjectID::fileObjectIDWithString(reserved)) << reserved;
  }
}

TEST(GVFileObjectID, RejectsUpperCase) {
  EXPECT_EQ(std::nullopt,
            GVFileObjectID::fileObjectIDWithString("0123ABCD-4567-89ef-fedc-ba9876543210"));
}

TEST(GVFileObjectID, RejectsAWrongLength) {
  const std::string text = kText;
  EXPECT_EQ(std::nullopt, GVFileObjectID::fileObjectIDWithString(""));
  EXPECT_EQ(std::nullopt, GVFileObjectID::fileObjectIDWithString(text.substr(1)));
  EXPECT_EQ(std::nullopt, GVFileObjectID::fileObjectIDWithString(text + "0"));
  EXPECT_EQ(std::nullopt, GVFileObjectID::fileObjectIDWithString(text + "\n"));
}

TEST(GVFileObjectID, RejectsEveryOtherCharacter) {
  for (std::size_t at = 0; at < std::string_view(kText).size(); ++at) {
    for (const char wrong : {'g', ' ', '_', '\0', '{'}) {
      std::string text = kText;
      text[at] = wrong;
      EXPECT_EQ(std::nullopt, GVFileObjectID::fileObjectIDWithString(text)) << at;
    }
  }
  std::string dashElsewhere = kText;
  std::swap(dashElsewhere[7], dashElsewhere[8]);
  EXPECT_EQ(std::nullopt, GVFileObjectID::fileObjectIDWithString(dashElsewhere));
}

TEST(GVFileObjectID, ComparesByItsBytes) {
  EXPECT_EQ(sampleID(1), sampleID(1));
  EXPECT_NE(sampleID(1), sampleID(2));
  EXPECT_LT(sampleID(1), sampleID(2));
  EXPECT_EQ(2U, (std::unordered_set<GVFileObjectID>{sampleID(1), sampleID(2), sampleID(1)}).size());
}

}  // namespace
}  // namespace tessera
