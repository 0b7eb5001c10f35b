#include "cmdline/numbers.h"

#include <charconv>
#include <limits>

Number ReadNumber(std::string_view text) {
  std::size_t at = 0;
  while (at < text.size() && (text[at] == ' ' || (text[at] >= '\t' && text[at] <= '\r'))) ++at;
  const bool negative = at < text.size() && text[at] == '-';
  if (negative || (at < text.size() && text[at] == '+')) ++at;

  // from_chars takes a sign of its own, so what follows ours must be a digit.
  if (at == text.size() || text[at] < '0' || text[at] > '9') return {};
  std::int64_t magnitude = 0;
  const auto [end, error] = std::from_chars(text.data() + at, text.data() + text.size(), magnitude);
  if (error == std::errc::result_out_of_range) magnitude = std::numeric_limits<std::int64_t>::max();
  return {negative ? -magnitude : magnitude, static_cast<std::size_t>(end - text.data())};
}

bool ReadInteger(std::string_view text, std::int32_t& value) {
  const std::int64_t number = ReadNumber(text).Value;
  if (number < std::numeric_limits<std::int32_t>::min() || number > std::numeric_limits<std::int32_t>::max()) {
    return false;
  }
  value = static_cast<std::int32_t>(number);
  return true;
}
