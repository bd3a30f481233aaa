#include "platform/log/Log.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include "platform/foundation/NSData.h"
#include "platform/foundation/NSError.h"
#include "platform/foundation/NSURL.h"
#include "platform/foundation/TextSink.h"
#include "tests/support/log/CapturingLog.h"

namespace tessera {
namespace {

using Line = CapturingLogBackend::Line;

// The line that a call with these arguments makes.
template <class... A>
std::string formatted(LogFormat<std::type_identity_t<A>...> format, const A&... arguments) {
  Log log("test");
  const CapturingLogBackend captured(log);
  log.debug(format, arguments...);
  return captured.texts().at(0);
}

// Counts how often it is printed.
class Counting final : public NSObject {
 public:
  explicit Counting(std::string text) : _text(std::move(text)) {}
  void describe(TextSink& sink) const override {
    ++printed;
    sink.append(_text);
  }
  mutable std::atomic<int> printed = 0;

 private:
  const std::string _text;
};

TEST(Log, GivesEachLineItsType) {
  Log log("test");
  const CapturingLogBackend captured(log);
  log.debug("d");
  log.info("i");
  log.notice("n");
  log.error("e");
  log.fault("f");
  EXPECT_EQ(captured.lines(), (std::vector<Line>{{LogType::Debug, "d"},
                                                 {LogType::Info, "i"},
                                                 {LogType::Default, "n"},
                                                 {LogType::Error, "e"},
                                                 {LogType::Fault, "f"}}));
}

TEST(Log, GivesTheBackendItsSubsystem) {
  class Backend final : public LogBackend {
   public:
    void write(std::string_view subsystem, LogType, std::string_view line) override {
      written = std::string(subsystem) + ": " + std::string(line);
    }
    std::string written;
  } backend;
  Log log("tessera.test");
  log.attach(&backend, CapturingLogBackend::kEveryType);
  log.error("line");
  EXPECT_EQ(backend.written, "tessera.test: line");
}

TEST(Log, LeavesOutTypesThatAreNotEnabled) {
  Log log("test");
  const CapturingLogBackend captured(log, CapturingLogBackend::typeBit(LogType::Error) |
                                              CapturingLogBackend::typeBit(LogType::Info));
  const auto object = std::make_shared<const Counting>("object");
  log.debug("%@", object);
  log.notice("%@", object);
  log.fault("%@", object);
  EXPECT_EQ(object->printed, 0);
  log.info("%@", object);
  log.error("%@", object);
  EXPECT_EQ(captured.lines(),
            (std::vector<Line>{{LogType::Info, "object"}, {LogType::Error, "object"}}));
  EXPECT_TRUE(log.isEnabled(LogType::Info));
  EXPECT_FALSE(log.isEnabled(LogType::Debug));
}

TEST(Log, IsSilentWithoutABackend) {
  Log log("test");
  const auto object = std::make_shared<const Counting>("object");
  log.fault("%@", object);
  {
    const CapturingLogBackend captured(log);
    log.fault("%@", object);
  }
  log.fault("%@", object);
  EXPECT_EQ(object->printed, 1);
  log.attach(nullptr, CapturingLogBackend::kEveryType);
  EXPECT_FALSE(log.isEnabled(LogType::Fault));
}

TEST(Log, NeverCopiesItsArguments) {
  const auto object = std::make_shared<const Counting>("object");
  const std::vector<std::shared_ptr<const Counting>> list{object, object};
  class Backend final : public LogBackend {
   public:
    explicit Backend(const std::shared_ptr<const Counting>& watched) : _watched(watched) {}
    void write(std::string_view, LogType, std::string_view) override {
      references = _watched.use_count();
    }
    long references = 0;

   private:
    const std::shared_ptr<const Counting>& _watched;
  } backend(object);
  Log log("test");
  log.attach(&backend, CapturingLogBackend::kEveryType);
  log.debug("%@ %@", object, list);
  EXPECT_EQ(backend.references, 3);
}

TEST(Log, PrintsNumbers) {
  constexpr auto kMost = std::numeric_limits<std::uint64_t>::max();
  EXPECT_EQ(formatted("┏%llx", std::uint64_t{0xAB01}), "┏ab01");
  EXPECT_EQ(formatted("%llx %llx", 0ULL, kMost), "0 ffffffffffffffff");
  EXPECT_EQ(formatted("%llu %lu", kMost, std::size_t{7}), "18446744073709551615 7");
  EXPECT_EQ(formatted("%lld %lld", std::numeric_limits<std::int64_t>::min(), 5LL),
            "-9223372036854775808 5");
  EXPECT_EQ(formatted("%d %d", -3, 3), "-3 3");
  EXPECT_EQ(formatted("%.2f %.0f %.3f", 1.005, 2.5, -0.0), "1.00 2 -0.000");
  EXPECT_EQ(formatted("%.9f", -std::numeric_limits<double>::max()).size(), 1U + 309 + 1 + 9);
}

TEST(Log, PrintsTexts) {
  EXPECT_EQ(formatted("%s: %s", "literal", static_cast<const char*>("pointer")),
            "literal: pointer");
  EXPECT_EQ(formatted("%s", static_cast<const char*>(nullptr)), "(null)");
  EXPECT_EQ(formatted("'%@' %@", std::string("string"), std::string_view("view")), "'string' view");
  EXPECT_EQ(formatted("%@|", std::string()), "|");
  EXPECT_EQ(formatted("%@ %@", std::optional<std::string>("text"), std::optional<std::string>()),
            "text (null)");
}

TEST(Log, PrintsWhatStandsAroundConversions) {
  EXPECT_EQ(formatted("plain"), "plain");
  EXPECT_EQ(formatted("%%d is %d%%, %%", 5), "%d is 5%, %");
  EXPECT_EQ(formatted("┗%llx ", std::uint64_t{1}), "┗1 ");
  EXPECT_EQ(formatted("%@", std::string("100 %d %@")), "100 %d %@");
}

TEST(Log, PrintsObjectsAndNil) {
  const NSURLPtr url = NSURL::fileURLWithPath("/a b");
  const NSErrorPtr error = NSError::errorWithDomain("D", 1);
  const std::shared_ptr<const NSData> data = NSData::dataWithText("a");
  EXPECT_EQ(formatted("%@ %@ %@", url, error, data),
            "file:///a%20b Error Domain=D Code=1 \"(null)\" {length = 1, bytes = 0x61}");
  EXPECT_EQ(formatted("%@ %@", NSURLPtr(), NSObjectPtr()), "(null) (null)");
}

TEST(Log, PrintsNumbersAndDatesThatMayBeNil) {
  using namespace std::chrono_literals;
  using Date = std::chrono::sys_time<std::chrono::nanoseconds>;
  const Date date = std::chrono::sys_days(std::chrono::year(2024) / 2 / 29) + 13h + 5min + 9s + 7ns;
  const Date before = std::chrono::sys_days(std::chrono::year(1969) / 12 / 31) + 23h + 59min + 59s;
  EXPECT_EQ(formatted("%@ %@", std::optional<std::int64_t>(-4), std::optional<std::int64_t>()),
            "-4 (null)");
  EXPECT_EQ(formatted("%@", std::optional(date)), "2024-02-29 13:05:09 +0000");
  EXPECT_EQ(formatted("%@", before), "1969-12-31 23:59:59 +0000");
  EXPECT_EQ(formatted("%@", std::optional<Date>()), "(null)");
}

TEST(Log, PrintsListsOneElementALine) {
  const std::vector<NSURLPtr> urls{NSURL::fileURLWithPath("/a"), nullptr,
                                   NSURL::fileURLWithPath("/b")};
  EXPECT_EQ(formatted("items=%@;", urls),
            "items=(\n    file:///a,\n    (null),\n    file:///b\n);");
  EXPECT_EQ(formatted("%@", std::vector<std::string>{"one"}), "(\n    one\n)");
  EXPECT_EQ(formatted("%@", std::vector<NSObjectPtr>()), "(\n)");
}

TEST(Log, CutsEachArgumentAtItsLimit) {
  const std::string exact(kLogArgumentLimit, 'x');
  const std::string cut = std::string(kLogArgumentLimit - 3, 'x') + "…";
  EXPECT_EQ(formatted("%@", exact), exact);
  EXPECT_EQ(formatted("<%@> <%s>", exact + "x", (exact + "x").c_str()),
            "<" + cut + "> <" + cut + ">");
}

TEST(Log, StopsWalkingAListOnceItsTextIsFull) {
  const auto element = std::make_shared<const Counting>(std::string(96, 'x'));
  const std::vector<std::shared_ptr<const Counting>> list(100'000, element);
  const std::string line = formatted("%@", list);
  EXPECT_LE(line.size(), kLogArgumentLimit);
  EXPECT_TRUE(line.ends_with("…"));
  EXPECT_EQ(element->printed, 11);  // 102 bytes each: the eleventh is cut
}

TEST(Log, TakesLinesFromManyThreads) {
  Log log("test");
  CapturingLogBackend captured(log);
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&log, t] {
      for (int i = 0; i < 250; ++i) log.debug("%d", t);
    });
  }
  for (auto& thread : threads) thread.join();
  std::vector<int> counts(4);
  for (const auto& text : captured.texts()) ++counts.at(static_cast<std::size_t>(std::stoi(text)));
  EXPECT_EQ(counts, std::vector<int>(4, 250));
}

}  // namespace
}  // namespace tessera
