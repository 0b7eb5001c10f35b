#include "cmdline/value_parsers.h"

#include <cctype>
#include <charconv>
#include <chrono>
#include <cmath>
#include <ctime>
#include <limits>
#include <optional>

#include "cmdline/command_line.h"
#include "cmdline/numbers.h"

namespace {

struct Unit {
  char Letter;  // upper case; 0 ends a table
  std::int64_t Size;
};
constexpr Unit kAgeUnits[] = {{'D', 86400}, {'H', 3600}, {'M', 60}, {0, 0}};
constexpr Unit kFileAgeUnits[] = {{'H', 3600}, {'M', 60}, {'S', 1}, {0, 0}};
constexpr Unit kSizeUnits[] = {{'G', 1073741824}, {'M', 1048576}, {'K', 1024}, {'B', 1}, {0, 0}};

// The size of a unit in its table, 0 when there is none with that letter.
std::int64_t UnitSize(const Unit* table, char letter) {
  const int upper = std::toupper(static_cast<unsigned char>(letter));
  while (table->Letter != 0 && table->Letter != upper) ++table;
  return table->Size;
}

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

bool RefuseValue(CommandLine& line, char option, std::string_view text) {
  line.Screen.Print("Invalid -%c parameter '%.*s'\n", option, static_cast<int>(text.size()), text.data());
  return false;
}

// Two parts around the first comma; the second is empty without one.
struct Bounds {
  std::string_view First;
  std::string_view Second;
  bool HasComma;
};
Bounds SplitAtComma(std::string_view text) {
  const std::size_t comma = text.find(',');
  if (comma == std::string_view::npos) return {text, {}, false};
  return {text.substr(0, comma), text.substr(comma + 1), true};
}

// A '0' in the pattern stands for any digit; every other character for itself.
bool MatchesPattern(std::string_view text, std::string_view pattern) {
  if (text.size() != pattern.size()) return false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (pattern[i] == '0' ? !IsDigit(text[i]) : text[i] != pattern[i]) return false;
  }
  return true;
}

int TwoDigits(std::string_view text) { return (text[0] - '0') * 10 + (text[1] - '0'); }

// "HH:MM:SS", "HH:MM" or "HH". False when the text is none of them.
bool ParseTimeOfDay(std::string_view text, std::tm& calendar) {
  for (const std::string_view pattern : {"00:00:00", "00:00", "00"}) {
    if (!MatchesPattern(text, pattern)) continue;
    calendar.tm_hour = TwoDigits(text);
    calendar.tm_min = text.size() > 2 ? TwoDigits(text.substr(3)) : 0;
    calendar.tm_sec = text.size() > 5 ? TwoDigits(text.substr(6)) : 0;
    return calendar.tm_hour < 24 && calendar.tm_min < 60 && calendar.tm_sec < 60;
  }
  return false;
}

std::chrono::year_month_day DateOf(const std::tm& calendar) {
  return {std::chrono::year(calendar.tm_year + 1900), std::chrono::month(static_cast<unsigned>(calendar.tm_mon + 1)),
          std::chrono::day(static_cast<unsigned>(calendar.tm_mday))};
}

// "DD/MM/YYYY". False when the text is no date.
bool ParseDate(std::string_view text, std::tm& calendar) {
  if (!MatchesPattern(text, "00/00/0000")) return false;
  calendar.tm_mday = TwoDigits(text);
  calendar.tm_mon = TwoDigits(text.substr(3)) - 1;
  calendar.tm_year = TwoDigits(text.substr(6)) * 100 + TwoDigits(text.substr(8)) - 1900;
  return DateOf(calendar).ok();
}

// The day on which the run started, in local time. False when the system cannot tell.
bool TakeToday(const CommandLine& line, std::tm& calendar) {
  const std::time_t start = static_cast<std::time_t>(line.StartTime);
  const std::tm* local = std::localtime(&start);
  if (local == nullptr) return false;
  calendar.tm_mday = local->tm_mday;
  calendar.tm_mon = local->tm_mon;
  calendar.tm_year = local->tm_year;
  return true;
}

std::int64_t UtcSeconds(const std::tm& calendar) {
  using std::chrono::hours, std::chrono::minutes, std::chrono::seconds, std::chrono::sys_days;
  const auto time =
      sys_days(DateOf(calendar)) + hours(calendar.tm_hour) + minutes(calendar.tm_min) + seconds(calendar.tm_sec);
  return time.time_since_epoch().count();
}

// A timestamp without its 'u' in seconds since 1970, negative when it is none.
std::int64_t TimestampSeconds(const CommandLine& line, std::string_view text, bool utc) {
  std::tm calendar{};
  calendar.tm_isdst = -1;  // the calendar knows
  bool ok = false;
  if (const std::size_t underscore = text.find('_'); underscore != std::string_view::npos) {
    ok = ParseDate(text.substr(0, underscore), calendar) && ParseTimeOfDay(text.substr(underscore + 1), calendar);
  } else if (text.find(':') != std::string_view::npos) {
    ok = TakeToday(line, calendar) && ParseTimeOfDay(text, calendar);
  } else {
    ok = ParseDate(text, calendar);
  }
  if (!ok) return -1;
  return utc ? UtcSeconds(calendar) : static_cast<std::int64_t>(std::mktime(&calendar));
}

// The texts of one kind of -L limit.
struct LimitTexts {
  const char* Kind;  // "-La" or "-Ls"
  const char* UnitName;
  const Unit* Units;
};

// Reads "<number><unit>" and gives their product, at most `largest`. Returns false after printing why.
bool ReadLimit(CommandLine& line, const LimitTexts& texts, std::string_view text, std::int64_t largest,
               std::int64_t& limit) {
  const int length = static_cast<int>(text.size());
  std::string_view unitText = text;
  const std::string_view number = TakeDigits(unitText);
  if (!number.empty() && unitText.empty()) {
    line.Screen.Print("Please specify the units for %s parameter '%.*s'\n", texts.Kind, length, text.data());
    return false;
  }
  if (number.empty() || unitText.size() != 1) {
    line.Screen.Print("Unrecognised %s parameter '%.*s'\n", texts.Kind, length, text.data());
    return false;
  }
  const std::int64_t unit = UnitSize(texts.Units, unitText.front());
  if (unit == 0) {
    line.Screen.Print("Unrecognised %s %s unit '%c'\n", texts.Kind, texts.UnitName, unitText.front());
    return false;
  }
  const auto value = WholeNumber(number, 1, largest / unit);
  if (!value) {
    line.Screen.Print("Invalid %s parameter '%.*s'\n", texts.Kind, length, text.data());
    return false;
  }
  limit = *value * unit;
  return true;
}

// "[[DD:]HH:]MM", or one number and its unit, in seconds.
std::optional<std::int64_t> AgeSeconds(std::string_view text) {
  std::string_view unitText = text;
  const std::string_view number = TakeDigits(unitText);
  const std::int64_t unit = unitText.size() == 1 ? UnitSize(kAgeUnits, unitText.front()) : 0;
  if (unit != 0) {
    const auto value = WholeNumber(number, 0, kMostInteger);
    return value ? std::optional(*value * unit) : std::nullopt;
  }
  std::int64_t seconds = 0;
  for (const std::int64_t partUnit : {60, 3600, 86400}) {
    const std::size_t colon = text.rfind(':');
    const auto part = WholeNumber(text.substr(colon + 1), 0, kMostInteger);  // npos + 1 is 0
    if (!part) return std::nullopt;
    seconds += *part * partUnit;
    if (colon == std::string_view::npos) return seconds;
    text = text.substr(0, colon);
  }
  return std::nullopt;
}

// Takes one number with its unit, in bytes, from the front of `text`; blanks may stand between them ("10 MB"). The last
// one may do without a unit.
std::optional<double> TakeSize(std::string_view& text) {
  if (!IsDigit(text.front())) return std::nullopt;
  double number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number, std::chars_format::fixed);
  if (error != std::errc()) return std::nullopt;
  text.remove_prefix(static_cast<std::size_t>(end - text.data()));
  const bool bare = text.empty();
  text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
  const std::int64_t unit = bare ? 1 : text.empty() ? 0 : UnitSize(kSizeUnits, text.front());
  if (unit == 0 || (unit == 1 && number != std::floor(number))) return std::nullopt;
  if (!bare) text.remove_prefix(1);
  const bool spelledOut = unit != 1 && !text.empty() && UnitSize(kSizeUnits, text.front()) == 1;  // "MB"
  if (spelledOut) text.remove_prefix(1);
  return number * static_cast<double>(unit);
}

// The sum of sizes.
std::optional<double> SizeBytes(std::string_view text) {
  double total = 0;
  while (!text.empty()) {
    const auto size = TakeSize(text);
    if (!size) return std::nullopt;
    total += *size;
  }
  return total;
}

}  // namespace

bool ParseTimeSelection(CommandLine& line, std::string_view text) {
  const char form = text.empty() ? '\0' : text.front();
  if (form == 'f') return ParseTimestamp(line, text.substr(1), "younger than", line.Asked.Selection.PutAfter);
  if (form == 't') return ParseTimestamp(line, text.substr(1), "older than", line.Asked.Selection.PutBefore);

  const Bounds ages = SplitAtComma(text);
  if (ages.First.empty() && ages.Second.empty()) return RefuseValue(line, 'T', text);
  if (ages.HasComma && line.Asked.Selection.YoungerThan != 0) {
    line.Screen.Print("You can only specify the '%s' age once\n", "younger than");
    return false;
  }
  return ParseAge(line, ages.Second, "younger than", line.Asked.Selection.YoungerThan) &&
         ParseAge(line, ages.First, "older than", line.Asked.Selection.OlderThan);
}

bool ParseAge(CommandLine& line, std::string_view text, const char* label, int& field) {
  if (text.empty()) return true;
  if (field != 0) {
    line.Screen.Print("You can only specify the '%s' age once\n", label);
    return false;
  }
  const auto seconds = AgeSeconds(text);
  if (!seconds || *seconds > kMostInteger) return RefuseValue(line, 'T', text);
  field = static_cast<int>(*seconds);
  return true;
}

bool ParseTimestamp(CommandLine& line, std::string_view text, const char* label, std::int64_t& field) {
  constexpr std::size_t kLongest = 19;  // DD/MM/YYYY_HH:MM:SS
  if (field != 0) {
    line.Screen.Print("You can only specify the '%s' time once\n", label);
    return false;
  }
  const bool utc = !text.empty() && text.front() == 'u';
  if (utc) text.remove_prefix(1);
  const std::int64_t seconds = text.size() > kLongest ? -1 : TimestampSeconds(line, text, utc);
  if (seconds <= 0) {  // the first second of 1970 would stand for no bound
    line.Screen.Print("Unrecognised time format '%.*s'\n", static_cast<int>(text.size()), text.data());
    return false;
  }
  field = seconds;
  return true;
}

bool ParseSizeSelection(CommandLine& line, std::string_view text) {
  const Bounds sizes = SplitAtComma(text);
  if (sizes.First.empty() && sizes.Second.empty()) return RefuseValue(line, 'z', text);
  return ParseSize(line, sizes.First, "larger than", line.Asked.Selection.SizeAtLeast) &&
         ParseSize(line, sizes.Second, "less than", line.Asked.Selection.SizeBelow);
}

bool ParseSize(CommandLine& line, std::string_view text, const char* label, MQLONG& field) {
  if (text.empty()) return true;
  if (field != -1) {
    line.Screen.Print("You can only specify the '%s' message size once\n", label);
    return false;
  }
  const auto total = SizeBytes(text);
  if (!total || *total >= static_cast<double>(kMostInteger) + 1) return RefuseValue(line, 'z', text);
  field = static_cast<MQLONG>(*total);
  return true;
}

bool ParseFileLimit(CommandLine& line, std::string_view text) {
  if (!line.Asked.Limits.Active) {
    line.Asked.Limits.Active = true;
    line.Asked.Limits.Msgs = 0;
    line.Asked.Limits.Size = 0;
    line.Asked.Limits.Age = 0;
  }
  const char kind = text.empty() ? '\0' : text.front();
  const std::string_view value = text.substr(text.empty() ? 0 : 1);
  std::int64_t limit = 0;
  switch (kind) {
    case 'a':
      if (!ReadLimit(line, {"-La", "file age", kFileAgeUnits}, value, kMostInteger, limit)) return false;
      line.Asked.Limits.Age = static_cast<int>(limit);
      return true;
    case 's':
      return ReadLimit(line, {"-Ls", "file size", kSizeUnits}, value, std::numeric_limits<std::int64_t>::max(),
                       line.Asked.Limits.Size);
    case 'm':
      if (const auto messages = WholeNumber(value, 1, kMostInteger)) {
        line.Asked.Limits.Msgs = static_cast<int>(*messages);
        return true;
      }
      line.Screen.Print("Invalid -Lm parameter '%.*s'\n", static_cast<int>(value.size()), value.data());
      return false;
    default:
      line.Screen.Print("Unrecognised -L parameter '%.*s'\n", static_cast<int>(text.size()), text.data());
      return false;
  }
}
