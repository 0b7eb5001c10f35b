#include "files/reader.h"

#include <algorithm>
#include <cinttypes>
#include <cstring>

#include "common/console.h"
#include "files/field_values.h"
#include "files/hex.h"

namespace {

constexpr char kDumpMark[] = "AMQSBCG0";
constexpr std::string_view kFileMarks[] = {"* TARVO", "* KORVANEL"};

bool IsBlank(std::string_view text) { return text.find_first_not_of("\t\r ") == std::string_view::npos; }

bool IsDataLine(std::string_view line) {
  return !line.empty() && (line.front() == 'X' || line.front() == 'S' || line.front() == 'T');
}

// What stands behind the letter of a data line, from its first character that is no blank.
std::string_view ValueOf(std::string_view line) {
  const std::size_t first = line.find_first_not_of(' ', 1);
  return line.substr(std::min(first, line.size()));
}

// The columns of "A TAG value".
constexpr std::size_t kTagColumn = 2;
constexpr std::size_t kTagEnd = kTagColumn + 3;
constexpr std::size_t kValueColumn = kTagEnd + 1;

// Stores the field of the current line. `field` is the one of the line before, then the one of this line.
Result ParseAttributeLine(const LineReader& lines, MQMD& descriptor, const DescriptorField*& field) {
  const std::string_view line = lines.Line;
  if (line.size() < kTagEnd) return lines.Refuse("Invalid attribute line on");
  const TaggedField target = FindByTag(line.substr(kTagColumn, kTagEnd - kTagColumn), field);
  if (target.Field == nullptr) return lines.Refuse("Unrecognised attribute on");
  field = target.Field;
  if (line.size() <= kValueColumn) return {};
  return StoreFieldValue(descriptor, target, line.substr(kValueColumn), lines);
}

// The steps below append one line's data at `out`, which has room for every byte of the line and one more, and tell how
// many bytes they appended.

Result AppendHex(const LineReader& lines, MQBYTE* out, std::size_t& bytes) {
  const std::string_view digits = ValueOf(lines.Line);
  const HexResult decoded = DecodeHex(out, digits.size(), digits);
  bytes = decoded.Bytes;
  return decoded.Bad ? lines.Refuse(kBadHex) : Result();
}

Result AppendText(const LineReader& lines, MQBYTE* out, std::size_t& bytes) {
  constexpr std::size_t kTextColumn = 2;
  std::string_view text = lines.Line;
  text.remove_prefix(std::min(text.size(), kTextColumn));
  std::memcpy(out, text.data(), text.size());
  out[text.size()] = '\n';
  bytes = text.size() + 1;
  return {};
}

// The text behind an opening quote.
Result AppendQuoted(const LineReader& lines, std::string_view text, MQBYTE* out, std::size_t& bytes) {
  bytes = 0;
  for (;;) {
    const std::size_t plain = std::min(text.find('"'), text.find('~'));
    if (plain == std::string_view::npos) return lines.Refuse("Invalid string line - no terminating \" symbol on");
    std::memcpy(out + bytes, text.data(), plain);
    bytes += plain;
    if (text[plain] == '"') {
      return IsBlank(text.substr(plain + 1)) ? Result()
                                             : lines.Refuse("Unexpected text behind the closing \" symbol on");
    }
    const char escaped = plain + 1 < text.size() ? text[plain + 1] : '\0';
    if (escaped != '~' && escaped != '"') return lines.Refuse("Unexpected escape sequence on");
    out[bytes++] = static_cast<MQBYTE>(escaped);
    text.remove_prefix(plain + 2);
  }
}

Result AppendString(const LineReader& lines, MQBYTE* out, std::size_t& bytes) {
  std::string_view text = ValueOf(lines.Line);
  if (!text.empty() && text.front() == '"') return AppendQuoted(lines, text.substr(1), out, bytes);
  const std::size_t last = text.find_last_not_of(' ');
  bytes = last == std::string_view::npos ? 0 : last + 1;
  std::memcpy(out, text.data(), bytes);
  return {};
}

Result AppendDataLine(const LineReader& lines, CurrentMessage& message) {
  const std::string_view line = lines.Line;
  if (Result result = MakeRoom(message, line.size()); result.failed()) return result;
  MQBYTE* const out = EndOfData(message);
  std::size_t bytes = 0;
  Result result = line.front() == 'X'   ? AppendHex(lines, out, bytes)
                  : line.front() == 'S' ? AppendString(lines, out, bytes)
                                        : AppendText(lines, out, bytes);
  message.Length += static_cast<MQLONG>(bytes);
  return result;
}

Result ReadDescriptorLines(LineReader& lines, MQMD& descriptor, bool& end) {
  const char kind = lines.Line.front();
  if (kind != 'A' && kind != 'N') {
    return {MQRC_FILE_SYSTEM_ERROR, FormatText("Expected message attribute at line % " PRId64 " of file '%s'",
                                               lines.number(), lines.file_name())};
  }
  if (kind == 'N') {
    if (Result result = lines.Next(); result.failed()) return result;
  }
  const DescriptorField* field = nullptr;
  while (!lines.ended() && lines.Line.front() == 'A') {
    if (Result result = ParseAttributeLine(lines, descriptor, field); result.failed()) return result;
    if (Result result = lines.Next(); result.failed()) return result;
  }
  end = lines.ended();
  const bool cut = end && !lines.cut_line().empty();
  return cut || IsDataLine(lines.Line) ? Result() : lines.Refuse("Expected message at");
}

// A full hex line is mostly followed by more of its length. Takes those that stand in the block and are digits
// throughout; the first line of any other form is left to the reading of lines.
Result AppendLinesAlike(LineReader& lines, CurrentMessage& message, std::size_t lineLength) {
  constexpr std::string_view kHexStart = "X ";
  const std::size_t pairs = (lineLength - kHexStart.size()) / 2;
  for (;;) {
    const std::string_view ahead = lines.Ahead();
    if (ahead.size() <= lineLength || ahead[lineLength] != '\n' || !ahead.starts_with(kHexStart)) return {};
    if (Result result = MakeRoom(message, lineLength); result.failed()) return result;
    const std::string_view digits = ahead.substr(kHexStart.size(), 2 * pairs);
    if (DecodeHex(EndOfData(message), pairs, digits).Bytes != pairs) return {};
    lines.SkipLine(lineLength + 1);
    message.Length += static_cast<MQLONG>(pairs);
  }
}

// The current line and those like it.
Result AppendDataLines(LineReader& lines, CurrentMessage& message) {
  const MQLONG before = message.Length;
  if (Result result = AppendDataLine(lines, message); result.failed()) return result;
  const std::size_t lineLength = lines.Line.size();
  const auto digits = 2 * static_cast<std::size_t>(message.Length - before);
  const bool full = lines.Line.front() == 'X' && digits != 0 && lineLength == digits + 2;
  return full ? AppendLinesAlike(lines, message, lineLength) : Result();
}

// At the end of the file: a message that is not cut off is whole.
void EndDataLines(const LineReader& lines, Console& screen, bool& end) {
  if (!lines.cut_line().empty()) {
    end = !lines.passed_empty_line() || IsDataLine(lines.cut_line());
    return;
  }
  // A file that is cut off between two data lines reads like a shorter message.
  if (!lines.passed_empty_line()) {
    screen.Print("File '%s' ends without an empty line behind its last message and may have been cut off\n",
                 lines.file_name());
  }
  end = false;
}

Result ReadDataLines(LineReader& lines, Console& screen, CurrentMessage& message, bool& end) {
  while (IsDataLine(lines.Line)) {
    if (Result result = AppendDataLines(lines, message); result.failed()) return result;
    if (Result result = lines.Next(); result.failed()) {
      // Behind an empty line the message is whole. The failure stays with the file, so that the next read meets it.
      return lines.passed_empty_line() ? Result() : std::move(result);
    }
  }
  if (lines.ended()) EndDataLines(lines, screen, end);
  return {};
}

// The first line of a file that is not blank, if any, even one that is cut off.
Result FindFirstLine(LineReader& lines, std::string_view& line) {
  do {
    if (Result result = lines.Next(); result.failed()) return result;
    line = lines.ended() ? lines.cut_line() : lines.Line;
  } while (!lines.ended() && IsBlank(line));
  return {};
}

// Goes on with the next file of a set.
Result StartNextFile(InputFiles& files, MessageFileReader& reader) {
  files.Close();
  Result result = files.OpenNext();
  bool empty = false;
  return result.failed() ? std::move(result) : reader.StartFile(empty);
}

}  // namespace

bool IsMessageFileMark(std::string_view line) {
  return line.starts_with(kFileMarks[0]) || line.starts_with(kFileMarks[1]);
}

Result ReadFileMessage(LineReader& lines, Console& screen, CurrentMessage& message, bool& end) {
  message.Descriptor = DefaultDescriptor();
  message.Length = 0;
  end = false;
  if (Result result = lines.Need(); result.failed()) return result;
  end = lines.ended();
  if (end) return {};
  if (Result result = ReadDescriptorLines(lines, message.Descriptor, end); result.failed() || end) return result;
  return ReadDataLines(lines, screen, message, end);
}

// A file that ends inside a line has lost that line's rest, and with it the message that the line belongs to. One that
// ends behind a line has lost what it announces.
void MessageFileReader::TellIfCut() {
  const bool insideLine = !lines_.cut_line().empty();
  if (!insideLine && !lines_.cut_noted()) return;
  loss_ = MQRC_FILE_SYSTEM_ERROR;
  screen_.Print("File '%s' has been cut off %s line %" PRId64 ": its whole messages end at byte %" PRId64
                ", nothing behind is taken\n",
                lines_.file_name(), insideLine ? "inside" : "behind", lines_.number(), wholeUpTo_);
}

Result MessageFileReader::StartFile(bool& empty) {
  lines_.StartFile();
  wholeUpTo_ = 0;
  lines_.CountComments(true);  // until the kind is known, a line with an asterisk is no comment
  std::string_view line;
  if (Result result = FindFirstLine(lines_, line); result.failed()) return result;
  const bool later = files_.FilesRead() > 1;
  const bool dumpMark = line.starts_with(kDumpMark);
  const bool fileMark = IsMessageFileMark(line);
  if (dumpMark || fileMark) readsDump_ = dumpMark;
  lines_.CountComments(readsDump_);
  if (IsBlank(line)) lines_.ForgetCutLine();
  empty = lines_.ended() && lines_.cut_line().empty();
  if (IsBlank(line)) return {};
  if (!dumpMark && !fileMark && !later) {
    return {MQRC_FILE_SYSTEM_ERROR, FormatText("File '%s' does not appear to be a TARVO file", lines_.file_name())};
  }
  const bool comment = !readsDump_ && line.front() == '*';
  if (lines_.ended() || !(dumpMark || comment)) return {};
  Result result = lines_.Next();
  empty = lines_.ended() && lines_.cut_line().empty();
  return result;
}

Result MessageFileReader::ReadMessage(CurrentMessage& message, bool& end) {
  return readsDump_ ? ReadDumpMessage(lines_, message, end) : ReadFileMessage(lines_, screen_, message, end);
}

Result MessageFileReader::Read(CurrentMessage& message) {
  for (;;) {
    bool end = false;
    Result result = ReadMessage(message, end);
    files_.Reached(lines_.position());
    if (result.failed()) return result;
    if (!end) {
      wholeUpTo_ = lines_.behind_line();
      message.Data = message.Buffer.data();
      message.Delivered = message.Length;
      return {};
    }
    TellIfCut();
    if (files_.IsSet()) result = StartNextFile(files_, *this);
    if (!result.text().empty()) return result;
    atEnd_ = !files_.IsSet() || result.failed();  // without a text the set has come to its end
    if (atEnd_) return {};
  }
}
