#pragma once

#include <memory>

#include "home/Home.h"
#include "platform/log/Log.h"

namespace tessera {

// Where this process's log lines go while this lives: to the journal when standard error
// leads there, else to the home's log file. Which types, TESSERA_LOG_LEVEL says (debug, info,
// default, error, off; everything when it is not set).
//
// Lifetime: outlives every thread that logs.
class ProcessLog {
 public:
  explicit ProcessLog(const Home& home);
  ProcessLog(const ProcessLog&) = delete;
  ProcessLog& operator=(const ProcessLog&) = delete;
  ~ProcessLog();

 private:
  const std::unique_ptr<LogBackend> _backend;
};

}  // namespace tessera
