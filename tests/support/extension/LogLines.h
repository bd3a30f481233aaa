#pragma once

#include <string>
#include <vector>

#include "tests/support/log/CapturingLog.h"

namespace tessera {

using LogLines = std::vector<CapturingLogBackend::Line>;

[[nodiscard]] inline CapturingLogBackend::Line debugLine(std::string text) {
  return {LogType::Debug, "[DEBUG] " + std::move(text)};
}
[[nodiscard]] inline CapturingLogBackend::Line infoLine(std::string text) {
  return {LogType::Info, "[INFO] " + std::move(text)};
}
[[nodiscard]] inline CapturingLogBackend::Line noticeLine(std::string text) {
  return {LogType::Default, "[NOTICE] " + std::move(text)};
}
[[nodiscard]] inline CapturingLogBackend::Line errorLine(std::string text) {
  return {LogType::Error, "[ERROR] " + std::move(text)};
}
[[nodiscard]] inline CapturingLogBackend::Line failedAssertion(const std::string& condition) {
  return {LogType::Fault, "[CRIT] Assertion failed: " + condition};
}

}  // namespace tessera
