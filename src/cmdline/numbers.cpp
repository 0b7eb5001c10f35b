#include "cmdline/numbers.h"

#include <charconv>

namespace {

// All of `text` as digits of the base. Unsigned, so that no sign counts as one of them.
std::optional<std::uint64_t> Digits(std::string_view text, int base) {
  std::uint64_t number = 0;
  const char* const end = text.data() + text.size();
  const auto [behind, error] = std::from_chars(text.data(), end, number, base);
  if (error != std::errc() || behind != end) return std::nullopt;
  return number;
}

}  // namespace

std::optional<std::int64_t> WholeNumber(std::string_view text, std::int64_t least, std::int64_t most) {
  const bool negative = least < 0 && text.starts_with('-');
  if (negative) text.remove_prefix(1);
  const auto magnitude = Digits(text, 10);
  if (!magnitude || *magnitude > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max())) {
    return std::nullopt;
  }
  const auto number = static_cast<std::int64_t>(*magnitude) * (negative ? -1 : 1);
  if (number < least || number > most) return std::nullopt;
  return number;
}

std::optional<std::int64_t> WholeHexNumber(std::string_view text, std::int64_t most) {
  if (text.starts_with("0x") || text.starts_with("0X")) text.remove_prefix(2);
  const auto number = Digits(text, 16);
  if (!number || *number > static_cast<std::uint64_t>(most)) return std::nullopt;
  return static_cast<std::int64_t>(*number);
}

std::string_view TakeDigits(std::string_view& text) {
  const std::string_view digits = text.substr(0, text.find_first_not_of("0123456789"));
  text.remove_prefix(digits.size());
  return digits;
}
