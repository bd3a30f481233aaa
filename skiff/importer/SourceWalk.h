#pragma once

#include <cstddef>
#include <filesystem>
#include <stop_token>
#include <string>
#include <vector>

#include "skiff/importer/SourceFolder.h"

namespace tessera {

// What a walk comes across. Every name is in the folder entered last and not left yet.
class SourceVisitor {
 public:
  virtual ~SourceVisitor() = default;

  // The entries of the folder `name` come next, until leaveFolder. Returns false to pass
  // over it; leaveFolder is not called then.
  virtual bool enterFolder(const SourceFolder& folder, const std::string& name) = 0;
  virtual void leaveFolder() = 0;
  // `folder` is the descriptor of the folder that `name` is in.
  virtual void visitFile(int folder, const std::string& name) = 0;
  // An entry that is no item, or a folder that could not be read, in whole or in part.
  virtual void leaveOut(const std::string& name, const std::string& reason) = 0;
};

// Goes through everything below a folder, depth first, names in order, a folder before
// what is in it.
//
// However deep the tree is, at most kMostOpenFolders folders are kept open: below that
// depth a folder is closed while one in it is walked, and opened again afterwards.
// Threads: one. Lifetime: must not outlive what it is given.
class SourceWalk {
 public:
  // Folders of `excluded` are left out.
  SourceWalk(const std::vector<FileIdentity>& excluded, SourceVisitor& visitor)
      : _excluded(excluded), _visitor(visitor) {}

  // Walks what is in `top`, not `top` itself. Returns false when it was stopped. Throws
  // ImportRefused when `top` cannot be listed, and what the visitor throws.
  bool run(const std::filesystem::path& top, const std::stop_token& stop);

  static constexpr std::size_t kMostOpenFolders = 64;

 private:
  struct Frame {
    std::string name;
    SourceFolder folder;
    FileIdentity identity;
    std::vector<SourceEntry> entries;
    std::size_t next = 0;
  };

  void enterTop(const std::filesystem::path& top);
  void visit(const SourceEntry& entry);
  void descend(const std::string& name);
  bool reopen(std::size_t index);
  void reopenAbove();
  void leave();

  const std::vector<FileIdentity>& _excluded;
  SourceVisitor& _visitor;
  std::vector<Frame> _frames;  // from the top to where the walk is
};

}  // namespace tessera
