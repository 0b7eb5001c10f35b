#include "localmq/unit_of_work.h"

#include <algorithm>
#include <cstring>
#include <map>

#include "localmq/calls.h"
#include "localmq/command_server.h"
#include "localmq/descriptor.h"
#include "localmq/schema.h"

namespace localmq {
namespace {

// What a batch of puts does to one queue's row.
struct QueueChange {
  std::int64_t Added{0};
  std::int64_t LastKey{0};
  std::int64_t Disorder{0};
};

MQLONG ReserveArrivals(Database& data, std::size_t count, std::int64_t& first) {
  Statement counter(data, "UPDATE counter SET arrival = arrival + ?1 RETURNING arrival - ?1");
  if (!counter.Bind(1, static_cast<std::int64_t>(count)).Step()) return counter.Reason();
  first = counter.Int64(0);
  return counter.Run();
}

MQLONG InsertMessages(Database& data, std::span<PendingPut> puts, std::int64_t arrival,
                      std::map<std::int64_t, QueueChange>& changes) {
  Statement insert(
      data, "INSERT INTO message(key, expires, backouts, persistent, descriptor, data) VALUES(?1, ?2, 0, ?3, ?4, ?5)");
  for (const PendingPut& put : puts) {
    const std::int64_t key = MessageKey(put.QueueId, put.Descriptor.Priority, arrival++);
    QueueChange& change = changes[put.QueueId];
    ++change.Added;
    if (key < change.LastKey) change.Disorder = 1;
    change.LastKey = std::max(change.LastKey, key);
    std::uint8_t descriptor[sizeof put.Descriptor];
    std::memcpy(descriptor, &put.Descriptor, sizeof descriptor);
    insert.Bind(1, key).Bind(2, put.Expires);
    insert.Bind(3, std::int64_t{put.Descriptor.Persistence});
    insert.Bind(4, std::span<const std::uint8_t>(descriptor)).Bind(5, std::span<const std::uint8_t>(put.Data));
    if (const MQLONG reason = insert.Run(); reason != MQRC_NONE) return reason;
  }
  return MQRC_NONE;
}

MQLONG RemoveHeld(Connection& connection) {
  if (connection.Unit.Gets.empty()) return MQRC_NONE;
  std::map<std::int64_t, std::int64_t> removed;
  Statement remove(connection.Data(), "DELETE FROM message WHERE key = ?");
  for (const HeldMessage& held : connection.Unit.Gets) {
    if (const MQLONG reason = remove.Bind(1, held.Key).Run(); reason != MQRC_NONE) return reason;
    ++removed[QueueOfKey(held.Key)];
  }
  for (const auto& [id, count] : removed) {
    Statement depth(connection.Data(), "UPDATE queue SET depth = depth - ? WHERE id = ?");
    if (const MQLONG reason = depth.Bind(1, count).Bind(2, id).Run(); reason != MQRC_NONE) return reason;
  }
  Statement release(connection.Data(), "DELETE FROM held WHERE connection = ?");
  return release.Bind(1, connection.Member.Id()).Run();
}

Transaction::Durability DurabilityOf(std::span<const PendingPut> puts, std::span<const HeldMessage> gets) {
  const bool persistent =
      std::any_of(puts.begin(), puts.end(), [](const PendingPut& put) { return put.Descriptor.Persistence == 1; }) ||
      std::any_of(gets.begin(), gets.end(), [](const HeldMessage& get) { return get.Persistent; });
  return persistent ? Transaction::Durability::kDisk : Transaction::Durability::kProcess;
}

void AddReplies(Connection& connection, const MQMD& request, const std::vector<std::vector<std::uint8_t>>& replies,
                std::vector<PendingPut>& puts) {
  // A reply that has nowhere to go is dropped, as the command server's caller did not say where to.
  Queue queue;
  const std::string name = FieldText(request.ReplyToQ, sizeof request.ReplyToQ);
  if (connection.QueueManager->FindQueue(name, queue) != MQRC_NONE || queue.Attributes.Type != MQQT_LOCAL) return;
  MQMD descriptor;
  descriptor.MsgType = MQMT_REPLY;
  SetField(descriptor.Format, sizeof descriptor.Format, MQFMT_ADMIN);
  descriptor.Priority = request.Priority;
  descriptor.Persistence = MQPER_NOT_PERSISTENT;
  std::memcpy(descriptor.CorrelId, request.MsgId, sizeof descriptor.CorrelId);
  for (const auto& reply : replies) {
    PendingPut put;
    put.QueueId = queue.Id;
    put.Descriptor = CompleteDescriptor(connection, descriptor, MQPMO_NEW_MSG_ID, nullptr);
    put.Data = reply;
    puts.push_back(std::move(put));
  }
}

// The messages to write: those given, with the replies of the command server in place of the requests that it answers.
// `answered` holds them when there are any.
std::span<PendingPut> WithAnswers(Connection& connection, std::span<PendingPut> puts,
                                  std::vector<PendingPut>& answered) {
  if (std::none_of(puts.begin(), puts.end(), [](const PendingPut& put) { return put.Command; })) return puts;
  for (const PendingPut& put : puts) {
    const auto replies = put.Command ? AnswerCommand(*connection.QueueManager, put.Data, put.Descriptor)
                                     : std::vector<std::vector<std::uint8_t>>();
    if (replies.empty()) {
      answered.push_back(put);
    } else {
      AddReplies(connection, put.Descriptor, replies, answered);
    }
  }
  return answered;
}

// Ends the unit of work by returning what it got; what it put is forgotten.
MQLONG ReturnUnit(Connection& connection) {
  if (!connection.Unit.Gets.empty()) {
    Transaction transaction(connection.Data(), Transaction::Durability::kProcess);
    MQLONG reason = transaction.Reason();
    if (reason == MQRC_NONE) reason = ReturnHeldMessages(connection.Data(), connection.Member.Id());
    if (reason == MQRC_NONE) reason = transaction.Commit();
    if (reason != MQRC_NONE) return reason;
    connection.ForgetReaders(0);
  }
  connection.Unit = {};
  return MQRC_NONE;
}

}  // namespace

MQLONG HoldMessage(Connection& connection, const Message& message) {
  Statement statement(connection.Data(), "INSERT INTO held(key, connection) VALUES(?, ?)");
  return statement.Bind(1, message.Key).Bind(2, connection.Member.Id()).Run();
}

MQLONG RemoveMessage(Database& data, std::int64_t key) {
  Statement remove(data, "DELETE FROM message WHERE key = ?");
  if (const MQLONG reason = remove.Bind(1, key).Run(); reason != MQRC_NONE) return reason;
  Statement depth(data, "UPDATE queue SET depth = depth - 1 WHERE id = ?");
  return depth.Bind(1, QueueOfKey(key)).Run();
}

MQLONG WriteMessages(Connection& connection, std::span<PendingPut> puts) {
  if (puts.empty()) return MQRC_NONE;
  Database& data = connection.Data();
  std::int64_t arrival = 0;
  if (const MQLONG reason = ReserveArrivals(data, puts.size(), arrival); reason != MQRC_NONE) return reason;
  std::map<std::int64_t, QueueChange> changes;
  for (const PendingPut& put : puts) {
    if (changes.contains(put.QueueId)) continue;
    Statement last(data, "SELECT lastkey FROM queue WHERE id = ?");
    if (!last.Bind(1, put.QueueId).Step()) return last.Reason() == MQRC_NONE ? MQRC_Q_DELETED : last.Reason();
    changes[put.QueueId].LastKey = last.Int64(0);
  }
  if (const MQLONG reason = InsertMessages(data, puts, arrival, changes); reason != MQRC_NONE) return reason;
  for (const auto& [id, change] : changes) {
    Statement update(data, "UPDATE queue SET depth = depth + ?2, lastkey = ?3, disorder = disorder + ?4 WHERE id = ?1");
    update.Bind(1, id).Bind(2, change.Added).Bind(3, change.LastKey).Bind(4, change.Disorder);
    if (const MQLONG reason = update.Run(); reason != MQRC_NONE) return reason;
    if (change.Disorder != 0) connection.ForgetReaders(id);
  }
  return MQRC_NONE;
}

MQLONG PutNow(Connection& connection, std::span<PendingPut> given) {
  std::vector<PendingPut> answered;
  const std::span<PendingPut> puts = WithAnswers(connection, given, answered);
  Transaction transaction(connection.Data(), DurabilityOf(puts, {}));
  MQLONG reason = transaction.Reason();
  if (reason == MQRC_NONE) reason = WriteMessages(connection, puts);
  return reason == MQRC_NONE ? transaction.Commit() : reason;
}

Outcome Commit(Connection& connection) {
  UnitOfWork& unit = connection.Unit;
  if (unit.Empty()) return Done();
  std::vector<PendingPut> answered;
  const std::span<PendingPut> puts = WithAnswers(connection, unit.Puts, answered);
  MQLONG reason = MQRC_NONE;
  if (!unit.Doomed) {
    Transaction transaction(connection.Data(), DurabilityOf(puts, unit.Gets));
    reason = transaction.Reason();
    if (reason == MQRC_NONE) reason = WriteMessages(connection, puts);
    if (reason == MQRC_NONE) reason = RemoveHeld(connection);
    if (reason == MQRC_NONE) reason = transaction.Commit();
  }
  if (reason == MQRC_Q_DELETED || unit.Doomed) {
    // The unit can never be committed, so it ends the other way.
    reason = ReturnUnit(connection);
    return reason == MQRC_NONE ? Warning(MQRC_BACKED_OUT) : Failed(reason);
  }
  if (reason != MQRC_NONE) return Failed(reason);
  unit = {};
  return Done();
}

Outcome BackOut(Connection& connection) { return OutcomeOf(ReturnUnit(connection)); }

}  // namespace localmq
