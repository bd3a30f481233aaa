#include "cli/PathArgument.h"

#include <gtest/gtest.h>

#include "cli/CliError.h"

namespace tessera {
namespace {

constexpr const char* kTree = "/home/ada/Tessera";

std::string pathOf(const std::string& text, const std::string& currentFolder = "/tmp") {
  const PathArgument argument = PathArgument::parse(text, kTree, currentFolder);
  EXPECT_EQ(argument.kind, PathArgument::Kind::Path);
  return argument.value;
}

TEST(PathArgument, TakesPathsBelowTheTreeInEveryForm) {
  EXPECT_EQ(pathOf("/"), "/home/ada/Tessera");
  EXPECT_EQ(pathOf("/notes/a.txt"), "/home/ada/Tessera/notes/a.txt");
  EXPECT_EQ(pathOf("notes/a.txt"), "/home/ada/Tessera/notes/a.txt");
  EXPECT_EQ(pathOf("/home/ada/Tessera/notes"), "/home/ada/Tessera/notes");
  EXPECT_EQ(pathOf("/home/ada/Tessera/"), "/home/ada/Tessera");
  EXPECT_EQ(pathOf("//notes//"), "/home/ada/Tessera/notes");
}

TEST(PathArgument, GoesFromTheCurrentFolderWhenThatIsInTheTree) {
  EXPECT_EQ(pathOf("a.txt", "/home/ada/Tessera/notes"), "/home/ada/Tessera/notes/a.txt");
  EXPECT_EQ(pathOf("../b", "/home/ada/Tessera/notes"), "/home/ada/Tessera/b");
  EXPECT_EQ(pathOf(".", "/home/ada/Tessera/notes"), "/home/ada/Tessera/notes");
  EXPECT_EQ(pathOf("a.txt", "/home/ada/TesseraOther"), "/home/ada/Tessera/a.txt");
}

TEST(PathArgument, RefusesWhatLeadsOutOfTheTree) {
  EXPECT_THROW((void)pathOf("../x"), CliError);
  EXPECT_THROW((void)pathOf("../../../etc/passwd", "/home/ada/Tessera/notes"), CliError);
  EXPECT_THROW((void)pathOf(""), CliError);
  EXPECT_THROW((void)pathOf(std::string("a\0b", 3)), CliError);
}

TEST(PathArgument, KeepsAnAbsoluteDotDotBelowTheTreesRoot) {
  EXPECT_EQ(pathOf("/../etc/passwd"), "/home/ada/Tessera/etc/passwd");
}

TEST(PathArgument, KnowsIdentifiersFromNames) {
  const auto kindOf = [](const std::string& text) {
    return PathArgument::parse(text, kTree, "/").kind;
  };
  EXPECT_EQ(kindOf("01234567-89ab-4cde-8f01-23456789abcd"), PathArgument::Kind::Identifier);
  EXPECT_EQ(kindOf("NSFileProviderRootContainerItemIdentifier"), PathArgument::Kind::Identifier);
  EXPECT_EQ(kindOf("01234567-89AB-4cde-8f01-23456789abcd"), PathArgument::Kind::Path);
  EXPECT_EQ(kindOf("/01234567-89ab-4cde-8f01-23456789abcd"), PathArgument::Kind::Path);
  EXPECT_EQ(kindOf("01234567-89ab-4cde-8f01-23456789abcde"), PathArgument::Kind::Path);
}

TEST(PathArgument, TellsThePathBelowTheTree) {
  EXPECT_EQ(pathBelowTree("/home/ada/Tessera", kTree), "/");
  EXPECT_EQ(pathBelowTree("/home/ada/Tessera/a/b", kTree), "/a/b");
  EXPECT_EQ(pathBelowTree("/home/ada/TesseraOther", kTree), "/home/ada/TesseraOther");
}

}  // namespace
}  // namespace tessera
