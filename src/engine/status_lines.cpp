#include "engine/status_lines.h"

#include <cinttypes>
#include <ctime>

void StatusLines::Check(std::int64_t read, std::int64_t written) {
  const std::int64_t now = clock_.Seconds();
  const bool due =
      messages_ >= static_cast<std::uint32_t>(asked_.StatusEveryMsgs) || now - lastLine_ > asked_.StatusEverySecs;
  if (due) Print(now, read, written);
}

void StatusLines::Print(std::int64_t now, std::int64_t read, std::int64_t written) {
  char clock[16] = "";
  const auto time = static_cast<std::time_t>(now);
  if (const std::tm* local = std::localtime(&time); local != nullptr) {
    std::strftime(clock, sizeof clock, "%H:%M:%S", local);
  }
  carried_ += messages_;
  messages_ = 0;
  if (now != lastRate_) {
    const double throughput = carried_ / static_cast<double>(now - lastRate_);
    screen_.Print("%.8s> Status - Read:%10" PRId64 " Written:%10" PRId64 " Thruput:%8.1f msg/sec\n", clock, read,
                  written, throughput);
    carried_ = 0;
    lastRate_ = now;
  } else {
    screen_.Print("%.8s> Status - Read:%10" PRId64 " Written:%10" PRId64 " Thruput:       * msg/sec\n", clock, read,
                  written);
  }
  lastLine_ = now;
}
