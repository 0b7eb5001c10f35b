#pragma once

// The current line of a text input: read by blocks, kept until it is consumed, counted for error messages.

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "files/streams.h"
#include "mq/mqi.h"

struct Parameters;

struct ReaderState {
  InputFile In;
  std::string_view Line;               // the current line without its line end; empty: none. Valid until the next read
  bool ReadsDump = false;              // the file is a dump, in which no line with an asterisk is a comment
  std::size_t LineCapacity = 0;        // the room granted to a line: starts at 1024, doubles when a line does not fit
  std::int64_t LineNumber = 0;         // physical lines of the current file read so far, the first being 1
  std::int64_t FileBytes = 0;          // bytes read from the current input file
  std::int64_t FinishedFileBytes = 0;  // bytes of the input files already finished
  std::size_t TokenEnd = 0;            // dump tokenizer: where the next token is looked for in the current line
  bool PassedEmptyLine = false;        // the last read went over an empty line, which ends a message
  std::int64_t BehindLine = 0;  // the last read began at this byte, or behind the first empty line that it went over
  std::int64_t WholeUpTo = 0;   // where the last whole message of the current file ends
  // The current file ends inside this line, which is never made current. Valid until the file is closed.
  std::string_view CutLine;
  // The result of a run whose input has lost bytes: what was whole is delivered and committed all the same.
  MQLONG Loss = 0;
};
