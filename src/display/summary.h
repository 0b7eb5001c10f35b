#pragma once

// The queue summary: ages, sizes and how full the queue is.

#include <cstdint>

struct Parameters;

// Prints the summary on standard error. How full the queues are is told of input queues, all together.
void ShowSummary(Parameters& run);

// The outcome report line: label, file count, message count and byte count, numbers grouped with commas.
struct ReportLine {
  const char* Label;
  int Files;
  bool ShowFiles;
  std::int64_t Messages;
  std::uint64_t Bytes;
};
void PrintReportLine(Parameters& run, const ReportLine& line);
