#pragma once

// What the command line is turned into, before anything is connected or opened.

#include <cstdint>
#include <optional>

#include "common/console.h"
#include "common/secret.h"
#include "options/options.h"

struct CommandLine {
  Console& Screen;
  std::int64_t StartTime = 0;    // seconds since 1970: the instant from which ages are counted
  std::int64_t StartCentis = 0;  // the same instant in hundredths of a second
  Options Asked{};
  std::optional<Secret> Passwords[2]{};  // of the two queue managers
};
