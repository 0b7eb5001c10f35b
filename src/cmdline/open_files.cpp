#include "cmdline/open_files.h"

#include <filesystem>
#include <memory>
#include <string>
#include <system_error>

#include "cmdline/outcome_report.h"
#include "cmdline/parameters.h"
#include "engine/transfer.h"
#include "files/plain_file.h"
#include "platform/interrupt.h"

namespace {

constexpr std::size_t kConfirmationAnswer = 711;  // characters

bool Counting(const Parameters& run) { return run.Count.Pass == CountingPass::Running; }

// What is no file can be read only once.
bool CountsFirst(const Parameters& run) {
  if (!run.Asked.Plain.Given || run.Asked.Input.FileName.empty() || run.Asked.Log.Given) return false;
  if (run.Asked.Plain.WholeFile || run.Asked.Plain.NoPreliminaryCount) return false;
  std::error_code error;
  const auto kind = std::filesystem::status(run.Asked.Input.FileName.c_str(), error).type();
  const bool onlyOnce = kind == std::filesystem::file_type::fifo || kind == std::filesystem::file_type::character;
  return run.Screen.StdinIsTerminal && !onlyOnce;
}

// Ends the progress line, a preliminary count's with what it has found in the file.
void EndProgress(Parameters& run, bool newline) {
  if (!Counting(run)) return run.Progress.End(newline);
  std::string text = FormatText(": %d messages found", run.Count.Messages);
  if (!run.Asked.Plain.StartProperty.empty()) text += FormatText(" (%d with properties)", run.Count.WithProperties);
  run.Progress.End(newline, text);
  run.Count.Messages = run.Count.WithProperties = 0;
}

// The progress of a set of plainly named files is that of the file in hand.
void StartLoading(Parameters& run) {
  EndProgress(run, false);
  if (run.Asked.Display.Quiet && !Counting(run)) return;
  run.Progress.Start(run.In->File().Size(), run.In->Name(), [&run] { return run.In->BytesRead(); });
}

std::string InputName(const Parameters& run, int number) {
  const MessagePlace& place = run.Place;
  InsertValues values = InsertsNow();
  values.MessageOrdinal = place.Position;
  values.SelectedOrdinal = place.Ordinal;
  values.FileNumber = number;
  return ExpandTemplate(run.Asked.Input.FileName, values);
}

MQLONG OpenInputFile(Parameters& run) {
  InputFiles::Plan plan = PlanInput(run.Asked.Output, run.Files);
  plan.NameOf = [&run](int number) { return InputName(run, number); };
  plan.Set = run.Asked.Input.FileSet;
  plan.Opened = [&run] { StartLoading(run); };
  run.In = std::make_unique<InputFiles>(std::move(plan));
  if (run.Asked.Input.FileName.empty()) return 0;
  run.MessageText.clear();
  return run.Keep(run.In->OpenNext());
}

// The input file and the output file, which a preliminary count only checks and asks about: nothing is touched before
// the user has agreed to the count.
MQLONG OpenBoth(Parameters& run, bool& goOn) {
  MQLONG reason = OpenInputFile(run);
  if (reason == 0) {
    reason = run.Keep(
        run.Outputs.Open({.MayAsk = run.Screen.StdinIsTerminal, .OnlyCheck = Counting(run), .Place = run.Place}));
  }
  goOn = reason == 0 && run.MessageText.empty();
  if (reason == 0 || InterruptSignal() == 0) return reason;
  // A named pipe whose other end nobody opened. Nothing has been touched.
  run.MessageText.clear();
  return 0;
}

MQLONG CountMessages(Parameters& run, std::int64_t& total) {
  if (const Result refused = CheckTransfer(run.Asked); refused.failed()) return run.Keep(refused);
  PlainFileReader reader(*run.In, run.Asked.Plain, run.Screen, run.Memory());
  Result result = reader.Prepare();
  while (!result.failed()) {
    bool hasProperties = false;
    result = reader.Skip(hasProperties);
    if (result.failed() || reader.at_end() || InterruptSignal() != 0) break;
    ++total;
    ++run.Count.Messages;
    if (hasProperties) ++run.Count.WithProperties;
    run.Progress.Show();
  }
  run.Done.Loss = reader.loss();
  return run.Keep(result);
}

// Counts the messages of a plain file and asks whether to go on. `goOn` is set when the user says so.
MQLONG CountAndAsk(Parameters& run, bool& goOn) {
  goOn = false;
  std::int64_t total = 0;
  const MQLONG reason = CloseRunFiles(run, CountMessages(run, total));
  if (reason != 0 || InterruptSignal() != 0) return reason;
  if (total == 0) {
    run.Screen.Print("No messages were found in the file with those delimiters.\n");
    return run.Done.Loss;
  }
  run.Screen.Print("Do you want to continue? (y/n)\n");
  std::string answer;
  goOn = run.Screen.ReadAnswer(answer, kConfirmationAnswer) && answer.starts_with('y');
  return 0;
}

}  // namespace

MQLONG OpenRunFiles(Parameters& run, RunEnd& end, bool& goOn) {
  if (CountsFirst(run)) run.Count.Pass = CountingPass::Running;
  MQLONG reason = OpenBoth(run, goOn);
  if (!goOn || !Counting(run)) return reason;
  reason = CountAndAsk(run, goOn);
  end.SkipReport = reason == 0 && !goOn;
  if (!goOn) return reason;
  run.Count.Pass = CountingPass::Done;
  return OpenBoth(run, goOn);
}

MQLONG CloseRunFiles(Parameters& run, MQLONG result) {
  EndProgress(run, true);
  run.In->Close();
  return run.Keep(run.Outputs.changes().Finish({result, run.MessageText}));
}
