#pragma once

// What a selecting run tells before it starts: every criterion in force, in plain words. And the aids that show how
// dates are converted.

#include <cstdint>
#include <string>

struct Parameters;

// Prints the criteria on standard error, unless the run is quiet. The message range is shown as it was given.
void ShowSelection(Parameters& run);

// Prints noon of a day (YYYYMMDD) as seconds since 1970, taken as local time and as UTC.
void ShowExampleDates(Parameters& run, const char* date);

// Seconds since 1970 as local date and time, 24 characters and a line end: "Wed Jan 02 02:03:55 1980\n".
std::string LocalTimeText(std::int64_t seconds);
