#pragma once

#include <string>

#include "platform/foundation/NSObject.h"
#include "platform/foundation/TextSink.h"
#include "platform/log/LogArgument.h"

namespace tessera {

// What "%@" prints for a value, so that a test can write out the line that holds it.
template <class T>
[[nodiscard]] std::string described(const T& value) {
  TextSink sink(std::size_t{1} << 20);
  LogArgument(value).describe(sink);
  return std::move(sink).take();
}

}  // namespace tessera
