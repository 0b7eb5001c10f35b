#pragma once

// The options against each other: what does not go together is refused, and what follows from other options is filled
// in. The mode of the run then follows from which inputs and outputs there are.

#include "cmdline/command_line.h"

// Returns false after printing the reason. Completes file names, put times, limits and insert flags on the way; from
// then on the options do not change.
bool ValidateOptions(CommandLine& line);
