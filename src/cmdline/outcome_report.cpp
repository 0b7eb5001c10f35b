#include "cmdline/outcome_report.h"

#include <cinttypes>

#include "cmdline/parameters.h"
#include "display/summary.h"

namespace {

struct Totals {
  std::int64_t MsgsRead, BytesRead, MsgsWritten, BytesWritten;
};

bool HasOutput(const Parameters& run) {
  return run.OutputHobj != MQHO_UNUSABLE_HOBJ || run.TargetList != nullptr || !run.Asked.Output.FileName.empty();
}

ReportLine ReadLine(const Parameters& run, const Totals& totals) {
  return {"Read", run.In->FilesRead(), true, totals.MsgsRead, static_cast<std::uint64_t>(totals.BytesRead)};
}

void ShowWritten(Parameters& run, const Totals& totals) {
  PrintReportLine(run.Screen, {"Written", run.FilesWritten, true, totals.MsgsWritten,
                               static_cast<std::uint64_t>(totals.BytesWritten)});
}

void ShowTotals(Parameters& run) {
  const Totals totals = {run.MsgsRead, run.BytesRead, run.MsgsWritten, run.BytesWritten};
  const ReportLine read = ReadLine(run, totals);
  if (run.Asked.Display.Summary) {
    return ShowSummary(run.Screen, run.Asked.Display, {read, *run.Summary, run.Inputs.Elements});
  }
  PrintReportLine(run.Screen, read);
  if (run.Asked.Display.Count) {
    PrintReportLine(run.Screen,
                    {"Counted", 0, false, totals.MsgsWritten, static_cast<std::uint64_t>(totals.BytesWritten)});
  } else if (HasOutput(run) && !run.NullOutput) {
    ShowWritten(run, totals);
  }
}

// What the committed units of work moved.
void ShowCompleted(Parameters& run) {
  const Totals totals = {run.MsgsRead - run.UowMsgsRead, run.BytesRead - run.UowBytesRead,
                         run.MsgsWritten - run.UowMsgsWritten, run.BytesWritten - run.UowBytesWritten};
  run.Screen.Print("\nOperation rolled back, completed operations as follows:\n");
  PrintReportLine(run.Screen, ReadLine(run, totals));
  if (HasOutput(run)) ShowWritten(run, totals);
}

}  // namespace

void ShowOutcome(Parameters& run, const Outcome& outcome) {
  if (!run.MessageText.empty()) run.Screen.Print("%s\n", run.MessageText.c_str());
  if (outcome.SkipReport) return;
  if (run.Asked.Display.Quiet || run.ReportSilenced) {
    if (run.Asked.Display.Count) PrintOutput("%" PRId64, run.MsgsWritten);
    return;
  }
  if (outcome.ReportEnabled) ShowTotals(run);
  if (run.RolledBack) ShowCompleted(run);
}
