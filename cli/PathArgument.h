#pragma once

#include <filesystem>
#include <string>

namespace tessera {

// What a person names an item by, as the host takes it. PATH on the command line is
//  - an item identifier (36 characters of a UUID, or a reserved name of the platform),
//  - a path in the tree from the file system's root, such as /home/ada/Tessera/notes,
//  - a path below the tree with a leading "/", such as /notes,
//  - a relative path: below the current folder when that is in the tree, otherwise below
//    the tree.
// "." and ".." are resolved by the text alone.
struct PathArgument {
  enum class Kind { Identifier, Path };

  Kind kind = Kind::Path;
  std::string value;  // the identifier, or the absolute path

  // Throws CliError for a path that leads out of the tree.
  [[nodiscard]] static PathArgument parse(const std::string& text,
                                          const std::filesystem::path& tree,
                                          const std::filesystem::path& currentFolder);
};

// The path below the tree, with a leading "/", of an absolute path in the tree.
[[nodiscard]] std::string pathBelowTree(const std::string& absolute,
                                        const std::filesystem::path& tree);

}  // namespace tessera
