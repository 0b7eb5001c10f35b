#include "mq/put_time.h"

#include <gtest/gtest.h>

#include <ctime>
#include <string>

namespace {

TEST(PutTime, ReadsDescriptorFields) {
  struct Case {
    const char* Date;
    const char* Time;
    std::int64_t Seconds;
  };
  static constexpr Case kCases[] = {
      {"19700101", "00000000", 0},
      {"20000229", "12345678", 951827696},
      {"20240229", "235959  ", 1709251199},
      {"21000228", "00000000", 4107456000},
      {"20380119", "03140799", 2147483647},
      {" 200 1 1", " 0 0 0 0", -55855785600},
      {"        ", "        ", -1},
      {"20240229", "        ", -1},
      {"20241301", "00000000", -1},
      {"20240230", "00000000", -1},
      {"20240101", "24000000", -1},
      {"\0\0\0\0\0\0\0", "00000000", -1},
      {"2024", "00000000", -1},
      {"2024-1-1", "00000000", -1},
  };
  for (const Case& c : kCases) EXPECT_EQ(PutTimeUtc(c.Date, c.Time), c.Seconds) << c.Date << " " << c.Time;
  EXPECT_EQ(PutTimeUtc(nullptr, "00000000"), -1);
  EXPECT_EQ(PutTimeLocal("20240101", nullptr), -1);
}

TEST(PutTime, AgreesWithTheCalendarOfTheLibrary) {
  const auto put = [](const std::tm* calendar) {
    char text[32];
    std::strftime(text, sizeof text, "%Y%m%d%H%M%S00", calendar);
    return std::string(text);
  };
  // Every third day for 136 years, each time half an hour later in the day. The library of Windows has no local time
  // before 1970.
  for (std::time_t time = 86400; time < 50000 * std::int64_t{86400}; time += 3 * 86400 + 1800) {
    const std::string utc = put(std::gmtime(&time));
    ASSERT_EQ(PutTimeUtc(utc.c_str(), utc.c_str() + 8), time) << utc;
    // In the hour that comes twice either instant is right: both show the same time.
    const std::string local = put(std::localtime(&time));
    const std::time_t back = PutTimeLocal(local.c_str(), local.c_str() + 8);
    ASSERT_EQ(put(std::localtime(&back)), local);
  }
}

}  // namespace
