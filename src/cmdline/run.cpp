#include "cmdline/run.h"

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <memory>
#include <string>

#include "cmdline/help.h"
#include "cmdline/open_files.h"
#include "cmdline/open_inputs.h"
#include "cmdline/options.h"
#include "cmdline/outcome_report.h"
#include "cmdline/parameters.h"
#include "cmdline/selection_report.h"
#include "cmdline/validate.h"
#include "common/units.h"
#include "engine/consumer.h"
#include "engine/file_sources.h"
#include "engine/put.h"
#include "engine/transfer.h"
#include "generic/generic.h"
#include "logmode/log_source.h"
#include "platform/interrupt.h"
#include "platform/system.h"
#include "platform/terminal.h"

namespace {

constexpr int kPageWithoutTerminal = 500;   // rows
constexpr int kPageOfUnknownTerminal = 24;  // rows

void SetUpConsole(Console& screen) {
  const int height = ConsoleHeight();
  screen.PageLength = !StdoutIsTerminal() ? kPageWithoutTerminal : height > 0 ? height : kPageOfUnknownTerminal;
  screen.StdinIsTerminal = StdinIsTerminal();
  screen.StderrIsTerminal = StderrIsTerminal();
}

void TakeStartTime(CommandLine& line) {
  using std::chrono::milliseconds;
  const auto sinceEpoch = std::chrono::system_clock::now().time_since_epoch();
  const std::int64_t now = std::chrono::duration_cast<milliseconds>(sinceEpoch).count();
  line.StartTime = now / 1000;
  line.StartCentis = now / 10;
}

MQLONG ConnectQMgrs(Parameters& run) {
  const bool readsQueues = run.Asked.Input.HasQueues() && !run.Asked.Log.Given;
  if (!readsQueues && !run.Asked.Output.HasQueues()) return 0;
  const MQLONG reason = InputConn(run).Connect();
  const bool same = run.Asked.Output.QMgr == run.Asked.Input.QMgr;
  return reason != 0 || same ? reason : OutputConn(run).Connect();
}

void ShowFileLimits(Parameters& run) {
  constexpr unsigned kStyle = kUnitsSeveral | kUnitsShort;
  run.Screen.Print("Output file limits active:\n");
  if (run.Asked.Limits.Msgs != 0) run.Screen.Print("  Maximum number of messages:%d\n", run.Asked.Limits.Msgs);
  if (run.Asked.Limits.Size != 0) {
    run.Screen.Print("  Maximum file size         :%s\n",
                     FormatUnits(run.Asked.Limits.Size, kByteUnits, kStyle).c_str());
  }
  if (run.Asked.Limits.Age != 0) {
    run.Screen.Print("  Maximum file age          :%s\n",
                     FormatUnits(run.Asked.Limits.Age, kSecondUnits, kStyle).c_str());
  }
  run.Screen.Print("\n");
}

void ShowWhatWillBeDone(Parameters& run) {
  if (run.Asked.Display.Quiet) return;
  ShowBanner(run.Screen);
  if (run.Asked.Selection.Active || run.Asked.Selection.HasIdentifier()) {
    ShowSelection(run.Screen, run.Asked, run.StartTime);
  }
  if (run.Asked.Limits.Active) ShowFileLimits(run);
}

// Asks the log for messages of the one queue that was named.
MQLONG StartLog(Parameters& run) {
  if (run.Asked.Input.Queues.size() > 1) {
    run.Screen.Print("Only one queue name is allowed in log mode.\n");
    return MQRC_OPTIONS_ERROR;
  }
  const auto& queues = run.Asked.Input.Queues;
  auto log = std::make_unique<LogSource>(run.Asked.Log,
                                         WantedQueue{queues.empty() ? "" : queues[0].Queue, run.Asked.CaseCounts},
                                         run.Screen, [&run] { return run.To->taken(); });
  const MQLONG reason = log->Open(run.Files);
  if (reason == 0) run.From = std::move(log);
  return reason;
}

MQLONG OpenInput(Parameters& run) {
  if (run.Asked.Input.HasQueues() && !run.Asked.Log.Given) return OpenInputQueues(run);
  return run.Asked.Log.Given ? StartLog(run) : 0;
}

MQLONG OpenOutput(Parameters& run) {
  const OutputOptions& asked = run.Asked.Output;
  if (run.Asked.Display.ShowDestinations) ShowDestinations(run.Screen, asked.Queues);
  run.TargetQueues.emplace(asked, OutputConn(run), MayFeedItself(run.Asked, NamesOf(run)) ? &run.Inputs : nullptr);
  const bool adaptiveRate = run.Asked.Pace.Rate == -1;
  return run.TargetQueues->Open(adaptiveRate);
}

// Whether some step between the get and the target looks at more of a message than its descriptor and its length.
bool LooksAtData(Parameters& run) {
  if (run.Asked.Selection.LooksAtData() || run.Asked.Output.StripHeaders) return true;

  // A message that ends on the backout queue takes its data along.
  if (!run.Asked.Input.Remove || run.Asked.Input.NoBackoutQueue || !run.Asked.Input.HasQueues()) return false;
  for (const QueueElement& queue : run.Inputs.Elements) {
    if (queue.BackoutThreshold > 0) return true;
  }
  return false;
}

void DecideDescriptorOnly(Parameters& run) {
  const bool dataGoesNowhere = run.Outputs.IsNull() || run.Asked.Display.Summary;
  if (dataGoesNowhere && !run.Asked.Input.AlwaysData && !LooksAtData(run)) run.Gets.DescriptorOnly = true;
}

std::unique_ptr<Source> MakeSource(Parameters& run) {
  auto& queues = run.Inputs.Elements;
  if (queues.empty()) {
    const bool counted = run.Count.Pass == CountingPass::Done;
    return MakeFileSource(run.Asked.Plain, *run.In, run.Screen, run.Memory(), counted);
  }
  if (queues.size() > 1) return std::make_unique<SeveralQueues>(run.Asked, run.Gets, InputConn(run), run.Inputs);
  return std::make_unique<QueueSource>(run.Asked, run.Gets, InputConn(run), queues.front());
}

std::unique_ptr<Target> MakeTarget(Parameters& run) {
  if (run.TargetQueues) {
    return std::make_unique<QueuesTarget>(run.Asked, *run.TargetQueues, OutputConn(run), run.Async);
  }
  return MakeFileTarget(run.Asked, run.Outputs, run.Summary, run.StartTime, run.Screen.StdinIsTerminal);
}

// Moves the messages of the run. Returns the reason of a failure with MessageText.
MQLONG MoveMessages(Parameters& run) {
  if (run.From == nullptr) run.From = MakeSource(run);
  run.To = MakeTarget(run);
  OutputQueues* const queues = run.TargetQueues ? &*run.TargetQueues : nullptr;
  run.Done = Transfer(run.Asked, run.Stations(), *run.From, *run.To, queues, run.Progress).Run();
  run.From.reset();
  return run.Keep(run.Done.End);
}

// One transfer, from opening what it needs. Returns the reason of the first step that fails.
MQLONG PerformTransfer(Parameters& run, RunEnd& end) {
  if (const MQLONG reason = OpenInput(run); reason != 0) return reason;
  if (run.Asked.Output.HasQueues()) {
    if (const MQLONG reason = OpenOutput(run); reason != 0) return reason;
  }
  if (InterruptSignal() != 0) return 0;  // no file is touched for a run that does nothing
  if (run.Asked.Input.FileSet && !run.Asked.Log.Given) run.Files.ExpectInputSet(run.Asked.Input.FileName);
  bool goOn = false;
  if (const MQLONG reason = OpenRunFiles(run, end, goOn); reason != 0 || !goOn) return reason;
  DecideDescriptorOnly(run);

  end.ReportEnabled = true;
  const MQLONG reason = CloseRunFiles(run, MoveMessages(run));
  if (reason != 0 && !run.Done.Began) end.ReportEnabled = false;
  return reason != 0 ? reason : run.Done.Loss;
}

// The steps from the connection to the transfer. Returns the reason of the first one that fails.
MQLONG Perform(Parameters& run, RunEnd& end) {
  if (const MQLONG reason = ConnectQMgrs(run); reason != 0) return reason;
  const QMgrNames names = NamesOf(run);
  if (!CheckInputQMgr(run.Asked, names, run.Screen)) return MQRC_OPTIONS_ERROR;
  if (!CheckNotOntoItself(run.Asked, names, run.Screen)) return MQRC_OPTIONS_ERROR;
  if (InterruptSignal() != 0) return 0;
  ShowWhatWillBeDone(run);

  if (run.Asked.Input.Generic || run.Asked.Output.Generic) {
    end.SkipReport = true;
    if (!run.Asked.Output.Generic) return GenericLoad(run.Asked, run.Stations(), run.Files, run.Progress).Run();
    return GenericUnload(run.Asked, run.Stations(), run.Files, run.Progress, run.StartTime).Run();
  }
  return PerformTransfer(run, end);
}

// Results that went to standard output have arrived only when their last byte has.
MQLONG CheckStandardOutput(Console& screen, MQLONG result) {
  errno = 0;
  const bool arrived = std::fflush(stdout) == 0 && std::ferror(stdout) == 0;
  if (arrived || result != 0) return result;
  screen.PrintText(WithCause("Error writing to standard output\n", errno));
  return MQRC_FILE_SYSTEM_ERROR;
}

// What the process ends with; tells that the run was interrupted.
int EndStatus(Console& screen, MQLONG reason) {
  if (InterruptSignal() == 0) return ExitStatus(reason);
  screen.PrintText("Interrupted\n");
  // A question that an interrupt has answered with no fails whatever depends on it.
  return reason == 0 || screen.AnswerInterrupted ? InterruptExitStatus() : ExitStatus(reason);
}

MQLONG Run(Console& screen, int argc, char** argv) {
  CommandLine line{screen};
  TakeStartTime(line);
  const ParseOutcome parsed = ParseOptions(line, argc, argv);
  if (!parsed.GoOn) return parsed.ExitCode;
  if (!ValidateOptions(line)) return MQRC_OPTIONS_ERROR;

  Parameters run(std::move(line));
  RunEnd end;
  end.ExitCode = Perform(run, end);
  ShowOutcome(run, end);
  OutputConn(run).Disconnect();
  InputConn(run).Disconnect();
  return end.ExitCode;
}

}  // namespace

int RunTarvo(int argc, char** argv) {
  PrepareProcess();
  WatchForInterrupts();
  Console screen;
  SetUpConsole(screen);
  return EndStatus(screen, CheckStandardOutput(screen, Run(screen, argc, argv)));
}
