#pragma once

// The clock on which waits and paces are counted.

#include <chrono>
#include <cstdint>

// Milliseconds since an arbitrary start; nobody sets this clock, and it does not wrap.
inline std::int64_t SteadyMillis() {
  const auto now = std::chrono::steady_clock::now().time_since_epoch();
  return std::chrono::duration_cast<std::chrono::milliseconds>(now).count();
}
