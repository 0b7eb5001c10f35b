#pragma once

// Log records: the lines in front of a record's data, and the message that a put record carries.

#include <cstdint>
#include <string>
#include <string_view>

#include "files/current_message.h"
#include "logmode/log_reader.h"
#include "mq/mqi.h"

enum class LogRecordKind { Other, Put, Part };
// The kind that a "LogRecdType" line names.
LogRecordKind RecordKind(std::string_view line);

// What the lines in front of the data tell.
struct RecordHeader {
  std::string QueueName;
  bool HasPrevLsn = false;  // there is a PrevLSN line
  std::string PrevLsn;      // of the record before it; empty: none
  std::int64_t DataLocn = 0;
  std::int64_t DataLength = 0;  // bytes
  bool HasData = false;         // the hex dump follows
};
// Reads up to the line behind which the hex dump begins. A record that ends before it leaves HasData unset and gives
// MQRC_FORMAT_ERROR when it had no PrevLSN line, else 0.
Result ReadRecordHeader(LogReader& log, LogRecordKind kind, RecordHeader& header);

// Reads the front of a put record's data: the descriptor of its message, and the length of the whole message into
// ExpectedLength. Returns 0, or MQRC_FORMAT_ERROR after telling why, or MQRC_INCOMPLETE_MSG.
Result ReadMessageHeader(const LogReader& log, HexDump& dump, CurrentMessage& message);
