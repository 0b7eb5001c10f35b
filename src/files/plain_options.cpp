#include <algorithm>

#include "cmdline/parameters.h"
#include "common/console.h"
#include "common/member.h"
#include "files/plain_file.h"

namespace {

constexpr std::size_t kDelimiterLimit = 99;  // characters of a delimiter as typed

struct FlagLetter {
  char Letter;
  Member<Parameters, std::uint32_t> Field;
  std::uint32_t Bit;
};
constexpr FlagLetter kFlagLetters[] = {
    {'1', &Parameters::Flags2, FLAG2_WHOLE_FILE},           {'!', &Parameters::Flags2, FLAG2_SAME_DELIMS},
    {'B', &Parameters::DelimFlags, DELIM_NO_BRACKETS},      {'F', &Parameters::Flags2, FLAG2_NO_PRELIM_COUNT},
    {'W', &Parameters::Flags2, FLAG2_KEEP_PROP_WHITESPACE},
};

// What a delimiter letter sets. The texts of a second one differ in more than their subject.
struct DelimiterLetter {
  char Letter;
  Member<PlainFileState, Delimiter> Field;
  bool Property;
  const char* Name;
  const char* Twice;
};
constexpr DelimiterLetter kStartMessage = {'s', &PlainFileState::StartMessage, false, "Start message delimiter",
                                           "Start message delimiter must only be specified once.\n"};
constexpr DelimiterLetter kEndMessage = {'e', &PlainFileState::EndMessage, false, "End message delimiter",
                                         "End message delimiter only be specified once.\n"};
constexpr DelimiterLetter kDelimiterLetters[] = {
    kStartMessage,
    kEndMessage,
    {'p', &PlainFileState::StartProperty, true, "Start property delimiter",
     "Start property delimiter must only be specified once.\n"},
    {'q', &PlainFileState::EndProperty, true, "End property delimiter",
     "End property delimiter only be specified once.\n"},
};

bool SetDelimiter(Parameters& run, const DelimiterLetter& letter, std::string_view text) {
  if (text.empty() || text.size() > kDelimiterLimit) {
    run.Screen.Print("%s must be between 1 and %d characters in length.\n", letter.Name,
                     static_cast<int>(kDelimiterLimit));
    return false;
  }
  Delimiter& delimiter = run.Plain.*letter.Field;
  if (!delimiter.Typed.empty()) {
    run.Screen.PrintText(letter.Twice);
    return false;
  }
  delimiter.Typed = text;
  return true;
}

// "d:": the first half is the start delimiter, the second half the end delimiter.
bool SetBothDelimiters(Parameters& run, std::string_view text) {
  if (text.size() % 2 != 0) {
    run.Screen.Print("Message delimiter parameter must be even in length.\n");
    return false;
  }
  if (text.empty() || text.size() > 2 * kDelimiterLimit) {
    run.Screen.Print("Message delimiters must be between 1 and %d characters in length.\n",
                     static_cast<int>(kDelimiterLimit));
    return false;
  }
  const std::size_t half = text.size() / 2;
  return SetDelimiter(run, kStartMessage, text.substr(0, half)) && SetDelimiter(run, kEndMessage, text.substr(half));
}

// "i" and "n" wait for the delimiter that follows them; without one they mean both kinds.
struct Pending {
  bool Include = false;
  bool Exclude = false;

  void ApplyToMessages(Parameters& run) const {
    if (Include) run.Flags2 |= FLAG2_INCLUDE_MSG_DELIMS;
    if (Exclude) run.Flags2 |= FLAG2_EXCLUDE_MSG_DELIMS;
  }
  void ApplyToProperties(Parameters& run) const {
    if (Include) run.Flags2 |= FLAG2_INCLUDE_PROP_DELIMS;
    if (Exclude) run.Flags2 |= FLAG2_EXCLUDE_PROP_DELIMS;
  }
};

bool TakeFlagLetter(Parameters& run, char c, Pending& pending) {
  if (c == 'i' || c == 'n') {
    (c == 'i' ? pending.Include : pending.Exclude) = true;
    return true;
  }
  for (const FlagLetter& flag : kFlagLetters) {
    if (flag.Letter != c) continue;
    run.*flag.Field |= flag.Bit;
    return true;
  }
  return false;
}

}  // namespace

PlainOptionResult ParseNonTarvoOptions(Parameters& run, char letter, std::string_view text) {
  run.Flags2 |= FLAG2_NON_TARVO;
  Pending pending;
  std::size_t at = 0;
  while (at < text.size() && TakeFlagLetter(run, text[at], pending)) ++at;
  if (at == text.size()) {
    pending.ApplyToMessages(run);
    pending.ApplyToProperties(run);
    return PlainOptionResult::Ok;
  }
  const char kind = text[at];
  const auto* row = std::find_if(std::begin(kDelimiterLetters), std::end(kDelimiterLetters),
                                 [kind](const DelimiterLetter& candidate) { return candidate.Letter == kind; });
  const bool known = row != std::end(kDelimiterLetters);
  const int shown = static_cast<int>(at + 1);
  if (!known && kind != 'd') {
    run.Screen.Print("Unrecognised -%c%.*s parameter.\n\n", letter, shown, text.data());
    return PlainOptionResult::RefusedWithHelp;
  }
  if (at + 1 == text.size() || text[at + 1] != ':') {
    run.Screen.Print("Expected ':' after parameter -%c%.*s\n", letter, shown, text.data());
    return PlainOptionResult::Refused;
  }
  const std::string_view delimiter = text.substr(at + 2);
  if (known && row->Property) {
    pending.ApplyToProperties(run);
  } else {
    pending.ApplyToMessages(run);
  }
  const bool taken = known ? SetDelimiter(run, *row, delimiter) : SetBothDelimiters(run, delimiter);
  return taken ? PlainOptionResult::Ok : PlainOptionResult::Refused;
}
