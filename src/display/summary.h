#pragma once

// The queue summary: ages, sizes and how full the queue is.

#include <cstdint>

struct Parameters;
struct QueueElement;

// Prints the summary on standard error. `queue` may be null (file input): nothing is known of the queue's limits then.
void ShowSummary(Parameters& run, const QueueElement* queue);

// The outcome report line: label, file count, message count and byte count, numbers grouped with commas.
struct ReportLine {
  const char* Label;
  int Files;
  bool ShowFiles;
  std::int64_t Messages;
  std::uint64_t Bytes;
};
void PrintReportLine(Parameters& run, const ReportLine& line);
