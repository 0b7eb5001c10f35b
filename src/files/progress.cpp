#include "files/progress.h"

#include <algorithm>
#include <string>
#include <utility>

namespace {

constexpr int kHighestPercent = 99;
constexpr std::int64_t kSecondsShownAsMinutes = 60;

std::string TimeLeft(std::int64_t elapsed, int percent) {
  if (percent <= 0) return {};  // nothing to estimate from yet
  const std::int64_t seconds = std::max<std::int64_t>(0, elapsed) * (100 - percent) / percent;
  return seconds > kSecondsShownAsMinutes
             ? FormatText("  ETA:%lld mins", static_cast<long long>(seconds / kSecondsShownAsMinutes))
             : FormatText("  ETA:%lld secs", static_cast<long long>(seconds));
}

}  // namespace

void ProgressLine::Start(std::int64_t total, const char* name, std::function<std::int64_t()> done) {
  if (!screen_.StdinIsTerminal) return;
  active_ = true;
  total_ = std::max<std::int64_t>(0, total);
  done_ = std::move(done);
  startTime_ = lastTime_ = clock_(nullptr);
  lastPercent_ = 0;
  if (total_ == 0 || name == nullptr) return;
  screen_.Print("\nLoading '%s' ", name);
  screen_.ShowInPlace(":  0%");
}

void ProgressLine::Draw() {
  const std::int64_t done = std::clamp<std::int64_t>(done_(), 0, total_);
  const int percent = std::min(kHighestPercent, static_cast<int>(done * 100 / total_));
  if (percent == lastPercent_) return;
  const std::time_t now = clock_(nullptr);
  if (now == lastTime_) return;
  lastPercent_ = percent;
  lastTime_ = now;
  screen_.ShowInPlace(FormatText(": %2d%%", percent) + TimeLeft(now - startTime_, percent));
}

void ProgressLine::End(bool newline, std::string_view text) {
  if (!active_) return;
  screen_.ShowInPlace(text);
  screen_.LeaveInPlace();
  if (newline) screen_.PrintText("\n");
  active_ = false;
  total_ = 0;
}
