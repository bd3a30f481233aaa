#pragma once

namespace tessera {

class Database;

// One transaction: rolled back unless commit() was called, so an exception undoes
// everything since the construction. Not nestable.
// Threads: as its Database. Lifetime: must not outlive its Database.
class Transaction {
 public:
  enum class Kind {
    Read,   // sees one state of the database throughout
    Write,  // takes the write lock now, so that it cannot fail to upgrade later
  };

  Transaction(Database& database, Kind kind);
  ~Transaction();
  Transaction(const Transaction&) = delete;
  Transaction& operator=(const Transaction&) = delete;

  // Makes everything durable as the database's Durability says. When this throws,
  // the transaction is rolled back.
  void commit();

 private:
  Database& _database;
  bool _open = false;
};

}  // namespace tessera
