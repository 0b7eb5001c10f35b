#pragma once

// The message file writer: turns messages into the lines of docs/file-format.md on an output file. It formats into the
// stream's block; per message there is no allocation and no formatted printing.

#include <cstdint>
#include <string>
#include <string_view>

#include "common/result.h"
#include "common/text.h"
#include "files/data_layouts.h"
#include "files/streams.h"
#include "mq/mqi.h"
#include "options/options.h"

// Lines of more data bytes than this (-dw) are refused, so that whoever reads a line has room for it.
inline constexpr int kWidestLine = 16 * 1024 * 1024;

// A message as it is to be written.
struct OutgoingMessage {
  const MQMD& Descriptor;
  DataBytes Data;            // what there is of its data
  MQLONG Length = 0;         // of all of it, bytes
  int Position = 0;          // in its source, from 1
  int Ordinal = 0;           // among the selected messages, from 1
  std::int64_t Now = 0;      // seconds since 1970, from which its time on the queue is counted
  bool LeavesQueue = false;  // a layout that changes it is a failure
};

// The names that a file header shows; those that are empty are left out.
struct HeaderNames {
  std::string_view QMgr;
  std::string_view Queue;
};

class MessageWriter {
 public:
  // `name` is what messages call the file; all three outlive the writer.
  MessageWriter(const LayoutOptions& layout, OutputFile& out, const Text<255>& name)
      : layout_(layout), out_(out), name_(name) {}

  // All return MQRC_RESOURCE_PROBLEM with a text for a file that fails, MQRC_FILE_SYSTEM_ERROR for standard output.

  // The file header, or nothing with -dH. `created` is a date with its line end.
  Result WriteHeader(std::string_view created, const HeaderNames& names);
  // The message as a message block, or as its time on the queue. MQRC_UNEXPECTED_ERROR for one that is not there in
  // full, MQRC_FILE_SYSTEM_ERROR for one that is to leave its queue and is changed by the layout.
  Result Write(const OutgoingMessage& message);

 private:
  Result Failed(const std::string& text) const;
  Result CanNotWrite() const;
  Result CanNotWriteWithCode() const;
  Result WriteIndexLine(int ordinal);
  Result WriteDescriptor(const MQMD& descriptor);
  Result WriteData(const OutgoingMessage& message);
  Result WriteText(const OutgoingMessage& message);
  Result WriteBlock(const OutgoingMessage& message);
  Result WriteTimeOnQueue(const OutgoingMessage& message);

  const LayoutOptions& layout_;
  OutputFile& out_;
  const Text<255>& name_;
};

// Whether a layout does not keep every message byte for byte.
bool MayLoseBytes(const LayoutOptions& layout);
// Whether what is written can be read back as messages, and so must not run into other messages of the same file.
bool WritesMessageFile(const LayoutOptions& layout);
// Upper bound of the bytes that a message of that length takes in the file.
std::int64_t WorstCaseSize(const LayoutOptions& layout, MQLONG messageLength);
// The reason of a write that has failed, on the file of that name.
MQLONG WriteFailure(std::string_view name);
