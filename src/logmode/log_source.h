#pragma once

// The formatted dump of a queue manager's recovery log as a source of messages: from a file, or from the log formatter
// run as a child process.

#include <cstdint>
#include <string>
#include <string_view>

#include "common/text.h"
#include "mq/mqi.h"

struct Parameters;

struct LogState {
  Text<255> LogFile;                 // empty: the queue manager's own log
  bool ReadingDumpFile = false;      // a dump file, not the formatter's pipe
  std::uint32_t DumpLineNumber = 0;  // lines read
};

// Reads the -j argument. False after printing why.
bool ParseLogParameter(Parameters& run, std::string_view text);
// Opens the dump file or starts the formatter, and makes the log the run's source.
MQLONG StartLogReading(Parameters& run, std::string_view queueName);
