#pragma once

#include "platform/fileprovider/NSFileProviderManager.h"
#include "platform/foundation/InstalledBackend.h"
#include "platform/tessera/GVLog.h"
#include "tests/support/calls/CallRecorder.h"
#include "tests/support/fileprovider/FakeFileProviderManager.h"
#include "tests/support/log/CapturingLog.h"
#include "tests/support/tessera/FakeClientLibrary.h"
#include "tests/support/tessera/FakeDaemon.h"
#include "tests/support/tessera/FakeOperationRemote.h"

namespace tessera {

// Everything around the extension, faked and installed, with every log line captured and
// every call recorded in one order.
//
// Lifetime: outlives the extension and whatever work it has started.
struct ExtensionWorld {
  ExtensionWorld();

  // The lines logged at one type, and all of them.
  [[nodiscard]] std::vector<std::string> logged(LogType type) const { return log.texts(type); }
  [[nodiscard]] std::vector<std::string> logged() const { return log.texts(); }

  const CallRecorderPtr calls = std::make_shared<CallRecorder>();
  CapturingLogBackend log{gvc_default_log()};
  FakeClientLibrary library{calls};
  FakeDaemon daemon{calls};
  FakeOperationRemote operations{calls};
  FakeFileProviderManager manager{calls};
  InstalledBackend<NSFileProviderManager>::Installation managerInstalled{manager};
};

}  // namespace tessera
