#include "localmq/connections.h"

#include <filesystem>
#include <random>
#include <vector>

#include "localmq/schema.h"

namespace localmq {
namespace {

namespace fs = std::filesystem;

std::string LockPath(const Store& store, const std::string& token) {
  return (fs::path(store.Directory()) / (token + ".lock")).string();
}

std::string NewToken() {
  std::random_device random;
  constexpr char digits[] = "0123456789abcdef";
  std::string token;
  for (int i = 0; i < 4; ++i) {
    for (unsigned value = random(), n = 0; n < 8; ++n, value >>= 4) token += digits[value & 15];
  }
  return token;
}

struct Member {
  std::int64_t Id;
  std::string Token;
};

MQLONG RemoveConnectionRows(Database& data, std::int64_t id) {
  MQLONG reason = RemoveTemporaryQueues(data, id);
  if (reason == 0) reason = Statement(data, "DELETE FROM handle WHERE connection = ?").Bind(1, id).Run();
  if (reason == 0) reason = Statement(data, "DELETE FROM connection WHERE id = ?").Bind(1, id).Run();
  return reason;
}

}  // namespace

MQLONG ReturnHeldMessages(Database& data, std::int64_t connection) {
  // The queues first: once the messages are no longer held nothing tells whose they were.
  Statement queues(data,
                   "UPDATE queue SET disorder = disorder + 1 WHERE id IN (SELECT DISTINCT key >> 43 FROM held "
                   "WHERE connection = ?)");
  static_assert(kArrivalBits + kPriorityBits == 43);
  MQLONG reason = queues.Bind(1, connection).Run();
  Statement count(
      data, "UPDATE message SET backouts = backouts + 1 WHERE key IN (SELECT key FROM held WHERE connection = ?)");
  if (reason == MQRC_NONE) reason = count.Bind(1, connection).Run();
  Statement release(data, "DELETE FROM held WHERE connection = ?");
  if (reason == MQRC_NONE) reason = release.Bind(1, connection).Run();
  return reason;
}

MQLONG RemoveTemporaryQueues(Database& data, std::int64_t connection) {
  std::vector<std::int64_t> owned;
  {
    Statement queues(data, "SELECT id FROM queue WHERE owner = ?");
    queues.Bind(1, connection);
    while (queues.Step()) owned.push_back(queues.Int64(0));
  }
  for (const std::int64_t id : owned) {
    Statement messages(data, "DELETE FROM message WHERE key BETWEEN ? AND ?");
    MQLONG reason = messages.Bind(1, FirstKey(id)).Bind(2, LastKey(id)).Run();
    if (reason == MQRC_NONE) reason = Statement(data, "DELETE FROM queue WHERE id = ?").Bind(1, id).Run();
    if (reason != MQRC_NONE) return reason;
  }
  return MQRC_NONE;
}

MQLONG BackOutDeadConnections(Store& store, bool* found) {
  Database& data = store.Data();
  std::vector<Member> members;
  {
    Statement statement(data, "SELECT id, token FROM connection");
    while (statement.Step()) members.push_back({statement.Int64(0), statement.Text(1)});
    if (statement.Reason() != MQRC_NONE) return statement.Reason();
  }
  for (const Member& member : members) {
    LockFile lock;
    if (!lock.Acquire(LockPath(store, member.Token))) continue;
    Transaction transaction(data, Transaction::Durability::kProcess);
    MQLONG reason = transaction.Reason();
    if (reason == MQRC_NONE) reason = ReturnHeldMessages(data, member.Id);
    if (reason == MQRC_NONE) reason = RemoveConnectionRows(data, member.Id);
    if (reason == MQRC_NONE) reason = transaction.Commit();
    if (reason != MQRC_NONE) return reason;
    if (found != nullptr) *found = true;
    lock.Release();
    std::error_code error;
    fs::remove(LockPath(store, member.Token), error);
  }
  return MQRC_NONE;
}

MQLONG Membership::Register(Store& store, std::string_view application) {
  if (const MQLONG reason = BackOutDeadConnections(store); reason != MQRC_NONE) return reason;
  token_ = NewToken();
  // The lock comes before the row, so that no row is ever without a lock while its process lives.
  if (!lock_.Acquire(LockPath(store, token_))) return MQRC_RESOURCE_PROBLEM;
  Transaction transaction(store.Data(), Transaction::Durability::kProcess);
  if (transaction.Reason() != MQRC_NONE) return transaction.Reason();
  Statement insert(store.Data(), "INSERT INTO connection(token, process, application) VALUES(?, ?, ?) RETURNING id");
  insert.Bind(1, std::string_view(token_)).Bind(2, ProcessNumber()).Bind(3, application);
  if (!insert.Step()) return insert.Reason();
  id_ = insert.Int64(0);
  while (insert.Step()) {
  }
  return transaction.Commit();
}

void Membership::Leave(Store& store) {
  {
    Transaction transaction(store.Data(), Transaction::Durability::kProcess);
    if (RemoveConnectionRows(store.Data(), id_) == MQRC_NONE) transaction.Commit();
  }
  lock_.Release();
  std::error_code error;
  fs::remove(LockPath(store, token_), error);
}

}  // namespace localmq
