#include "linux/LogRecord.h"

#include <gtest/gtest.h>

namespace tessera {
namespace {

using namespace std::chrono_literals;

constexpr std::uint8_t bits(std::initializer_list<LogType> types) {
  std::uint8_t set = 0;
  for (const LogType type : types) set |= static_cast<std::uint8_t>(1U << unsigned(type));
  return set;
}

TEST(LogRecord, IsOneLineOfTimeProcessThreadTypeSubsystemAndText) {
  const LogRecord record{std::chrono::sys_days(std::chrono::year(2026) / 1 / 31) + 12h + 5s + 42us,
                         4242,
                         4243,
                         LogType::Debug,
                         "tessera.client",
                         "[DEBUG] ┏1f asked url for x"};
  EXPECT_EQ(record.line(),
            "2026-01-31T12:00:05.000042Z 4242 4243 debug tessera.client "
            "[DEBUG] ┏1f asked url for x\n");
}

TEST(LogRecord, NamesEveryType) {
  EXPECT_EQ(logTypeName(LogType::Default), "default");
  EXPECT_EQ(logTypeName(LogType::Info), "info");
  EXPECT_EQ(logTypeName(LogType::Debug), "debug");
  EXPECT_EQ(logTypeName(LogType::Error), "error");
  EXPECT_EQ(logTypeName(LogType::Fault), "fault");
}

TEST(LogRecord, EscapesWhatWouldBreakTheLineOrDriveATerminal) {
  EXPECT_EQ(escapedForLog("a\nb\rc\td"), "a\\nb\\rc\\td");
  EXPECT_EQ(escapedForLog(std::string_view("\x1b[31m\0\x7f", 7)), "\\x1b[31m\\x00\\x7f");
  EXPECT_EQ(escapedForLog("\xc2\x9b"), "\\x9b");  // what a terminal takes for ESC [
  EXPECT_EQ(escapedForLog("naïve \xc2\xa0 ┏ \\n \xff \xc2"), "naïve \xc2\xa0 ┏ \\n \xff \xc2");
}

TEST(LogRecord, KeepsTheTypesOfALevelAndOfMoreSevereOnes) {
  const auto errors = bits({LogType::Error, LogType::Fault});
  EXPECT_EQ(logTypesForLevel("off"), 0);
  EXPECT_EQ(logTypesForLevel("error"), errors);
  EXPECT_EQ(logTypesForLevel("default"), errors | bits({LogType::Default}));
  EXPECT_EQ(logTypesForLevel("info"), errors | bits({LogType::Default, LogType::Info}));
  EXPECT_EQ(logTypesForLevel("debug"), 0x1f);
  EXPECT_EQ(logTypesForLevel("nonsense"), 0x1f);
  EXPECT_EQ(logTypesForLevel(std::nullopt), 0x1f);
}

}  // namespace
}  // namespace tessera
