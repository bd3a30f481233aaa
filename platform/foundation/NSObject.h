#pragma once

#include <memory>

namespace tessera {

class TextSink;

// Base of the platform's objects: whatever can stand in an error's user info or be
// printed with "%@".
//
// Lifetime: shared (std::shared_ptr); an empty pointer is nil and prints "(null)".
class NSObject {
 public:
  NSObject() = default;
  NSObject(const NSObject&) = delete;
  NSObject& operator=(const NSObject&) = delete;
  virtual ~NSObject() = default;

  // Appends what "%@" prints for this object. Stops early once the sink is full.
  virtual void describe(TextSink& sink) const = 0;
};

using NSObjectPtr = std::shared_ptr<const NSObject>;

}  // namespace tessera
