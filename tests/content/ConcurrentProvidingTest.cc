#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "core/GVFileProviderExtension.h"
#include "tests/support/calls/HandlerOnce.h"
#include "tests/support/extension/ExtensionWorld.h"

namespace tessera {
namespace {

constexpr std::size_t kThreads = 8;
constexpr std::size_t kEach = 50;

using Handlers = std::vector<std::unique_ptr<HandlerOnce<NSErrorPtr>>>;

// Asks for content from many threads, for a path that depends on the request's number, while
// one more answers as the daemon.
Handlers provideFromManyThreads(ExtensionWorld& world, GVFileProviderExtension& extension,
                                std::string (*pathOf)(std::size_t)) {
  Handlers handlers;
  for (std::size_t i = 0; i < kThreads * kEach; ++i) {
    handlers.push_back(std::make_unique<HandlerOnce<NSErrorPtr>>());
  }
  std::thread daemon([&world] {
    for (std::size_t i = 0; i < kThreads * kEach; ++i) {
      const auto download = world.operations.downloads().take();
      if (i % 3 == 0) {
        download.operation->cancel();
      }
      download.reply(nullptr);
    }
  });
  std::vector<std::thread> callers;
  for (std::size_t t = 0; t < kThreads; ++t) {
    callers.emplace_back([t, &handlers, &extension, pathOf] {
      for (std::size_t i = 0; i < kEach; ++i) {
        const std::size_t number = t * kEach + i;
        extension.startProvidingItemAtURL(NSURL::fileURLWithPath(pathOf(number)),
                                          handlers[number]->handler());
      }
    });
  }
  for (std::thread& caller : callers) caller.join();
  daemon.join();
  for (const auto& handler : handlers) handler->wait();
  return handlers;
}

TEST(ConcurrentProviding, AnswersEveryRequestOnce) {
  ExtensionWorld world;
  const auto extension = GVFileProviderExtension::create();
  const auto handlers = provideFromManyThreads(
      world, *extension, [](std::size_t number) { return "/tree/" + std::to_string(number); });
  for (const auto& handler : handlers) EXPECT_EQ(1U, handler->calls());
  EXPECT_TRUE(world.logged(LogType::Fault).empty());
}

TEST(ConcurrentProviding, AnswersEveryOneOfManyRequestsForOnePathOnce) {
  ExtensionWorld world;
  const auto extension = GVFileProviderExtension::create();
  const auto handlers =
      provideFromManyThreads(world, *extension, [](std::size_t) { return std::string("/tree/a"); });
  for (const auto& handler : handlers) EXPECT_EQ(1U, handler->calls());
  // Each request that found the path taken leaves one that finds it gone.
  std::size_t taken = 0;
  std::size_t gone = 0;
  for (const std::string& line : world.logged(LogType::Fault)) {
    if (line == "[CRIT] Assertion failed: _downloadOperationByPath[path] == nil") ++taken;
    if (line == "[CRIT] Assertion failed: self->_downloadOperationByPath[path]") ++gone;
  }
  EXPECT_EQ(taken, gone);
  EXPECT_EQ(world.logged(LogType::Fault).size(), taken + gone);
}

}  // namespace
}  // namespace tessera
