#pragma once

#include <cstdlib>
#include <filesystem>
#include <string>

#include <gtest/gtest.h>

#include "home/Home.h"

namespace tessera {

// A home in a folder of its own that goes with it.
class ScratchHome {
 public:
  ScratchHome() : home(Home::at(newFolder())) { home.create(); }
  ScratchHome(const ScratchHome&) = delete;
  ScratchHome& operator=(const ScratchHome&) = delete;
  ~ScratchHome() {
    std::error_code ignored;
    std::filesystem::remove_all(home.name(), ignored);
  }

  const Home home;

 private:
  static std::string newFolder() {
    std::string folder = ::testing::TempDir() + "tessera-linux-XXXXXX";
    EXPECT_NE(::mkdtemp(folder.data()), nullptr);
    return folder;
  }
};

}  // namespace tessera
