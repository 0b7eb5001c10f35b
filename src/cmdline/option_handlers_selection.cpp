// Which messages a run takes: -s -S -e -E -x -X -g -G -H -P -r -T -z.

#include <cstring>
#include <string>
#include <string_view>

#include "cmdline/command_line.h"
#include "cmdline/option_handlers.h"
#include "cmdline/value_parsers.h"
#include "common/member.h"
#include "common/text.h"
#include "engine/code_pages.h"
#include "mq/reasons.h"

namespace {

constexpr int kNoDigit = -1;

int HexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  return kNoDigit;
}

bool IsHex(std::string_view text) {
  for (const char c : text) {
    if (HexDigit(c) == kNoDigit) return false;
  }
  return true;
}

// The byte of the digit pair at `index` of a text of hex digits.
unsigned char HexByte(std::string_view digits, std::size_t index) {
  return static_cast<unsigned char>(HexDigit(digits[2 * index]) * 16 + HexDigit(digits[2 * index + 1]));
}

// What the six search options differ in.
struct SearchKind {
  Member<SelectionOptions, std::vector<std::string>> Strings;
  enum { Text, Ebcdic, Hex } Form;
  const char* Name;         // in the refusal of a fourth string
  const char* LimitedName;  // in the refusal of a long one
  const char* NoHexName;    // in the refusal of what is no hex
};

bool AddSearchString(OptionScan& scan, const SearchKind& kind, const char* argument) {
  constexpr std::size_t kMostStrings = 3;
  constexpr std::size_t kMostBytes = 99;
  CommandLine& line = scan.Line;
  const std::string_view text = argument;
  const bool isHex = kind.Form == SearchKind::Hex;
  line.Asked.Selection.Active = true;

  std::vector<std::string>& strings = line.Asked.Selection.*kind.Strings;
  if (strings.size() == kMostStrings) {
    line.Screen.Print("Sorry, you can only specify %d %s search strings\n", static_cast<int>(kMostStrings), kind.Name);
    return false;
  }
  const std::size_t longest = isHex ? kMostBytes * 2 : kMostBytes;
  if (text.size() > longest) {
    line.Screen.Print("Sorry the %ssearch string is limited to %d characters\n", kind.LimitedName,
                      static_cast<int>(longest));
    return false;
  }
  if (isHex && !IsHex(text)) {
    line.Screen.Print("Sorry the %shex search string does not appear to be hex\n", kind.NoHexName);
    return false;
  }
  // A criterion without a byte would be met by every message.
  const std::size_t bytes = isHex ? text.size() / 2 : text.size();
  if (bytes == 0) {
    line.Screen.Print("Sorry the search string must not be empty\n");
    return false;
  }
  std::string& string = strings.emplace_back();
  for (std::size_t i = 0; i < bytes; ++i) {
    const unsigned char byte = isHex ? HexByte(text, i) : static_cast<unsigned char>(text[i]);
    string += static_cast<char>(kind.Form == SearchKind::Ebcdic ? AsciiToEbcdic(byte) : byte);
  }
  return true;
}

constexpr SearchKind kAscii = {&SelectionOptions::Ascii, SearchKind::Text, "ASCII", "", ""};
constexpr SearchKind kAsciiNot = {&SelectionOptions::AsciiNot, SearchKind::Text, "ASCII 'not'", "", ""};
constexpr SearchKind kEbcdic = {&SelectionOptions::Ebcdic, SearchKind::Ebcdic, "Ebcdic", "", ""};
constexpr SearchKind kEbcdicNot = {&SelectionOptions::EbcdicNot, SearchKind::Ebcdic, "Ebcdic 'not'", "", ""};
constexpr SearchKind kHex = {&SelectionOptions::Hex, SearchKind::Hex, "Hex", "hex ", ""};
constexpr SearchKind kHexNot = {&SelectionOptions::HexNot, SearchKind::Hex, "Hex 'not'", "", "negative "};

struct IdentifierKind {
  char Letter;
  Member<SelectionOptions, std::optional<Identifier>> Field;
};
constexpr IdentifierKind kIdentifiers[] = {
    {'m', &SelectionOptions::MsgId},
    {'c', &SelectionOptions::CorrelId},
    {'g', &SelectionOptions::GroupId},
};

const IdentifierKind* FindIdentifier(char letter) {
  for (const IdentifierKind& kind : kIdentifiers) {
    if (kind.Letter == letter) return &kind;
  }
  return nullptr;
}

// Reads hex digit pairs into an identifier, zeros behind them. An identifier of zeros is none: it would match every
// message, so it is refused like a text that is no hex.
bool ReadHexIdentifier(CommandLine& line, std::string_view text, Identifier& identifier) {
  if (text.size() < 2 || !IsHex(text)) {
    line.Screen.Print("Sorry the hex identifier does not appear to be hex\n");
    return false;
  }
  bool isNone = true;
  identifier.fill(0);
  for (std::size_t i = 0; i < text.size() / 2; ++i) {
    identifier[i] = HexByte(text, i);
    isNone = isNone && identifier[i] == 0;
  }
  if (isNone) line.Screen.Print("Sorry the hex identifier must not be all zeros\n");
  return !isNone;
}

// Takes a position or count of a message range from the front of `text`, 0 without a digit. False when it does not fit.
bool TakePosition(std::string_view& text, int& position) {
  const std::string_view digits = TakeDigits(text);
  if (digits.empty()) return true;
  const auto number = WholeNumber(digits, 0, kMostInteger);
  if (number) position = static_cast<int>(*number);
  return number.has_value();
}

// What stands behind the first position of a range: "..", "..y" or "#n". False when it is something else.
bool ReadRangeEnd(std::string_view text, int start, std::int64_t& last) {
  const bool counted = text.front() == '#';
  if (!counted && !text.starts_with("..")) return false;
  text.remove_prefix(counted ? 1 : 2);
  int number = 0;
  if (!TakePosition(text, number) || !text.empty() || (counted && number == 0)) return false;
  last = counted && start != 0 ? std::int64_t{start} + number - 1 : number;
  return last <= kMostInteger;
}

// "x", "x..", "x..y", "..y", "x#n" or "#n" into bounds, 0 for an open one. A range that is open on both sides is none.
bool ReadRange(std::string_view text, int& start, int& end) {
  start = end = 0;
  if (!TakePosition(text, start)) return false;
  std::int64_t last = start;
  if (!text.empty() && !ReadRangeEnd(text, start, last)) return false;
  end = static_cast<int>(last);
  return start != 0 || end != 0;
}

}  // namespace

bool HandleAsciiSearch(OptionScan& scan, const char* argument) { return AddSearchString(scan, kAscii, argument); }
bool HandleAsciiNotSearch(OptionScan& scan, const char* argument) { return AddSearchString(scan, kAsciiNot, argument); }
bool HandleEbcdicSearch(OptionScan& scan, const char* argument) { return AddSearchString(scan, kEbcdic, argument); }
bool HandleEbcdicNotSearch(OptionScan& scan, const char* argument) {
  return AddSearchString(scan, kEbcdicNot, argument);
}
bool HandleHexSearch(OptionScan& scan, const char* argument) { return AddSearchString(scan, kHex, argument); }
bool HandleHexNotSearch(OptionScan& scan, const char* argument) { return AddSearchString(scan, kHexNot, argument); }

bool HandleIdentifier(OptionScan& scan, const char* argument) {
  CommandLine& line = scan.Line;
  const bool isHex = argument[0] == 'x';
  const char letter = isHex ? argument[1] : argument[0];
  const IdentifierKind* kind = FindIdentifier(letter);
  if (kind == nullptr) {
    if (isHex) {
      line.Screen.Print("Unrecognised 'g' flag '%c', please specify 'm','c' or 'g'\n", letter);
    } else {
      line.Screen.Print("Unrecognised 'g' flag '%c', please specify 'm',c','g' or 'x'\n", letter);
    }
    return false;
  }
  const std::string_view value = argument + (isHex ? 2 : 1);
  Identifier& identifier = (line.Asked.Selection.*kind->Field).emplace();
  const std::size_t longest = isHex ? 2 * sizeof identifier : sizeof identifier;
  if (value.size() > longest) {
    line.Screen.Print("Sorry the identifier is limited to %d characters\n", static_cast<int>(longest));
    return false;
  }
  if (isHex) return ReadHexIdentifier(line, value, identifier);
  FillField(reinterpret_cast<char*>(identifier.data()), sizeof identifier, value);
  return true;
}

bool HandleGetFilter(OptionScan& scan, const char* argument) {
  CommandLine& line = scan.Line;
  if (!CheckColon(scan, argument)) return false;
  const std::string_view value = argument + 2;
  switch (argument[0]) {
    case 'i':
      if (!value.empty()) return RefuseArgument(scan, argument);
      line.Asked.Selection.Invert = true;
      return true;
    case 'r': {
      std::int32_t& wanted = line.Asked.Selection.DlqReason.emplace();
      line.Asked.Selection.Active = true;
      if (const auto reason = ReasonNamed(value)) {
        wanted = *reason;
        return true;
      }
      return StoreNumber(scan, argument, value, wanted);
    }
    case 't': {
      const std::optional<QueueName> masks = SplitNames(scan.Queues, value, "destination");
      if (!masks) return false;
      if (masks->Queue.empty()) return RefuseArgument(scan, argument);
      line.Asked.Selection.Target = *masks;
      line.Asked.Selection.Active = true;
      return true;
    }
    default:
      line.Screen.Print("Unrecognised 'G' flag '%c'\n", argument[0]);
      return false;
  }
}

bool HandleSelector(OptionScan& scan, const char* argument) {
  if (argument[0] == '\0') return RefuseArgument(scan, argument);
  scan.Line.Asked.Selection.Active = true;
  scan.Line.Asked.Selection.Selector = argument;
  return true;
}

bool HandlePriority(OptionScan& scan, const char* argument) {
  CommandLine& line = scan.Line;
  const std::string_view text = argument;
  const std::size_t comma = text.find(',');
  const std::string_view least = text.substr(0, comma);
  const std::string_view most = comma == std::string_view::npos ? std::string_view() : text.substr(comma + 1);
  if (least.empty() && most.empty()) return RefuseArgument(scan, argument);
  line.Asked.Selection.Active = true;
  return (least.empty() || StoreNumber(scan, argument, least, line.Asked.Selection.PriorityAtLeast)) &&
         (most.empty() || StoreNumber(scan, argument, most, line.Asked.Selection.PriorityAtMost));
}

bool HandleRange(OptionScan& scan, const char* argument) {
  CommandLine& line = scan.Line;
  line.Asked.Selection.Active = true;
  if (ReadRange(argument, line.Asked.Selection.RangeStart, line.Asked.Selection.RangeEnd)) return true;
  line.Screen.Print("Invalid message range parameter '%s'\n", argument);
  return false;
}

bool HandleTime(OptionScan& scan, const char* argument) {
  scan.Line.Asked.Selection.Active = true;
  return ParseTimeSelection(scan.Line, argument);
}

bool HandleSize(OptionScan& scan, const char* argument) {
  scan.Line.Asked.Selection.Active = true;
  return ParseSizeSelection(scan.Line, argument);
}
