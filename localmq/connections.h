#pragma once

// Who is connected to a queue manager. Each connection has a row in the database and a lock file that it holds for its
// life; a row whose lock file can be had belongs to a process that died, and its open unit of work is backed out by
// whoever notices: what it got returns to its queue with the backout count raised, what it put was never there.

#include <cstdint>
#include <string>
#include <string_view>

#include "localmq/platform.h"
#include "localmq/store.h"

namespace localmq {

// A connection's row and lock file, from Register() to Leave().
class Membership {
 public:
  // Adds the connection to the queue manager, after backing out connections that died.
  MQLONG Register(Store& store, std::string_view application);
  // Takes it away with its handles and temporary queues. The unit of work must have ended.
  void Leave(Store& store);
  std::int64_t Id() const { return id_; }

 private:
  std::int64_t id_{0};
  std::string token_;
  LockFile lock_;
};

// Backs out every connection whose process has died, and tells whether there was one. Joins the transaction that is
// open, or makes its own.
MQLONG BackOutDeadConnections(Store& store, bool* found = nullptr);

// Returns the messages that a connection holds to their queues, with the backout count raised, within a transaction.
MQLONG ReturnHeldMessages(Database& data, std::int64_t connection);

// Removes a temporary dynamic queue with its messages, within a transaction.
MQLONG RemoveTemporaryQueues(Database& data, std::int64_t connection);

}  // namespace localmq
