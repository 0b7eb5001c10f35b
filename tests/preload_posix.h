#pragma once

// For programs that a test starts: libraries that stand between them and the system.

#include "harness.h"

namespace harness {

// Programs started with these variables call `library` before the C library.
inline void Preload(Environment& variables, const std::filesystem::path& library) {
  variables["LD_PRELOAD"] = library.string();
  // The sanitizer wants to be the first library, but gets along with being the second.
  variables["ASAN_OPTIONS"] = "verify_asan_link_order=0:detect_leaks=0";
}

// Programs started with these variables find that it is `now` (seconds since 1970), on a clock that stands still. Fails
// the test where the package libfaketime is not installed.
inline void StopClock(Environment& variables, std::int64_t now) {
  std::filesystem::path found;
  std::error_code error;
  for (const auto& entry : std::filesystem::directory_iterator("/usr/lib", error)) {
    const auto library = entry.path() / "faketime" / "libfaketime.so.1";
    if (std::filesystem::exists(library, error)) found = library;
  }
  if (found.empty()) ADD_FAILURE() << "the package libfaketime is not installed";
  Preload(variables, found);
  variables["FAKETIME"] = std::to_string(now);
  variables["FAKETIME_FMT"] = "%s";
  variables["DONT_FAKE_MONOTONIC"] = "1";
}

}  // namespace harness
