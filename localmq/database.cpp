#include "localmq/database.h"

#include <atomic>
#include <chrono>
#include <thread>

namespace localmq {
namespace {

constexpr int kBusyLimit = 60000;  // attempts, a millisecond apart
constexpr std::chrono::milliseconds kRecent{2};

// How many transactions this process has committed, on whatever database.
std::atomic<std::uint64_t> changesOfProcess{0};

// Called when another process has the write lock. Writers hold it for a commit's length only, so short sleeps get
// through sooner than the growing ones that SQLite would use.
int WaitForWriter(void*, int attempts) {
  if (attempts >= kBusyLimit) return 0;
  std::this_thread::sleep_for(std::chrono::milliseconds(1));
  return 1;
}

}  // namespace

Statement::Statement(Database& database, const char* sql) : database_(database) {
  auto slot = database.prepared_.find(sql);
  if (slot != database.prepared_.end() && slot->second != nullptr) {
    statement_ = slot->second;
    slot->second = nullptr;
    sql_ = sql;
    return;
  }
  const int code = sqlite3_prepare_v3(database.handle_, sql, -1, SQLITE_PREPARE_PERSISTENT, &statement_, nullptr);
  if (code != SQLITE_OK) reason_ = database.ReasonOf(code);
  sql_ = sql;
}

Statement::~Statement() {
  if (statement_ == nullptr) return;
  sqlite3_reset(statement_);
  sqlite3_clear_bindings(statement_);
  sqlite3_stmt*& slot = database_.prepared_[sql_];
  if (slot == nullptr) {
    slot = statement_;
  } else {
    sqlite3_finalize(statement_);
  }
}

Statement& Statement::Bind(int number, std::int64_t value) {
  sqlite3_bind_int64(statement_, number, value);
  return *this;
}

Statement& Statement::Bind(int number, std::string_view text) {
  // A null pointer would bind NULL where an empty text is meant.
  sqlite3_bind_text64(statement_, number, text.empty() ? "" : text.data(), text.size(), SQLITE_STATIC, SQLITE_UTF8);
  return *this;
}

Statement& Statement::Bind(int number, std::span<const std::uint8_t> blob) {
  static const char empty[1] = {0};
  const void* bytes = blob.empty() ? static_cast<const void*>(empty) : blob.data();
  sqlite3_bind_blob64(statement_, number, bytes, blob.size(), SQLITE_STATIC);
  return *this;
}

bool Statement::Step() {
  if (statement_ == nullptr) return false;
  const int code = sqlite3_step(statement_);
  reason_ = code == SQLITE_ROW || code == SQLITE_DONE ? MQRC_NONE : database_.ReasonOf(code);
  return code == SQLITE_ROW;
}

MQLONG Statement::Run() {
  while (Step()) {
  }
  Reset();
  return reason_;
}

void Statement::Reset() {
  if (statement_ != nullptr) sqlite3_reset(statement_);
}

std::string Statement::Text(int column) const {
  const unsigned char* text = sqlite3_column_text(statement_, column);
  return text == nullptr ? std::string()
                         : std::string(reinterpret_cast<const char*>(text),
                                       static_cast<std::size_t>(sqlite3_column_bytes(statement_, column)));
}

std::span<const std::uint8_t> Statement::Blob(int column) const {
  const void* bytes = sqlite3_column_blob(statement_, column);
  return {static_cast<const std::uint8_t*>(bytes), static_cast<std::size_t>(sqlite3_column_bytes(statement_, column))};
}

Database::~Database() {
  for (auto& [sql, statement] : prepared_) sqlite3_finalize(statement);
  sqlite3_close_v2(handle_);
}

MQLONG Database::Open(const std::string& path, bool create) {
  const int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX | (create ? SQLITE_OPEN_CREATE : 0);
  if (sqlite3_open_v2(path.c_str(), &handle_, flags, nullptr) != SQLITE_OK) return MQRC_FILE_SYSTEM_ERROR;
  sqlite3_busy_handler(handle_, WaitForWriter, nullptr);
  if (create) {
    if (const MQLONG reason = Execute("PRAGMA page_size=8192; PRAGMA journal_mode=WAL"); reason != 0) return reason;
  }
  // A temporary store in memory keeps every file of a queue manager in its folder.
  const MQLONG reason = Execute("PRAGMA synchronous=FULL; PRAGMA temp_store=MEMORY; PRAGMA wal_autocheckpoint=4000");
  return reason == MQRC_NONE ? MQRC_NONE : MQRC_FILE_SYSTEM_ERROR;
}

MQLONG Database::Execute(const char* sql) {
  const int code = sqlite3_exec(handle_, sql, nullptr, nullptr, nullptr);
  return code == SQLITE_OK ? MQRC_NONE : ReasonOf(code);
}

std::int64_t Database::DataVersion() {
  versionChanges_ = changesOfProcess.load();
  versionTime_ = std::chrono::steady_clock::now();
  Statement statement(*this, "PRAGMA data_version");
  version_ = statement.Step() ? statement.Int64(0) : -1;
  return version_;
}

std::int64_t Database::RecentDataVersion() {
  const bool recent = versionChanges_ == changesOfProcess.load() &&
                      std::chrono::steady_clock::now() - versionTime_ < kRecent && version_ >= 0;
  return recent ? version_ : DataVersion();
}

std::string Database::LastError() const { return handle_ == nullptr ? std::string() : sqlite3_errmsg(handle_); }

void Database::SetDurable(bool durable) {
  if (durable == durable_) return;
  durable_ = durable;
  Execute(durable ? "PRAGMA synchronous=FULL" : "PRAGMA synchronous=NORMAL");
}

MQLONG Database::ReasonOf(int code) {
  switch (code & 0xff) {
    case SQLITE_FULL:
      return MQRC_STORAGE_MEDIUM_FULL;
    case SQLITE_NOMEM:
      return MQRC_STORAGE_NOT_AVAILABLE;
    case SQLITE_TOOBIG:
      return MQRC_MSG_TOO_BIG_FOR_Q_MGR;
    case SQLITE_CORRUPT:
    case SQLITE_NOTADB:
      return MQRC_OBJECT_DAMAGED;
    case SQLITE_BUSY:
    case SQLITE_IOERR:
    case SQLITE_READONLY:
    case SQLITE_CANTOPEN:
      return MQRC_RESOURCE_PROBLEM;
    default:
      return MQRC_UNEXPECTED_ERROR;
  }
}

Transaction::Transaction(Database& database, Durability durability) : database_(database) {
  if (database.InTransaction()) return;
  database.SetDurable(durability == Durability::kDisk);
  Statement begin(database, "BEGIN IMMEDIATE");
  reason_ = begin.Run();
  open_ = reason_ == MQRC_NONE;
}

Transaction::~Transaction() {
  if (open_) Statement(database_, "ROLLBACK").Run();
}

MQLONG Transaction::Commit() {
  if (!open_) return reason_;
  Statement commit(database_, "COMMIT");
  const MQLONG reason = commit.Run();
  if (reason == MQRC_NONE) {
    open_ = false;
    // This database's version tells of the changes of others only, so its own change leaves what it knows true.
    const std::uint64_t before = changesOfProcess.fetch_add(1);
    if (database_.versionChanges_ == before) database_.versionChanges_ = before + 1;
  }
  return reason;
}

}  // namespace localmq
