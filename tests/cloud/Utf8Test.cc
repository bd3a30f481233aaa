#include "cloud/Utf8.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

namespace tessera {
namespace {

TEST(Utf8, AcceptsEveryWellFormedLength) {
  for (std::string_view text : {"", "plain", "\x7f", "\xc2\x80", "\xdf\xbf", "\xe0\xa0\x80",
                                "\xed\x9f\xbf", "\xee\x80\x80", "\xef\xbf\xbf", "\xf0\x90\x80\x80",
                                "\xf4\x8f\xbf\xbf", "na\xc3\xafve \xe2\x82\xac \xf0\x9f\x93\x84"}) {
    EXPECT_TRUE(isValidUtf8(text)) << text;
  }
}

TEST(Utf8, RefusesWhatTheStandardForbids) {
  struct Case {
    const char* what;
    std::string_view text;
  };
  for (const auto& [what, text] : {
           Case{"a lone continuation", "\x80"},
           Case{"overlong slash of two", "\xc0\xaf"},
           Case{"overlong slash of three", "\xe0\x80\xaf"},
           Case{"overlong of four", "\xf0\x80\x80\xaf"},
           Case{"first surrogate", "\xed\xa0\x80"},
           Case{"last surrogate", "\xed\xbf\xbf"},
           Case{"beyond the last character", "\xf4\x90\x80\x80"},
           Case{"lead that is never used", "\xf5\x80\x80\x80"},
           Case{"byte that is never used", "\xff"},
           Case{"cut after the lead", "a\xc3"},
           Case{"cut in the middle", "a\xe2\x82"},
           Case{"broken by a letter", "\xe2\x82z"},
           Case{"broken in the fourth byte", "\xf0\x9f\x93z"},
           Case{"Latin-1", "caf\xe9"},
       }) {
    EXPECT_FALSE(isValidUtf8(text)) << what;
  }
}

}  // namespace
}  // namespace tessera
