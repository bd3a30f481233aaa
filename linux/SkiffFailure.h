#pragma once

#include "platform/foundation/NSError.h"
#include "rpc/RpcFailure.h"

namespace tessera {

// What a connection that could not be made fails with, and tells its users.
inline constexpr const char* kSkiffNotRunning =
    "The sync daemon (skiff) is not running. Start it with: tessera up";

// A call to the daemon that failed, as its caller gets to see it. The daemon is not there,
// does not answer or has too much to do: GVTesseraErrorDomain 3. The call was cancelled:
// NSCocoaErrorDomain 3072. Anything else is the fault of one of the two programs:
// GVTesseraErrorDomain 1. What the connection said stands under NSDebugDescription.
[[nodiscard]] NSErrorPtr skiffError(const RpcFailure& failure);

}  // namespace tessera
