#pragma once

// What a run tells at its end.

#include "mq/mqi.h"

struct Parameters;

// Whether the end of the run has anything to report, and what the process returns.
struct RunEnd {
  MQLONG ExitCode = 0;
  bool SkipReport = false;     // the run has reported for itself, or the user declined it
  bool ReportEnabled = false;  // the transfer has begun: its counters mean something
};

// Prints the message that a failing step left, then the lines "Read", "Written" or "Counted" or the summary, and what
// remains when the last unit of work was backed out.
void ShowOutcome(Parameters& run, const RunEnd& end);
