#pragma once

// Bytes to hex digits and back, sixteen bytes at a time.

#include <cstddef>
#include <string_view>

#include "mq/mqi.h"

// Writes two upper-case digits for each byte and returns the place behind them.
char* EncodeHex(char* out, const MQBYTE* bytes, std::size_t count);

// The value of a hex digit of either case, or -1.
int HexDigit(char c);

struct HexResult {
  std::size_t Bytes = 0;  // decoded
  bool Bad = false;       // the first digit of a pair was followed by something else, or by the end
};
// Decodes pairs of digits until the first character of a pair is no hex digit, the text ends or `room` bytes are
// decoded. `out` takes `room` bytes; none beyond them is written.
HexResult DecodeHex(MQBYTE* out, std::size_t room, std::string_view text);
