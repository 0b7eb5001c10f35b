#include "files/naming.h"

#include <algorithm>
#include <array>
#include <ctime>

#include "common/console.h"

namespace {

constexpr std::array<const char*, 12> kMonths = {"January", "February", "March",     "April",   "May",      "June",
                                                 "July",    "August",   "September", "October", "November", "December"};
constexpr std::array<const char*, 7> kDays = {"Sunday",   "Monday", "Tuesday", "Wednesday",
                                              "Thursday", "Friday", "Saturday"};
constexpr std::size_t kShortName = 3;

std::string_view MonthName(const InsertValues& v) { return kMonths[static_cast<std::size_t>(v.Local.tm_mon) % 12]; }
std::string_view DayName(const InsertValues& v) { return kDays[static_cast<std::size_t>(v.Local.tm_wday) % 7]; }
int Year(const InsertValues& v) { return v.Local.tm_year + 1900; }

const char* OrdinalSuffix(int day) {
  switch (day) {
    case 1:
    case 21:
    case 31:
      return "st";
    case 2:
    case 22:
      return "nd";
    case 3:
    case 23:
      return "rd";
    default:
      return "th";
  }
}

std::string TwoDigits(int value) { return FormatText("%2.2d", value); }
std::string ThreeDigits(int value) { return FormatText("%3.3d", value); }
std::string FiveDigits(int value) { return FormatText("%5.5d", value); }

struct Insert {
  std::string_view Letters;
  std::string (*Value)(const InsertValues& v);
};

// Inserts that begin alike stand longest first.
using V = const InsertValues&;
const Insert kInserts[] = {
    {"C",
     [](V v) { return FormatText("%4.4d", Year(v)) + TwoDigits(v.Local.tm_mon + 1) + TwoDigits(v.Local.tm_mday); }},
    {"c", [](V v) { return TwoDigits(Year(v) % 100) + TwoDigits(v.Local.tm_mon + 1) + TwoDigits(v.Local.tm_mday); }},
    {"yy", [](V v) { return TwoDigits(Year(v) % 100); }},
    {"y", [](V v) { return FormatText("%4.4d", Year(v)); }},
    {"mmm", [](V v) { return std::string(MonthName(v)); }},
    {"mm", [](V v) { return TwoDigits(v.Local.tm_mon + 1); }},
    {"m", [](V v) { return std::string(MonthName(v).substr(0, kShortName)); }},
    {"dd", [](V v) { return std::to_string(v.Local.tm_mday) + OrdinalSuffix(v.Local.tm_mday); }},
    {"d", [](V v) { return TwoDigits(v.Local.tm_mday); }},
    {"DD", [](V v) { return std::string(DayName(v)); }},
    {"D", [](V v) { return std::string(DayName(v).substr(0, kShortName)); }},
    {"J", [](V v) { return ThreeDigits(v.Local.tm_yday + 1); }},
    {"j", [](V v) { return ThreeDigits(v.Local.tm_yday); }},
    {"HH", [](V v) { return std::to_string(v.Local.tm_hour); }},
    {"H", [](V v) { return TwoDigits(v.Local.tm_hour); }},
    {"hh", [](V v) { return std::to_string(v.Local.tm_hour % 12); }},
    {"h", [](V v) { return TwoDigits(v.Local.tm_hour % 12); }},
    {"P", [](V v) { return std::string(v.Local.tm_hour < 12 ? "AM" : "PM"); }},
    {"p", [](V v) { return std::string(v.Local.tm_hour < 12 ? "am" : "pm"); }},
    {"M", [](V v) { return TwoDigits(v.Local.tm_min); }},
    {"S", [](V v) { return TwoDigits(v.Local.tm_sec); }},
    {"t", [](V v) { return TwoDigits(v.Local.tm_hour) + TwoDigits(v.Local.tm_min) + TwoDigits(v.Local.tm_sec); }},
    {"I", [](V v) { return FiveDigits(v.MessageOrdinal); }},
    {"i", [](V v) { return std::to_string(v.MessageOrdinal); }},
    {"N", [](V v) { return FiveDigits(v.FileNumber); }},
    {"n", [](V v) { return std::to_string(v.FileNumber); }},
    {"O", [](V v) { return FiveDigits(v.SelectedOrdinal); }},
    {"o", [](V v) { return std::to_string(v.SelectedOrdinal); }},
    {"%", [](V) { return std::string("%"); }},
};

}  // namespace

std::string ExpandTemplate(std::string_view text, const InsertValues& values) {
  std::string name;
  while (!text.empty()) {
    const std::size_t plain = text.find('%');
    name += text.substr(0, plain);
    if (plain == std::string_view::npos) break;
    text.remove_prefix(plain + 1);
    std::size_t taken = 1;  // an unknown letter goes with its '%'
    for (const Insert& insert : kInserts) {
      if (!text.starts_with(insert.Letters)) continue;
      name += insert.Value(values);
      taken = insert.Letters.size();
      break;
    }
    text.remove_prefix(std::min(taken, text.size()));
  }
  return name;
}

InsertValues InsertsNow() {
  InsertValues values;
  const std::time_t now = std::time(nullptr);
  if (const std::tm* local = std::localtime(&now); local != nullptr) values.Local = *local;
  return values;
}

std::string QueueFileNames::Indexed(int index) const {
  return Directory + BaseName + '$' + std::to_string(index) + FileType;
}

Result NameTooLong(const std::string& name) {
  return {MQRC_FILE_SYSTEM_ERROR,
          FormatText("File name '%s' is longer than %d characters\n", name.c_str(), static_cast<int>(kFileNameLimit))};
}

Result CanNotOpen(const char* side, const std::string& name, const std::string& mode, int error) {
  const std::string shown = mode.empty() ? mode : '(' + mode + ')';
  return {MQRC_FILE_SYSTEM_ERROR,
          WithCause(FormatText("Can not open %s file '%s'%s\n", side, name.c_str(), shown.c_str()), error)};
}

std::string AccessMode(const OutputOptions& options, char side) {
  constexpr std::size_t kLimit = 20;
  if (!options.AccessMode) return std::string(1, side);
  const std::string_view given(*options.AccessMode);
  std::string mode(1, side == 'w' && given.find('a') != std::string_view::npos ? 'a' : side);
  for (const char c : given) {
    if (c != 'r' && c != 'w' && c != 'a' && mode.size() < kLimit) mode += c;
  }
  return mode;
}
