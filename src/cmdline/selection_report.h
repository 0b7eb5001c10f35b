#pragma once

// What a selecting run tells before it starts: every criterion in force, in plain words. And the aids that show how
// dates are converted.

#include <cstdint>
#include <string>

#include "common/console.h"
#include "options/options.h"

// Prints the criteria on standard error, unless the run is quiet. The message range is shown as it was given.
// `startTime`: the instant from which ages are counted, seconds since 1970.
void ShowSelection(Console& screen, const Options& asked, std::int64_t startTime);

// Prints noon of a day (YYYYMMDD) as seconds since 1970, taken as local time and as UTC.
void ShowExampleDates(Console& screen, const char* date);

// Seconds since 1970 as local date and time, 24 characters and a line end: "Wed Jan 02 02:03:55 1980\n".
std::string LocalTimeText(std::int64_t seconds);
