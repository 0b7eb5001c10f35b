#pragma once

// A thin layer over SQLite: an open database, prepared statements that are made once and reused, and transactions that
// roll back unless they are committed. Nothing here throws; a failed step is remembered as the database's last error
// and shows as a reason code.

#include <sqlite3.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>

#include "mq/mqi.h"

namespace localmq {

class Database;

// A prepared statement in use. Values are bound in order of their numbers, from 1; columns count from 0. The statement
// goes back to its database when this object ends. Texts and blobs bound must live until then.
class Statement {
 public:
  Statement(Database& database, const char* sql);
  ~Statement();
  Statement(const Statement&) = delete;
  Statement& operator=(const Statement&) = delete;

  Statement& Bind(int number, std::int64_t value);
  Statement& Bind(int number, std::string_view text);
  Statement& Bind(int number, std::span<const std::uint8_t> blob);

  // Moves to the next row; false at the end and on failure (Reason() tells which).
  bool Step();
  // Runs a statement that gives no rows, and makes it ready to be bound and run again.
  MQLONG Run();
  // MQRC_NONE, or the reason that stands for the failure of the last step.
  MQLONG Reason() const { return reason_; }
  void Reset();

  std::int64_t Int64(int column) const { return sqlite3_column_int64(statement_, column); }
  MQLONG Long(int column) const { return static_cast<MQLONG>(sqlite3_column_int64(statement_, column)); }
  std::string Text(int column) const;
  // Valid until the next step.
  std::span<const std::uint8_t> Blob(int column) const;

 private:
  Database& database_;
  const char* sql_{nullptr};
  sqlite3_stmt* statement_{nullptr};
  MQLONG reason_{0};
};

class Database {
 public:
  Database() = default;
  ~Database();
  Database(const Database&) = delete;
  Database& operator=(const Database&) = delete;

  // Opens the file, which must exist unless `create`. MQRC_FILE_SYSTEM_ERROR when it cannot be opened.
  MQLONG Open(const std::string& path, bool create);
  // Runs statements that give no rows.
  MQLONG Execute(const char* sql);
  // A number that changes whenever another connection to this database, in any process, has committed a change.
  std::int64_t DataVersion();
  // The same without asking the database each time: changes made in this process count at once, those of other
  // processes within two milliseconds. Enough for reading ahead while browsing, which never shows more than what was
  // there a moment ago; not enough before anything is taken, or to say that nothing is there.
  std::int64_t RecentDataVersion();
  // How many rows the last statement changed.
  std::int64_t Changes() const { return sqlite3_changes64(handle_); }
  std::string LastError() const;
  bool InTransaction() const { return sqlite3_get_autocommit(handle_) == 0; }

 private:
  friend class Statement;
  friend class Transaction;

  // Whether a commit waits until its bytes are on the disk.
  void SetDurable(bool durable);
  MQLONG ReasonOf(int code);

  sqlite3* handle_{nullptr};
  bool durable_{true};
  std::int64_t version_{-1};         // as last read
  std::uint64_t versionChanges_{0};  // how many changes this process had made by then
  std::chrono::steady_clock::time_point versionTime_;
  std::unordered_map<const char*, sqlite3_stmt*> prepared_;
};

// A write transaction, from construction to Commit() or to the end of the object, which rolls back. Inside another one
// it is a part of that one. A durable transaction is on the disk when Commit() returns; any other survives the death of
// the process, but not of the machine.
class Transaction {
 public:
  enum class Durability { kProcess, kDisk };

  explicit Transaction(Database& database, Durability durability = Durability::kDisk);
  ~Transaction();
  Transaction(const Transaction&) = delete;
  Transaction& operator=(const Transaction&) = delete;

  // The reason why the transaction could not begin, or MQRC_NONE.
  MQLONG Reason() const { return reason_; }
  MQLONG Commit();

 private:
  Database& database_;
  MQLONG reason_{0};
  bool open_{false};
};

}  // namespace localmq
