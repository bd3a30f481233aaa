#include "cli/ErrorText.h"

#include <memory>

#include <capnp/message.h>
#include <gtest/gtest.h>

#include "cli/Json.h"

namespace tessera {
namespace {

class ErrorText : public ::testing::Test {
 protected:
  wire::Error::Builder error(const char* domain, std::int64_t code,
                             const char* description = nullptr) {
    auto built = _message->initRoot<wire::Error>();
    built.setDomain(domain);
    built.setCode(code);
    if (description != nullptr) {
      auto entry = built.initUserInfo(1)[0];
      entry.setKey("NSLocalizedDescription");
      entry.getValue().setText(description);
    }
    return built;
  }

 private:
  std::unique_ptr<capnp::MallocMessageBuilder> _message =
      std::make_unique<capnp::MallocMessageBuilder>();
};

TEST_F(ErrorText, SaysNothingForNoError) {
  EXPECT_NO_THROW(throwIfError(error("", 0)));
}

TEST_F(ErrorText, SaysWhatToDoWhenNobodyIsSignedIn) {
  EXPECT_EQ(errorLine(cliErrorOf(error("NSFileProviderErrorDomain", -1000))),
            "tessera: Nobody is signed in. Sign in with: tessera login NAME  "
            "[NSFileProviderErrorDomain -1000]");
}

TEST_F(ErrorText, PrefersTheErrorsOwnWordsWhenItIsNotKnown) {
  const CliError known = cliErrorOf(error("Some", 7, "The disk is full."), "/a");
  EXPECT_STREQ(known.what(), "/a: The disk is full.");
  EXPECT_EQ(known.code(), 7);
}

TEST_F(ErrorText, FindsTheWordsOfAnUnderlyingError) {
  auto outer = error("Some", 7);
  auto entry = outer.initUserInfo(1)[0];
  entry.setKey("NSUnderlyingError");
  auto inner = entry.getValue().initError();
  inner.setDomain("Other");
  auto text = inner.initUserInfo(1)[0];
  text.setKey("NSLocalizedDescription");
  text.getValue().setText("the reason below");
  EXPECT_STREQ(cliErrorOf(outer).what(), "the reason below");
}

TEST_F(ErrorText, CannotDriveTheTerminal) {
  const CliError evil = cliErrorOf(error("Dom\x1b", 1, "text\x1b[2J"));
  EXPECT_EQ(errorLine(evil), "tessera: text\\x1b[2J  [Dom\\x1b 1]");
}

TEST_F(ErrorText, IsValidJsonWhateverItSays) {
  const CliError evil = cliErrorOf(error("D", -5, "bytes \xff\xfe \" \n"));
  const auto json = Json::parse(errorJson(evil));
  EXPECT_EQ(json["error"]["domain"], "D");
  EXPECT_EQ(json["error"]["code"], -5);
}

}  // namespace
}  // namespace tessera
