#include "files/reader.h"

#include <algorithm>
#include <cinttypes>
#include <cstring>

#include "cmdline/parameters.h"
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
MQLONG ParseAttributeLine(Parameters& run, const DescriptorField*& field) {
  const std::string_view line = run.Reader.Line;
  if (line.size() < kTagEnd) return RefuseLine(run, "Invalid attribute line on");
  const TaggedField target = FindByTag(line.substr(kTagColumn, kTagEnd - kTagColumn), field);
  if (target.Field == nullptr) return RefuseLine(run, "Unrecognised attribute on");
  field = target.Field;
  return line.size() > kValueColumn ? StoreFieldValue(run, target, line.substr(kValueColumn)) : 0;
}

// The steps below append one line's data at `out`, which has room for every byte of the line and one more, and tell how
// many bytes they appended.

MQLONG AppendHex(Parameters& run, MQBYTE* out, std::size_t& bytes) {
  const std::string_view digits = ValueOf(run.Reader.Line);
  const HexResult decoded = DecodeHex(out, digits.size(), digits);
  bytes = decoded.Bytes;
  return decoded.Bad ? RefuseLine(run, kBadHex) : 0;
}

MQLONG AppendText(Parameters& run, MQBYTE* out, std::size_t& bytes) {
  constexpr std::size_t kTextColumn = 2;
  std::string_view text = run.Reader.Line;
  text.remove_prefix(std::min(text.size(), kTextColumn));
  std::memcpy(out, text.data(), text.size());
  out[text.size()] = '\n';
  bytes = text.size() + 1;
  return 0;
}

// The text behind an opening quote.
MQLONG AppendQuoted(Parameters& run, std::string_view text, MQBYTE* out, std::size_t& bytes) {
  bytes = 0;
  for (;;) {
    const std::size_t plain = std::min(text.find('"'), text.find('~'));
    if (plain == std::string_view::npos) return RefuseLine(run, "Invalid string line - no terminating \" symbol on");
    std::memcpy(out + bytes, text.data(), plain);
    bytes += plain;
    if (text[plain] == '"') {
      return IsBlank(text.substr(plain + 1)) ? 0 : RefuseLine(run, "Unexpected text behind the closing \" symbol on");
    }
    const char escaped = plain + 1 < text.size() ? text[plain + 1] : '\0';
    if (escaped != '~' && escaped != '"') return RefuseLine(run, "Unexpected escape sequence on");
    out[bytes++] = static_cast<MQBYTE>(escaped);
    text.remove_prefix(plain + 2);
  }
}

MQLONG AppendString(Parameters& run, MQBYTE* out, std::size_t& bytes) {
  std::string_view text = ValueOf(run.Reader.Line);
  if (!text.empty() && text.front() == '"') return AppendQuoted(run, text.substr(1), out, bytes);
  const std::size_t last = text.find_last_not_of(' ');
  bytes = last == std::string_view::npos ? 0 : last + 1;
  std::memcpy(out, text.data(), bytes);
  return 0;
}

MQLONG AppendDataLine(Parameters& run) {
  const std::string_view line = run.Reader.Line;
  MQBYTE* const out = RoomForData(run, line.size());
  if (out == nullptr) return MQRC_STORAGE_NOT_AVAILABLE;
  std::size_t bytes = 0;
  const MQLONG reason = line.front() == 'X'   ? AppendHex(run, out, bytes)
                        : line.front() == 'S' ? AppendString(run, out, bytes)
                                              : AppendText(run, out, bytes);
  run.Message.Length += static_cast<MQLONG>(bytes);
  return reason;
}

MQLONG ReadDescriptorLines(Parameters& run, bool& end) {
  const char kind = run.Reader.Line.front();
  if (kind != 'A' && kind != 'N') {
    run.MessageText.Format("Expected message attribute at line % " PRId64 " of file '%s'", run.Reader.LineNumber,
                           run.Naming.InputName.c_str());
    return MQRC_FILE_SYSTEM_ERROR;
  }
  if (kind == 'N') {
    if (const MQLONG reason = ReadFileLine(run, true, end); reason != 0) return reason;
  }
  const DescriptorField* field = nullptr;
  while (!run.Reader.Line.empty() && run.Reader.Line.front() == 'A') {
    if (const MQLONG reason = ParseAttributeLine(run, field); reason != 0) return reason;
    if (const MQLONG reason = ReadFileLine(run, true, end); reason != 0) return reason;
  }
  const bool cut = end && !run.Reader.CutLine.empty();
  return cut || IsDataLine(run.Reader.Line) ? 0 : RefuseLine(run, "Expected message at");
}

// A full hex line is mostly followed by more of its length. Takes those that stand in the block and are digits
// throughout; the first line of any other form is left to the reading of lines.
MQLONG AppendLinesAlike(Parameters& run, std::size_t lineLength) {
  constexpr std::string_view kHexStart = "X ";
  ReaderState& reader = run.Reader;
  const std::size_t pairs = (lineLength - kHexStart.size()) / 2;
  for (;;) {
    const std::string_view ahead = reader.In.Ahead();
    if (ahead.size() <= lineLength || ahead[lineLength] != '\n' || !ahead.starts_with(kHexStart)) return 0;
    MQBYTE* const out = RoomForData(run, lineLength);
    if (out == nullptr) return MQRC_STORAGE_NOT_AVAILABLE;
    if (DecodeHex(out, pairs, ahead.substr(kHexStart.size(), 2 * pairs)).Bytes != pairs) return 0;
    reader.In.Skip(lineLength + 1);
    reader.FileBytes += static_cast<std::int64_t>(lineLength + 1);
    ++reader.LineNumber;
    run.Message.Length += static_cast<MQLONG>(pairs);
  }
}

MQLONG ReadDataLines(Parameters& run, bool& end) {
  const ReaderState& reader = run.Reader;
  while (IsDataLine(reader.Line)) {
    const MQLONG before = run.Message.Length;
    if (const MQLONG reason = AppendDataLine(run); reason != 0) return reason;
    const std::size_t lineLength = reader.Line.size();
    const auto digits = 2 * static_cast<std::size_t>(run.Message.Length - before);
    if (reader.Line.front() == 'X' && digits != 0 && lineLength == digits + 2) {
      if (const MQLONG reason = AppendLinesAlike(run, lineLength); reason != 0) return reason;
    }
    if (const MQLONG reason = ReadFileLine(run, true, end); reason != 0) {
      // Behind an empty line the message is whole. The failure stays with the file, so that the next read meets it.
      if (!reader.PassedEmptyLine) return reason;
      run.MessageText.clear();
    }
  }
  if (!end) return 0;
  if (!reader.CutLine.empty()) {
    end = !reader.PassedEmptyLine || IsDataLine(reader.CutLine);
    return 0;
  }
  // A file that is cut off between two data lines reads like a shorter message.
  if (!reader.PassedEmptyLine) {
    run.Screen.Print("File '%s' ends without an empty line behind its last message and may have been cut off\n",
                     run.Naming.InputName.c_str());
  }
  end = false;
  return 0;
}

// A file that ends inside a line has lost that line's rest, and with it the message that the line belongs to.
void TellIfCut(Parameters& run) {
  ReaderState& reader = run.Reader;
  if (reader.CutLine.empty()) return;
  reader.Loss = MQRC_FILE_SYSTEM_ERROR;
  run.Screen.Print("File '%s' has been cut off inside line %" PRId64 ": its whole messages end at byte %" PRId64
                   ", nothing behind is taken\n",
                   run.Naming.InputName.c_str(), reader.LineNumber, reader.WholeUpTo);
}

}  // namespace

bool IsMessageFileMark(std::string_view line) {
  return line.starts_with(kFileMarks[0]) || line.starts_with(kFileMarks[1]);
}

MQLONG CheckInputFormat(Parameters& run, bool& end) {
  ReaderState& reader = run.Reader;
  reader.In.KeepCarriageReturns();  // lines are read with either line end, and places are told in the file's own bytes
  reader.CutLine = {};
  reader.WholeUpTo = 0;
  reader.TokenEnd = 0;
  const bool later = run.FilesRead > 1;
  bool dump = later && run.Reader.ReadsDump;
  run.Reader.ReadsDump = true;  // until the kind is known, a line with an asterisk is no comment
  std::string_view line;
  do {
    if (const MQLONG reason = ReadFileLine(run, true, end); reason != 0) return reason;
    line = end ? reader.CutLine : reader.Line;
  } while (!end && IsBlank(line));
  const bool dumpMark = line.starts_with(kDumpMark);
  const bool fileMark = IsMessageFileMark(line);
  if (dumpMark || fileMark) dump = dumpMark;
  run.Reader.ReadsDump = dump;
  if (IsBlank(line)) {
    reader.CutLine = {};
    return 0;
  }
  if (!dumpMark && !fileMark && !later) {
    run.MessageText.Format("File '%s' does not appear to be a TARVO file", run.Naming.InputName.c_str());
    return MQRC_FILE_SYSTEM_ERROR;
  }
  const bool comment = !dump && line.front() == '*';
  return !end && (dumpMark || comment) ? ReadFileLine(run, true, end) : 0;
}

MQLONG ReadFileMessage(Parameters& run, bool& end) {
  run.Message.Descriptor = DefaultDescriptor();
  run.Message.Length = 0;
  if (const MQLONG reason = ReadFileLine(run, false, end); reason != 0 || end) return reason;
  if (const MQLONG reason = ReadDescriptorLines(run, end); reason != 0 || end) return reason;
  return ReadDataLines(run, end);
}

MQLONG ReadNextFileMessage(Parameters& run) {
  for (;;) {
    bool end = false;
    const bool dump = run.Reader.ReadsDump;
    if (const MQLONG reason = dump ? ReadDumpMessage(run, end) : ReadFileMessage(run, end); reason != 0) return reason;
    if (!end) {
      run.Reader.WholeUpTo = run.Reader.BehindLine;
      run.Message.Data = run.Message.Buffer.data();
      run.Message.Delivered = run.Message.Length;
      return 0;
    }
    TellIfCut(run);
    if (run.Naming.InputSet) {
      CloseInputFile(run);
      MQLONG reason = OpenFiles(run, {.Input = true});
      if (reason == 0) reason = CheckInputFormat(run, end);
      if (reason == 0) continue;
      if (!run.MessageText.empty()) return reason;  // without a text the set has come to its end
    }
    run.Finished = true;
    return 0;
  }
}
