#pragma once

#include "platform/log/Log.h"

namespace tessera {

// gvc_default_log: the handle that the client library and the extension log to.
[[nodiscard]] Log& gvc_default_log() noexcept;

}  // namespace tessera
