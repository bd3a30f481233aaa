#include "tests/support/calls/CallQueue.h"

#include <gtest/gtest.h>

#include <thread>

namespace tessera {
namespace {

TEST(CallQueue, GivesTheOldestCallFirst) {
  CallQueue<int> queue;
  queue.push(1);
  queue.push(2);
  EXPECT_EQ(2U, queue.size());
  EXPECT_EQ(1, queue.take());
  EXPECT_EQ(2, queue.take());
  EXPECT_EQ(0U, queue.size());
}

TEST(CallQueue, WaitsForACallOfAnotherThread) {
  CallQueue<int> queue;
  std::thread caller([&queue] { queue.push(7); });
  EXPECT_EQ(7, queue.take());
  caller.join();
}

}  // namespace
}  // namespace tessera
