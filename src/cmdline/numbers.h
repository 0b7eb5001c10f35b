#pragma once

// Numbers on the command line. A number is whole: a text that has anything in front of its digits or behind them is
// refused, so that a slip is never taken for another number.

#include <cstdint>
#include <limits>
#include <optional>
#include <string_view>

inline constexpr std::int32_t kLeastInteger = std::numeric_limits<std::int32_t>::min();
inline constexpr std::int32_t kMostInteger = std::numeric_limits<std::int32_t>::max();

// The decimal number that `text` is, when it lies between the bounds. A minus is taken only where a negative number
// is possible, a plus never.
std::optional<std::int64_t> WholeNumber(std::string_view text, std::int64_t least, std::int64_t most);
// The same for hexadecimal digits, with or without "0x".
std::optional<std::int64_t> WholeHexNumber(std::string_view text, std::int64_t most);

// Removes the decimal digits from the front of `text` and returns them.
std::string_view TakeDigits(std::string_view& text);
