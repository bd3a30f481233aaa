#include <gtest/gtest.h>

#include "core/GVFPAdditions.h"
#include "platform/fileprovider/NSFileProviderError.h"
#include "platform/tessera/GVErrors.h"

namespace tessera {
namespace {

struct Row {
  const char* domain;
  std::int64_t code;
  std::optional<std::int64_t> translated;
};

constexpr Row kTable[] = {
    {"NSCocoaErrorDomain", 4353, {}},        {"NSCocoaErrorDomain", 4354, -1003},
    {"NSCocoaErrorDomain", 4355, -1004},     {"NSCocoaErrorDomain", 4356, {}},
    {"NSCocoaErrorDomain", 2, {}},           {"GVTesseraErrorDomain", 2, -1000},
    {"GVTesseraErrorDomain", 1, {}},         {"GVTesseraErrorDomain", 3, {}},
    {"GVTesseraErrorDomain", 4354, {}},      {"NSFileProviderErrorDomain", 2, {}},
    {"NSFileProviderErrorDomain", 4354, {}}, {"NSFileProviderErrorDomain", -1000, {}},
    {"NSPOSIXErrorDomain", 2, {}},
};

TEST(ErrorTranslation, KnowsThreeErrorsAndLeavesTheOthersAlone) {
  for (const Row& row : kTable) {
    SCOPED_TRACE(row.domain + std::string(" ") + std::to_string(row.code));
    const auto error = NSError::errorWithDomain(row.domain, row.code, {{"key", "value"}});
    const auto translated = gv_fileProviderError(error);
    if (!row.translated) {
      EXPECT_EQ(error, translated);  // the same object
      continue;
    }
    EXPECT_STREQ("NSFileProviderErrorDomain", translated->domain().c_str());
    EXPECT_EQ(*row.translated, translated->code());
    EXPECT_EQ(error, translated->underlyingError());  // the very same object
    EXPECT_EQ(1U, translated->userInfo().size());
    EXPECT_TRUE(translated->userInfo().contains(NSUnderlyingErrorKey));
  }
}

TEST(ErrorTranslation, StoresTheCodeOnlyWhenThereIsOne) {
  std::int64_t code = 77;
  EXPECT_FALSE(_gv_getFileProviderDomainErrorCode(
      NSError::errorWithDomain(NSCocoaErrorDomain, 4356), &code));
  EXPECT_EQ(77, code);
  EXPECT_TRUE(_gv_getFileProviderDomainErrorCode(NSError::errorWithDomain(NSCocoaErrorDomain, 4354),
                                                 &code));
  EXPECT_EQ(-1003, code);
}

TEST(ErrorTranslation, AnswersWithoutAPlaceForTheCode) {
  for (const Row& row : kTable) {
    SCOPED_TRACE(row.domain + std::string(" ") + std::to_string(row.code));
    EXPECT_EQ(row.translated.has_value(),
              _gv_getFileProviderDomainErrorCode(NSError::errorWithDomain(row.domain, row.code),
                                                 nullptr));
  }
}

TEST(ErrorTranslation, IsNotRepeated) {
  const auto once = gv_fileProviderError(gvc_errorLoggedOut());
  EXPECT_EQ(once, gv_fileProviderError(once));
}

TEST(ErrorTranslation, LeavesNoErrorAlone) {
  EXPECT_EQ(nullptr, gv_fileProviderError(nullptr));
  EXPECT_FALSE(_gv_getFileProviderDomainErrorCode(nullptr, nullptr));
}

}  // namespace
}  // namespace tessera
