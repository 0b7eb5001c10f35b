#include "cmdline/plain_options.h"

#include <algorithm>
#include <string>

#include "common/member.h"

namespace {

constexpr std::size_t kDelimiterLimit = 99;  // characters of a delimiter as typed

struct FlagLetter {
  char Letter;
  Member<PlainFileOptions, bool> Field;
};
constexpr FlagLetter kFlagLetters[] = {
    {'1', &PlainFileOptions::WholeFile},          {'!', &PlainFileOptions::SameDelims},
    {'B', &PlainFileOptions::NoBrackets},         {'F', &PlainFileOptions::NoPreliminaryCount},
    {'W', &PlainFileOptions::KeepPropWhitespace},
};

// What a delimiter letter sets. The texts of a second one differ in more than their subject.
struct DelimiterLetter {
  char Letter;
  Member<PlainFileOptions, std::string> Field;
  bool Property;
  const char* Name;
  const char* Twice;
};
constexpr DelimiterLetter kStartMessage = {'s', &PlainFileOptions::StartMessage, false, "Start message delimiter",
                                           "Start message delimiter must only be specified once.\n"};
constexpr DelimiterLetter kEndMessage = {'e', &PlainFileOptions::EndMessage, false, "End message delimiter",
                                         "End message delimiter only be specified once.\n"};
constexpr DelimiterLetter kDelimiterLetters[] = {
    kStartMessage,
    kEndMessage,
    {'p', &PlainFileOptions::StartProperty, true, "Start property delimiter",
     "Start property delimiter must only be specified once.\n"},
    {'q', &PlainFileOptions::EndProperty, true, "End property delimiter",
     "End property delimiter only be specified once.\n"},
};

bool SetDelimiter(PlainFileOptions& plain, Console& screen, const DelimiterLetter& letter, std::string_view text) {
  if (text.empty() || text.size() > kDelimiterLimit) {
    screen.Print("%s must be between 1 and %d characters in length.\n", letter.Name, static_cast<int>(kDelimiterLimit));
    return false;
  }
  std::string& delimiter = plain.*letter.Field;
  if (!delimiter.empty()) {
    screen.PrintText(letter.Twice);
    return false;
  }
  delimiter = text;
  return true;
}

// "d:": the first half is the start delimiter, the second half the end delimiter.
bool SetBothDelimiters(PlainFileOptions& plain, Console& screen, std::string_view text) {
  if (text.size() % 2 != 0) {
    screen.Print("Message delimiter parameter must be even in length.\n");
    return false;
  }
  if (text.empty() || text.size() > 2 * kDelimiterLimit) {
    screen.Print("Message delimiters must be between 1 and %d characters in length.\n",
                 static_cast<int>(kDelimiterLimit));
    return false;
  }
  const std::size_t half = text.size() / 2;
  return SetDelimiter(plain, screen, kStartMessage, text.substr(0, half)) &&
         SetDelimiter(plain, screen, kEndMessage, text.substr(half));
}

// "i" and "n" wait for the delimiter that follows them; without one they mean both kinds.
struct Pending {
  bool Include = false;
  bool Exclude = false;

  void ApplyToMessages(PlainFileOptions& plain) const {
    if (Include) plain.IncludeMsgDelims = true;
    if (Exclude) plain.ExcludeMsgDelims = true;
  }
  void ApplyToProperties(PlainFileOptions& plain) const {
    if (Include) plain.IncludePropDelims = true;
    if (Exclude) plain.ExcludePropDelims = true;
  }
};

bool TakeFlagLetter(PlainFileOptions& plain, char c, Pending& pending) {
  if (c == 'i' || c == 'n') {
    (c == 'i' ? pending.Include : pending.Exclude) = true;
    return true;
  }
  for (const FlagLetter& flag : kFlagLetters) {
    if (flag.Letter != c) continue;
    plain.*flag.Field = true;
    return true;
  }
  return false;
}

}  // namespace

PlainOptionResult ParsePlainOptions(PlainFileOptions& plain, Console& screen, char letter, std::string_view text) {
  plain.Given = true;
  Pending pending;
  std::size_t at = 0;
  while (at < text.size() && TakeFlagLetter(plain, text[at], pending)) ++at;
  if (at == text.size()) {
    pending.ApplyToMessages(plain);
    pending.ApplyToProperties(plain);
    return PlainOptionResult::Ok;
  }
  const char kind = text[at];
  const auto* row = std::find_if(std::begin(kDelimiterLetters), std::end(kDelimiterLetters),
                                 [kind](const DelimiterLetter& candidate) { return candidate.Letter == kind; });
  const bool known = row != std::end(kDelimiterLetters);
  const int shown = static_cast<int>(at + 1);
  if (!known && kind != 'd') {
    screen.Print("Unrecognised -%c%.*s parameter.\n\n", letter, shown, text.data());
    return PlainOptionResult::RefusedWithHelp;
  }
  if (at + 1 == text.size() || text[at + 1] != ':') {
    screen.Print("Expected ':' after parameter -%c%.*s\n", letter, shown, text.data());
    return PlainOptionResult::Refused;
  }
  const std::string_view delimiter = text.substr(at + 2);
  if (known && row->Property) {
    pending.ApplyToProperties(plain);
  } else {
    pending.ApplyToMessages(plain);
  }
  const bool taken = known ? SetDelimiter(plain, screen, *row, delimiter) : SetBothDelimiters(plain, screen, delimiter);
  return taken ? PlainOptionResult::Ok : PlainOptionResult::Refused;
}
