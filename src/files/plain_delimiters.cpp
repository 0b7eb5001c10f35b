#include "files/plain_delimiters.h"

#include <string>

#include "common/console.h"
#include "mq/mqi.h"

namespace {

constexpr int kHighestByte = 255;

// What the delimiters stand for.
struct DelimiterBytes {
  std::string StartMessage, EndMessage, StartProperty, EndProperty;
};

Result Refuse(std::string_view text) { return {MQRCCF_PARM_VALUE_ERROR, text}; }

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

// The byte that decimal digits at the start of `typed`, which go, stand for.
Result DecodeNumber(std::string_view& typed, std::string& bytes) {
  int code = 0;
  for (; !typed.empty() && IsDigit(typed[0]); typed.remove_prefix(1)) {
    code = code * 10 + (typed[0] - '0');
    if (code > kHighestByte) return Refuse("Message delimiter character code must be between 0 and 255.\n");
  }
  bytes += static_cast<char>(code);
  return {};
}

// What stands behind a backslash.
Result DecodeEscape(std::string_view& typed, std::string& bytes) {
  const char kind = typed.empty() ? '\0' : typed[0];
  if (IsDigit(kind)) return DecodeNumber(typed, bytes);
  if (kind != '\\' && kind != 'n') return Refuse("Unrecognised Message delimiter character code.\n");
  bytes += kind == 'n' ? '\n' : kind;
  typed.remove_prefix(1);
  return {};
}

Result DecodeDelimiter(std::string_view typed, std::string& bytes) {
  while (!typed.empty()) {
    const char c = typed[0];
    typed.remove_prefix(1);
    if (c != '\\') {
      bytes += c;
    } else if (Result result = DecodeEscape(typed, bytes); result.failed()) {
      return result;
    }
  }
  return {};
}

// Where the end of a message or of properties is not given, a line feed is it.
Result DecodeAll(const PlainFileOptions& asked, DelimiterBytes& bytes) {
  const bool properties = !asked.StartProperty.empty();
  const std::pair<const std::string&, std::string&> delimiters[] = {{asked.StartMessage, bytes.StartMessage},
                                                                    {asked.EndMessage, bytes.EndMessage},
                                                                    {asked.StartProperty, bytes.StartProperty},
                                                                    {asked.EndProperty, bytes.EndProperty}};
  for (const auto& [typed, decoded] : delimiters) {
    if (!properties && &decoded == &bytes.StartProperty) break;
    if (Result result = DecodeDelimiter(typed, decoded); result.failed()) return result;
  }
  if (bytes.EndMessage.empty()) bytes.EndMessage = '\n';
  if (properties && bytes.EndProperty.empty()) bytes.EndProperty = '\n';
  return {};
}

// Options that exclude each other.
Result CheckOptions(const PlainFileOptions& asked) {
  if (asked.WholeFile && !(asked.StartMessage.empty() && asked.EndMessage.empty())) {
    return Refuse("Reading entire file does not require message delimiters.\n");
  }
  if (!asked.WholeFile &&
      ((asked.IncludeMsgDelims && asked.ExcludeMsgDelims) || (asked.IncludePropDelims && asked.ExcludePropDelims))) {
    return Refuse("You can not specify both 'include' and 'dont include' message/property delimiters.\n");
  }
  return {};
}

// Whether a delimiter of properties is one of messages as well. Both may end with their line.
bool ShareOne(const DelimiterBytes& bytes) {
  const auto& [start, end, startProperty, endProperty] = bytes;
  if (start == startProperty || start == endProperty || end == startProperty) return true;
  return end == endProperty && end[0] != '\n';
}

// Delimiters that could not be told apart.
Result CompareDelimiters(const PlainFileOptions& asked, const DelimiterBytes& bytes) {
  const auto& [start, end, startProperty, endProperty] = bytes;
  const bool properties = !startProperty.empty();
  if (start == end && !asked.SameDelims) return Refuse("Message delimiters are the same.\n");
  if (properties) {
    if (startProperty == endProperty && !asked.SameDelims) return Refuse("Property delimiters are the same.\n");
    if (ShareOne(bytes)) return Refuse("Message and Property delimiters are the same.\n");
  }
  if (start.empty() && (properties || !asked.EndProperty.empty())) {
    return Refuse("Can't use single line Message delimiters with a Property delimiter.\n");
  }
  return {};
}

// The delimiters together must open and close their brackets in order.
Result CheckBrackets(const DelimiterBytes& bytes) {
  std::string due;
  for (const char c : bytes.StartMessage + bytes.EndMessage + bytes.StartProperty + bytes.EndProperty) {
    if (const char closing = ClosingBracket(c); closing != 0) {
      due += closing;
    } else if (IsClosingBracket(c)) {
      if (due.empty() || due.back() != c) {
        return Refuse(FormatText("Unmatched delimiter '%c' bracket.\n", due.empty() ? c : due.back()));
      }
      due.pop_back();
    }
  }
  return due.empty() ? Result() : Refuse("Unmatched delimiter brackets.\n");
}

}  // namespace

Result MakePlainDelimiters(const PlainFileOptions& asked, PlainDelimiters& delimiters) {
  if (Result result = CheckOptions(asked); result.failed() || asked.WholeFile) return result;
  DelimiterBytes bytes;
  if (Result result = DecodeAll(asked, bytes); result.failed()) return result;
  if (Result result = CompareDelimiters(asked, bytes); result.failed()) return result;

  const bool brackets = !asked.NoBrackets;
  if (brackets) {
    if (Result result = CheckBrackets(bytes); result.failed()) return result;
  }
  delimiters = {MakeDelimiterRule(bytes.StartMessage, brackets), MakeDelimiterRule(bytes.EndMessage, brackets),
                MakeDelimiterRule(bytes.StartProperty, brackets), MakeDelimiterRule(bytes.EndProperty, brackets)};
  return {};
}
