#pragma once

#include <filesystem>
#include <memory>
#include <mutex>
#include <vector>

#include "sqlite/Database.h"

namespace tessera {

// The connections of this process to the cloud's database: one that writes, behind a
// lock, and as many readers as are in use at once, kept for the next use.
//
// Threads: any. Lifetime: outlives every Writer and Reader it hands out.
class Connections {
 public:
  // Opens the writer. Throws SqliteError; a missing file is not made.
  explicit Connections(std::filesystem::path file);

  // The writing connection and the lock that is held on it.
  class Writer {
   public:
    Writer(std::unique_lock<std::mutex> lock, Database& database)
        : _lock(std::move(lock)), _database(database) {}
    Database& operator*() const { return _database; }

   private:
    std::unique_lock<std::mutex> _lock;
    Database& _database;
  };

  // A connection for reading, lent until this is destroyed.
  class Reader {
   public:
    Reader(Connections& owner, std::unique_ptr<Database> database)
        : _owner(owner), _database(std::move(database)) {}
    ~Reader();
    Reader(const Reader&) = delete;
    Reader& operator=(const Reader&) = delete;
    Database& operator*() const { return *_database; }

   private:
    Connections& _owner;
    std::unique_ptr<Database> _database;
  };

  [[nodiscard]] Writer writer();
  [[nodiscard]] Reader reader();

 private:
  const std::filesystem::path _file;

  // Held for the length of a transaction, I/O included: that is what serialises the
  // writers of this process; those of other processes meet at the file's lock.
  std::mutex _writing;
  Database _writer;  // guarded by _writing

  std::mutex _idleLock;
  std::vector<std::unique_ptr<Database>> _idle;  // guarded by _idleLock
};

}  // namespace tessera
