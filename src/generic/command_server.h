#pragma once

// The two questions that are put to a queue manager's command server: which local queues match the patterns of a
// generic unload, and how large a queue's file is. Each sends one request to the command queue and reads the replies
// from a temporary dynamic queue.

#include <span>

#include "mq/mqi.h"

struct Parameters;
struct QueueElement;

// Fills the run's queue list with the non-empty local queues that match the input queue names taken as patterns.
// Returns 0 or a reason after printing why; 0 with a part of the queues when an interrupt came.
MQLONG QueryQueueNames(Parameters& run);

// Sets each queue's current and maximum file size (megabytes; as they were when unknown). Failures are reported and
// harmless; a command server that does not answer is asked once.
void InquireQueueStatus(Parameters& run, std::span<QueueElement> queues);
