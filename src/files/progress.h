#pragma once

// The loading progress line: "Loading 'name' : 12%  ETA:3 secs", redrawn in place on a terminal, or the counts of a
// preliminary count at its end.

#include <cstdint>

struct Parameters;

struct ProgressState {
  bool Active = false;
  std::int64_t Total = 0;      // bytes of the input, or messages of a queue that is unloaded; 0: no progress display
  std::int64_t StartTime = 0;  // seconds
  int LastPercent = 0;
  std::int64_t LastTime = 0;  // seconds, when the line was last drawn
};

// Starts the line for a total; `name` may be null (no "Loading" text).
void StartProgressLine(Parameters& run, std::int64_t total, const char* name);
// Redraws the line when the percentage and the second have changed since it was drawn last.
void ShowProgress(Parameters& run, bool terminal);
// Finishes the line: blanked, or replaced by the counts of a preliminary count; with `newline` the terminal line ends.
void EndProgressLine(Parameters& run, bool newline);
