#pragma once

// The output file in use, and how many of the messages that were given to it are known to have left the program.

#include <cstdint>

#include "common/result.h"
#include "common/text.h"
#include "files/streams.h"
#include "mq/mqi.h"

struct WrittenCounts {
  int Files = 0;
  std::int64_t Msgs = 0;
  std::int64_t Bytes = 0;  // of message data
};

struct CountedOutput {
  OutputFile Stream;
  Text<255> Name;         // what messages call the file
  WrittenCounts Written;  // into all files so far
  int MsgsInFile = 0;     // messages in this file

  void Start(std::string_view name);
  // Counts a message that is in the block, or further. When a block has left meanwhile, so have all messages before.
  void Count(MQLONG length);
  // The file has failed, or was given up: the messages that the block still held have not reached it.
  void Uncount();
  // Whether messages wait that the system does not have yet.
  bool Pending() const { return Stream.is_open() && msgsSinceFlush_ != 0; }

  // Return what a failing file gives: MQRC_RESOURCE_PROBLEM, for standard output MQRC_FILE_SYSTEM_ERROR.
  Result Flush(bool toDisk);
  Result Close(bool toDisk);

 private:
  Result Flushed(int error);

  int msgsSinceFlush_ = 0;
  // Of the written messages, those whose bytes may still be in the block: all that came since the file was `heldFrom_`
  // bytes long.
  std::int64_t heldFrom_ = 0;
  std::int64_t heldMsgs_ = 0;
  std::int64_t heldBytes_ = 0;
};
