#include "files/field_values.h"

#include <algorithm>
#include <charconv>
#include <cinttypes>
#include <cstdint>

#include "cmdline/parameters.h"
#include "files/hex.h"

namespace {

MQLONG ToInteger(std::string_view text) {
  const std::size_t first = text.find_first_not_of(" \t");
  if (first == std::string_view::npos) return 0;
  text.remove_prefix(first);
  const bool negative = text.front() == '-';
  if (text.front() == '+' && text.substr(1, 1) != "-") text.remove_prefix(1);
  MQLONG value = 0;
  const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
  if (result.ec != std::errc::result_out_of_range) return value;
  return negative ? INT32_MIN : INT32_MAX;
}

}  // namespace

MQLONG RefuseLine(Parameters& run, const char* what) {
  SetMessageText(run, "%s line %" PRId64 " of file '%s'", what, run.Reader.LineNumber, run.Naming.InputName.c_str());
  return MQRC_FILE_SYSTEM_ERROR;
}

MQLONG StoreFieldValue(Parameters& run, TaggedField target, std::string_view value) {
  char* const place = reinterpret_cast<char*>(&run.Message.Descriptor) + target.Field->Offset;
  const std::size_t length = target.Field->Length;
  switch (target.Kind) {
    case FieldKind::Integer: {
      const MQLONG number = ToInteger(value);
      std::memcpy(place, &number, sizeof number);
      return 0;
    }
    case FieldKind::String:
      FillField(place, length, value);
      return 0;
    case FieldKind::Hex: {
      const std::size_t room = std::min(length, value.size() / 2);
      return DecodeHex(reinterpret_cast<MQBYTE*>(place), room, value).Bad ? RefuseLine(run, kBadHex) : 0;
    }
    case FieldKind::End:
      break;
  }
  SetMessageText(run, "Internal Eror:Unrecognised attribute type %d on line %" PRId64 " of file '%s'",
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
    SetMessageText(run, "Unable to allocate %d bytes message storage", INT32_MAX);
    return nullptr;
  }
  if (GrowMessageBuffer(run, needed <= kLargest / 4 ? 4 * needed : kLargest) != 0) return nullptr;
  return message.Buffer.data() + length;
}
