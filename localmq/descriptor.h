#pragma once

// The message descriptor on its way from an application to a queue: checking it, completing it, and giving it back.

#include "localmq/connection.h"

namespace localmq {

// Checks a descriptor for a put. A priority above the queue manager's highest is a warning.
Outcome CheckPutDescriptor(const MQMD* descriptor);

// The descriptor that is stored: version 2, with the context that the options ask for (`passed` is the one to pass on,
// null when none is), the reply queue manager, the character set and the identifiers filled.
MQMD CompleteDescriptor(Connection& connection, const MQMD& given, MQLONG options, const MQMD* passed);

// Stores an identifier that no other message has.
void MakeIdentifier(Connection& connection, MQBYTE24& identifier);

// As much of a descriptor as its version has; the rest is as by default.
MQMD CopyDescriptor(const MQMD& given);

// Gives a descriptor back to the application, as far as the version that it passed goes.
void ReturnDescriptor(const MQMD& descriptor, MQMD* application);

// Wraps a message for its way to another queue manager.
void AddTransmissionHeader(const Destination& destination, MQLONG ccsid, std::span<const std::uint8_t> data,
                           PendingPut& put);

}  // namespace localmq
