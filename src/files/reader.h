#pragma once

// The message file reader: turns the lines of docs/file-format.md, in whatever layout they were written, and the dump
// of IBM MQ's browse sample back into the message in hand. Lines are looked at where they stand in the read block.

#include <string_view>

#include "files/line_buffer.h"
#include "mq/mqi.h"

struct Parameters;

// Creates and releases the line buffer (it exists from before the first line to the end of a transfer).
MQLONG CreateLineBuffer(Parameters& run);
void ReleaseLineBuffer(Parameters& run);

// Whether a file whose first line that is not blank begins so is a message file.
bool IsMessageFileMark(std::string_view line);

// Looks at the first non-blank line of the first input file: a dump, a message file, or (2208 with MessageText)
// neither. Leaves the line behind it current. `ended` is set when the file has no non-blank line, or ends right behind
// its mark.
struct FormatCheck {
  bool Empty = false;     // no non-blank line
  bool OnlyMark = false;  // the file ends behind its mark
};
MQLONG CheckInputFormat(Parameters& run, FormatCheck& check);

// Makes the next significant line current. Without `advance` a current line that is not consumed yet stays. With `raw`
// the line keeps its line end and comments are not skipped. `end` is set at the end of the file.
MQLONG ReadFileLine(Parameters& run, bool advance, bool& end, bool raw = false);

// One message of a message file into the message in hand; `end` is set when the file holds no further one.
MQLONG ReadFileMessage(Parameters& run, bool& end);
// One message of a dump; `end` is set at the end of the file.
MQLONG ReadDumpMessage(Parameters& run, bool& end);

// The next message of a message file or dump, going on through an indexed set of files. Sets Finished at the end of the
// input.
MQLONG ReadNextFileMessage(Parameters& run);
