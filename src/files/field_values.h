#pragma once

// What the message file reader and the dump reader share: storing the value of a descriptor field in the message in
// hand, room for its data, and refusing a line.

#include <string_view>

#include "files/descriptor_fields.h"
#include "mq/mqi.h"

struct Parameters;

// Stores a value as it stands in a file: a decimal number, the characters of a string (blanks fill the rest), or hex
// digits (bytes that none reaches keep what they were). Blanks around a number and around digits mean nothing; without
// anything else the field keeps its value. What else stands there, or does not fit, is refused. Returns 0,
// MQRC_FILE_SYSTEM_ERROR or MQRC_UNEXPECTED_ERROR with MessageText.
MQLONG StoreFieldValue(Parameters& run, TaggedField target, std::string_view value);

// "<what> line <number of the current line> of file '<name>'" as MessageText, and MQRC_FILE_SYSTEM_ERROR.
MQLONG RefuseLine(Parameters& run, const char* what);
inline constexpr char kBadHex[] = "Badly formed HEX string on";

// The place behind the data of the message in hand, with room for `bytes` more; the buffer grows generously when they
// do not fit. Null when memory cannot be had or the message would pass 2 GB: then MessageText tells, and the result is
// MQRC_STORAGE_NOT_AVAILABLE.
MQBYTE* RoomForData(Parameters& run, std::size_t bytes);
