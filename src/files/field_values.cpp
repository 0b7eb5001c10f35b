#include "files/field_values.h"

#include <algorithm>
#include <charconv>
#include <cinttypes>
#include <cstdint>

#include "cmdline/parameters.h"
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

MQLONG RefuseLine(Parameters& run, const char* what) {
  run.MessageText.Format("%s line %" PRId64 " of file '%s'", what, run.Reader.LineNumber, run.Naming.InputName.c_str());
  return MQRC_FILE_SYSTEM_ERROR;
}

MQLONG StoreFieldValue(Parameters& run, TaggedField target, std::string_view value) {
  char* const place = reinterpret_cast<char*>(&run.Message.Descriptor) + target.Field->Offset;
  const std::size_t length = target.Field->Length;
  switch (target.Kind) {
    case FieldKind::Integer: {
      const std::string_view digits = WithoutBlanks(value);
      MQLONG number = 0;
      if (digits.empty()) return 0;
      if (!ReadNumber(digits, number)) return RefuseLine(run, "Invalid number on");
      std::memcpy(place, &number, sizeof number);
      return 0;
    }
    case FieldKind::String:
      FillField(place, length, value);
      return 0;
    case FieldKind::Hex: {
      const std::string_view digits = WithoutBlanks(value);
      const std::size_t bytes = DecodeHex(reinterpret_cast<MQBYTE*>(place), length, digits).Bytes;
      return 2 * bytes == digits.size() ? 0 : RefuseLine(run, kBadHex);
    }
    case FieldKind::End:
      break;
  }
  run.MessageText.Format("Internal Eror:Unrecognised attribute type %d on line %" PRId64 " of file '%s'",
                         static_cast<int>(target.Kind), run.Reader.LineNumber, run.Naming.InputName.c_str());
  return MQRC_UNEXPECTED_ERROR;
}

MQBYTE* RoomForData(Parameters& run, std::size_t bytes) {
  CurrentMessage& message = run.Message;
  const std::size_t length = static_cast<std::size_t>(message.Length);
  const std::size_t needed = length + bytes;
  if (needed < message.Buffer.size()) return message.Buffer.data() + length;
  constexpr std::size_t kLargest = INT32_MAX;
  if (needed > kLargest) {
    run.MessageText.Format("Unable to allocate %d bytes message storage", INT32_MAX);
    return nullptr;
  }
  if (run.Keep(message.Buffer.Grow(needed <= kLargest / 4 ? 4 * needed : kLargest)) != 0) return nullptr;
  return message.Buffer.data() + length;
}
