#pragma once

// The calls of the message queue interface, on a connection that is found and locked. Every function checks what the
// caller passes before it changes anything, as the published interface demands. A structure is never read or written
// beyond its version. entries.cpp exports the interface itself; With... in dispatch.h leads from there to here.

#include <span>

#include "localmq/connection.h"

namespace localmq {

// connect.cpp
Outcome Connect(const MQCHAR* queueManager, MQCNO* options, MQHCONN* handle);
Outcome Disconnect(Connection& connection);

// open.cpp
Outcome Open(Connection& connection, MQOD* descriptor, MQLONG options, MQHOBJ* handle);
Outcome Close(Connection& connection, MQHOBJ* handle, MQLONG options);
Outcome CheckObjectDescriptor(const MQOD* descriptor);
// The open itself, within a transaction when it makes or records anything. MQPUT1 opens without a handle number.
Outcome OpenObjectFor(Connection& connection, MQOD& descriptor, MQLONG options, OpenObject& object);

// inquire.cpp
Outcome Inquire(Connection& connection, MQHOBJ handle, std::span<const MQLONG> selectors, std::span<MQLONG> integers,
                std::span<MQCHAR> characters);

// get.cpp
struct GetRequest {
  MQMD* Descriptor;
  MQGMO* Options;
  std::span<std::uint8_t> Buffer;
  MQLONG* DataLength;
};
// Waits, when the options ask for it, with the connection locked.
Outcome Get(Connection& connection, MQHOBJ handle, const GetRequest& request);
// Checks descriptor and options of a get; a consumer is registered with them.
Outcome CheckGet(const OpenObject& object, const MQMD& descriptor, const MQGMO& options);
// One attempt of a get that has been checked. MQRC_NO_MSG_AVAILABLE when there is nothing.
Outcome TryGet(Connection& connection, OpenObject& object, const GetRequest& request);

// put.cpp
// How a call for several destinations ends: all alike is that outcome, otherwise MQRC_MULTIPLE_REASONS, which is a
// failure when nothing succeeded.
Outcome Combine(std::span<const Outcome> outcomes);
Outcome Put(Connection& connection, MQHOBJ handle, MQMD* descriptor, MQPMO* options,
            std::span<const std::uint8_t> data);
Outcome PutOne(Connection& connection, MQOD* object, MQMD* descriptor, MQPMO* options,
               std::span<const std::uint8_t> data);
// Tells what became of the asynchronous puts since it was last asked.
Outcome AskStatus(Connection& connection, MQLONG type, MQSTS* status);

// unit_of_work.cpp
Outcome Commit(Connection& connection);
Outcome BackOut(Connection& connection);

}  // namespace localmq
