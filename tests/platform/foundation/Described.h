#pragma once

#include <string>

#include "platform/foundation/NSObject.h"
#include "platform/foundation/TextSink.h"

namespace tessera {

// What "%@" prints for an object, without a limit that a test would reach.
inline std::string described(const NSObject& object) {
  TextSink sink(1 << 16);
  object.describe(sink);
  return std::move(sink).take();
}

}  // namespace tessera
