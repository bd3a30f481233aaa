#pragma once

#include <cstdint>
#include <string>

#include <kj/exception.h>
#include <kj/time.h>

#include "protocol/error.capnp.h"

namespace tessera {

// An error in the platform's terms that the host itself answers with. What the extension
// answers is passed on as it is.
struct HostError {
  std::string domain;
  std::int64_t code = 0;
  std::string description;
  std::string path;  // under NSFilePath, when the error is about one

  void encode(wire::Error::Builder wire) const;

  // The one table from failures of the connection to the extension to errors.
  [[nodiscard]] static HostError of(const kj::Exception& failure);
  // It ended so often that it is not started before `pause` is over.
  [[nodiscard]] static HostError extensionKeepsEnding(kj::Duration pause);
  [[nodiscard]] static HostError extensionCannotBeStarted(const std::string& reason);
  [[nodiscard]] static HostError stopping();
  [[nodiscard]] static HostError noItemAtPath(const std::string& path);
  [[nodiscard]] static HostError noItem(const std::string& identifier);
};

}  // namespace tessera
