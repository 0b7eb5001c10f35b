#include "common/units.h"

#include <gtest/gtest.h>

#include <cstdint>

namespace {

struct UnitCase {
  std::int64_t Value;
  const UnitEntry* Table;
  unsigned Flags;
  const char* Text;
};

TEST(FormatUnits, OneUnit) {
  const UnitCase cases[] = {
      {1048576, kByteUnits, 0, "1 MB "},
      {1572864, kByteUnits, 0, "1.5 MBs "},
      {1572864, kByteUnits, kUnitsTwoDecimals, "1.50 MBs "},
      {2097152, kByteUnits, kUnitsTwoDecimals, "2 MBs "},
      {1048577, kByteUnits, 0, "1.0 MBs "},
      {1024, kByteUnits, 0, "1 KB "},
      {1023, kByteUnits, 0, "1023 bytes "},
      {1, kByteUnits, 0, "1 byte "},
      {0, kByteUnits, 0, "0 bytes "},
      {-90, kSecondUnits, kUnitsShort, "-1.5 Mins "},
      {-90, kSecondUnits, kUnitsShort | kUnitsSigned, "-1.5 Mins "},
      {90, kSecondUnits, kUnitsSigned, "+1.5 Minutes "},
      {0, kSecondUnits, kUnitsSigned, "+0 Seconds "},
      {25, kCentiUnits, kUnitsTwoDecimals, "0.25 Seconds "},
      {2048, kMegabyteUnits, 0, "2 GBs "},
      {INT64_MIN, kByteUnits, 0, "-8589934592 GBs "},
  };
  for (const UnitCase& c : cases) EXPECT_EQ(FormatUnits(c.Value, c.Table, c.Flags), c.Text) << c.Value;
}

TEST(FormatUnits, SeveralUnits) {
  constexpr unsigned kSummary = kUnitsSeveral | kUnitsShort | kUnitsLastDecimals;
  const UnitCase cases[] = {
      {90061, kSecondUnits, kUnitsSeveral | kUnitsShort, "1 Day 1 Hr 1 Min 1 Sec "},
      {90061, kSecondUnits, kUnitsSeveral, "1 Day 1 Hour 1 Minute 1 Second "},
      {7200, kSecondUnits, kUnitsSeveral | kUnitsShort, "2 Hrs "},
      {1536, kByteUnits, kUnitsSeveral | kUnitsShort, "1 KB 512 bytes "},
      {0, kSecondUnits, kUnitsSeveral | kUnitsShort, "0 Secs "},
      {-3601, kSecondUnits, kUnitsSeveral | kUnitsShort, "-1 Hr 1 Sec "},
      {45, kCentiUnits, kSummary, "0.45 Secs "},
      {4500, kCentiUnits, kSummary, "45.00 Secs "},
      {6050, kCentiUnits, kSummary, "1 Min 0.50 Secs "},
      {6000, kCentiUnits, kSummary | kUnitsSigned, "+1 Min "},
      {50, kCentiUnits, kUnitsSeveral | kUnitsShort, "0 Secs "},
  };
  for (const UnitCase& c : cases) EXPECT_EQ(FormatUnits(c.Value, c.Table, c.Flags), c.Text) << c.Value;
}

TEST(FormatUnits, TakesAFixedPlural) {
  const UnitEntry people[] = {{1, "person", nullptr, "people"}, {0, nullptr, nullptr, nullptr}};
  EXPECT_EQ(FormatUnits(1, people, kUnitsShort), "1 person ");
  EXPECT_EQ(FormatUnits(3, people, kUnitsShort), "3 people ");
}

TEST(FormatDuration, LeavesZeroPartsOut) {
  const struct {
    std::int64_t Seconds;
    const char* Text;
  } cases[] = {
      {0, "0 seconds"},          {1, "1 second"},
      {61, "1 minute 1 second"}, {90061, "1 day 1 hour 1 minute 1 second"},
      {7200, "2 hours"},         {31536000 + 2 * 604800, "1 year 2 weeks"},
      {-5, "0 seconds"},
  };
  for (const auto& c : cases) EXPECT_EQ(FormatDuration(c.Seconds), c.Text);
}

}  // namespace
