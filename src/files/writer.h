#pragma once

// The message file writer: turns the message in hand into the lines of docs/file-format.md on the current output file.
// It formats into the stream's block; per message there is no allocation and no formatted printing.

#include <cstdint>

#include "common/text.h"
#include "files/output_changes.h"
#include "files/streams.h"
#include "mq/mqi.h"

struct Parameters;
struct QueueElement;

struct WriterState {
  OutputFile Out;
  OutputChanges Changes;
  Text<255> FileName;        // the expanded name of the output file
  Text<32> CreationTime;     // taken once per run, at the first header
  int MsgsInFile = 0;        // messages in the current file
  int MsgsSinceFlush = 0;    // messages that may not be on the disk yet; never outlives its file
  MQLONG LastLength = 0;     // length of the last message
  bool LastWritten = false;  // a message was handed to the writer
  // Messages wait in the block. When the file fails, those that are not known to have left it are not counted as
  // written: the counts as they were when the file was `HeldFrom` bytes long, all of which have left the block.
  std::int64_t HeldFrom = 0;
  std::int64_t HeldMsgs = 0;   // of MsgsWritten, those whose bytes may still be in the block
  std::int64_t HeldBytes = 0;  // of BytesWritten, theirs
};

// Lines of more data bytes than this (-dw) are refused, so that whoever reads a line has room for it.
inline constexpr int kWidestLine = 16 * 1024 * 1024;

// The file header, or nothing with -dH. `source` may be null; its names are shown when its handle is usable.
MQLONG WriteFileHeader(Parameters& run, const QueueElement* source);
// The message in hand as a message block (or its time on queue, or nothing for the null output and for counting), then
// the counters. Returns 0, MQRC_RESOURCE_PROBLEM with MessageText, or MQRC_FILE_SYSTEM_ERROR for standard output and
// for a time-on-queue entry.
MQLONG WriteFileMessage(Parameters& run);

// Whether the layout in force does not keep every message byte for byte. A message that it changes, and that is to
// leave its queue, is a failure of WriteFileMessage.
bool MayLoseBytes(const Parameters& run);
// Whether what is written can be read back as messages, and so must not run into other messages of the same file.
bool WritesMessageFile(const Parameters& run);

// Upper bound of the bytes that a message of that length takes in the file, for the layout in force.
std::int64_t WorstCaseSize(const Parameters& run, MQLONG messageLength);

// Hands the output to the system and, when `toDisk`, onto the disk, before a unit of work is committed. Returns 0, or
// MQRC_RESOURCE_PROBLEM (for standard output MQRC_FILE_SYSTEM_ERROR) with MessageText. Nothing to do without an open
// file.
MQLONG FlushOutputFile(Parameters& run, bool toDisk);
// Flushes and closes the output file, if one is open; what a run removes from its queues is on the disk then. Returns
// 0, or MQRC_RESOURCE_PROBLEM with MessageText (a first message is kept).
MQLONG CloseOutputFile(Parameters& run);
