#include "cloud/embedded/Connections.h"

#include <utility>

namespace tessera {

namespace {

constexpr std::size_t kIdleReaders = 8;

// Readers, too, may have to recover the log of a process that was killed, which a
// read-only connection could not.
Database::Options options() {
  Database::Options options;
  options.mode = Database::Mode::ReadWrite;
  options.durability = Database::Durability::Full;
  return options;
}

}  // namespace

Connections::Connections(std::filesystem::path file)
    : _file(std::move(file)), _writer(_file, options()) {
  // A log that grew under a long reader is cut again at the next checkpoint.
  _writer.execute("PRAGMA journal_size_limit = 33554432");
}

Connections::Writer Connections::writer() {
  return Writer(std::unique_lock(_writing), _writer);
}

Connections::Reader Connections::reader() {
  std::unique_ptr<Database> database;
  {
    std::lock_guard lock(_idleLock);
    if (!_idle.empty()) {
      database = std::move(_idle.back());
      _idle.pop_back();
    }
  }
  if (!database) {
    database = std::make_unique<Database>(_file, options());
    database->execute("PRAGMA query_only = ON");
  }
  return Reader(*this, std::move(database));
}

Connections::Reader::~Reader() {
  std::lock_guard lock(_owner._idleLock);
  if (_owner._idle.size() < kIdleReaders) _owner._idle.push_back(std::move(_database));
}

}  // namespace tessera
