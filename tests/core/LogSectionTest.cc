#include "core/LogSection.h"

#include <gtest/gtest.h>

#include <functional>
#include <set>
#include <thread>
#include <vector>

#include "platform/tessera/GVLog.h"
#include "tests/support/extension/LogLines.h"

namespace tessera {
namespace {

TEST(LogSection, IsOneAtFirstAndThenThree) {
  EXPECT_EQ(1U, log_section_create(false));
  EXPECT_EQ(3U, log_section_create(false));
}

TEST(LogSection, TakesTheNextNumberOfTheLevelAskedFor) {
  EXPECT_EQ(1U, log_section_create(false));
  EXPECT_EQ(2U, log_section_create(true));
  EXPECT_EQ(4U, log_section_create(true));
  EXPECT_EQ(5U, log_section_create(false));
}

TEST(LogSection, IsTwoWhenTheFirstIsAnInfoSection) {
  EXPECT_EQ(2U, log_section_create(true));
}

TEST(LogSection, PrintsNothingWhenThereIsNone) {
  const CapturingLogBackend log(gvc_default_log());
  const log_section_t none = 0;
  log_section_end(&none);
  EXPECT_TRUE(log.lines().empty());
}

TEST(LogSection, ClosesAnOddNumberAtDebugLevelInLowerCaseHexadecimal) {
  const CapturingLogBackend log(gvc_default_log());
  const log_section_t section = 0xABCDEF;
  log_section_end(&section);
  EXPECT_EQ((LogLines{debugLine("┗abcdef ")}), log.lines());
}

TEST(LogSection, ClosesAnEvenNumberAtInfoLevel) {
  const CapturingLogBackend log(gvc_default_log());
  const log_section_t section = 0x1A;
  log_section_end(&section);
  EXPECT_EQ((LogLines{infoLine("┗1a ")}), log.lines());
}

TEST(LogSection, ClosesNothingAtALevelThatIsOff) {
  const CapturingLogBackend log(gvc_default_log(), CapturingLogBackend::typeBit(LogType::Info));
  const log_section_t debugSection = 7;
  log_section_end(&debugSection);
  EXPECT_TRUE(log.lines().empty());
}

void returnEarlyWhen(bool early) {
  const LogSection section;
  gvc_default_log().debug("[DEBUG] ┏%llx begun", section.identifier());
  if (early) return;
  gvc_default_log().debug("[DEBUG] went on");
}

TEST(LogSection, ClosesOnEveryPathOutOfItsScope) {
  const CapturingLogBackend log(gvc_default_log());
  returnEarlyWhen(true);
  returnEarlyWhen(false);
  EXPECT_EQ((LogLines{debugLine("┏1 begun"), debugLine("┗1 "), debugLine("┏3 begun"),
                      debugLine("went on"), debugLine("┗3 ")}),
            log.lines());
}

TEST(LogSection, ClosesOnceMoreForACallbackThatHasCopiedIt) {
  const CapturingLogBackend log(gvc_default_log());
  std::function<void()> callback;
  {
    const LogSection section;
    callback = [copied = section.identifier()] {
      const LogSection share(copied);
      gvc_default_log().debug("[DEBUG] ┳%llx answered", copied);
    };
  }
  callback();
  EXPECT_EQ((LogLines{debugLine("┗1 "), debugLine("┳1 answered"), debugLine("┗1 ")}), log.lines());
}

TEST(LogSection, IsNeverTheSameForTwoOfManyThreads) {
  constexpr int kThreads = 8;
  constexpr int kEach = 2000;
  std::vector<std::vector<log_section_t>> made(kThreads);
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([t, &sections = made[static_cast<std::size_t>(t)]] {
      const bool info = t % 2 == 1;
      for (int i = 0; i < kEach; ++i) sections.push_back(log_section_create(info));
    });
  }
  for (std::thread& thread : threads) thread.join();

  std::set<log_section_t> all;
  for (int t = 0; t < kThreads; ++t) {
    log_section_t last = 0;
    for (const log_section_t section : made[static_cast<std::size_t>(t)]) {
      EXPECT_EQ(t % 2 == 1 ? 0U : 1U, section & 1U);
      EXPECT_LT(last, section);
      last = section;
      all.insert(section);
    }
  }
  EXPECT_EQ(static_cast<std::size_t>(kThreads * kEach), all.size());
}

}  // namespace
}  // namespace tessera
