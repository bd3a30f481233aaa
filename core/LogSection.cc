#include "core/LogSection.h"

#include "platform/dispatch/DispatchQueue.h"
#include "platform/tessera/GVLog.h"

namespace tessera {
namespace {

// Never destroyed: a request that is under way when the process ends may still ask.
DispatchQueue& sectionQueue() {
  static const DispatchQueuePtr& queue =
      *new DispatchQueuePtr(DispatchQueue::serial("create-log-section"));
  return *queue;
}

std::uint64_t lastSection = 0;  // touched on the queue alone

}  // namespace

log_section_t log_section_create(bool info) {
  log_section_t made = 0;
  sectionQueue().sync([info, &made] {
    std::uint64_t n = lastSection + 1;
    if (static_cast<std::uint64_t>(info) != (~n & 1U)) ++n;
    lastSection = n;
    made = n;
  });
  return made;
}

void log_section_end(const log_section_t* section) {
  if (*section == 0) return;
  if ((*section & 1U) != 0) {
    gvc_default_log().debug("[DEBUG] ┗%llx ", *section);
  } else {
    gvc_default_log().info("[INFO] ┗%llx ", *section);
  }
}

}  // namespace tessera
