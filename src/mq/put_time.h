#pragma once

// Put times: the PutDate (YYYYMMDD) and PutTime (HHMMSSTH) of a message descriptor, GMT, as seconds since 1970. Fields
// are read up to their width or a NUL, never beyond. A number may have leading blanks or a sign, as scanf reads it.

#include <cstdint>
#include <optional>

// -1 when an argument is missing (null). A text that is no date or no time of day gives a value not above 0. The
// hundredths are ignored.
std::int64_t PutTimeUtc(const char* putDate, const char* putTime);
// The same text read as local time; daylight saving is left to the calendar of the C library. In the hour that comes
// twice when clocks are put back, either of the two.
std::int64_t PutTimeLocal(const char* putDate, const char* putTime);

// The two halves of PutTimeUtc, for those who read many put times of the same day.
std::optional<std::int64_t> PutDateSeconds(const char* putDate);
struct PutTimeOfDay {
  int Seconds = 0;  // since midnight
  int Hundredths = 0;
};
std::optional<PutTimeOfDay> ParsePutTime(const char* putTime);
