#include "common/units.h"

#include "common/console.h"
#include "platform/system.h"

const UnitEntry kSecondUnits[] = {{604800, "Week", "Week", nullptr}, {86400, "Day", "Day", nullptr},
                                  {3600, "Hour", "Hr", nullptr},     {60, "Minute", "Min", nullptr},
                                  {1, "Second", "Sec", nullptr},     {0, nullptr, nullptr, nullptr}};

const UnitEntry kCentiUnits[] = {{60480000, "Week", "Week", nullptr}, {8640000, "Day", "Day", nullptr},
                                 {360000, "Hour", "Hr", nullptr},     {6000, "Minute", "Min", nullptr},
                                 {100, "Second", "Sec", nullptr},     {0, nullptr, nullptr, nullptr}};

const UnitEntry kByteUnits[] = {{1073741824, "GB", "GB", nullptr},
                                {1048576, "MB", "MB", nullptr},
                                {1024, "KB", "KB", nullptr},
                                {1, "byte", "byte", nullptr},
                                {0, nullptr, nullptr, nullptr}};

const UnitEntry kMegabyteUnits[] = {{1073741824, "PB", "PB", nullptr},
                                    {1048576, "TB", "TB", nullptr},
                                    {1024, "GB", "GB", nullptr},
                                    {1, "MB", "MB", nullptr},
                                    {0, nullptr, nullptr, nullptr}};

namespace {

bool IsLast(const UnitEntry* row) { return row[1].Size == 0; }

std::uint64_t SizeOf(const UnitEntry* row) { return static_cast<std::uint64_t>(row->Size); }

// A blank, the unit's name and a blank.
std::string NameOf(const UnitEntry* row, bool singular, unsigned flags) {
  const bool useShort = (flags & kUnitsShort) != 0 && row->ShortName != nullptr;
  const char* name = useShort ? row->ShortName : row->LongName;
  if (singular) return FormatText(" %s ", name);
  return row->PluralName != nullptr ? FormatText(" %s ", row->PluralName) : FormatText(" %ss ", name);
}

std::string Decimals(std::uint64_t value, const UnitEntry* row, int decimals) {
  return FormatText("%.*f", decimals, static_cast<double>(value) / row->Size);
}

std::string OneUnit(std::uint64_t value, const UnitEntry* row, unsigned flags) {
  while (SizeOf(row) > value && !IsLast(row)) ++row;
  const bool whole = value % SizeOf(row) == 0;
  const int decimals = (flags & kUnitsTwoDecimals) != 0 ? 2 : 1;
  const std::string amount = whole ? std::to_string(value / SizeOf(row)) : Decimals(value, row, decimals);
  return amount + NameOf(row, value == SizeOf(row), flags);
}

std::string SeveralUnits(std::uint64_t value, const UnitEntry* row, unsigned flags) {
  std::string text;
  for (;; ++row) {
    const bool last = IsLast(row);
    if (SizeOf(row) > value && !last) continue;
    const std::uint64_t count = value / SizeOf(row);
    const bool decimals = last && (flags & kUnitsLastDecimals) != 0;
    text += (decimals ? Decimals(value, row, 2) : std::to_string(count)) + NameOf(row, count == 1, flags);
    value -= count * SizeOf(row);
    if (last || value == 0) return text;
  }
}

// Asked once per process; at most 100 characters.
std::string NameOrUnknown(std::string name) {
  constexpr std::size_t kLongest = 100;
  if (name.size() > kLongest) name.resize(kLongest);
  return name.empty() ? "Unknown" : name;
}

}  // namespace

std::string FormatUnits(std::int64_t value, const UnitEntry* table, unsigned flags) {
  const bool negative = value < 0;
  const std::uint64_t magnitude = negative ? 0 - static_cast<std::uint64_t>(value) : static_cast<std::uint64_t>(value);
  std::string text = negative ? "-" : (flags & kUnitsSigned) != 0 ? "+" : "";
  const bool several = (flags & kUnitsSeveral) != 0;
  return text.append(several ? SeveralUnits(magnitude, table, flags) : OneUnit(magnitude, table, flags));
}

std::string FormatDuration(std::int64_t seconds) {
  static constexpr struct {
    std::int64_t Seconds;
    const char* Name;
  } kParts[] = {{31536000, "year"}, {604800, "week"}, {86400, "day"}, {3600, "hour"}, {60, "minute"}, {1, "second"}};
  std::int64_t rest = seconds > 0 ? seconds : 0;
  std::string text;
  for (const auto& part : kParts) {
    const std::int64_t count = rest / part.Seconds;
    rest %= part.Seconds;
    if (count == 0 && !(part.Seconds == 1 && text.empty())) continue;
    if (!text.empty()) text += ' ';
    text += std::to_string(count) + ' ' + part.Name + (count == 1 ? "" : "s");
  }
  return text;
}

const char* UserName() {
  static const std::string name = NameOrUnknown(SystemUserName());
  return name.c_str();
}

const char* ComputerName() {
  static const std::string name = NameOrUnknown(SystemComputerName());
  return name.c_str();
}
