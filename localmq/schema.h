#pragma once

// How a queue manager lies in its database, and how a message's key is made up. The one place that says so.
//
// A message's key is its place in the delivery order of the whole queue manager: queue, then priority (highest first),
// then arrival. So a queue is a range of keys, reading it in order is a range scan, and putting to it appends. Arrival
// numbers come from one counter and are never used again, so a browse cursor is a key that stays meaningful when the
// message under it is gone.

#include <cstdint>

#include "mq/mqi.h"

namespace localmq {

inline constexpr int kArrivalBits = 39;
inline constexpr int kPriorityBits = 4;
inline constexpr std::int64_t kMaxQueueId = (std::int64_t{1} << (63 - kArrivalBits - kPriorityBits)) - 1;
inline constexpr MQLONG kMaxPriority = 9;

constexpr std::int64_t FirstKey(std::int64_t queueId) { return queueId << (kArrivalBits + kPriorityBits); }
constexpr std::int64_t LastKey(std::int64_t queueId) {
  return FirstKey(queueId) | ((std::int64_t{1} << (kArrivalBits + kPriorityBits)) - 1);
}
constexpr std::int64_t MessageKey(std::int64_t queueId, MQLONG priority, std::int64_t arrival) {
  return FirstKey(queueId) | (std::int64_t{kMaxPriority - priority} << kArrivalBits) | arrival;
}
constexpr std::int64_t QueueOfKey(std::int64_t key) { return key >> (kArrivalBits + kPriorityBits); }

// queue.depth counts the committed messages, also those that a unit of work holds. queue.disorder goes up whenever a
// message becomes available in front of queue.lastkey, the highest key ever put (by a higher priority, or a backout),
// so that a reader that remembers how far it has come knows when to look at the front again. queue.owner is the
// connection of a temporary dynamic queue. message.expires is in milliseconds since 1970, 0 for never. A row of `held`
// is a message that was got in a unit of work that is still open. `connection.token` names the lock file that is held
// while the connection's process lives.
inline constexpr char kSchema[] = R"(
CREATE TABLE qmgr(
  name TEXT NOT NULL, description TEXT NOT NULL, deadq TEXT NOT NULL, defxmitq TEXT NOT NULL, commandq TEXT NOT NULL,
  user TEXT NOT NULL, password TEXT NOT NULL, ccsid INTEGER NOT NULL, cmdlevel INTEGER NOT NULL,
  platform INTEGER NOT NULL, maxmsgl INTEGER NOT NULL, maxumsgs INTEGER NOT NULL, maxcno INTEGER NOT NULL,
  asyncput INTEGER NOT NULL, cmdserv INTEGER NOT NULL);
CREATE TABLE queue(
  id INTEGER PRIMARY KEY, name TEXT NOT NULL UNIQUE, description TEXT NOT NULL, boqname TEXT NOT NULL,
  target TEXT NOT NULL, rname TEXT NOT NULL, rqmname TEXT NOT NULL, xmitq TEXT NOT NULL, type INTEGER NOT NULL,
  inhibitput INTEGER NOT NULL, inhibitget INTEGER NOT NULL, defprty INTEGER NOT NULL, defpsist INTEGER NOT NULL,
  maxdepth INTEGER NOT NULL, maxmsgl INTEGER NOT NULL, bothresh INTEGER NOT NULL, share INTEGER NOT NULL,
  defsopt INTEGER NOT NULL, deftype INTEGER NOT NULL, usage INTEGER NOT NULL,
  depth INTEGER NOT NULL DEFAULT 0, lastkey INTEGER NOT NULL DEFAULT 0,
  disorder INTEGER NOT NULL DEFAULT 0, owner INTEGER NOT NULL DEFAULT 0);
CREATE TABLE message(
  key INTEGER PRIMARY KEY, expires INTEGER NOT NULL, backouts INTEGER NOT NULL, persistent INTEGER NOT NULL,
  descriptor BLOB NOT NULL, data BLOB NOT NULL);
CREATE TABLE held(key INTEGER PRIMARY KEY, connection INTEGER NOT NULL);
CREATE TABLE connection(
  id INTEGER PRIMARY KEY AUTOINCREMENT, token TEXT NOT NULL, process INTEGER NOT NULL, application TEXT NOT NULL);
CREATE TABLE handle(
  connection INTEGER NOT NULL, handle INTEGER NOT NULL, queue INTEGER NOT NULL, options INTEGER NOT NULL,
  PRIMARY KEY(connection, handle, queue)) WITHOUT ROWID;
CREATE INDEX handle_queue ON handle(queue);
CREATE TABLE counter(arrival INTEGER NOT NULL);
INSERT INTO counter VALUES(1);
)";

}  // namespace localmq
