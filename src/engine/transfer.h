#pragma once

// The transfer loop: asks a source for one message after the other and lets each be delivered to the target. It owns
// the order of the steps, the waits, the end conditions, and the commit or backout at the end.

#include <cstdint>
#include <optional>

#include "engine/delivery.h"
#include "engine/outcome.h"
#include "engine/pace.h"
#include "engine/wait_clock.h"
#include "files/progress.h"
#include "mq/output_queues.h"

// Refuses options that do not go together in a transfer.
Result CheckTransfer(const Options& asked);

class Transfer {
 public:
  // `queues` are the output queues, on which a required rate is possible; else null.
  Transfer(const Options& asked, const RunStations& run, Source& source, Target& target, OutputQueues* queues,
           ProgressLine& progress);

  // Moves the messages. To be called once.
  Outcome Run();

 private:
  Result Move();
  Result Loop();
  Result Next();
  Result AllowedWait(std::int64_t& wait);
  Result NoMessage(bool& rewound);

  const Options& asked_;
  const RunStations run_;
  Source& source_;
  Target& target_;
  OutputQueues* queues_;
  ProgressLine& progress_;
  Delivery delivery_;
  WaitClock wait_;
  std::optional<Pace> pace_;
  bool began_ = false;
};
