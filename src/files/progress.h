#pragma once

// The loading progress line: "Loading 'name' : 12%  ETA:3 secs", redrawn in place on a terminal.

#include <cstdint>
#include <ctime>
#include <functional>
#include <string_view>

#include "common/console.h"

class ProgressLine {
 public:
  using Clock = std::time_t (*)(std::time_t*);

  explicit ProgressLine(Console& screen, Clock clock = std::time) : screen_(screen), clock_(clock) {}

  // Starts the line for a total, of which `done` tells how much is done; nothing is shown of one that is not above 0.
  // `name` may be null (no "Loading" text). Only where standard input is a terminal.
  void Start(std::int64_t total, const char* name, std::function<std::int64_t()> done);
  // Redraws the line when the percentage and the second have changed since it was drawn last. Called for each message.
  void Show() {
    if (total_ > 0) Draw();
  }
  // Finishes the line: blanked, or replaced by `text`; with `newline` the terminal line ends.
  void End(bool newline, std::string_view text = {});

 private:
  void Draw();

  Console& screen_;
  Clock clock_;
  bool active_ = false;
  std::int64_t total_ = 0;  // bytes of the input, or messages of a queue that is unloaded; 0: nothing is shown
  std::function<std::int64_t()> done_;
  std::time_t startTime_ = 0;
  int lastPercent_ = 0;
  std::time_t lastTime_ = 0;  // when the line was last drawn
};
