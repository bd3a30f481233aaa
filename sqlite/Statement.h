#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

struct sqlite3_stmt;

namespace tessera {

class Database;

// A blob to bind or read; a type of its own so that text and bytes are not mixed up.
using BlobView = std::span<const std::uint8_t>;

// A prepared statement, borrowed from its Database's cache and given back, reset and
// unbound, when this is destroyed.
//
//   auto statement = database.query("SELECT name FROM item WHERE parent = ?", parent);
//   while (statement.step()) use(statement.text(0));
//
// Parameters count from 1, columns from 0, as SQLite's do.
// Threads: as its Database, one at a time. Lifetime: must not outlive its Database.
class Statement {
 public:
  Statement(Statement&& other) noexcept;
  Statement& operator=(Statement&&) = delete;
  ~Statement();

  // Text and blobs are copied into the statement.
  Statement& bind(int index, std::int64_t value);
  Statement& bind(int index, double value);
  Statement& bind(int index, std::string_view value);
  Statement& bind(int index, BlobView value);
  Statement& bind(int index, std::nullopt_t);
  Statement& bind(int index, const char* value) { return bind(index, std::string_view(value)); }
  Statement& bind(int index, const std::vector<std::uint8_t>& value) {
    return bind(index, BlobView(value));
  }
  template <typename T>
  requires std::is_integral_v<T> || std::is_enum_v<T> Statement& bind(int index, T value) {
    return bind(index, static_cast<std::int64_t>(value));
  }
  template <typename T>
  Statement& bind(int index, const std::optional<T>& value) {
    return value ? bind(index, *value) : bind(index, std::nullopt);
  }

  // Binds all parameters from the first on.
  template <typename... Values>
  Statement& bindAll(const Values&... values) {
    [[maybe_unused]] int index = 0;
    (bind(++index, values), ...);
    return *this;
  }

  // Binds `values`, runs to the end and resets, ready for the next run. Copies
  // nothing: the values live as long as the call. Rows are passed over.
  template <typename... Values>
  void run(const Values&... values) {
    Borrowed borrowed(*this);
    [[maybe_unused]] int index = 0;
    (bind(++index, values), ...);
    runBound();
  }

  // Moves to the next row; false at the end. Throws SqliteError.
  bool step();
  // Makes the statement ready to be bound and stepped again. Keeps the bindings.
  void reset();

  // The current row. Views are valid until the next step() or reset(); NULL reads as
  // 0 or empty where no optional is asked for.
  [[nodiscard]] bool isNull(int column) const;
  [[nodiscard]] std::int64_t int64(int column) const;
  [[nodiscard]] double real(int column) const;
  [[nodiscard]] std::string_view text(int column) const;
  [[nodiscard]] BlobView blob(int column) const;
  [[nodiscard]] std::string string(int column) const { return std::string(text(column)); }
  [[nodiscard]] std::optional<std::int64_t> optionalInt64(int column) const;
  [[nodiscard]] std::optional<std::string> optionalString(int column) const;

 private:
  friend class Database;
  Statement(Database& database, sqlite3_stmt* handle) : _database(&database), _handle(handle) {}

  // While it lives, bind() keeps pointers; afterwards none of them is left behind.
  class Borrowed {
   public:
    explicit Borrowed(Statement& statement) : _statement(statement) { statement._borrow = true; }
    ~Borrowed() { _statement.endBorrowing(); }
    Borrowed(const Borrowed&) = delete;
    Borrowed& operator=(const Borrowed&) = delete;

   private:
    Statement& _statement;
  };

  void runBound();
  void endBorrowing() noexcept;
  void check(int code, const char* doing) const;

  Database* _database;
  sqlite3_stmt* _handle;
  bool _borrow = false;  // bind without copying
};

}  // namespace tessera
