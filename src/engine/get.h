#pragma once

// Getting messages from an input queue: options, waits, buffer growth, what ends the input.

#include <cstdint>

#include "mq/mqi.h"

struct Parameters;
struct QueueElement;

struct WaitState {
  std::int64_t Since = 0;  // steady milliseconds: the start of the transfer, later the last message that was got
};

inline constexpr std::int64_t kEndlessWaitSlice =
    3600 * 1000;  // milliseconds; what is left where nothing limits a wait
// How long one call waits, in milliseconds. A longer wait is made of several, so that an interrupt ends it soon.
inline constexpr MQLONG kLongestWait = 500;

// Milliseconds that are left of the wait interval, counted from the last message; not above 0 when it is over.
std::int64_t WaitLeft(const Parameters& run);

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
