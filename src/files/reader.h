#pragma once

// The message file reader: turns the lines of docs/file-format.md, in whatever layout they were written, and the dump
// of IBM MQ's browse sample back into messages. Lines are looked at where they stand in the read block.

#include <cstdint>
#include <string_view>

#include "common/console.h"
#include "common/memory_trace.h"
#include "common/result.h"
#include "files/current_message.h"
#include "files/input_files.h"
#include "files/line_buffer.h"

// Whether a file whose first line that is not blank begins so is a message file.
bool IsMessageFileMark(std::string_view line);

// One message of a message file; `end` is set when the file holds no further whole one.
Result ReadFileMessage(LineReader& lines, Console& screen, CurrentMessage& message, bool& end);
// The same for a dump.
Result ReadDumpMessage(LineReader& lines, CurrentMessage& message, bool& end);

// Reads the messages of files that are opened one after the other, each of its own kind.
class MessageFileReader {
 public:
  MessageFileReader(InputFiles& files, Console& screen, MemoryTrace memory = {})
      : files_(files), screen_(screen), lines_(files, memory) {}

  // Takes the memory for lines. Returns 0, or MQRC_STORAGE_NOT_AVAILABLE with its text.
  Result Allocate() { return lines_.Allocate(); }

  // Looks at the first line that is not blank of the file that has just been opened: a dump, a message file, or
  // (2208 with its text) neither. A later file of a set may lack the mark and is then of the kind of the one before it.
  // `empty` is set when there is nothing behind the mark.
  Result StartFile(bool& empty);

  // The next message, from the next file where the one in hand holds no further one; none (at_end) at the end of the
  // last. A file that ends inside a message is told, and its loss is kept.
  Result Read(CurrentMessage& message);
  bool at_end() const { return atEnd_; }
  // The result of a run whose input has lost bytes: what was whole is delivered and committed all the same.
  MQLONG loss() const { return loss_; }

  // One message of the file in hand; `end` is set when it holds no further whole one.
  Result ReadMessage(CurrentMessage& message, bool& end);

 private:
  void TellIfCut();

  InputFiles& files_;
  Console& screen_;
  LineReader lines_;
  bool readsDump_ = false;  // the file is a dump, in which no line with an asterisk is a comment
  bool atEnd_ = false;
  std::int64_t wholeUpTo_ = 0;  // where the last whole message of the file in hand ends
  MQLONG loss_ = 0;
};
