#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "sqlite/Statement.h"

struct sqlite3;
struct sqlite3_stmt;

namespace tessera {

// One connection to a SQLite database in WAL mode, with a cache of prepared
// statements. Everything that fails throws SqliteError.
//
// Threads: one at a time; use a connection per thread, or a lock. A connection must
// not be carried over a fork.
class Database {
 public:
  enum class Durability {
    Full,    // a commit survives a power loss
    Normal,  // a commit survives the process; a power loss may take the latest ones
  };
  enum class Mode { ReadWrite, CreateIfMissing, ReadOnly };

  struct Options {
    Mode mode = Mode::CreateIfMissing;
    Durability durability = Durability::Full;
    std::chrono::milliseconds busyTimeout{30'000};
    std::int64_t cacheKiB = 8 * 1024;
    std::int64_t mapBytes = 0;  // of the file mapped for reading; 0 reads with read(2)
  };

  explicit Database(const std::filesystem::path& file) : Database(file, Options{}) {}
  Database(const std::filesystem::path& file, const Options& options);
  ~Database();
  Database(const Database&) = delete;
  Database& operator=(const Database&) = delete;

  // The statement for `sql`, prepared at first use and kept. Nested use of the same
  // text is fine: it gets a statement of its own.
  [[nodiscard]] Statement statement(std::string_view sql);

  // statement(), with all parameters bound, ready to step.
  template <typename... Values>
  [[nodiscard]] Statement query(std::string_view sql, const Values&... values) {
    Statement result = statement(sql);
    result.bindAll(values...);
    return result;
  }

  // Runs one statement to its end.
  template <typename... Values>
  void run(std::string_view sql, const Values&... values) {
    statement(sql).run(values...);
  }

  // Runs a script of any number of statements, not cached: schemas, pragmas.
  void execute(const std::string& script);

  // Rows that the last INSERT, UPDATE or DELETE changed.
  [[nodiscard]] std::int64_t changes() const;
  [[nodiscard]] std::int64_t lastInsertRowid() const;
  [[nodiscard]] bool inTransaction() const;

  // The schema's version number in the file's header (PRAGMA user_version).
  [[nodiscard]] std::int64_t userVersion();
  void setUserVersion(std::int64_t version);

  // Differs between two calls when another connection committed in between.
  [[nodiscard]] std::int64_t dataVersion();

 private:
  friend class Statement;

  // Lets a string_view look up a string key without making one.
  struct TextHash {
    using is_transparent = void;
    std::size_t operator()(std::string_view text) const noexcept {
      return std::hash<std::string_view>{}(text);
    }
  };

  void configure(const Options& options);
  sqlite3_stmt* prepare(std::string_view sql);
  void giveBack(sqlite3_stmt* handle) noexcept;

  sqlite3* _connection = nullptr;
  // Idle statements by text. An entry is usually one; more after nested use.
  std::unordered_map<std::string, std::vector<sqlite3_stmt*>, TextHash, std::equal_to<>> _idle;
};

}  // namespace tessera
