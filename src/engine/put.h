#pragma once

// Putting the message in hand onto the output side, and moving messages that were backed out too often to their queue's
// backout queue.

#include <cstdint>

#include "mq/mqi.h"

struct Parameters;
struct QueueElement;

// Counters of one delivery.
struct PutState {
  int PutMsgs = 0;            // destinations that received this message
  std::int64_t PutBytes = 0;  // bytes put for this message
};

// Asynchronous puts (-Oa): a put returns before its outcome is known, which is asked for later.
struct AsyncPuts {
  bool Decided = false;      // at the first put of the run
  bool InUse = false;        // puts are asynchronous
  bool Outstanding = false;  // some were made since their outcome was last asked for
};

// 0 when all destinations took the message, else the reason with MessageText.
MQLONG PutMessage(Parameters& run, const QueueElement* queue);

// Asks what became of the asynchronous puts since the last time; before every commit, before a wait, and at the end of
// a run. Returns the reason of the first one that failed, with its queue in MessageText (a message that is there is
// kept), or 0.
MQLONG CheckAsyncPuts(Parameters& run);

// Puts `descriptor` and `length` bytes of `data` on the queue's backout queue, opened at its first use, in the unit of
// work of the input queue manager. Failures are reported and returned.
MQLONG RequeueToBackout(Parameters& run, QueueElement& queue, const MQMD& descriptor, const MQBYTE* data,
                        MQLONG length);

// The version of the MQCFH at the start of the data, read in the message's byte order; 0 when the data is too short.
MQLONG CfhVersion(const MQMD& descriptor, const MQBYTE* data, MQLONG length);
