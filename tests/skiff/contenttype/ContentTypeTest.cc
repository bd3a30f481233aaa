#include "skiff/contenttype/ContentType.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

namespace tessera {
namespace {

TEST(ContentType, ComesFromTheName) {
  struct Case {
    const char* name;
    const char* type;
  };
  const Case cases[] = {
      {"report.pdf", "application/pdf"},
      {"photo.JPG", "image/jpeg"},
      {"notes.txt", "text/plain"},
      {"archive.tar.gz", "application/x-compressed-tar"},
      {"letter.odt", "application/vnd.oasis.opendocument.text"},
      {"Makefile", "text/x-makefile"},
      {"Übersicht über alles.html", "text/html"},
  };
  for (const Case& one : cases) EXPECT_EQ(contentTypeForName(one.name), one.type) << one.name;
}

TEST(ContentType, IsEmptyForANameThatSaysNothing) {
  for (const char* name : {"copyright", "data.no-such-suffix", ".hidden", "a\nb", "name."}) {
    EXPECT_EQ(contentTypeForName(name), "") << name;
  }
}

TEST(ContentType, IsTheSameAskedFromManyThreads) {
  std::vector<std::string> types(4);
  {
    std::vector<std::jthread> threads;
    for (std::string& type : types) {
      threads.emplace_back([&type] {
        for (int count = 0; count < 100; ++count) type = contentTypeForName("picture.png");
      });
    }
  }
  for (const std::string& type : types) EXPECT_EQ(type, "image/png");
}

}  // namespace
}  // namespace tessera
