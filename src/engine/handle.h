#pragma once

// What happens to one selected message on its way to the target: delays, header stripping, routing.

#include "mq/mqi.h"

struct Parameters;
struct QueueElement;

// Delays, strips headers and hands the message in hand to the statistics, the backout queue, the output queues or the
// output file. A message that this run removes and that was backed out too often goes to its queue's backout queue as
// it arrived, before anything is stripped. Returns the result of the step it was routed to.
MQLONG HandleMessage(Parameters& run, QueueElement* queue);
