#pragma once

// What changes queues: holding and removing messages, and writing those that were put. All of it happens in
// transactions, one a unit of work, so that a unit is in the database whole or not at all.

#include "localmq/connection.h"

namespace localmq {

// Marks a message as got by the connection's open unit of work, within a transaction.
MQLONG HoldMessage(Connection& connection, const Message& message);

// Removes a message for good, within a transaction.
MQLONG RemoveMessage(Database& data, std::int64_t key);

// Writes messages to the ends of their queues. MQRC_Q_DELETED when a queue is gone: then nothing must be committed.
MQLONG WriteMessages(Connection& connection, std::span<PendingPut> puts);

// Puts messages outside any unit of work: they are on the disk when this returns if one of them is persistent.
MQLONG PutNow(Connection& connection, std::span<PendingPut> puts);

}  // namespace localmq
