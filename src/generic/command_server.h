#pragma once

// The two questions that are put to a queue manager's command server.

#include "mq/mqi.h"

struct Parameters;
struct QueueElement;

// Sets the queue's current and maximum file size (megabytes; 0 when unknown). Failures are reported and harmless.
void InquireQueueStatus(Parameters& run, QueueElement& queue);
