// Where a line was logged is a subsystem and a text, not a source file.
#define SD_JOURNAL_SUPPRESS_LOCATION

#include "linux/Journal.h"

#include <sys/stat.h>
#include <sys/uio.h>
#include <syslog.h>
#include <systemd/sd-journal.h>

namespace tessera {
namespace {

int priorityOf(LogType type) {
  switch (type) {
    case LogType::Fault:
      return LOG_CRIT;
    case LogType::Error:
      return LOG_ERR;
    case LogType::Default:
      return LOG_NOTICE;
    case LogType::Info:
      return LOG_INFO;
    case LogType::Debug:
      return LOG_DEBUG;
  }
  return LOG_NOTICE;
}

}  // namespace

bool Journal::isBehind(int fd, std::optional<std::string_view> journalStream) {
  if (!journalStream) return false;
  struct stat status {};
  if (::fstat(fd, &status) != 0) return false;
  return *journalStream == std::to_string(status.st_dev) + ":" + std::to_string(status.st_ino);
}

std::vector<std::string> Journal::fields(std::string_view subsystem, LogType type,
                                         std::string_view line) const {
  return {"MESSAGE=" + std::string(line), "PRIORITY=" + std::to_string(priorityOf(type)),
          "SYSLOG_IDENTIFIER=tessera-fileprovider", "TESSERA_SUBSYSTEM=" + std::string(subsystem),
          "TESSERA_HOME=" + _home.string()};
}

void Journal::write(std::string_view subsystem, LogType type, std::string_view line) {
  auto texts = fields(subsystem, type, line);
  std::vector<iovec> vectors;
  vectors.reserve(texts.size());
  for (auto& text : texts) vectors.push_back({text.data(), text.size()});
  ::sd_journal_sendv(vectors.data(), static_cast<int>(vectors.size()));
}

}  // namespace tessera
