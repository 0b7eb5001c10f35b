#pragma once

// The log reader's state, and what its sources share: the lines of the dump with the formatter's own messages taken
// out, log sequence numbers (LSNs), the hex dump of a record's data, and the progress line.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "logmode/log_lines.h"
#include "logmode/log_pieces.h"
#include "mq/mqi.h"

struct Parameters;

inline constexpr int kLinesPerProgress = 1000;

struct LogReader {
  LogLines Lines;
  std::string QueueName;                  // whose messages are wanted
  bool CaseCounts = false;                // the queue's name was given in quotes
  std::uint32_t Records = 0;              // log records seen
  std::uint32_t PutRecords = 0;           // of them put records
  std::uint32_t WantedPuts = 0;           // of them for the wanted queue
  int UntilProgress = kLinesPerProgress;  // lines until the progress line is drawn again
  std::string CurrentLsn;                 // of the record being read; empty: none
  LogPieces Pieces;                       // parts that wait for their message
  bool PartsSinceMessage = false;         // a part record was read since the last message was returned
  bool Truncated = false;                 // the dump ends where a record should go on
  bool CutShort = false;                  // an interrupt came before the end of the dump
  bool Ended = false;                     // the progress line has been ended
};

// Where the value of a record line begins.
inline constexpr std::size_t kValueColumn = 18;

inline std::string_view ValueOf(std::string_view line) {
  return line.size() > kValueColumn ? line.substr(kValueColumn) : std::string_view();
}

// The next line of the dump; false at its end, or once there is an interrupt. The formatter's own messages are shown,
// or dropped when they only tell what it does.
bool ReadLogLine(Parameters& run, std::string_view& line);
// Lets the next ReadLogLine return this line again.
void UnreadLogLine(Parameters& run);

// Whether a record begins with this line.
inline bool IsLogRecordLine(std::string_view line) { return line.starts_with("LOG RECORD"); }

// The LSN at the start of `text`, in angle brackets. Empty when it is 0:0:0:0 or does not end. Returns 0, or
// MQRC_INCOMPLETE_MSG after telling why.
MQLONG ParseLsn(Parameters& run, std::string_view text, std::string& lsn);
// Makes the LSN of a line that begins a record the current one.
MQLONG TakeRecordLsn(Parameters& run, std::string_view line);

// Draws the progress line.
void ShowLogProgress(Parameters& run);
// Says at which line the dump is broken, unless something was said already, and returns `reason`.
MQLONG BrokenDump(Parameters& run, MQLONG reason);

// The data of the record in hand, from the line that was announced on. Bytes are taken from the front.
class HexDump {
 public:
  explicit HexDump(Parameters& run) : run_(run) {}
  // False when the dump is broken before all bytes were found.
  bool Read(void* to, std::size_t bytes);
  // Bytes read so far.
  std::size_t taken() const { return taken_; }
  // To be asked when all bytes of the record were read: whether the dump ends there too. When a further line was needed
  // to tell and there is none, the reader's Truncated is set.
  bool EndsHere();

 private:
  bool NextLine();

  Parameters& run_;
  std::string_view bytes_;  // the hex digits of the line, and whatever follows them
  std::size_t used_ = 0;    // bytes taken from the line
  bool started_ = false;
  std::size_t taken_ = 0;
};
