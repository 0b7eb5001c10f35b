#include "cmdline/validate.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "cmdline/queue_checks.h"

namespace {

constexpr std::int64_t kGenericSizeLimit = 524288000;  // bytes; 500 MB

// One check: the refusal to print, or null.
using Check = const char*(CommandLine& line);

bool HasInputFile(const CommandLine& line) { return !line.Asked.Input.FileName.empty(); }
bool HasOutputFile(const CommandLine& line) { return !line.Asked.Output.FileName.empty(); }
bool IsGeneric(const std::string& name) { return name.find('*') != std::string_view::npos; }

bool HasInserts(const std::string& text) {
  for (const std::string_view insert : {"%i", "%n", "%o", "%I", "%N", "%O"}) {
    if (text.find(insert) != std::string_view::npos) return true;
  }
  return false;
}

const char* CheckRate(CommandLine& line) {
  if (line.Asked.Pace.Rate == 0) return nullptr;
  if (!line.Asked.Output.HasQueues()) return "'Required rate' processing requires that the target is a Queue.\n";
  if (line.Asked.Pace.RateDuration == 0) return nullptr;
  if (!line.Asked.Input.HasQueues()) return "Repeated 'Required rate' processing requires that the input is a queue.\n";
  if (line.Asked.Input.Remove) return "Repeated 'Required rate' processing requires that you browse the input queue.\n";
  return nullptr;
}

const char* TurnAgesIntoTimes(CommandLine& line) {
  if (line.Asked.Selection.YoungerThan != 0 && line.Asked.Selection.OlderThan != 0 &&
      line.Asked.Selection.YoungerThan < line.Asked.Selection.OlderThan) {
    std::swap(line.Asked.Selection.YoungerThan, line.Asked.Selection.OlderThan);
  }
  if (line.Asked.Selection.YoungerThan != 0)
    line.Asked.Selection.PutAfter = line.StartTime - line.Asked.Selection.YoungerThan;
  if (line.Asked.Selection.OlderThan != 0)
    line.Asked.Selection.PutBefore = line.StartTime - line.Asked.Selection.OlderThan;
  return nullptr;
}

// The only file named beside input queues is where they go.
const char* TakeFileAsOutput(CommandLine& line) {
  if (HasInputFile(line) && !HasOutputFile(line) && line.Asked.Input.HasQueues()) {
    line.Asked.Output.FileName = line.Asked.Input.FileName;
    line.Asked.Input.FileName.clear();
  }
  return nullptr;
}

const char* CheckSummary(CommandLine& line) {
  if (!line.Asked.Display.Summary) return nullptr;
  if (!HasOutputFile(line) || line.Asked.Output.FileName == "stdout") line.Asked.Output.FileName = "null";
  return line.Asked.Output.HasQueues() ? "Sorry, you can't specify an output queue with summary display.\n" : nullptr;
}

const char* CheckCount(CommandLine& line) {
  return line.Asked.Display.Count && (HasOutputFile(line) || line.Asked.Output.HasQueues())
             ? "Sorry, you can't specify an output queue/file with the count display.\n"
             : nullptr;
}

const char* CheckSides(CommandLine& line) {
  if (line.Asked.Input.HasQueues() && HasInputFile(line))
    return "Please don't specify both an input queue and an input file.\n";
  if (!line.Asked.Log.Given && !line.Asked.Input.HasQueues() && !HasInputFile(line)) {
    return "Please enter either an input queue or an input file.\n";
  }
  if (line.Asked.Output.HasQueues() && HasOutputFile(line)) {
    return "Please enter either an output queue or an output file, not both.\n";
  }
  return nullptr;
}

const char* CheckPurge(CommandLine& line) {
  return line.Asked.Input.HasQueues() && !line.Asked.Input.Remove && line.Asked.Input.Purge
             ? "Purge is not valid when you are browsing the Input Queue\n"
             : nullptr;
}

const char* CheckSelector(CommandLine& line) {
  if (!line.Asked.Selection.Selector) return nullptr;
  if (line.Asked.Log.Given || HasInputFile(line))
    return "SQL92 Selection is only supported when the input is a queue\n";
  if (line.Asked.Input.Purge) return "The purge option is not supported when using the SQL92 selector\n";
  return nullptr;
}

const char* NoteInserts(CommandLine& line) {
  line.Asked.Input.FileSet = HasInserts(line.Asked.Input.FileName);
  if (HasInserts(line.Asked.Output.FileName)) {
    line.Asked.Output.FileInserts = true;
    line.Asked.Limits.Active = true;
  }
  return nullptr;
}

// A file for every queue needs input queues that are connected, since the command server is asked for their names.
const char* CheckGenericOutput(CommandLine& line) {
  if (!IsGeneric(line.Asked.Output.FileName)) return nullptr;
  if (!line.Asked.Input.HasQueues() || line.Asked.Log.Given)
    return "Please enter an input queue for the generic unload.\n";
  line.Asked.Output.FileInserts = true;
  line.Asked.Output.Generic = true;
  if (!line.Asked.Limits.Active) {
    line.Asked.Limits.Active = true;
    line.Asked.Limits.Size = kGenericSizeLimit;
    line.Asked.Limits.Msgs = 0;
  }
  return nullptr;
}

const char* CheckGenericInput(CommandLine& line) {
  if (!IsGeneric(line.Asked.Input.FileName)) {
    const bool unused = line.Asked.Limits.Active && !line.Asked.Output.FileInserts;
    return unused ? "The use of -L parameters requires the use of file index inserts\n" : nullptr;
  }
  if (!line.Asked.Output.HasQueues()) return "Please enter an output queue for the generic load.\n";
  line.Asked.Input.Generic = true;
  if (line.Asked.Limits.Active) {
    line.Screen.Print("-L parameters are ignored in generic load\n\n");
    line.Asked.Limits.Active = false;
  }
  return nullptr;
}

// These displays look at messages and keep none of them.
const char* CheckDisplaysWithMove(CommandLine& line) {
  if (!line.Asked.Input.Remove) return nullptr;
  if (line.Asked.Display.Summary) return "Sumary option is not valid with move, use browse\n";
  if (line.Asked.Display.Count) return "Count option is not valid with move, use browse\n";
  if (line.Asked.Layout.TimeOnQueue) return "Time on queue option is not valid with move, use browse\n";
  return nullptr;
}

const char* CompleteWidth(CommandLine& line) {
  constexpr int kDefaultWidth = 25;
  constexpr int kLeastWidth = 10;
  int& width = line.Asked.Layout.DataWidth;
  width = width < 1 ? kDefaultWidth : std::max(width, kLeastWidth);
  return nullptr;
}

// A message of the log is rebuilt from many records.
const char* CompleteBufferSize(CommandLine& line) {
  constexpr int kLogBufferSize = 1024 * 1024;
  if (line.Asked.Log.Given) line.Asked.Input.InitialBufferSize = kLogBufferSize;
  return nullptr;
}

constexpr Check* kChecks[] = {
    CheckRate,     TurnAgesIntoTimes,  TakeFileAsOutput, CheckSummary,       CheckCount,        CheckSides,
    CheckPurge,    CheckSelector,      NoteInserts,      CheckGenericOutput, CheckGenericInput, CheckDisplaysWithMove,
    CompleteWidth, CompleteBufferSize,
};

}  // namespace

bool ValidateOptions(CommandLine& line) {
  for (Check* check : kChecks) {
    if (const char* refusal = check(line)) {
      line.Screen.PrintText(refusal);
      return false;
    }
  }
  const auto nameOf = [&](int qmgr) -> std::string_view { return line.Asked.QMgrs[qmgr].Name; };
  return CheckNotOntoItself(line.Asked, {nameOf(line.Asked.Input.QMgr), nameOf(line.Asked.Output.QMgr)}, line.Screen);
}
