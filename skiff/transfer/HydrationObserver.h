#pragma once

#include <cstdint>

namespace tessera {

// The steps of a transfer that are behind it; see Hydrator.
enum class HydrationStage { Noted, Staged, Verified, Published, Committed };

// Follows one transfer. Called on its thread.
class HydrationObserver {
 public:
  virtual ~HydrationObserver() = default;
  virtual void reached(HydrationStage stage) = 0;
  virtual void progressed(std::uint64_t bytesDone, std::uint64_t bytesTotal) = 0;
};

}  // namespace tessera
