#pragma once

// Messages that were backed out too often.

#include "common/result.h"
#include "files/current_message.h"
#include "mq/connection.h"
#include "mq/destinations.h"

// Puts the message on the backout queue of the queue that it came from, opened at its first use on the same connection,
// and with `inUnit` in that connection's unit of work. Failures are reported and returned.
Result RequeueToBackout(QMgrConn& conn, const CurrentMessage& message, bool inUnit);
