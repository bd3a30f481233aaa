#include "tests/support/calls/CallRecorder.h"

#include <gtest/gtest.h>

#include <thread>

namespace tessera {
namespace {

TEST(CallRecorder, KeepsTheOrderOfCalls) {
  CallRecorder recorder;
  recorder.record("first");
  recorder.record("second");
  recorder.record("first");
  EXPECT_EQ((std::vector<std::string>{"first", "second", "first"}), recorder.calls());
  EXPECT_EQ(2U, recorder.count("first"));
  recorder.clear();
  EXPECT_TRUE(recorder.calls().empty());
}

TEST(CallRecorder, WaitsForACallOfAnotherThread) {
  CallRecorder recorder;
  std::thread caller([&recorder] {
    recorder.record("called");
    recorder.record("called");
  });
  recorder.waitFor("called", 2);
  EXPECT_EQ(2U, recorder.count("called"));
  caller.join();
}

}  // namespace
}  // namespace tessera
