#include "engine/delay.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include "common/text.h"

namespace {

// A clock that moves only when somebody sleeps.
std::int64_t ticks = 0;
std::vector<std::int64_t> sleeps;
constexpr PaceClock kFakeClock = {
    [] { return ticks; },
    [] { return std::int64_t{0}; },
    [](std::int64_t millis) {
      sleeps.push_back(millis);
      ticks += millis;
    },
};

// An earlier message starts again, one without a time does not count.
TEST(Delay, KeepsTheSpacingOfThePutTimes) {
  constexpr const char* kPut[] = {"2026010110000000", "2026010110000090", "2026010110000180", "2025123110000000",
                                  "                ", "2025123110000040", "2026010110000040"};
  const struct {
    bool Relative;
    MQLONG Delay;
    std::vector<std::int64_t> Sleeps;
    const char* Printed;
  } cases[] = {
      {false, 150, {150, 150, 150, 150, 150, 150, 150}, ""},
      {true, 100, {900, 900, 400, 86400000}, " - sleeping for 1 day\n"},
      {true, 10, {90, 90, 40, 8640000}, " - sleeping for 2 hours 24 minutes\n"},
  };
  for (const auto& c : cases) {
    PaceOptions pace;
    pace.DelayRelative = c.Relative;
    pace.Delay = c.Delay;
    Delay delay(pace, kFakeClock);
    sleeps.clear();
    testing::internal::CaptureStdout();
    for (const std::string_view put : kPut) {
      MQMD descriptor;
      FillField(descriptor.PutDate, 8, put.substr(0, 8));
      FillField(descriptor.PutTime, 8, put.substr(8));
      delay.Before(descriptor);
    }
    const std::string printed = testing::internal::GetCapturedStdout();
    EXPECT_EQ(sleeps, c.Sleeps);
    EXPECT_EQ(printed.substr(std::min<std::size_t>(printed.size(), 5)), c.Printed);  // behind the time of day
  }
}

}  // namespace
