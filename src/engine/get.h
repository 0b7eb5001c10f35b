#pragma once

// Getting messages from an input queue: options, waits, buffer growth, what ends the input.

#include "mq/mqi.h"

struct Parameters;
struct QueueElement;

// The options of a get: browse, destructive, or of the message under the browse cursor, with properties as MQRFH2
// header where the queue manager knows them.
MQLONG GetOptions(const Parameters& run, bool underCursor);

// Adds the identifiers that the queue manager matches and the conversion to a descriptor and get options.
void AddMatchAndConversion(const Parameters& run, MQMD& descriptor, MQGMO& options);

// One message into the message in hand. 0: a message is there, or the input is exhausted (Finished). In under-cursor
// mode MQRC_NO_MSG_UNDER_CURSOR (without a text) tells that the browsed message has gone. Any other value is a failure
// with MessageText. A get waits, as -w asks, only when no unit of work is open and the output file is flushed: both are
// finished first, and an output file that reaches its age while the get waits is closed.
MQLONG GetQueueMessage(Parameters& run, QueueElement& queue, bool underCursor);
