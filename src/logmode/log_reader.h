#pragma once

// The dump of a recovery log as it is read: its lines with the formatter's own messages taken out, log sequence numbers
// (LSNs), the hex dump of a record's data, and the progress line.

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "common/console.h"
#include "common/result.h"
#include "logmode/log_lines.h"
#include "logmode/log_pieces.h"
#include "mq/mqi.h"

inline constexpr int kLinesPerProgress = 1000;

class LogReader {
 public:
  // `written`: how many messages the run has written so far, for the progress line.
  LogReader(Console& screen, std::function<std::int64_t()> written) : Screen(screen), written_(std::move(written)) {}

  // The next line of the dump; false at its end, or once there is an interrupt. The formatter's own messages are shown,
  // or dropped when they only tell what it does.
  bool ReadLine(std::string_view& line);
  // Lets the next ReadLine return this line again.
  void UnreadLine();
  // The LSN at the start of `text`, in angle brackets. Empty when it is 0:0:0:0 or does not end. Returns 0, or
  // MQRC_INCOMPLETE_MSG after telling why.
  Result ParseLsn(std::string_view text, std::string& lsn) const;
  // Makes the LSN of a line that begins a record the current one.
  Result TakeRecordLsn(std::string_view line);
  // `reason`, with the line at which the dump is broken.
  Result Broken(MQLONG reason) const;

  // Draws the progress line; draws it a last time and ends it, once.
  void ShowProgress();
  void End();

  Console& Screen;
  LogLines Lines;
  std::uint32_t LineNumber = 0;    // lines read
  std::uint32_t Records = 0;       // log records seen
  std::uint32_t PutRecords = 0;    // of them put records
  std::uint32_t WantedPuts = 0;    // of them for the wanted queue
  std::string CurrentLsn;          // of the record being read; empty: none
  LogPieces Pieces;                // parts that wait for their message
  bool PartsSinceMessage = false;  // a part record was read since the last message was returned
  bool Truncated = false;          // the dump ends where a record should go on
  bool CutShort = false;           // an interrupt came before the end of the dump

 private:
  std::function<std::int64_t()> written_;
  int untilProgress_ = kLinesPerProgress;  // lines until the progress line is drawn again
  bool ended_ = false;                     // the progress line has been ended
};

// Where the value of a record line begins.
inline constexpr std::size_t kValueColumn = 18;

inline std::string_view ValueOf(std::string_view line) {
  return line.size() > kValueColumn ? line.substr(kValueColumn) : std::string_view();
}

// Whether a record begins with this line.
inline bool IsLogRecordLine(std::string_view line) { return line.starts_with("LOG RECORD"); }

// The data of the record in hand, from the line that was announced on. Bytes are taken from the front.
class HexDump {
 public:
  explicit HexDump(LogReader& log) : log_(log) {}
  // False when the dump is broken before all bytes were found.
  bool Read(void* to, std::size_t bytes);
  // Bytes read so far.
  std::size_t taken() const { return taken_; }
  // To be asked when all bytes of the record were read: whether the dump ends there too. When a further line was needed
  // to tell and there is none, the reader's Truncated is set.
  bool EndsHere();

 private:
  bool NextLine();

  LogReader& log_;
  std::string_view bytes_;  // the hex digits of the line, and whatever follows them
  std::size_t used_ = 0;    // bytes taken from the line
  bool started_ = false;
  std::size_t taken_ = 0;
};
