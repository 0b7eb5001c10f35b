#pragma once

// For programs that a test starts: a clock that stands still (libfaketime).

#include "harness.h"

namespace harness {

// Programs started with these variables find that it is `now` (seconds since 1970). Fails the test where the package
// libfaketime is not installed.
inline void StopClock(Environment& variables, std::int64_t now) {
  std::string found;
  std::error_code error;
  for (const auto& entry : std::filesystem::directory_iterator("/usr/lib", error)) {
    const auto library = entry.path() / "faketime" / "libfaketime.so.1";
    if (std::filesystem::exists(library, error)) found = library.string();
  }
  if (found.empty()) ADD_FAILURE() << "the package libfaketime is not installed";
  variables["LD_PRELOAD"] = found;
  variables["FAKETIME"] = std::to_string(now);
  variables["FAKETIME_FMT"] = "%s";
  variables["DONT_FAKE_MONOTONIC"] = "1";
  // The sanitizer wants to be the first library, but gets along with being the second.
  variables["ASAN_OPTIONS"] = "verify_asan_link_order=0:detect_leaks=0";
}

}  // namespace harness
