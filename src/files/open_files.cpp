#include <algorithm>
#include <filesystem>
#include <system_error>

#include "cmdline/parameters.h"
#include "common/console.h"
#include "files/naming.h"
#include "files/progress.h"

namespace {

InsertValues ValuesNow(const Parameters& run, int fileNumber) {
  InsertValues values = InsertsNow();
  // The first file is opened before the first message is read.
  values.MessageOrdinal = std::max(1, run.MessageIndex);
  values.FileNumber = fileNumber;
  values.SelectedOrdinal = run.SelectedCount + 1;
  return values;
}

// The progress of a set of plainly named files is that of the file in hand.
void StartLoading(Parameters& run) {
  EndProgressLine(run, false);
  if (!run.Screen.StdinIsTerminal || (run.Asked.Display.Quiet && run.Plain.Pass != CountingPass::Running)) return;
  StartProgressLine(run, run.In->File().Size(), run.In->Name());
}

}  // namespace

InputFiles::Plan PlanInput(Parameters& run) {
  InputFiles::Plan plan;
  plan.NameOf = [&run](int number) { return ExpandTemplate(run.Asked.Input.FileName, ValuesNow(run, number)); };
  plan.Set = run.Asked.Input.FileSet;
  plan.Mode = AccessMode(run.Asked.Output, 'r');
  plan.ShowsMode = run.Asked.Output.AccessMode.has_value();
  plan.Files = &run.Files;
  plan.Opened = [&run] { StartLoading(run); };
  return plan;
}

MQLONG OpenInputFile(Parameters& run) {
  if (run.Asked.Input.FileName.empty() || run.In->File().is_open()) return 0;
  run.MessageText.clear();
  return run.Keep(run.In->OpenNext());
}
