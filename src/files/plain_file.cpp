#include "files/plain_file.h"

#include <algorithm>
#include <cerrno>
#include <cinttypes>
#include <cstring>

namespace {

constexpr std::int64_t kLargestWholeFile = 999999999;
constexpr std::size_t kPropertiesUnit = 1024;
// The MQRFH2 header up to the properties: its fixed part and the length of the properties.
constexpr std::size_t kPropertiesHeader = sizeof(MQRFH2) + sizeof(MQLONG);
static_assert(kPropertiesHeader == 36 + 4);

std::int64_t LengthOf(const DelimiterRule& rule) { return static_cast<std::int64_t>(rule.Bytes.size()); }

// Makes the bytes the message in hand, with the default descriptor.
void HandOver(CurrentMessage& message, const char (&format)[9], char* data, std::size_t length) {
  message.Descriptor = MQMD{};
  std::memcpy(message.Descriptor.Format, format, sizeof message.Descriptor.Format);
  message.Data = reinterpret_cast<MQBYTE*>(data);
  message.Length = static_cast<MQLONG>(length);
  message.Delivered = message.Length;
}

// How much of property text belongs together at its start: a tag, quoted text, or one character.
std::size_t TokenLength(std::string_view text) {
  const char c = text[0];
  if (c != '<' && c != '"' && c != '\'') return 1;
  const std::size_t last = text.find(c == '<' ? '>' : c, 1);
  return last == std::string_view::npos ? text.size() : last + 1;
}

// Copies property text without the white space around tags; quoted text and what is inside a tag stay as they are.
// Returns the end of the copy.
char* CompactProperties(std::string_view text, char* out) {
  char* const first = out;
  bool behindTag = true;
  while (!text.empty()) {
    if (behindTag && IsBlank(text[0])) {
      text.remove_prefix(1);
      continue;
    }
    behindTag = text[0] == '<';
    while (behindTag && out != first && IsBlank(out[-1])) --out;
    const std::size_t taken = TokenLength(text);
    std::memcpy(out, text.data(), taken);
    out += taken;
    text.remove_prefix(taken);
  }
  return out;
}

std::size_t RoundUp(std::size_t value, std::size_t unit) { return (value + unit - 1) / unit * unit; }

// Reads the rest of the file, which is `size` bytes long as far as is known, and tells how much that was.
Result ReadAll(InputFile& in, std::int64_t size, MessageBuffer& buffer, std::size_t& held) {
  // One byte more than the size tells a file that has grown since.
  std::size_t wanted = static_cast<std::size_t>(size) + 1;
  for (held = 0;;) {
    if (size > kLargestWholeFile || held > kLargestWholeFile) {
      return {MQRC_FILE_SYSTEM_ERROR,
              FormatText("File is too large at %" PRId64 " bytes\n", std::max(size, static_cast<std::int64_t>(held)))};
    }
    if (wanted > buffer.size() && buffer.Grow(wanted).failed()) {
      return {MQRC_STORAGE_NOT_AVAILABLE,
              FormatText("Failed to allocate storage of %" PRId64 " bytes.\n", static_cast<std::int64_t>(wanted))};
    }
    const std::size_t read = in.Read(buffer.data() + held, buffer.size() - held);
    if (read == 0) return in.error() != 0 ? ReadFailed(in) : Result();
    held += read;
    if (held == buffer.size()) wanted = 2 * held;
  }
}

}  // namespace

// Where the next message starts. Text in front of it is skipped without a word.
Result PlainFileReader::FindStart(Cut& cut) {
  const DelimiterRule& rule = delimiters_.StartMessage;
  if (rule.Bytes.empty()) {
    while (input_.position() == input_.end() && !input_.ended()) {
      if (Result filled = input_.Fill(input_.position()); filled.failed()) return filled;
    }
    cut.End = input_.position() == input_.end();
    cut.Outer.From = cut.Inner.From = input_.position();
    return {};
  }
  DelimiterScan scan(rule, ScanMode::Start, input_.position(), brackets_);
  // Properties stand before the message.
  const std::int64_t keep = delimiters_.StartProperty.Bytes.empty() ? -1 : input_.position();
  ScanResult found;
  if (Result result = input_.Run(scan, keep, found); result.failed()) return result;
  if (found != ScanResult::Found) return DropTail(cut);
  cut.Outer.From = scan.Found;
  cut.Inner.From = scan.Found + LengthOf(rule);
  return {};
}

// The block of properties between the last message and the start of this one, if there is one.
Result PlainFileReader::FindProperties(Cut& cut) {
  const DelimiterRule& startRule = delimiters_.StartProperty;
  const DelimiterRule& endRule = delimiters_.EndProperty;
  const std::int64_t keep = input_.position();
  ScanResult found;
  DelimiterScan start(startRule, ScanMode::Start, keep, brackets_);
  start.Limit = cut.Outer.From;
  if (Result result = input_.Run(start, keep, found); result.failed()) return result;
  if (found != ScanResult::Found) return {};

  // The brackets of the start delimiter may be closed by the end delimiter.
  DelimiterScan end(endRule, ScanMode::End, start.Found, brackets_);
  end.CandidatesFrom = start.Found + LengthOf(startRule);
  end.Limit = cut.Outer.From;
  if (Result result = input_.Run(end, keep, found); result.failed()) return result;
  if (found != ScanResult::Found) {
    return {MQRC_FILE_SYSTEM_ERROR, FormatText("Missing end property delimiter '%.*s' .\n",
                                               static_cast<int>(endRule.Bytes.size()), endRule.Bytes.c_str())};
  }
  cut.HasProperties = true;
  cut.OuterProperties = {start.Found, end.Found + LengthOf(endRule)};
  cut.InnerProperties = {start.Found + LengthOf(startRule), end.Found};
  return {};
}

// Where the message ends; one that has no end is dropped.
Result PlainFileReader::FindEnd(Cut& cut) {
  const DelimiterRule& rule = delimiters_.EndMessage;
  const std::int64_t from = cut.HasProperties ? cut.OuterProperties.From : cut.Outer.From;
  DelimiterScan scan(rule, ScanMode::End, cut.Inner.From, brackets_);
  ScanResult found;
  if (Result result = input_.Run(scan, from, found); result.failed()) return result;
  if (found == ScanResult::Found) {
    cut.Inner.To = scan.Found;
    cut.Outer.To = scan.Found + LengthOf(rule);
  } else if (found == ScanResult::NeedsData && rule.Bytes == "\n" && scan.Balanced() && cut.Inner.From < input_.end()) {
    cut.Inner.To = cut.Outer.To = input_.end();  // a last line needs no line end
  } else {
    return DropTail(cut);
  }
  input_.TakeTo(cut.Outer.To);
  return {};
}

// Ends a file in which no further message was found: what is left of it, unless it is blank, is the run's loss.
Result PlainFileReader::DropTail(Cut& cut) {
  PlainTail tail;
  if (Result result = input_.TakeRest(tail); result.failed()) return result;
  cut.End = true;
  if (tail.Bytes == 0) return {};
  loss_ = MQRC_FILE_SYSTEM_ERROR;
  if (tellsLoss_) {
    screen_.Print("%" PRId64 " byte%s at the end of file '%s', from line %" PRId64
                  " on, not taken: no end of message found\n",
                  tail.Bytes, tail.Bytes == 1 ? "" : "s", files_.Name(), tail.Line);
  }
  return {};
}

Result PlainFileReader::FindInFile(Cut& cut) {
  cut.End = !files_.File().is_open();
  if (cut.End) return {};
  Result result = FindStart(cut);
  const bool seeksProperties = !delimiters_.StartProperty.Bytes.empty();
  if (seeksProperties && !result.failed() && !cut.End) result = FindProperties(cut);
  if (!result.failed() && !cut.End) result = FindEnd(cut);
  files_.Reached(input_.position());
  return result;
}

// Goes on with the next file of a set.
Result PlainFileReader::EndFile() {
  atEnd_ = !files_.IsSet();
  if (atEnd_) return {};
  files_.Close();
  input_.StartFile();
  Result opened = files_.OpenNext();
  atEnd_ = opened.failed();
  return opened.text().empty() ? Result() : std::move(opened);  // without a text the set has come to its end
}

Result PlainFileReader::Find(Cut& cut) {
  Result result = FindInFile(cut);
  while (!result.failed() && cut.End) {
    result = EndFile();
    if (result.failed() || atEnd_) break;
    cut = {};
    result = FindInFile(cut);
  }
  return result;
}

// The message with its properties in an MQRFH2 header before the data.
Result PlainFileReader::BuildWithProperties(CurrentMessage& message, Span properties, Span data) {
  const std::size_t size = kPropertiesHeader + RoundUp(properties.Length(), sizeof(MQLONG)) + data.Length();
  if (size > INT32_MAX || !properties_.Grow(RoundUp(size, kPropertiesUnit), 0)) {
    screen_.Print("Can not allocate buffer for message and properties (%" PRId64 ")\n",
                  static_cast<std::int64_t>(size));
    return MQRC_STORAGE_NOT_AVAILABLE;
  }
  const std::string_view text(input_.At(properties.From), properties.Length());
  char* const block = properties_.data();
  char* const first = block + kPropertiesHeader;
  char* last;
  if (asked_.KeepPropWhitespace) {
    std::memcpy(first, text.data(), text.size());
    last = first + text.size();
  } else {
    last = CompactProperties(text, first);
  }
  const std::size_t length = RoundUp(static_cast<std::size_t>(last - first), sizeof(MQLONG));
  std::memset(last, ' ', static_cast<std::size_t>(first + length - last));

  MQRFH2 header;
  header.StrucLength = static_cast<MQLONG>(kPropertiesHeader + length);
  std::memcpy(header.Format, MQFMT_STRING, sizeof header.Format);
  std::memcpy(block, &header, sizeof header);
  const auto nameValueLength = static_cast<MQLONG>(length);
  std::memcpy(block + sizeof header, &nameValueLength, sizeof nameValueLength);
  std::memcpy(first + length, input_.At(data.From), data.Length());
  HandOver(message, MQFMT_RF_HEADER_2, block, kPropertiesHeader + length + data.Length());
  return {};
}

Result PlainFileReader::ReadWholeFile(CurrentMessage& message) {
  InputFile& in = files_.File();
  if (!in.is_open()) {
    if (Result result = EndFile(); result.failed() || atEnd_) return result;
  }
  errno = 0;
  const std::int64_t size = in.Size();
  if (size < 0) {
    return {MQRC_FILE_SYSTEM_ERROR,
            FormatText("Failed to find the length of the input file RC(%d)\n", errno != 0 ? errno : ESPIPE)};
  }
  std::size_t held = 0;
  if (Result result = ReadAll(in, size, message.Buffer, held); result.failed()) return result;
  files_.Reached(static_cast<std::int64_t>(held));
  files_.Close();
  HandOver(message, MQFMT_STRING, reinterpret_cast<char*>(message.Buffer.data()), held);
  return {};
}

Result PlainFileReader::Read(CurrentMessage& message) {
  if (asked_.WholeFile) return ReadWholeFile(message);
  Cut cut;
  if (Result result = Find(cut); result.failed() || cut.End) return result;
  const Span data = asked_.IncludeMsgDelims ? cut.Outer : cut.Inner;
  if (cut.HasProperties) {
    const bool include = asked_.IncludePropDelims;
    return BuildWithProperties(message, include ? cut.OuterProperties : cut.InnerProperties, data);
  }
  if (data.Length() > INT32_MAX) return NoMessageStorage(static_cast<std::int64_t>(data.Length()));
  HandOver(message, MQFMT_STRING, input_.At(data.From), data.Length());
  return {};
}

Result PlainFileReader::Skip(bool& hasProperties) {
  Cut cut;
  Result result = Find(cut);
  hasProperties = cut.HasProperties;
  return result;
}
