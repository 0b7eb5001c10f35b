#pragma once

// What happens to one selected message on its way to the target: delays, header stripping, routing.

#include <cstdint>
#include <optional>

#include "common/text.h"
#include "mq/mqi.h"

struct Parameters;
struct QueueElement;

// The reference of the relative delay, and the state of the random one.
struct ReplayState {
  std::optional<std::int64_t> ReplayStart;  // steady milliseconds; none: no reference yet
  char ReplayPutDate[8]{};
  char ReplayPutTime[8]{};
  std::uint32_t RandomState = 0;  // 0: not seeded yet
};

// Delays, strips headers and hands the message in hand to the statistics, the backout queue, the output queues or the
// output file. A message that this run removes and that was backed out too often goes to its queue's backout queue as
// it arrived, before anything is stripped. Returns the result of the step it was routed to.
MQLONG HandleMessage(Parameters& run, QueueElement* queue);
