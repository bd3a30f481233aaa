#pragma once

#include <string>

namespace tessera {

// The MIME type that the desktop's database gives a document of this name; empty when the
// name says nothing. The content is not looked at: a document that is not on the device
// must have the same type as one that is.
//
// Threads: any.
[[nodiscard]] std::string contentTypeForName(const std::string& name);

}  // namespace tessera
