#include "files/field_values.h"

#include <algorithm>
#include <charconv>
#include <cinttypes>
#include <cstdint>

#include "common/console.h"
#include "files/hex.h"

namespace {

bool IsBlank(char c) { return c == ' ' || c == '\t' || c == '\r'; }

std::string_view WithoutBlanks(std::string_view text) {
  while (!text.empty() && IsBlank(text.front())) text.remove_prefix(1);
  while (!text.empty() && IsBlank(text.back())) text.remove_suffix(1);
  return text;
}

bool ReadNumber(std::string_view text, MQLONG& number) {
  if (text.starts_with('+') && !text.starts_with("+-")) text.remove_prefix(1);
  const char* const end = text.data() + text.size();
  const auto result = std::from_chars(text.data(), end, number);
  return result.ec == std::errc() && result.ptr == end;
}

}  // namespace

Result StoreFieldValue(MQMD& descriptor, TaggedField target, std::string_view value, const LineReader& lines) {
  char* const place = reinterpret_cast<char*>(&descriptor) + target.Field->Offset;
  const std::size_t length = target.Field->Length;
  switch (target.Kind) {
    case FieldKind::Integer: {
      const std::string_view digits = WithoutBlanks(value);
      MQLONG number = 0;
      if (digits.empty()) return {};
      if (!ReadNumber(digits, number)) return lines.Refuse("Invalid number on");
      std::memcpy(place, &number, sizeof number);
      return {};
    }
    case FieldKind::String:
      FillField(place, length, value);
      return {};
    case FieldKind::Hex: {
      const std::string_view digits = WithoutBlanks(value);
      const std::size_t bytes = DecodeHex(reinterpret_cast<MQBYTE*>(place), length, digits).Bytes;
      return 2 * bytes == digits.size() ? Result() : lines.Refuse(kBadHex);
    }
    case FieldKind::End:
      break;
  }
  return {MQRC_UNEXPECTED_ERROR,
          FormatText("Internal Eror:Unrecognised attribute type %d on line %" PRId64 " of file '%s'",
                     static_cast<int>(target.Kind), lines.number(), lines.file_name())};
}

Result GrowForData(CurrentMessage& message, std::size_t needed) {
  constexpr std::size_t kLargest = INT32_MAX;
  if (needed > kLargest) {
    return {MQRC_STORAGE_NOT_AVAILABLE, FormatText("Unable to allocate %d bytes message storage", INT32_MAX)};
  }
  return message.Buffer.Grow(needed <= kLargest / 4 ? 4 * needed : kLargest);
}
