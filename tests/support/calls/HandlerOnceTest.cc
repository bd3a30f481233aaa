#include "tests/support/calls/HandlerOnce.h"

#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include <string>
#include <thread>

namespace tessera {
namespace {

TEST(HandlerOnce, GivesTheArgumentsOfTheCall) {
  HandlerOnce<int, std::string> once;
  std::thread caller([handler = once.handler()] { handler(3, "three"); });
  EXPECT_EQ((std::tuple<int, std::string>(3, "three")), once.wait());
  EXPECT_EQ(3, once.value());
  caller.join();
}

TEST(HandlerOnce, FailsTheTestWhenItIsNeverCalled) {
  EXPECT_NONFATAL_FAILURE({ const HandlerOnce<int> once; }, "exactly once");
}

TEST(HandlerOnce, FailsTheTestWhenItIsCalledAgain) {
  EXPECT_NONFATAL_FAILURE(
      {
        const HandlerOnce<int> once;
        const auto handler = once.handler();
        handler(1);
        handler(2);
      },
      "exactly once");
}

TEST(HandlerOnce, KeepsTheFirstCallsArguments) {
  EXPECT_NONFATAL_FAILURE(
      {
        const HandlerOnce<int> once;
        once.handler()(1);
        once.handler()(2);
        if (once.value() != 1) ADD_FAILURE() << "the second call's argument";
      },
      "exactly once");
}

}  // namespace
}  // namespace tessera
