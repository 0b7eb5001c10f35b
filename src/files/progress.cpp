#include "files/progress.h"

#include <algorithm>
#include <ctime>
#include <string>

#include "cmdline/parameters.h"
#include "common/console.h"

namespace {

constexpr int kHighestPercent = 99;
constexpr std::int64_t kSecondsShownAsMinutes = 60;

std::int64_t Now() { return static_cast<std::int64_t>(std::time(nullptr)); }

std::int64_t DoneSoFar(const Parameters& run) {
  if (run.Asked.Input.FileName.empty()) return run.Written().Msgs;
  return run.In->BytesRead();
}

std::string TimeLeft(std::int64_t elapsed, int percent) {
  if (percent <= 0) return {};  // nothing to estimate from yet
  const std::int64_t seconds = std::max<std::int64_t>(0, elapsed) * (100 - percent) / percent;
  return seconds > kSecondsShownAsMinutes
             ? FormatText("  ETA:%lld mins", static_cast<long long>(seconds / kSecondsShownAsMinutes))
             : FormatText("  ETA:%lld secs", static_cast<long long>(seconds));
}

}  // namespace

void StartProgressLine(Parameters& run, std::int64_t total, const char* name) {
  ProgressState& progress = run.Progress;
  progress = ProgressState{};
  progress.Active = true;
  progress.Total = std::max<std::int64_t>(0, total);
  progress.StartTime = Now();
  progress.LastTime = progress.StartTime;
  if (progress.Total == 0 || name == nullptr) return;
  run.Screen.Print("\nLoading '%s' ", name);
  if (run.Screen.StdinIsTerminal) run.Screen.ShowInPlace(":  0%");
}

void ShowProgress(Parameters& run, bool terminal) {
  ProgressState& progress = run.Progress;
  if (progress.Total <= 0 || !terminal) return;
  const std::int64_t done = std::clamp<std::int64_t>(DoneSoFar(run), 0, progress.Total);
  const int percent = std::min(kHighestPercent, static_cast<int>(done * 100 / progress.Total));
  if (percent == progress.LastPercent) return;
  const std::int64_t now = Now();
  if (now == progress.LastTime) return;
  progress.LastPercent = percent;
  progress.LastTime = now;
  run.Screen.ShowInPlace(FormatText(": %2d%%", percent) + TimeLeft(now - progress.StartTime, percent));
}

void EndProgressLine(Parameters& run, bool newline) {
  ProgressState& progress = run.Progress;
  if (!progress.Active) return;
  const bool terminal = run.Screen.StdinIsTerminal;
  if (run.Plain.Pass == CountingPass::Running) {
    std::string text = FormatText(": %d messages found", run.Plain.MessagesFound);
    if (!run.Asked.Plain.StartProperty.empty()) {
      text += FormatText(" (%d with properties)", run.Plain.MessagesWithProperties);
    }
    if (terminal) run.Screen.ShowInPlace(text);
    run.Plain.MessagesFound = 0;
    run.Plain.MessagesWithProperties = 0;
  } else if (terminal) {
    run.Screen.EraseInPlace();
  }
  run.Screen.LeaveInPlace();
  if (terminal && newline) run.Screen.PrintText("\n");
  progress = ProgressState{};
}
