#include "localmq/store.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "common/member.h"
#include "localmq/connections.h"
#include "localmq/platform.h"
#include "localmq/schema.h"

namespace localmq {
namespace {

namespace fs = std::filesystem;

constexpr char kDatabaseFile[] = "queues.db";
constexpr char kDefaultFile[] = "default";

// The columns of an object's table that hold its attributes; texts first, then numbers.
template <typename Attributes>
struct Columns {
  struct TextColumn {
    const char* Name;
    Member<Attributes, std::string> Field;
  };
  struct LongColumn {
    const char* Name;
    Member<Attributes, MQLONG> Field;
  };
  std::vector<TextColumn> Texts;
  std::vector<LongColumn> Longs;

  // "a, b, c" of all columns, each followed by `suffix`.
  std::string Names(const std::string& suffix = {}) const {
    std::string names;
    const auto append = [&](const char* name) { names += (names.empty() ? "" : ", ") + std::string(name) + suffix; };
    for (const auto& column : Texts) append(column.Name);
    for (const auto& column : Longs) append(column.Name);
    return names;
  }

  std::string Marks() const {
    std::string marks;
    for (std::size_t i = 0; i < Texts.size() + Longs.size(); ++i) marks += i == 0 ? "?" : ", ?";
    return marks;
  }

  // Binds all columns from parameter 1; returns the number of the next parameter.
  int Bind(Statement& statement, const Attributes& attributes) const {
    int number = 1;
    for (const auto& column : Texts) statement.Bind(number++, std::string_view(attributes.*column.Field));
    for (const auto& column : Longs) statement.Bind(number++, std::int64_t{attributes.*column.Field});
    return number;
  }

  // Reads all columns from column 0; returns the number of the next column.
  int Read(const Statement& statement, Attributes& attributes) const {
    int number = 0;
    for (const auto& column : Texts) attributes.*column.Field = statement.Text(number++);
    for (const auto& column : Longs) attributes.*column.Field = statement.Long(number++);
    return number;
  }
};

const Columns<QueueAttributes>& QueueColumns() {
  using A = QueueAttributes;
  static const Columns<A> columns{{{"name", &A::Name},
                                   {"description", &A::Description},
                                   {"boqname", &A::BackoutRequeueName},
                                   {"target", &A::BaseName},
                                   {"rname", &A::RemoteName},
                                   {"rqmname", &A::RemoteQMgrName},
                                   {"xmitq", &A::XmitQName}},
                                  {{"type", &A::Type},
                                   {"inhibitput", &A::InhibitPut},
                                   {"inhibitget", &A::InhibitGet},
                                   {"defprty", &A::DefPriority},
                                   {"defpsist", &A::DefPersistence},
                                   {"maxdepth", &A::MaxDepth},
                                   {"maxmsgl", &A::MaxMsgLength},
                                   {"bothresh", &A::BackoutThreshold},
                                   {"share", &A::Shareability},
                                   {"defsopt", &A::DefInputOpenOption},
                                   {"deftype", &A::DefinitionType},
                                   {"usage", &A::Usage}}};
  return columns;
}

const Columns<QueueManagerAttributes>& QueueManagerColumns() {
  using A = QueueManagerAttributes;
  static const Columns<A> columns{{{"name", &A::Name},
                                   {"description", &A::Description},
                                   {"deadq", &A::DeadLetterQName},
                                   {"defxmitq", &A::DefXmitQName},
                                   {"commandq", &A::CommandInputQName},
                                   {"user", &A::User},
                                   {"password", &A::Password}},
                                  {{"ccsid", &A::CodedCharSetId},
                                   {"cmdlevel", &A::CommandLevel},
                                   {"platform", &A::Platform},
                                   {"maxmsgl", &A::MaxMsgLength},
                                   {"maxumsgs", &A::MaxUncommittedMsgs},
                                   {"maxcno", &A::MaxConnectVersion},
                                   {"asyncput", &A::AsyncPut},
                                   {"cmdserv", &A::CommandServer}}};
  return columns;
}

// Statements are kept by the address of their text, so the built ones live as long as the process.
const char* SelectQueueSql() {
  static const std::string sql = "SELECT " + QueueColumns().Names() + ", id FROM queue WHERE name = ?";
  return sql.c_str();
}
const char* ListQueuesSql() {
  static const std::string sql = "SELECT " + QueueColumns().Names() +
                                 ", id FROM queue WHERE name >= ?1 AND (?2 = 1001 OR type = ?2) ORDER BY name";
  return sql.c_str();
}
const char* InsertQueueSql() {
  static const std::string sql =
      "INSERT INTO queue(" + QueueColumns().Names() + ", id) VALUES(" + QueueColumns().Marks() + ", ?)";
  return sql.c_str();
}
const char* UpdateQueueSql() {
  static const std::string sql = "UPDATE queue SET " + QueueColumns().Names(" = ?") + " WHERE id = ?";
  return sql.c_str();
}
const char* SelectQueueManagerSql() {
  static const std::string sql = "SELECT " + QueueManagerColumns().Names() + " FROM qmgr";
  return sql.c_str();
}
const char* UpdateQueueManagerSql() {
  static const std::string sql = "UPDATE qmgr SET " + QueueManagerColumns().Names(" = ?");
  return sql.c_str();
}
const char* InsertQueueManagerSql() {
  static const std::string sql =
      "INSERT INTO qmgr(" + QueueManagerColumns().Names() + ") VALUES(" + QueueManagerColumns().Marks() + ")";
  return sql.c_str();
}

// A queue manager's folder name: its name, with what a file system may not like written as % and two hex digits. A
// lower-case letter is one of those, since some file systems take QM1 and qm1 for the same.
std::string FolderName(std::string_view name) {
  constexpr char digits[] = "0123456789abcdef";
  std::string folder;
  for (const char c : name) {
    if ((c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_') {
      folder += c;
    } else {
      folder += '%';
      folder += digits[static_cast<unsigned char>(c) >> 4];
      folder += digits[static_cast<unsigned char>(c) & 15];
    }
  }
  return folder;
}

std::string DirectoryOf(std::string_view name) { return (fs::path(DataDirectory()) / FolderName(name)).string(); }

std::string DatabaseIn(const std::string& directory) { return (fs::path(directory) / kDatabaseFile).string(); }

// The smallest way to a free queue number: one past the highest, else a gap.
MQLONG FreeQueueId(Database& data, std::int64_t& id) {
  Statement highest(data, "SELECT coalesce(max(id), 0) + 1 FROM queue");
  if (!highest.Step()) return highest.Reason();
  id = highest.Int64(0);
  if (id <= kMaxQueueId) return MQRC_NONE;
  Statement gap(data,
                "SELECT id + 1 FROM queue a WHERE NOT EXISTS(SELECT 1 FROM queue b WHERE b.id = a.id + 1) LIMIT 1");
  if (!gap.Step()) return gap.Reason();
  id = gap.Int64(0);
  return id <= kMaxQueueId ? MQRC_NONE : MQRC_RESOURCE_PROBLEM;
}

MQLONG CountHandles(Database& data, std::int64_t queueId, std::int64_t& count) {
  Statement statement(data, "SELECT count(*) FROM handle WHERE queue = ?");
  count = statement.Bind(1, queueId).Step() ? statement.Int64(0) : 0;
  return statement.Reason();
}

std::int64_t CountHeld(Database& data, std::int64_t queueId) {
  Statement statement(data, "SELECT count(*) FROM held WHERE key BETWEEN ? AND ?");
  return statement.Bind(1, FirstKey(queueId)).Bind(2, LastKey(queueId)).Step() ? statement.Int64(0) : 0;
}

MQLONG RemoveMessages(Database& data, std::int64_t queueId) {
  Statement messages(data, "DELETE FROM message WHERE key BETWEEN ? AND ?");
  if (const MQLONG reason = messages.Bind(1, FirstKey(queueId)).Bind(2, LastKey(queueId)).Run(); reason != 0)
    return reason;
  return Statement(data, "UPDATE queue SET depth = 0 WHERE id = ?").Bind(1, queueId).Run();
}

MQLONG DefineSystemQueues(Store& store) {
  QueueAttributes local;
  local.MaxDepth = 999999999;
  for (const char* name : {"SYSTEM.ADMIN.COMMAND.QUEUE", "SYSTEM.DEAD.LETTER.QUEUE", "SYSTEM.DEFAULT.LOCAL.QUEUE"}) {
    local.Name = name;
    if (const MQLONG reason = store.DefineQueue(local, true); reason != MQRC_NONE) return reason;
  }
  QueueAttributes model;
  model.Name = "SYSTEM.DEFAULT.MODEL.QUEUE";
  model.Type = MQQT_MODEL;
  model.DefinitionType = MQQDT_TEMPORARY_DYNAMIC;
  return store.DefineQueue(model, true);
}

}  // namespace

std::string DataDirectory() {
  if (const char* folder = std::getenv("LOCALMQ_DATA"); folder != nullptr && folder[0] != '\0') return folder;
  return (fs::path(UserDataDirectory()) / "localmq").string();
}

std::vector<std::string> ListQueueManagers() {
  std::vector<std::string> names;
  std::error_code error;
  for (const auto& entry : fs::directory_iterator(DataDirectory(), error)) {
    Database data;
    if (!fs::exists(entry.path() / kDatabaseFile, error)) continue;
    if (data.Open((entry.path() / kDatabaseFile).string(), false) != MQRC_NONE) continue;
    Statement statement(data, "SELECT name FROM qmgr");
    if (statement.Step()) names.push_back(statement.Text(0));
  }
  std::sort(names.begin(), names.end());
  return names;
}

MQLONG CreateQueueManager(const QueueManagerAttributes& attributes, bool makeDefault) {
  if (!IsValidName(attributes.Name)) return MQRC_Q_MGR_NAME_ERROR;
  const fs::path directory = DirectoryOf(attributes.Name);
  std::error_code error;
  if (fs::exists(directory, error)) return MQRC_OBJECT_ALREADY_EXISTS;

  // Made in a folder of another name and renamed when it is whole, so that nobody ever opens half a queue manager.
  const fs::path draft = directory.string() + ".draft" + std::to_string(ProcessNumber());
  fs::remove_all(draft, error);
  if (!fs::create_directories(draft, error)) return MQRC_FILE_SYSTEM_ERROR;
  MQLONG reason = MQRC_NONE;
  {
    Database data;
    reason = data.Open(DatabaseIn(draft.string()), true);
    if (reason == MQRC_NONE) reason = data.Execute(kSchema);
    if (reason == MQRC_NONE) {
      Statement insert(data, InsertQueueManagerSql());
      QueueManagerColumns().Bind(insert, attributes);
      reason = insert.Run();
    }
  }
  if (reason == MQRC_NONE) {
    fs::rename(draft, directory, error);
    if (error) reason = fs::exists(directory) ? MQRC_OBJECT_ALREADY_EXISTS : MQRC_FILE_SYSTEM_ERROR;
  }
  if (reason != MQRC_NONE) {
    fs::remove_all(draft, error);
    return reason;
  }

  std::unique_ptr<Store> store;
  reason = Store::Open(attributes.Name, store);
  if (reason == MQRC_NONE) reason = DefineSystemQueues(*store);
  if (reason == MQRC_NONE && makeDefault) {
    std::ofstream file(fs::path(DataDirectory()) / kDefaultFile, std::ios::trunc);
    file << attributes.Name << '\n';
    if (!file.flush()) reason = MQRC_FILE_SYSTEM_ERROR;
  }
  return reason;
}

MQLONG DeleteQueueManager(std::string_view name) {
  std::unique_ptr<Store> store;
  if (const MQLONG reason = Store::Open(name, store); reason != MQRC_NONE) return reason;
  {
    Transaction transaction(store->Data());
    if (transaction.Reason() != MQRC_NONE) return transaction.Reason();
    BackOutDeadConnections(*store);
    if (Statement(store->Data(), "SELECT 1 FROM connection").Step()) return MQRC_OBJECT_IN_USE;
  }
  const std::string directory = store->Directory();
  const bool isDefault = DefaultQueueManager() == store->Name();
  store.reset();
  std::error_code error;
  fs::remove_all(directory, error);
  if (!error && isDefault) fs::remove(fs::path(DataDirectory()) / kDefaultFile, error);
  return error ? MQRC_FILE_SYSTEM_ERROR : MQRC_NONE;
}

std::string DefaultQueueManager() {
  std::ifstream file(fs::path(DataDirectory()) / kDefaultFile);
  std::string name;
  std::getline(file, name);
  return IsValidName(name) ? name : std::string();
}

bool IsValidName(std::string_view name) {
  constexpr std::string_view allowed = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789./_%";
  return !name.empty() && name.size() <= 48 && name.find_first_not_of(allowed) == std::string_view::npos;
}

bool MatchesGenericName(std::string_view name, std::string_view pattern) {
  if (!pattern.empty() && pattern.back() == '*') return name.starts_with(pattern.substr(0, pattern.size() - 1));
  return name == pattern;
}

MQLONG Store::Open(std::string_view name, std::unique_ptr<Store>& store) {
  const std::string wanted = name.empty() ? DefaultQueueManager() : std::string(name);
  if (!IsValidName(wanted)) return MQRC_Q_MGR_NAME_ERROR;
  const std::string directory = DirectoryOf(wanted);
  std::error_code error;
  if (!fs::exists(DatabaseIn(directory), error)) return MQRC_Q_MGR_NAME_ERROR;
  std::unique_ptr<Store> opened(new Store(wanted, directory));
  if (const MQLONG reason = opened->database_.Open(DatabaseIn(directory), false); reason != MQRC_NONE) return reason;
  store = std::move(opened);
  return MQRC_NONE;
}

MQLONG Store::ReadQueueManager(QueueManagerAttributes& attributes) {
  Statement statement(database_, SelectQueueManagerSql());
  if (!statement.Step()) return statement.Reason() == MQRC_NONE ? MQRC_OBJECT_DAMAGED : statement.Reason();
  QueueManagerColumns().Read(statement, attributes);
  return MQRC_NONE;
}

MQLONG Store::AlterQueueManager(const QueueManagerAttributes& attributes) {
  QueueManagerAttributes stored = attributes;
  stored.Name = name_;
  Statement statement(database_, UpdateQueueManagerSql());
  QueueManagerColumns().Bind(statement, stored);
  return statement.Run();
}

MQLONG Store::FindQueue(std::string_view name, Queue& queue) {
  Statement statement(database_, SelectQueueSql());
  if (!statement.Bind(1, name).Step())
    return statement.Reason() == MQRC_NONE ? MQRC_UNKNOWN_OBJECT_NAME : statement.Reason();
  const int next = QueueColumns().Read(statement, queue.Attributes);
  queue.Id = statement.Int64(next);
  return MQRC_NONE;
}

MQLONG Store::ListQueues(std::string_view pattern, MQLONG type, std::vector<Queue>& queues) {
  const bool generic = !pattern.empty() && pattern.back() == '*';
  const std::string_view prefix = pattern.substr(0, pattern.size() - (generic ? 1 : 0));
  Statement statement(database_, ListQueuesSql());
  statement.Bind(1, prefix).Bind(2, std::int64_t{type});
  while (statement.Step()) {
    Queue queue;
    const int next = QueueColumns().Read(statement, queue.Attributes);
    queue.Id = statement.Int64(next);
    if (!queue.Attributes.Name.starts_with(prefix)) break;
    if (MatchesGenericName(queue.Attributes.Name, pattern)) queues.push_back(std::move(queue));
  }
  return statement.Reason();
}

MQLONG Store::DefineQueue(const QueueAttributes& attributes, bool replace) {
  if (!IsValidName(attributes.Name)) return MQRC_OBJECT_NAME_ERROR;
  Transaction transaction(database_);
  if (transaction.Reason() != MQRC_NONE) return transaction.Reason();
  Queue existing;
  MQLONG reason = FindQueue(attributes.Name, existing);
  if (reason == MQRC_NONE) {
    if (!replace) return MQRC_OBJECT_ALREADY_EXISTS;
    reason = AlterQueue(attributes);
  } else if (reason == MQRC_UNKNOWN_OBJECT_NAME) {
    std::int64_t id = 0;
    if (reason = FreeQueueId(database_, id); reason != MQRC_NONE) return reason;
    Statement insert(database_, InsertQueueSql());
    const int next = QueueColumns().Bind(insert, attributes);
    reason = insert.Bind(next, id).Run();
  }
  return reason == MQRC_NONE ? transaction.Commit() : reason;
}

MQLONG Store::AlterQueue(const QueueAttributes& attributes) {
  Transaction transaction(database_);
  if (transaction.Reason() != MQRC_NONE) return transaction.Reason();
  Queue existing;
  if (const MQLONG reason = FindQueue(attributes.Name, existing); reason != MQRC_NONE) return reason;
  if (existing.Attributes.Type != attributes.Type) return MQRC_OBJECT_TYPE_ERROR;
  Statement update(database_, UpdateQueueSql());
  const int next = QueueColumns().Bind(update, attributes);
  const MQLONG reason = update.Bind(next, existing.Id).Run();
  return reason == MQRC_NONE ? transaction.Commit() : reason;
}

MQLONG Store::DeleteQueue(std::string_view name, bool purge) {
  Transaction transaction(database_);
  if (transaction.Reason() != MQRC_NONE) return transaction.Reason();
  BackOutDeadConnections(*this);
  Queue queue;
  if (const MQLONG reason = FindQueue(name, queue); reason != MQRC_NONE) return reason;
  std::int64_t handles = 0;
  if (const MQLONG reason = CountHandles(database_, queue.Id, handles); reason != MQRC_NONE) return reason;
  if (handles > 0 || CountHeld(database_, queue.Id) > 0) return MQRC_OBJECT_IN_USE;
  QueueStatus status;
  if (const MQLONG reason = ReadQueueStatus(name, status); reason != MQRC_NONE) return reason;
  if (status.Depth > 0 && !purge) return MQRC_Q_NOT_EMPTY;
  MQLONG reason = RemoveMessages(database_, queue.Id);
  if (reason == MQRC_NONE) reason = Statement(database_, "DELETE FROM queue WHERE id = ?").Bind(1, queue.Id).Run();
  return reason == MQRC_NONE ? transaction.Commit() : reason;
}

MQLONG Store::ClearQueue(std::string_view name) {
  Transaction transaction(database_);
  if (transaction.Reason() != MQRC_NONE) return transaction.Reason();
  BackOutDeadConnections(*this);
  Queue queue;
  if (const MQLONG reason = FindQueue(name, queue); reason != MQRC_NONE) return reason;
  if (queue.Attributes.Type != MQQT_LOCAL) return MQRC_OBJECT_TYPE_ERROR;
  std::int64_t handles = 0;
  if (const MQLONG reason = CountHandles(database_, queue.Id, handles); reason != MQRC_NONE) return reason;
  if (handles > 0 || CountHeld(database_, queue.Id) > 0) return MQRC_OBJECT_IN_USE;
  const MQLONG reason = RemoveMessages(database_, queue.Id);
  return reason == MQRC_NONE ? transaction.Commit() : reason;
}

MQLONG Store::ReadQueueStatus(std::string_view name, QueueStatus& status) {
  Queue queue;
  if (const MQLONG reason = FindQueue(name, queue); reason != MQRC_NONE) return reason;
  Statement depth(database_, "SELECT depth FROM queue WHERE id = ?");
  if (!depth.Bind(1, queue.Id).Step()) return depth.Reason();
  status.Depth = static_cast<MQLONG>(depth.Int64(0) - CountHeld(database_, queue.Id));
  depth.Reset();

  constexpr MQLONG inputOptions = MQOO_INPUT_AS_Q_DEF | MQOO_INPUT_SHARED | MQOO_INPUT_EXCLUSIVE;
  Statement handles(database_, "SELECT options FROM handle WHERE queue = ?");
  handles.Bind(1, queue.Id);
  status.OpenInputCount = status.OpenOutputCount = 0;
  while (handles.Step()) {
    if ((handles.Long(0) & inputOptions) != 0) ++status.OpenInputCount;
    if ((handles.Long(0) & MQOO_OUTPUT) != 0) ++status.OpenOutputCount;
  }

  Statement size(database_, "SELECT coalesce(sum(length(data) + 400), 0) FROM message WHERE key BETWEEN ? AND ?");
  if (!size.Bind(1, FirstKey(queue.Id)).Bind(2, LastKey(queue.Id)).Step()) return size.Reason();
  constexpr std::int64_t megabyte = 1024 * 1024;
  status.CurrentFileSize = static_cast<MQLONG>(size.Int64(0) / megabyte + 1);
  return MQRC_NONE;
}

}  // namespace localmq
