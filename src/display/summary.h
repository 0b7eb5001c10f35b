#pragma once

// What a run tells of its messages at its end: the outcome report lines, and the queue summary with ages, sizes and how
// full the queues are.

#include <cstdint>
#include <span>

#include "common/console.h"
#include "engine/statistics.h"
#include "mq/destinations.h"
#include "options/options.h"

// The outcome report line: label, file count, message count and byte count, numbers grouped with commas.
struct ReportLine {
  const char* Label;
  int Files;
  bool ShowFiles;
  std::int64_t Messages;
  std::uint64_t Bytes;
};
void PrintReportLine(Console& screen, const ReportLine& line);

// All that was read, and of the messages that were selected their statistics. How full the queues are is told of all
// input queues together.
struct Summary {
  ReportLine Read;
  const Statistics& Selected;
  std::span<const QueueElement> Queues;
};
void ShowSummary(Console& screen, const DisplayOptions& shown, const Summary& summary);
