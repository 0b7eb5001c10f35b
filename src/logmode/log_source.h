#pragma once

// The formatted dump of a queue manager's recovery log as a source of messages: from a file, or from the log formatter
// run as a child process. The dump's records are put together again to the messages that were put to one queue.

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "common/text.h"
#include "mq/mqi.h"

struct LogReader;
struct Parameters;

struct LogState {
  std::string File;                   // the dump that is read
  bool ReadingDumpFile = false;       // a dump file, not the formatter's pipe; diagnostics then show the line number
  std::uint32_t DumpLineNumber = 0;   // lines read
  std::shared_ptr<LogReader> Reader;  // from StartLogReading on
};

// Reads the -j argument: path[(start[-end])]. False after printing why. An -m that belongs to the log stands before it.
bool ParseLogParameter(Parameters& run, std::string_view text);
// Opens the dump file or starts the formatter, and makes the log the run's source. Returns 0, MQRC_OPTIONS_ERROR,
// MQRC_FILE_SYSTEM_ERROR or MQRC_UNEXPECTED_ERROR, reported.
MQLONG StartLogReading(Parameters& run, std::string_view queueName);
// Ends the log as a source: the progress line is drawn a last time and ended, and diagnostics show no line number any
// more. The end of the log and a failure do so themselves; a run that stops before must. May be called again.
void EndLogReading(Parameters& run);
