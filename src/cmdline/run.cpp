#include "cmdline/run.h"

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>

#include "cmdline/help.h"
#include "cmdline/open_inputs.h"
#include "cmdline/options.h"
#include "cmdline/outcome_report.h"
#include "cmdline/parameters.h"
#include "cmdline/selection_report.h"
#include "cmdline/validate.h"
#include "common/units.h"
#include "engine/transfer.h"
#include "platform/interrupt.h"
#include "platform/system.h"
#include "platform/terminal.h"

namespace {

constexpr int kForceRfh2Level = 700;              // the first command level that knows message properties
constexpr int kLogBufferSize = 1048576;           // bytes; a message of the log is rebuilt from many records
constexpr int kPageWithoutTerminal = 500;         // rows
constexpr int kPageOfUnknownTerminal = 24;        // rows
constexpr std::size_t kConfirmationAnswer = 711;  // characters

// The first input queue, whose element stands for the input in the transfer; null for other inputs.
QueueElement* FirstInput(Parameters& run) {
  return run.InputList != nullptr && !run.InputList->Elements.empty() ? run.InputList->Elements.data() : nullptr;
}

void SetUpConsole(Console& screen) {
  const int height = ConsoleHeight();
  screen.PageLength = !StdoutIsTerminal() ? kPageWithoutTerminal : height > 0 ? height : kPageOfUnknownTerminal;
  screen.StdinIsTerminal = StdinIsTerminal();
  screen.StderrIsTerminal = StderrIsTerminal();
}

void TakeStartTime(Parameters& run) {
  using std::chrono::milliseconds;
  const auto sinceEpoch = std::chrono::system_clock::now().time_since_epoch();
  const std::int64_t now = std::chrono::duration_cast<milliseconds>(sinceEpoch).count();
  run.StartTime = now / 1000;
  run.NowCentis = now / 10;
  run.Status.LastStatusTime = run.StartTime;
  run.Status.LastRateTime = run.StartTime;
}

MQLONG ConnectQMgrs(Parameters& run) {
  const bool readsQueues = run.HasInputQueues() && !run.LogMode;
  if (!readsQueues && !run.HasOutputQueue()) return 0;
  MQLONG reason = ConnectQMgr(run, InputConn(run));
  if (reason == 0 && run.OutputQMgr != run.InputQMgr) reason = ConnectQMgr(run, OutputConn(run));
  if (InputConn(run).CommandLevel < kForceRfh2Level) run.Flags2 |= FLAG2_NO_FORCE_RFH2;
  return reason;
}

void ShowFileLimits(Parameters& run) {
  constexpr unsigned kStyle = kUnitsSeveral | kUnitsShort;
  run.Screen.Print("Output file limits active:\n");
  if (run.LimitMsgs != 0) run.Screen.Print("  Maximum number of messages:%d\n", run.LimitMsgs);
  if (run.LimitSize != 0) {
    run.Screen.Print("  Maximum file size         :%s\n", FormatUnits(run.LimitSize, kByteUnits, kStyle).c_str());
  }
  if (run.LimitAge != 0) {
    run.Screen.Print("  Maximum file age          :%s\n", FormatUnits(run.LimitAge, kSecondUnits, kStyle).c_str());
  }
  run.Screen.Print("\n");
}

void ShowWhatWillBeDone(Parameters& run) {
  if (run.Has(FLAG_QUIET)) return;
  ShowBanner(run);
  if (run.Has(FLAG_SELECTING | kIdentifierFlags)) ShowSelection(run);
  if (run.LimitsActive) ShowFileLimits(run);
}

// Asks the log for messages of the one queue that was named.
MQLONG StartLog(Parameters& run) {
  if (run.InputList != nullptr && run.InputList->Count() > 1) {
    run.Screen.Print("Only one queue name is allowed in log mode.\n");
    return MQRC_OPTIONS_ERROR;
  }
  run.InitialBufferSize = kLogBufferSize;
  const MQCHAR48* name = run.HasInputQueues() ? &run.InputList->Entries[0].ObjectName : nullptr;
  return StartLogReading(run, name != nullptr ? NameInField(*name, sizeof *name) : std::string_view());
}

MQLONG OpenInput(Parameters& run) {
  if (run.HasInputQueues() && !run.LogMode) return OpenInputQueues(run);
  const MQLONG reason = run.LogMode ? StartLog(run) : 0;
  run.Flags &= ~FLAG_SELECTING;  // nothing is browsed before it is got
  return reason;
}

// Plain files are counted first when there is somebody to look at the count. What is no file can be read only once.
void DecideCountingFirst(Parameters& run) {
  if (!run.Has2(FLAG2_NON_TARVO) || run.InputFileName.empty() || run.LogMode) return;
  if (run.Has2(FLAG2_WHOLE_FILE | FLAG2_NO_PRELIM_COUNT)) return;
  std::error_code error;
  const auto kind = std::filesystem::status(run.InputFileName.c_str(), error).type();
  const bool onlyOnce = kind == std::filesystem::file_type::fifo || kind == std::filesystem::file_type::character;
  run.Flags2 |= run.Screen.StdinIsTerminal && !onlyOnce ? FLAG2_COUNT_FIRST : FLAG2_NO_PRELIM_COUNT;
}

// Whether some step between the get and the target looks at more of a message than its descriptor and its length.
bool LooksAtData(Parameters& run) {
  const auto used = [](const SearchString* strings) { return strings[0].Length != 0; };
  const bool byContent = used(run.AsciiSearch) || used(run.AsciiNotSearch) || used(run.EbcdicSearch) ||
                         used(run.EbcdicNotSearch) || used(run.HexSearch) || used(run.HexNotSearch);
  if (byContent || run.Has2(FLAG2_BY_DLQ_REASON | FLAG2_BY_TARGET) || run.Has(FLAG_STRIP_HEADERS)) return true;

  // A message that ends on the backout queue takes its data along.
  if (!run.Has(FLAG_GET) || run.Has2(FLAG2_NO_BACKOUT) || !run.HasInputQueues()) return false;
  for (const QueueElement& queue : run.InputList->Elements) {
    if (queue.BackoutThreshold > 0) return true;
  }
  return false;
}

void DecideDescriptorOnly(Parameters& run) {
  const bool dataGoesNowhere = run.NullOutput || run.Has(FLAG_SUMMARY);
  if (dataGoesNowhere && !run.Has2(FLAG2_FULL_GET) && !LooksAtData(run)) run.Flags2 |= FLAG2_DESCRIPTOR_ONLY;
}

MQLONG Transfer(Parameters& run, QueueElement* queue) {
  run.MessageIndex = -1;
  const MQLONG reason = TransferMessages(run, queue, run.Screen.StdinIsTerminal);
  EndLogReading(run);
  return reason;
}

// Closes both files; what the output file could not take to the disk is the run's failure if nothing else was.
MQLONG CloseFiles(Parameters& run, MQLONG result) {
  EndProgressLine(run, true);
  CloseInputFile(run);
  return FinishOutput(run, result);
}

// Makes the run forget the messages and files of the counting pass.
void ForgetCountingPass(Parameters& run) {
  run.Flags2 &= ~FLAG2_COUNT_FIRST;
  run.Flags2 |= FLAG2_NO_PRELIM_COUNT | FLAG2_COUNTED;
  run.Finished = false;
  run.MsgsRead = run.BytesRead = run.MsgsWritten = run.BytesWritten = 0;
  run.UowMsgsRead = run.UowBytesRead = run.UowMsgsWritten = run.UowBytesWritten = 0;
  run.FilesRead = run.FilesWritten = 0;
  run.Writer.MsgsInFile = 0;
  run.Progress.LastPercent = 0;
  run.Reader.FileBytes = run.Reader.FinishedFileBytes = 0;
}

// Counts the messages of a plain file and asks whether to go on. `goOn` is set when the user says so.
MQLONG CountAndAsk(Parameters& run, bool& goOn) {
  goOn = false;
  const MQLONG reason = CloseFiles(run, Transfer(run, nullptr));
  if (reason != 0 || InterruptSignal() != 0) return reason;
  if (run.MsgsRead == 0) {
    run.Screen.Print("No messages were found in the file with those delimiters.\n");
    return run.Reader.Loss;
  }
  run.Screen.Print("Do you want to continue? (y/n)\n");
  std::string answer;
  goOn = run.Screen.ReadAnswer(answer, kConfirmationAnswer) && answer.starts_with('y');
  return 0;
}

// Opens the files of the run, counting first where that was decided. `goOn` is cleared when the run ends here.
MQLONG OpenRunFiles(Parameters& run, Outcome& outcome, bool& goOn) {
  const OpenRequest both = {run.Screen.StdinIsTerminal, true, true};
  goOn = false;
  MQLONG reason = OpenFiles(run, both);
  if (reason == 0 && run.MessageText.empty() && run.Has2(FLAG2_COUNT_FIRST)) {
    reason = CountAndAsk(run, goOn);
    if (reason != 0) return reason;
    outcome.SkipReport = !goOn;
    if (!goOn) return 0;
    ForgetCountingPass(run);
    reason = OpenFiles(run, both);
  }
  goOn = reason == 0 && run.MessageText.empty();
  return reason;
}

// The steps from the connection to the transfer. Returns the reason of the first one that fails.
MQLONG Perform(Parameters& run, Outcome& outcome) {
  if (const MQLONG reason = ConnectQMgrs(run); reason != 0) return reason;
  if (!CheckInputQMgr(run) || !CheckNotOntoItself(run)) return MQRC_OPTIONS_ERROR;
  if (InterruptSignal() != 0) return 0;
  ShowWhatWillBeDone(run);
  NormaliseRange(run);

  if (run.Has2(FLAG2_GENERIC)) {
    outcome.SkipReport = true;
    const bool unload = run.OutputFileName.view().find('*') != std::string_view::npos;
    return unload ? GenericUnload(run) : GenericLoad(run);
  }

  if (const MQLONG reason = OpenInput(run); reason != 0) return reason;
  if (run.HasOutputQueue()) {
    if (const MQLONG reason = OpenOutputs(run); reason != 0) return reason;
  }
  if (InterruptSignal() != 0) return 0;  // no file is touched for a run that does nothing
  DecideCountingFirst(run);
  run.MessageIndex = -1;
  run.NullOutput = run.OutputFileName == "null";
  bool goOn = false;
  if (const MQLONG reason = OpenRunFiles(run, outcome, goOn); reason != 0 || !goOn) return reason;
  DecideDescriptorOnly(run);

  outcome.ReportEnabled = true;
  const MQLONG reason = CloseFiles(run, Transfer(run, FirstInput(run)));
  if (reason != 0 && run.MessageIndex < 0) outcome.ReportEnabled = false;
  return reason != 0 ? reason : run.Reader.Loss;
}

// Results that went to standard output have arrived only when their last byte has.
MQLONG CheckStandardOutput(Parameters& run, MQLONG result) {
  errno = 0;
  const bool arrived = std::fflush(stdout) == 0 && std::ferror(stdout) == 0;
  if (arrived || result != 0) return result;
  run.Screen.PrintText(WithCause("Error writing to standard output\n", errno));
  return MQRC_FILE_SYSTEM_ERROR;
}

// What the process ends with; tells that the run was interrupted.
int EndStatus(Parameters& run, MQLONG reason) {
  if (InterruptSignal() == 0) return ExitStatus(reason);
  run.Screen.PrintText("Interrupted\n");
  // A question that an interrupt has answered with no fails whatever depends on it.
  return reason == 0 || run.Screen.AnswerInterrupted ? InterruptExitStatus() : ExitStatus(reason);
}

MQLONG Run(Parameters& run, int argc, char** argv) {
  SetUpConsole(run.Screen);
  TakeStartTime(run);

  const ParseOutcome parsed = ParseOptions(run, argc, argv);
  if (!parsed.GoOn) return parsed.ExitCode;
  if (!ValidateOptions(run)) return MQRC_OPTIONS_ERROR;

  Outcome outcome;
  outcome.ExitCode = Perform(run, outcome);
  ShowOutcome(run, outcome);
  DisconnectQMgr(run, OutputConn(run));
  DisconnectQMgr(run, InputConn(run));
  return outcome.ExitCode;
}

}  // namespace

int RunTarvo(int argc, char** argv) {
  PrepareProcess();
  WatchForInterrupts();
  const auto run = std::make_unique<Parameters>();
  return EndStatus(*run, CheckStandardOutput(*run, Run(*run, argc, argv)));
}
