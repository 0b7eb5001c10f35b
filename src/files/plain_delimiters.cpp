#include <string>

#include "cmdline/parameters.h"
#include "common/console.h"
#include "files/plain_file.h"

namespace {

constexpr char kLineFeed[] = "\n";
constexpr char kLineFeedTyped[] = "\\n";
constexpr int kHighestByte = 255;

MQLONG Refuse(Parameters& run, std::string_view text) {
  run.MessageText.Assign(text);
  return MQRCCF_PARM_VALUE_ERROR;
}

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

// The delimiters together must open and close their brackets in order.
MQLONG CheckOwnBrackets(Parameters& run, std::string_view joined) {
  std::string due;
  for (const char c : joined) {
    if (const char closing = ClosingBracket(c); closing != 0) {
      due += closing;
    } else if (c == ')' || c == '>' || c == ']' || c == '}') {
      if (due.empty() || due.back() != c) {
        run.MessageText.Format("Unmatched delimiter '%c' bracket.\n", due.empty() ? c : due.back());
        return MQRCCF_PARM_VALUE_ERROR;
      }
      due.pop_back();
    }
  }
  return due.empty() ? 0 : Refuse(run, "Unmatched delimiter brackets.\n");
}

MQLONG DecodeAll(Parameters& run) {
  PlainFileState& plain = run.Plain;
  const bool properties = !plain.StartProperty.Typed.empty();
  for (Delimiter* delimiter : {&plain.StartMessage, &plain.EndMessage, &plain.StartProperty, &plain.EndProperty}) {
    if (!properties && delimiter == &plain.StartProperty) break;
    if (const MQLONG reason = DecodeDelimiter(run, *delimiter); reason != 0) return reason;
  }
  return 0;
}

// Delimiters that could not be told apart.
MQLONG CompareDelimiters(Parameters& run) {
  const PlainFileState& plain = run.Plain;
  const std::string& start = plain.StartMessage.Bytes;
  const std::string& end = plain.EndMessage.Bytes;
  const std::string& startProperty = plain.StartProperty.Bytes;
  const std::string& endProperty = plain.EndProperty.Bytes;
  const bool properties = !startProperty.empty();
  const bool sameAllowed = run.Asked.Plain.SameDelims;
  constexpr char kAcross[] = "Message and Property delimiters are the same.\n";

  if (start == end && !sameAllowed) return Refuse(run, "Message delimiters are the same.\n");
  if (properties) {
    if (startProperty == endProperty && !sameAllowed) return Refuse(run, "Property delimiters are the same.\n");
    if (start == startProperty) return Refuse(run, kAcross);
    if (end == endProperty && end[0] != '\n') return Refuse(run, kAcross);
    if (start == endProperty || end == startProperty) return Refuse(run, kAcross);
  }
  if (start.empty() && (properties || !plain.EndProperty.Typed.empty())) {
    return Refuse(run, "Can't use single line Message delimiters with a Property delimiter.\n");
  }
  return 0;
}

}  // namespace

MQLONG DecodeDelimiter(Parameters& run, Delimiter& delimiter) {
  const std::string& typed = delimiter.Typed;
  delimiter.Bytes.clear();
  for (std::size_t i = 0; i < typed.size(); ++i) {
    if (typed[i] != '\\') {
      delimiter.Bytes += typed[i];
      continue;
    }
    ++i;
    const char kind = i < typed.size() ? typed[i] : '\0';
    if (kind == '\\') {
      delimiter.Bytes += '\\';
    } else if (kind == 'n') {
      delimiter.Bytes += '\n';
    } else if (IsDigit(kind)) {
      int code = 0;
      for (; i < typed.size() && IsDigit(typed[i]); ++i) {
        code = code * 10 + (typed[i] - '0');
        if (code > kHighestByte) {
          return Refuse(run, "Message delimiter character code must be between 0 and 255.\n");
        }
      }
      --i;  // the loop steps over the last digit
      delimiter.Bytes += static_cast<char>(code);
    } else {
      return Refuse(run, "Unrecognised Message delimiter character code.\n");
    }
  }
  return 0;
}

MQLONG PrepareDelimiters(Parameters& run) {
  PlainFileState& plain = run.Plain;
  if (!run.Asked.Output.OwnContext()) {
    return Refuse(run, "A non-TARVO file should be loaded with either DEFAULT or NO context.\n");
  }
  plain.StartMessage.Typed = run.Asked.Plain.StartMessage;
  plain.EndMessage.Typed = run.Asked.Plain.EndMessage;
  plain.StartProperty.Typed = run.Asked.Plain.StartProperty;
  plain.EndProperty.Typed = run.Asked.Plain.EndProperty;
  const bool noMessageDelimiter = plain.StartMessage.Typed.empty() && plain.EndMessage.Typed.empty();
  if (run.Asked.Plain.WholeFile) {
    return noMessageDelimiter ? 0 : Refuse(run, "Reading entire file does not require message delimiters.\n");
  }
  if ((run.Asked.Plain.IncludeMsgDelims && run.Asked.Plain.ExcludeMsgDelims) ||
      (run.Asked.Plain.IncludePropDelims && run.Asked.Plain.ExcludePropDelims)) {
    return Refuse(run, "You can not specify both 'include' and 'dont include' message/property delimiters.\n");
  }
  if (noMessageDelimiter) plain.EndMessage.Typed = kLineFeedTyped;
  if (plain.Pass != CountingPass::Done) {
    if (const MQLONG reason = DecodeAll(run); reason != 0) return reason;
  }
  if (plain.EndMessage.Bytes.empty()) plain.EndMessage.Bytes = kLineFeed;
  if (!plain.StartProperty.Bytes.empty() && plain.EndProperty.Bytes.empty()) plain.EndProperty.Bytes = kLineFeed;
  if (const MQLONG reason = CompareDelimiters(run); reason != 0) return reason;

  const bool brackets = !run.Asked.Plain.NoBrackets;
  if (brackets) {
    const MQLONG reason = CheckOwnBrackets(
        run, plain.StartMessage.Bytes + plain.EndMessage.Bytes + plain.StartProperty.Bytes + plain.EndProperty.Bytes);
    if (reason != 0) return reason;
  }
  plain.StartMessageRule = MakeDelimiterRule(plain.StartMessage.Bytes, brackets);
  plain.EndMessageRule = MakeDelimiterRule(plain.EndMessage.Bytes, brackets);
  plain.StartPropertyRule = MakeDelimiterRule(plain.StartProperty.Bytes, brackets);
  plain.EndPropertyRule = MakeDelimiterRule(plain.EndProperty.Bytes, brackets);
  return 0;
}
