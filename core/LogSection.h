#pragma once

#include <cstdint>

namespace tessera {

// The number that ties the log lines of one request together. It is printed as "%llx"
// behind a glyph that tells the line's place in the request's life:
//   ┏ the request has come    ┣ a step is about to be waited for
//   ┳ its answer has come     ┗ a scope of the request has ended (log_section_end alone)
// 0 is no section. Odd numbers are sections at debug level, even ones at info level.
using log_section_t = std::uint64_t;

// The next number of the process that has the level asked for. Threads: any.
[[nodiscard]] log_section_t log_section_create(bool info);

// Logs the closing line, at the section's level; nothing for 0.
void log_section_end(const log_section_t* section);

// Closes a section when the scope that holds it ends, on every path.
class LogSection {
 public:
  // A new section at debug level, as every request makes.
  LogSection() : _section(log_section_create(false)) {}
  // A callback's share of a section that a method has made.
  explicit LogSection(log_section_t section) : _section(section) {}
  LogSection(const LogSection&) = delete;
  LogSection& operator=(const LogSection&) = delete;
  ~LogSection() { log_section_end(&_section); }

  [[nodiscard]] log_section_t identifier() const noexcept { return _section; }

 private:
  const log_section_t _section;
};

}  // namespace tessera
