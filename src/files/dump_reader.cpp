// The dump that IBM MQ's browse sample prints: a descriptor as names and values, then lines of offset, colon, hex
// digits and a character column.

#include <algorithm>
#include <charconv>
#include <cinttypes>

#include "cmdline/parameters.h"
#include "files/field_values.h"
#include "files/hex.h"
#include "files/reader.h"

namespace {

constexpr std::string_view kDescriptorMark = "****Message descriptor****";
constexpr std::string_view kSectionMark = "****";
constexpr std::string_view kDataEnd = " MQ";
constexpr std::string_view kLengthMark = "length - ";
constexpr std::string_view kTokenEnds = "\t\n\r :";

enum class Token { Text, EndOfSection, EndOfFile };

// Where the next token starts in the current line, or npos. An asterisk there ends what is useful of the line.
std::size_t TokenStart(const ReaderState& reader) {
  const std::size_t start = reader.Line.find_first_not_of(kTokenEnds, reader.TokenEnd);
  return start != std::string_view::npos && reader.Line[start] == '*' ? std::string_view::npos : start;
}

// The next token of a descriptor, which may stand on a later line. It stays valid until a line is read.
MQLONG NextDumpToken(Parameters& run, Token& kind, std::string_view& text) {
  ReaderState& reader = run.Reader;
  std::size_t start = TokenStart(reader);
  while (start == std::string_view::npos) {
    bool end = false;
    if (const MQLONG reason = ReadFileLine(run, true, end); reason != 0) return reason;
    reader.TokenEnd = 0;
    kind = end ? Token::EndOfFile : Token::EndOfSection;
    if (end || reader.Line.starts_with(kSectionMark)) return 0;
    start = TokenStart(reader);
  }
  const std::string_view line = reader.Line;
  std::size_t stop = 0;
  if (line[start] == '\'') {
    ++start;
    stop = line.find('\'', start + 1);  // the first character of a quoted value belongs to it, whatever it is
  } else {
    stop = line.find_first_of(kTokenEnds, start);
  }
  stop = std::min(stop, line.size());
  kind = Token::Text;
  text = line.substr(start, stop - start);
  reader.TokenEnd = std::min(stop + 1, line.size());
  return 0;
}

// A byte value is written as X'414D51'.
MQLONG StoreDumpValue(Parameters& run, const DescriptorField& field, std::string_view value) {
  if (field.Kind == FieldKind::Hex) {
    constexpr std::size_t kAround = 3;
    if (value.size() < kAround || !value.starts_with("X'") || !value.ends_with('\'')) {
      return RefuseLine(run, "Badly formed hex string on");
    }
    value = value.substr(2, value.size() - kAround);
  }
  return StoreFieldValue(run, {&field, field.Kind}, value);
}

// Inside a descriptor: the file was cut off there, or it is broken.
MQLONG UnexpectedEnd(Parameters& run, bool& end) {
  end = true;
  if (!run.Reader.CutLine.empty()) return 0;
  run.Finished = true;
  return RefuseLine(run, "Unexpected end of file on");
}

MQLONG ReadDescriptorSection(Parameters& run, bool& end) {
  run.Reader.TokenEnd = 0;
  for (;;) {
    Token kind{};
    std::string_view text;
    if (const MQLONG reason = NextDumpToken(run, kind, text); reason != 0) return reason;
    if (kind == Token::EndOfFile) return UnexpectedEnd(run, end);
    if (kind == Token::EndOfSection) return 0;
    const DescriptorField* const field = FindByLongName(text);
    if (field == nullptr) {
      run.MessageText.Format("Unrecognised attribute '%.*s' on line %" PRId64 " of file '%s'",
                             static_cast<int>(std::min(text.size(), std::size_t{INT16_MAX})), text.data(),
                             run.Reader.LineNumber, run.Naming.InputName.c_str());
      return MQRC_FILE_SYSTEM_ERROR;
    }
    if (const MQLONG reason = NextDumpToken(run, kind, text); reason != 0) return reason;
    if (kind == Token::EndOfFile) return UnexpectedEnd(run, end);
    if (kind == Token::EndOfSection) return RefuseLine(run, "Unexpected end of section on");
    if (const MQLONG reason = StoreDumpValue(run, *field, text); reason != 0) return reason;
  }
}

// Appends the digits behind the first colon of a line; other lines have none.
MQLONG AppendDumpLine(Parameters& run) {
  const std::string_view line = run.Reader.Line;
  std::size_t at = line.find(':');
  if (at == std::string_view::npos) return 0;
  MQBYTE* out = RoomForData(run, line.size());
  if (out == nullptr) return MQRC_STORAGE_NOT_AVAILABLE;
  for (++at;; at += 2) {
    at = line.find_first_not_of(' ', at);
    if (at == std::string_view::npos) return 0;
    const int high = HexDigit(line[at]);
    if (high < 0) return 0;
    const int low = at + 1 < line.size() ? HexDigit(line[at + 1]) : -1;
    if (low < 0) return RefuseLine(run, kBadHex);
    *out++ = static_cast<MQBYTE>(high << 4 | low);
    ++run.Message.Length;
  }
}

// What "length - 5 of 33 bytes" announces: the last number before "bytes" is the length of the message. -1 when the
// line says something else.
std::int64_t AnnouncedLength(std::string_view line) {
  line.remove_prefix(std::min(line.find_first_not_of(' '), line.size()));
  if (!line.starts_with(kLengthMark)) return -1;
  line.remove_prefix(kLengthMark.size());
  std::int64_t announced = -1;
  for (;;) {
    std::int64_t number = 0;
    const auto result = std::from_chars(line.data(), line.data() + line.size(), number);
    if (result.ec != std::errc()) return announced;
    announced = std::max(announced, number);
    line.remove_prefix(static_cast<std::size_t>(result.ptr - line.data()));
    if (!line.starts_with(" of ")) return announced;
    line.remove_prefix(4);
  }
}

MQLONG ReadDataSection(Parameters& run, bool& end) {
  std::int64_t announced = -1;
  std::int64_t announcedAt = 0;
  for (;;) {
    if (const MQLONG reason = ReadFileLine(run, true, end); reason != 0) return reason;
    if (end && !run.Reader.CutLine.empty()) return 0;
    if (end || run.Reader.Line.starts_with(kDataEnd)) break;
    if (const std::int64_t length = AnnouncedLength(run.Reader.Line); length >= 0) {
      announced = length;
      announcedAt = run.Reader.LineNumber;
    }
    if (const MQLONG reason = AppendDumpLine(run); reason != 0) return reason;
  }
  if (announced > run.Message.Length) {
    run.Screen.Print("Line %" PRId64 " of file '%s' announces %" PRId64
                     " bytes of message data, but only %d bytes follow\n",
                     announcedAt, run.Naming.InputName.c_str(), announced, run.Message.Length);
  }
  end = false;
  return 0;
}

}  // namespace

MQLONG ReadDumpMessage(Parameters& run, bool& end) {
  run.Message.Descriptor = DefaultDescriptor();
  run.Message.Length = 0;
  // The format check leaves the line behind the file's mark current; a short dump begins its first message there.
  bool advance = false;
  do {
    if (const MQLONG reason = ReadFileLine(run, advance, end); reason != 0 || end) return reason;
    advance = true;
  } while (!run.Reader.Line.starts_with(kDescriptorMark));
  if (const MQLONG reason = ReadFileLine(run, true, end); reason != 0) return reason;
  if (end) return UnexpectedEnd(run, end);
  if (const MQLONG reason = ReadDescriptorSection(run, end); reason != 0 || end) return reason;
  return ReadDataSection(run, end);
}
