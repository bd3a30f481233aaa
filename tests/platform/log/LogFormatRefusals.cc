// Compiled once for each branch by tests of their own (see CMakeLists.txt); no part of a
// program.
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/foundation/NSError.h"
#include "platform/log/Log.h"

namespace tessera {

struct Foreign {};
enum Plain { kPlain };

void logOne(const Log& log) {
  [[maybe_unused]] const std::uint64_t section = 1;
  [[maybe_unused]] const std::int64_t rank = 1;
  [[maybe_unused]] const std::string text;
  [[maybe_unused]] const NSErrorPtr error;
#if defined(FITS)
  log.debug("%llx %llu %lu %lld %d %s %@ %@ %.2f%%", section, section, text.size(), rank, 1, "text",
            text, error, 1.0);
#elif defined(TOO_FEW)
  log.debug("%llx %@", section);
#elif defined(TOO_MANY)
  log.debug("%llx", section, text);
#elif defined(PERCENT)
  log.debug("%%", section);
#elif defined(UNKNOWN)
  log.debug("%x", section);
#elif defined(LONE_PERCENT)
  log.debug("100 %");
#elif defined(SIGNED_AS_HEX)
  log.debug("%llx", rank);
#elif defined(UNSIGNED_AS_SIGNED)
  log.debug("%lld", section);
#elif defined(INT_AS_SIZE)
  log.debug("%lu", 1);
#elif defined(LONG_AS_INT)
  log.debug("%d", rank);
#elif defined(FLOAT_AS_DOUBLE)
  log.debug("%.2f", 1.0F);
#elif defined(STRING_AS_C_STRING)
  log.debug("%s", text);
#elif defined(C_STRING_AS_OBJECT)
  log.debug("%@", "text");
#elif defined(NUMBER_AS_OBJECT)
  log.debug("%@", rank);
#elif defined(FOREIGN_POINTER)
  log.debug("%@", std::shared_ptr<Foreign>());
#elif defined(ENUMERATION)
  log.debug("%d", kPlain);
#elif defined(NO_LITERAL)
  log.debug(text, section);
#else
#error "no branch"
#endif
}

}  // namespace tessera
