#pragma once

#include <functional>
#include <optional>

#include <gtest/gtest.h>

#include "linux/SkiffClient.h"
#include "tests/linux/Answer.h"
#include "tests/linux/FakeSkiff.h"
#include "tests/linux/ScratchHome.h"

namespace tessera {

// A client of a fake daemon, in a home of its own.
class LibraryTest : public ::testing::Test {
 protected:
  // So patient that it makes no difference to what is tested.
  static SkiffPatience patient() { return {}; }
  // Gives up on a daemon that is not there at once.
  static SkiffPatience impatient() {
    SkiffPatience patience;
    patience.connecting = std::chrono::nanoseconds(0);
    return patience;
  }

  void startDaemon(SkiffBehaviour behaviour = {}) {
    daemon.emplace(scratch.home, std::move(behaviour));
  }
  void makeClient(const SkiffPatience& patience = patient()) {
    callbacks.emplace();
    loop.emplace();
    skiff.emplace(*loop, *callbacks, scratch.home.skiffSocket(), patience);
  }
  // Ends the client: everything that was still to be called has been, when this returns.
  void endClient() {
    skiff.reset();
    loop.reset();
    callbacks.reset();
  }
  void TearDown() override { endClient(); }

  ScratchHome scratch;
  std::optional<FakeSkiff> daemon;
  std::optional<CallbackPool> callbacks;
  std::optional<EventLoop> loop;
  std::optional<SkiffClient> skiff;
};

}  // namespace tessera
