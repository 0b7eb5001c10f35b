#pragma once

// The output file in use: what is written into it, and what of that is sure.

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
  Text<255> FileName;      // the expanded name of the output file
  Text<32> CreationTime;   // taken once per run, at the first header
  int MsgsInFile = 0;      // messages in the current file
  int MsgsSinceFlush = 0;  // messages that may not be on the disk yet; never outlives its file
  // Messages wait in the block. When the file fails, those that are not known to have left it are not counted as
  // written: the counts as they were when the file was `HeldFrom` bytes long, all of which have left the block.
  std::int64_t HeldFrom = 0;
  std::int64_t HeldMsgs = 0;   // of MsgsWritten, those whose bytes may still be in the block
  std::int64_t HeldBytes = 0;  // of BytesWritten, theirs
};

// The file header, or nothing with -dH. `source` may be null; its names are shown when its handle is usable.
MQLONG WriteFileHeader(Parameters& run, const QueueElement* source);
// The message in hand (nothing for the null output and for counting), then the counters. Returns what MessageWriter
// does, with MessageText.
MQLONG WriteFileMessage(Parameters& run);

// Hands the output to the system and, when `toDisk`, onto the disk, before a unit of work is committed. Returns 0, or
// MQRC_RESOURCE_PROBLEM (for standard output MQRC_FILE_SYSTEM_ERROR) with MessageText. Nothing to do without an open
// file.
MQLONG FlushOutputFile(Parameters& run, bool toDisk);
// Flushes and closes the output file, if one is open; what a run removes from its queues is on the disk then. Returns
// 0, or MQRC_RESOURCE_PROBLEM with MessageText (a first message is kept).
MQLONG CloseOutputFile(Parameters& run);
