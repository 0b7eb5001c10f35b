#pragma once

// Messages from the records of a recovery log: put records and the parts that belong to them become messages again.

#include <string>
#include <string_view>

#include "common/result.h"
#include "files/current_message.h"
#include "logmode/log_reader.h"

// The queue whose messages are wanted; its case counts where it was given in quotes.
struct WantedQueue {
  std::string Name;
  bool CaseCounts = false;
  bool Is(std::string_view queue) const;
};

// Reads up to the first record. Returns MQRC_HEADER_ERROR for a dump without a line, or MQRC_FILE_SYSTEM_ERROR, when
// there is none.
Result FindFirstLogRecord(LogReader& log, bool& found);

// The next message of the queue; `end` is set at the end of the log, behind which everything is told that was found to
// be missing or unused.
Result ReadLogMessage(LogReader& log, const WantedQueue& queue, CurrentMessage& message, bool& end);

// Takes the properties off a message and makes sure that all of it was found.
Result CheckLogMessage(const LogReader& log, CurrentMessage& message);

// What the end of the dump's lines adds to the result: they could not be read, or not all of them were printed.
Result EndOfLogLines(LogReader& log, Result result);
