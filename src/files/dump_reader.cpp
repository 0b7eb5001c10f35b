// The dump that IBM MQ's browse sample prints: a descriptor as names and values, then lines of offset, colon, hex
// digits and a character column.

#include <algorithm>
#include <charconv>
#include <cinttypes>

#include "common/console.h"
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

// The tokens of a descriptor, which goes on over lines.
class DumpTokens {
 public:
  explicit DumpTokens(LineReader& lines) : lines_(lines) {}
  // The next one. Its text stays valid until a line is read.
  Result Next(Token& kind, std::string_view& text);

 private:
  // Where it starts in the current line, or npos. An asterisk there ends what is useful of the line.
  std::size_t Start() const {
    const std::size_t start = lines_.Line.find_first_not_of(kTokenEnds, at_);
    return start != std::string_view::npos && lines_.Line[start] == '*' ? std::string_view::npos : start;
  }

  LineReader& lines_;
  std::size_t at_ = 0;  // where it is looked for in the current line
};

Result DumpTokens::Next(Token& kind, std::string_view& text) {
  std::size_t start = Start();
  while (start == std::string_view::npos) {
    if (Result result = lines_.Next(); result.failed()) return result;
    at_ = 0;
    kind = lines_.ended() ? Token::EndOfFile : Token::EndOfSection;
    if (lines_.ended() || lines_.Line.starts_with(kSectionMark)) return {};
    start = Start();
  }
  const std::string_view line = lines_.Line;
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
  at_ = std::min(stop + 1, line.size());
  return {};
}

// A byte value is written as X'414D51'.
Result StoreDumpValue(const LineReader& lines, MQMD& descriptor, const DescriptorField& field, std::string_view value) {
  if (field.Kind == FieldKind::Hex) {
    constexpr std::size_t kAround = 3;
    if (value.size() < kAround || !value.starts_with("X'") || !value.ends_with('\'')) {
      return lines.Refuse("Badly formed hex string on");
    }
    value = value.substr(2, value.size() - kAround);
  }
  return StoreFieldValue(descriptor, {&field, field.Kind}, value, lines);
}

// Inside a descriptor: the file was cut off there, or it is broken.
Result UnexpectedEnd(const LineReader& lines, bool& end) {
  end = true;
  return lines.cut_line().empty() ? lines.Refuse("Unexpected end of file on") : Result();
}

Result UnknownAttribute(const LineReader& lines, std::string_view name) {
  return {MQRC_FILE_SYSTEM_ERROR, FormatText("Unrecognised attribute '%.*s' on line %" PRId64 " of file '%s'",
                                             static_cast<int>(std::min(name.size(), std::size_t{INT16_MAX})),
                                             name.data(), lines.number(), lines.file_name())};
}

// One name and its value. `kind` is that of the last token: no text at the end of the section or of the file.
Result ReadDescriptorField(LineReader& lines, DumpTokens& tokens, MQMD& descriptor, Token& kind) {
  std::string_view text;
  if (Result result = tokens.Next(kind, text); result.failed() || kind != Token::Text) return result;
  const DescriptorField* const field = FindByLongName(text);
  if (field == nullptr) return UnknownAttribute(lines, text);
  if (Result result = tokens.Next(kind, text); result.failed() || kind == Token::EndOfFile) return result;
  if (kind == Token::EndOfSection) return lines.Refuse("Unexpected end of section on");
  return StoreDumpValue(lines, descriptor, *field, text);
}

Result ReadDescriptorSection(LineReader& lines, MQMD& descriptor, bool& end) {
  DumpTokens tokens(lines);
  Token kind = Token::Text;
  while (kind == Token::Text) {
    if (Result result = ReadDescriptorField(lines, tokens, descriptor, kind); result.failed()) return result;
  }
  return kind == Token::EndOfFile ? UnexpectedEnd(lines, end) : Result();
}

// Appends the digits behind the first colon of a line; other lines have none.
Result AppendDumpLine(const LineReader& lines, CurrentMessage& message) {
  const std::string_view line = lines.Line;
  std::size_t at = line.find(':');
  if (at == std::string_view::npos) return {};
  if (Result result = MakeRoom(message, line.size()); result.failed()) return result;
  MQBYTE* out = EndOfData(message);
  for (++at;; at += 2) {
    at = line.find_first_not_of(' ', at);
    if (at == std::string_view::npos) return {};
    const int high = HexDigit(line[at]);
    if (high < 0) return {};
    const int low = at + 1 < line.size() ? HexDigit(line[at + 1]) : -1;
    if (low < 0) return lines.Refuse(kBadHex);
    *out++ = static_cast<MQBYTE>(high << 4 | low);
    ++message.Length;
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

// The data that a message is said to have.
struct Announcement {
  std::int64_t Bytes = -1;  // -1: nothing was said
  std::int64_t Line = 0;

  void Look(const LineReader& lines) {
    const std::int64_t bytes = AnnouncedLength(lines.Line);
    if (bytes >= 0) *this = {bytes, lines.number()};
  }
};

// The data that is announced, or its announcement, is missing: a dump that ends there has been cut off.
Result RefuseShortData(LineReader& lines, const Announcement& announced, MQLONG length, bool& end) {
  end = lines.ended();
  if (end) {
    lines.NoteCut();
    return {};
  }
  return {MQRC_FILE_SYSTEM_ERROR, FormatText("Line %" PRId64 " of file '%s' announces %" PRId64
                                             " bytes of message data, but only %d bytes follow",
                                             announced.Line, lines.file_name(), announced.Bytes, length)};
}

Result ReadDataSection(LineReader& lines, CurrentMessage& message, bool& end) {
  Announcement announced;
  for (;;) {
    if (Result result = lines.Next(); result.failed()) return result;
    end = lines.ended();
    if (end && !lines.cut_line().empty()) return {};
    if (end || lines.Line.starts_with(kDataEnd)) break;
    announced.Look(lines);
    if (Result result = AppendDumpLine(lines, message); result.failed()) return result;
  }
  const bool nothing = end && announced.Bytes < 0 && message.Length == 0;
  end = false;
  if (!nothing && announced.Bytes <= message.Length) return {};
  return RefuseShortData(lines, announced, message.Length, end);
}

}  // namespace

Result ReadDumpMessage(LineReader& lines, CurrentMessage& message, bool& end) {
  message.Descriptor = DefaultDescriptor();
  message.Length = 0;
  // The format check leaves the line behind the file's mark current; a short dump begins its first message there.
  Result result = lines.Need();
  while (!result.failed() && !lines.ended() && !lines.Line.starts_with(kDescriptorMark)) result = lines.Next();
  end = lines.ended();
  if (result.failed() || end) return result;
  result = lines.Next();
  if (result.failed()) return result;
  if (lines.ended()) return UnexpectedEnd(lines, end);
  result = ReadDescriptorSection(lines, message.Descriptor, end);
  return result.failed() || end ? std::move(result) : ReadDataSection(lines, message, end);
}
