#pragma once

namespace tessera {

// Something that goes on by itself until whoever asked for it calls it off.
class GVCancellable {
 public:
  virtual ~GVCancellable() = default;
  // invalidate — nothing more is wanted. Calling it again is harmless.
  virtual void invalidate() = 0;
};

}  // namespace tessera
