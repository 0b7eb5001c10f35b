#pragma once

// Sizes and durations in words, and the names of the user and the computer.

#include <cstdint>
#include <string>

// One row of a unit table. Tables run from the largest unit down and end with a row of size 0.
struct UnitEntry {
  std::int32_t Size;       // base units in one of this unit
  const char* LongName;    //
  const char* ShortName;   // used when short names are asked for; may be null
  const char* PluralName;  // a fixed plural; null when the plural is the name with "s" appended
};

extern const UnitEntry kSecondUnits[];    // durations in seconds
extern const UnitEntry kCentiUnits[];     // durations in hundredths of a second
extern const UnitEntry kByteUnits[];      // sizes in bytes
extern const UnitEntry kMegabyteUnits[];  // sizes in megabytes

// Flags of FormatUnits.
inline constexpr unsigned kUnitsSeveral = 1;        // split over several units (1 Day 2 Hrs) instead of one
inline constexpr unsigned kUnitsShort = 2;          // short names
inline constexpr unsigned kUnitsSigned = 4;         // "+" before a value that is not negative
inline constexpr unsigned kUnitsTwoDecimals = 8;    // one unit: two decimals instead of one
inline constexpr unsigned kUnitsLastDecimals = 16;  // several units: the smallest with two decimals

// The rendering of `value`, always ending with one blank: "1 Day 1 Hr ", "1.5 MBs ", "0 bytes ".
std::string FormatUnits(std::int64_t value, const UnitEntry* table, unsigned flags);

// Seconds in words: "1 day 1 hour 1 minute 1 second"; parts of 0 are left out, 0 gives "0 seconds". A negative number
// of seconds (a clock that runs behind the queue manager's) counts as 0.
std::string FormatDuration(std::int64_t seconds);

// At most 100 characters, "Unknown" when the system cannot tell. Asked once per process.
const char* UserName();
const char* ComputerName();
