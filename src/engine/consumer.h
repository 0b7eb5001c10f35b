#pragma once

// Several input queues at once: the queue manager delivers their messages to a callback, which hands each to
// ProcessMessage.

#include "mq/mqi.h"

struct Parameters;

// Registers a consumer for every input queue, runs them until all are empty (or the wait interval is over) and returns
// the reason of the first step that failed, or 0.
MQLONG ConsumeQueues(Parameters& run);
