#pragma once

// The arguments of -n: how a plain file is cut into messages.

#include <string_view>

#include "common/console.h"
#include "options/options.h"

enum class PlainOptionResult { Ok, Refused, RefusedWithHelp };

// Reads one argument of the option `letter`. Prints what is wrong with it; the help of RefusedWithHelp is the caller's
// to show.
PlainOptionResult ParsePlainOptions(PlainFileOptions& plain, Console& screen, char letter, std::string_view text);
