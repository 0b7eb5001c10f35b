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

// Looks at the first line that is not blank of an input file that has just been opened: a dump, a message file, or
// (2208 with MessageText) neither. A later file of a set may lack the mark and is then of the kind of the one before
// it. Leaves the first line behind the mark current; `end` is set when there is none.
MQLONG CheckInputFormat(Parameters& run, bool& end);

// Makes the next significant line current. Without `advance` a current line that is not consumed yet stays. `end` is
// set at the end of the file; a line without a line end is no line but the end of a file that was cut off (CutLine).
MQLONG ReadFileLine(Parameters& run, bool advance, bool& end);

// One message of a message file into the message in hand; `end` is set when the file holds no further whole one.
MQLONG ReadFileMessage(Parameters& run, bool& end);
// The same for a dump.
MQLONG ReadDumpMessage(Parameters& run, bool& end);

// The next message of a message file or dump, going on through an indexed set of files, each of its own kind. Sets
// Finished at the end of the input. A file that ends inside a line is told, and sets ReaderState::Loss.
MQLONG ReadNextFileMessage(Parameters& run);
