#pragma once

// Decimal numbers on the command line. They are read as atoi reads them (leading white space, a sign, the digits that
// stand there, nothing said about the rest), except that a number too large for its field is noticed, never wrapped.

#include <cstddef>
#include <cstdint>
#include <string_view>

struct Number {
  std::int64_t Value = 0;  // 0 without digits; a larger number becomes the largest of its sign
  std::size_t Used = 0;    // characters up to the end of the digits; 0 without digits
};

Number ReadNumber(std::string_view text);

// The number at the start of `text`, 0 without one. Returns false, and leaves `value` as it is, when it does not fit.
bool ReadInteger(std::string_view text, std::int32_t& value);
