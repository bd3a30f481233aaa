#include "linux/ProcessLog.h"

#include <cstdlib>
#include <optional>
#include <string_view>

#include <unistd.h>

#include "linux/Journal.h"
#include "linux/LogFile.h"
#include "linux/LogRecord.h"
#include "platform/tessera/GVLog.h"

namespace tessera {
namespace {

std::optional<std::string_view> variable(const char* name) {
  const char* value = std::getenv(name);
  if (value == nullptr) return std::nullopt;
  return value;
}

std::unique_ptr<LogBackend> backendFor(const Home& home) {
  if (Journal::isBehind(STDERR_FILENO, variable("JOURNAL_STREAM"))) {
    return std::make_unique<Journal>(home.name());
  }
  return std::make_unique<LogFile>(home.extensionLog());
}

}  // namespace

ProcessLog::ProcessLog(const Home& home) : _backend(backendFor(home)) {
  gvc_default_log().attach(_backend.get(), logTypesForLevel(variable("TESSERA_LOG_LEVEL")));
}

ProcessLog::~ProcessLog() {
  gvc_default_log().attach(nullptr, 0);
}

}  // namespace tessera
