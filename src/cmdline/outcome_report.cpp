#include "cmdline/outcome_report.h"

#include <cinttypes>

#include "cmdline/parameters.h"
#include "display/summary.h"

namespace {

struct Totals {
  Tally Read;
  WrittenCounts Written;
};

bool HasOutput(const Parameters& run) { return run.TargetQueues || !run.Asked.Output.FileName.empty(); }

ReportLine ReadLine(const Parameters& run, const Totals& totals) {
  return {"Read", run.In->FilesRead(), true, totals.Read.Msgs, static_cast<std::uint64_t>(totals.Read.Bytes)};
}

void ShowWritten(Parameters& run, const Totals& totals) {
  const WrittenCounts& written = totals.Written;
  PrintReportLine(run.Screen,
                  {"Written", written.Files, true, written.Msgs, static_cast<std::uint64_t>(written.Bytes)});
}

void ShowTotals(Parameters& run) {
  const Totals totals = {run.Done.Read, run.Written()};
  const ReportLine read = ReadLine(run, totals);
  if (run.Asked.Display.Summary) {
    return ShowSummary(run.Screen, run.Asked.Display, {read, run.Summary, run.Inputs.Elements});
  }
  PrintReportLine(run.Screen, read);
  if (run.Asked.Display.Count) {
    const WrittenCounts& counted = totals.Written;
    PrintReportLine(run.Screen, {"Counted", 0, false, counted.Msgs, static_cast<std::uint64_t>(counted.Bytes)});
  } else if (HasOutput(run) && !run.Outputs.IsNull()) {
    ShowWritten(run, totals);
  }
}

// What the committed units of work moved.
void ShowCompleted(Parameters& run) {
  WrittenCounts written = run.Written();
  written.Msgs -= run.Done.UncommittedPut.Msgs;
  written.Bytes -= run.Done.UncommittedPut.Bytes;
  const Totals totals = {run.Done.Read - run.Done.UncommittedRead, written};
  run.Screen.Print("\nOperation rolled back, completed operations as follows:\n");
  PrintReportLine(run.Screen, ReadLine(run, totals));
  if (HasOutput(run)) ShowWritten(run, totals);
}

}  // namespace

void ShowOutcome(Parameters& run, const RunEnd& end) {
  if (!run.MessageText.empty()) run.Screen.Print("%s\n", run.MessageText.c_str());
  if (end.SkipReport) return;
  if (run.Asked.Display.Quiet || run.Done.Silent) {
    if (run.Asked.Display.Count) PrintOutput("%" PRId64, run.Written().Msgs);
    return;
  }
  if (end.ReportEnabled) ShowTotals(run);
  if (run.Done.RolledBack) ShowCompleted(run);
}
