#pragma once

// What the message file reader and the dump reader share: storing the value of a descriptor field in a message, and
// room for its data.

#include <string_view>

#include "common/result.h"
#include "files/current_message.h"
#include "files/descriptor_fields.h"
#include "files/line_buffer.h"

// Stores a value that stands in the current line: a decimal number, the characters of a string (blanks fill the rest),
// or hex digits (bytes that none reaches keep what they were). Blanks around a number and around digits mean nothing;
// without anything else the field keeps its value. What else stands there, or does not fit, is refused. Returns 0,
// MQRC_FILE_SYSTEM_ERROR or MQRC_UNEXPECTED_ERROR with its text.
Result StoreFieldValue(MQMD& descriptor, TaggedField target, std::string_view value, const LineReader& lines);

inline constexpr char kBadHex[] = "Badly formed HEX string on";

// Makes room for `bytes` more behind the data of the message; the buffer grows generously when they do not fit. Returns
// 0, or MQRC_STORAGE_NOT_AVAILABLE with its text when memory cannot be had or the message would pass 2 GB.
Result GrowForData(CurrentMessage& message, std::size_t needed);
inline Result MakeRoom(CurrentMessage& message, std::size_t bytes) {
  const std::size_t needed = static_cast<std::size_t>(message.Length) + bytes;
  return needed < message.Buffer.size() ? Result() : GrowForData(message, needed);
}
// The place behind the data.
inline MQBYTE* EndOfData(CurrentMessage& message) { return message.Buffer.data() + message.Length; }
