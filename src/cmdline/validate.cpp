#include "cmdline/validate.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "cmdline/parameters.h"

namespace {

constexpr std::int64_t kGenericSizeLimit = 524288000;  // bytes; 500 MB

// One check: the refusal to print, or null.
using Check = const char*(Parameters& run);

bool HasInputFile(const Parameters& run) { return !run.Asked.Input.FileName.empty(); }
bool HasOutputFile(const Parameters& run) { return !run.Asked.Output.FileName.empty(); }
bool IsGeneric(const std::string& name) { return name.find('*') != std::string_view::npos; }

bool HasInserts(const std::string& text) {
  for (const std::string_view insert : {"%i", "%n", "%o", "%I", "%N", "%O"}) {
    if (text.find(insert) != std::string_view::npos) return true;
  }
  return false;
}

const char* CheckRate(Parameters& run) {
  if (run.Asked.Pace.Rate == 0) return nullptr;
  if (!run.Asked.Output.HasQueues()) return "'Required rate' processing requires that the target is a Queue.\n";
  if (run.Asked.Pace.RateDuration == 0) return nullptr;
  if (!run.Asked.Input.HasQueues()) return "Repeated 'Required rate' processing requires that the input is a queue.\n";
  if (run.Asked.Input.Remove) return "Repeated 'Required rate' processing requires that you browse the input queue.\n";
  return nullptr;
}

const char* TurnAgesIntoTimes(Parameters& run) {
  if (run.Asked.Selection.YoungerThan != 0 && run.Asked.Selection.OlderThan != 0 &&
      run.Asked.Selection.YoungerThan < run.Asked.Selection.OlderThan) {
    std::swap(run.Asked.Selection.YoungerThan, run.Asked.Selection.OlderThan);
  }
  if (run.Asked.Selection.YoungerThan != 0)
    run.Asked.Selection.PutAfter = run.StartTime - run.Asked.Selection.YoungerThan;
  if (run.Asked.Selection.OlderThan != 0) run.Asked.Selection.PutBefore = run.StartTime - run.Asked.Selection.OlderThan;
  return nullptr;
}

// The only file named beside input queues is where they go.
const char* TakeFileAsOutput(Parameters& run) {
  if (HasInputFile(run) && !HasOutputFile(run) && run.Asked.Input.HasQueues()) {
    run.Asked.Output.FileName = run.Asked.Input.FileName;
    run.Asked.Input.FileName.clear();
  }
  return nullptr;
}

const char* CheckSummary(Parameters& run) {
  if (!run.Asked.Display.Summary) return nullptr;
  if (!HasOutputFile(run) || run.Asked.Output.FileName == "stdout") run.Asked.Output.FileName = "null";
  return run.Asked.Output.HasQueues() ? "Sorry, you can't specify an output queue with summary display.\n" : nullptr;
}

const char* CheckCount(Parameters& run) {
  return run.Asked.Display.Count && (HasOutputFile(run) || run.Asked.Output.HasQueues())
             ? "Sorry, you can't specify an output queue/file with the count display.\n"
             : nullptr;
}

const char* CheckSides(Parameters& run) {
  if (run.Asked.Input.HasQueues() && HasInputFile(run))
    return "Please don't specify both an input queue and an input file.\n";
  if (!run.Asked.Log.Given && !run.Asked.Input.HasQueues() && !HasInputFile(run)) {
    return "Please enter either an input queue or an input file.\n";
  }
  if (run.Asked.Output.HasQueues() && HasOutputFile(run)) {
    return "Please enter either an output queue or an output file, not both.\n";
  }
  return nullptr;
}

const char* CheckPurge(Parameters& run) {
  return run.Asked.Input.HasQueues() && !run.Asked.Input.Remove && run.Asked.Input.Purge
             ? "Purge is not valid when you are browsing the Input Queue\n"
             : nullptr;
}

const char* CheckSelector(Parameters& run) {
  if (!run.Asked.Selection.Selector) return nullptr;
  if (run.Asked.Log.Given || HasInputFile(run)) return "SQL92 Selection is only supported when the input is a queue\n";
  if (run.Asked.Input.Purge) return "The purge option is not supported when using the SQL92 selector\n";
  return nullptr;
}

const char* NoteInserts(Parameters& run) {
  run.Asked.Input.FileSet = HasInserts(run.Asked.Input.FileName);
  if (HasInserts(run.Asked.Output.FileName)) {
    run.Asked.Output.FileInserts = true;
    run.Asked.Limits.Active = true;
  }
  return nullptr;
}

// A file for every queue needs input queues that are connected, since the command server is asked for their names.
const char* CheckGenericOutput(Parameters& run) {
  if (!IsGeneric(run.Asked.Output.FileName)) return nullptr;
  if (!run.Asked.Input.HasQueues() || run.Asked.Log.Given)
    return "Please enter an input queue for the generic unload.\n";
  run.Asked.Output.FileInserts = true;
  run.Asked.Output.Generic = true;
  if (!run.Asked.Limits.Active) {
    run.Asked.Limits.Active = true;
    run.Asked.Limits.Size = kGenericSizeLimit;
    run.Asked.Limits.Msgs = 0;
  }
  return nullptr;
}

const char* CheckGenericInput(Parameters& run) {
  if (!IsGeneric(run.Asked.Input.FileName)) {
    const bool unused = run.Asked.Limits.Active && !run.Asked.Output.FileInserts;
    return unused ? "The use of -L parameters requires the use of file index inserts\n" : nullptr;
  }
  if (!run.Asked.Output.HasQueues()) return "Please enter an output queue for the generic load.\n";
  run.Asked.Input.Generic = true;
  if (run.Asked.Limits.Active) {
    run.Screen.Print("-L parameters are ignored in generic load\n\n");
    run.Asked.Limits.Active = false;
  }
  return nullptr;
}

// These displays look at messages and keep none of them.
const char* CheckDisplaysWithMove(Parameters& run) {
  if (!run.Asked.Input.Remove) return nullptr;
  if (run.Asked.Display.Summary) return "Sumary option is not valid with move, use browse\n";
  if (run.Asked.Display.Count) return "Count option is not valid with move, use browse\n";
  if (run.Asked.Layout.TimeOnQueue) return "Time on queue option is not valid with move, use browse\n";
  return nullptr;
}

const char* CompleteWidth(Parameters& run) {
  constexpr int kDefaultWidth = 25;
  constexpr int kLeastWidth = 10;
  int& width = run.Asked.Layout.DataWidth;
  width = width < 1 ? kDefaultWidth : std::max(width, kLeastWidth);
  return nullptr;
}

// A message of the log is rebuilt from many records.
const char* CompleteBufferSize(Parameters& run) {
  constexpr int kLogBufferSize = 1024 * 1024;
  if (run.Asked.Log.Given) run.Asked.Input.InitialBufferSize = kLogBufferSize;
  return nullptr;
}

constexpr Check* kChecks[] = {
    CheckRate,     TurnAgesIntoTimes,  TakeFileAsOutput, CheckSummary,       CheckCount,        CheckSides,
    CheckPurge,    CheckSelector,      NoteInserts,      CheckGenericOutput, CheckGenericInput, CheckDisplaysWithMove,
    CompleteWidth, CompleteBufferSize,
};

// Up to its first blank, where the queue manager's names end.
std::string_view Name(const std::string& name) { return NameInField(name.data(), name.size()); }

// Whether a queue of the output side is the queue `name` of the input queue manager.
bool FeedsInput(Parameters& run, std::string_view name, const QueueName& output) {
  std::string_view qmgr = Name(output.QMgr);
  if (qmgr.empty()) qmgr = OutputConn(run).QMgrName;
  return Name(output.Queue) == name && qmgr == InputConn(run).QMgrName.view();
}

}  // namespace

bool ValidateOptions(Parameters& run) {
  for (Check* check : kChecks) {
    if (const char* refusal = check(run)) {
      run.Screen.PrintText(refusal);
      return false;
    }
  }
  return CheckNotOntoItself(run);
}

bool MayFeedItself(Parameters& run) {
  return run.Asked.Input.HasQueues() && !run.Asked.Log.Given && run.Asked.Output.HasQueues() &&
         run.Asked.Selection.RangeEnd == 0 && InputConn(run).QMgrName.view() == OutputConn(run).QMgrName.view();
}

bool CheckInputQMgr(Parameters& run) {
  if (!run.Asked.Input.HasQueues()) return true;
  const std::string_view own = InputConn(run).QMgrName;
  if (own.empty() && run.Asked.Log.Given) return true;  // the log of a queue manager that nobody named
  for (const QueueName& input : run.Asked.Input.Queues) {
    if (input.QMgr.empty() || input.QMgr == own) continue;
    run.Screen.Print("Input queue '%s' can not be read, the input queue manager is '%s'\n",
                     DestinationText(input).c_str(), InputConn(run).QMgrName.c_str());
    return false;
  }
  return true;
}

bool CheckNotOntoItself(Parameters& run) {
  const Options& asked = run.Asked;
  if (!asked.Input.HasQueues() || asked.Log.Given || asked.Selection.RangeEnd != 0) return true;
  for (const QueueName& input : asked.Input.Queues) {
    for (const QueueName& output : asked.Output.Queues) {
      if (FeedsInput(run, Name(input.Queue), output)) return RefuseOntoItself(run.Screen, Name(input.Queue)) == 0;
    }
  }
  return true;
}
