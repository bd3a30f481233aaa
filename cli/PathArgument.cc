#include "cli/PathArgument.h"

#include <algorithm>

#include "cli/CliError.h"

namespace tessera {
namespace {

namespace fs = std::filesystem;

bool isIdentifier(const std::string& text) {
  if (text.starts_with("NSFileProvider") && text.ends_with("ContainerItemIdentifier")) return true;
  if (text.size() != 36) return false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const bool dash = i == 8 || i == 13 || i == 18 || i == 23;
    const char c = text[i];
    const bool hex = (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f');
    if (dash ? c != '-' : !hex) return false;
  }
  return true;
}

bool isIn(const fs::path& path, const fs::path& folder) {
  return std::mismatch(folder.begin(), folder.end(), path.begin(), path.end()).first ==
         folder.end();
}

// Resolved by the text alone, without a slash at its end.
fs::path normal(const fs::path& path) {
  const fs::path result = path.lexically_normal();
  return result.has_filename() || !result.has_relative_path() ? result : result.parent_path();
}

}  // namespace

PathArgument PathArgument::parse(const std::string& text, const fs::path& tree,
                                 const fs::path& currentFolder) {
  if (text.empty()) throw CliError("The path is empty; \"/\" is the tree's root.");
  if (text.find('\0') != std::string::npos) throw CliError("The path holds a NUL byte.");
  if (isIdentifier(text)) return {Kind::Identifier, text};
  const fs::path given(text);
  fs::path path = normal(given);
  if (given.is_absolute()) {
    // Below the tree: ".." at its root stays there, as at every root.
    if (!isIn(path, tree)) path = normal(tree / path.relative_path());
  } else {
    path = normal((isIn(currentFolder, tree) ? currentFolder : tree) / given);
  }
  if (!isIn(path, tree)) {
    throw CliError(text + " is outside the tree (" + tree.string() + ").");
  }
  return {Kind::Path, path.string()};
}

std::string pathBelowTree(const std::string& absolute, const fs::path& tree) {
  const std::string root = tree.string();
  if (absolute == root) return "/";
  if (absolute.starts_with(root + "/")) return absolute.substr(root.size());
  return absolute;
}

}  // namespace tessera
