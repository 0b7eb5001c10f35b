#include "cmdline/validate.h"

#include <string_view>
#include <utility>

#include "cmdline/parameters.h"

namespace {

constexpr std::int64_t kGenericSizeLimit = 524288000;  // bytes; 500 MB

// One check: the refusal to print, or null.
using Check = const char*(Parameters& run);

bool HasInputFile(const Parameters& run) { return !run.InputFileName.empty(); }
bool HasOutputFile(const Parameters& run) { return !run.OutputFileName.empty(); }
bool IsGeneric(const Text<255>& name) { return name.view().find('*') != std::string_view::npos; }

bool HasInserts(const Text<255>& name) {
  const std::string_view text = name;
  for (const std::string_view insert : {"%i", "%n", "%o", "%I", "%N", "%O"}) {
    if (text.find(insert) != std::string_view::npos) return true;
  }
  return false;
}

const char* CheckRate(Parameters& run) {
  if (run.Rate == 0) return nullptr;
  if (!run.HasOutputQueue()) return "'Required rate' processing requires that the target is a Queue.\n";
  if (run.RateDuration == 0) return nullptr;
  if (!run.HasInputQueues()) return "Repeated 'Required rate' processing requires that the input is a queue.\n";
  if (run.Has(FLAG_GET)) return "Repeated 'Required rate' processing requires that you browse the input queue.\n";
  return nullptr;
}

const char* TurnAgesIntoTimes(Parameters& run) {
  if (run.YoungerThan != 0 && run.OlderThan != 0 && run.YoungerThan < run.OlderThan) {
    std::swap(run.YoungerThan, run.OlderThan);
  }
  if (run.YoungerThan != 0) run.PutAfter = run.StartTime - run.YoungerThan;
  if (run.OlderThan != 0) run.PutBefore = run.StartTime - run.OlderThan;
  return nullptr;
}

// The only file named beside input queues is where they go.
const char* TakeFileAsOutput(Parameters& run) {
  if (HasInputFile(run) && !HasOutputFile(run) && run.HasInputQueues()) {
    run.OutputFileName.Assign(run.InputFileName);
    run.InputFileName.clear();
  }
  return nullptr;
}

const char* CheckSummary(Parameters& run) {
  if (!run.Has(FLAG_SUMMARY)) return nullptr;
  if (!HasOutputFile(run) || run.OutputFileName == "stdout") run.OutputFileName.Assign("null");
  return run.HasOutputQueue() ? "Sorry, you can't specify an output queue with summary display.\n" : nullptr;
}

const char* CheckCount(Parameters& run) {
  return run.Has2(FLAG2_COUNT) && (HasOutputFile(run) || run.HasOutputQueue())
             ? "Sorry, you can't specify an output queue/file with the count display.\n"
             : nullptr;
}

const char* CheckSides(Parameters& run) {
  if (run.HasInputQueues() && HasInputFile(run)) return "Please don't specify both an input queue and an input file.\n";
  if (!run.LogMode && !run.HasInputQueues() && !HasInputFile(run)) {
    return "Please enter either an input queue or an input file.\n";
  }
  if (run.HasOutputQueue() && HasOutputFile(run)) {
    return "Please enter either an output queue or an output file, not both.\n";
  }
  return nullptr;
}

const char* CheckPurge(Parameters& run) {
  return run.HasInputQueues() && !run.Has(FLAG_GET) && run.Has(FLAG_PURGE)
             ? "Purge is not valid when you are browsing the Input Queue\n"
             : nullptr;
}

const char* CheckSelector(Parameters& run) {
  if (run.Selector == nullptr) return nullptr;
  if (run.LogMode || HasInputFile(run)) return "SQL92 Selection is only supported when the input is a queue\n";
  if (run.Has(FLAG_PURGE)) return "The purge option is not supported when using the SQL92 selector\n";
  return nullptr;
}

const char* NoteInserts(Parameters& run) {
  if (HasInserts(run.InputFileName)) run.Flags |= FLAG_INPUT_INSERTS;
  if (HasInserts(run.OutputFileName)) {
    run.Flags |= FLAG_OUTPUT_INSERTS;
    run.LimitsActive = true;
  }
  return nullptr;
}

// A file for every queue needs input queues that are connected, since the command server is asked for their names.
const char* CheckGenericOutput(Parameters& run) {
  if (!IsGeneric(run.OutputFileName)) return nullptr;
  if (!run.HasInputQueues() || run.LogMode) return "Please enter an input queue for the generic unload.\n";
  run.Flags |= FLAG_OUTPUT_INSERTS;
  run.Flags2 |= FLAG2_GENERIC;
  if (!run.LimitsActive) {
    run.LimitsActive = true;
    run.LimitSize = kGenericSizeLimit;
    run.LimitMsgs = 0;
  }
  return nullptr;
}

const char* CheckGenericInput(Parameters& run) {
  if (!IsGeneric(run.InputFileName)) {
    const bool unused = run.LimitsActive && !run.Has(FLAG_OUTPUT_INSERTS);
    return unused ? "The use of -L parameters requires the use of file index inserts\n" : nullptr;
  }
  if (!run.HasOutputQueue()) return "Please enter an output queue for the generic load.\n";
  run.Flags2 |= FLAG2_GENERIC;
  if (run.LimitsActive) {
    run.Screen.Print("-L parameters are ignored in generic load\n\n");
    run.LimitsActive = false;
  }
  return nullptr;
}

// These displays look at messages and keep none of them.
const char* CheckDisplaysWithMove(Parameters& run) {
  if (!run.Has(FLAG_GET)) return nullptr;
  if (run.Has(FLAG_SUMMARY)) return "Sumary option is not valid with move, use browse\n";
  if (run.Has2(FLAG2_COUNT)) return "Count option is not valid with move, use browse\n";
  if (run.Has(FLAG_SHOW_TIME_ON_QUEUE)) return "Time on queue option is not valid with move, use browse\n";
  return nullptr;
}

constexpr Check* kChecks[] = {
    CheckRate,  TurnAgesIntoTimes, TakeFileAsOutput, CheckSummary,       CheckCount,        CheckSides,
    CheckPurge, CheckSelector,     NoteInserts,      CheckGenericOutput, CheckGenericInput, CheckDisplaysWithMove,
};

std::string_view Name(const MQCHAR48& field) { return NameInField(field, sizeof field); }

// Whether a queue of the output side is the queue `name` of the input queue manager.
bool FeedsInput(Parameters& run, std::string_view name, std::string_view outputQMgr, std::string_view outputQueue) {
  if (outputQMgr.empty()) outputQMgr = OutputConn(run).QMgrName;
  return outputQueue == name && outputQMgr == InputConn(run).QMgrName.view();
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

bool CheckInputQMgr(Parameters& run) {
  if (!run.HasInputQueues()) return true;
  const std::string_view own = InputConn(run).QMgrName;
  if (own.empty() && run.LogMode) return true;  // the log of a queue manager that nobody named
  for (const MQOR& input : run.InputList->Entries) {
    const std::string_view named = TextInField(input.ObjectQMgrName, sizeof input.ObjectQMgrName);
    if (named.empty() || named == own) continue;
    run.Screen.Print("Input queue '%s' can not be read, the input queue manager is '%s'\n",
                     DestinationText(input.ObjectQMgrName, input.ObjectName).c_str(), InputConn(run).QMgrName.c_str());
    return false;
  }
  return true;
}

bool CheckNotOntoItself(Parameters& run) {
  if (!run.HasInputQueues() || run.LogMode || !run.HasOutputQueue() || run.RangeEnd != 0) return true;
  for (const MQOR& input : run.InputList->Entries) {
    const std::string_view name = Name(input.ObjectName);
    bool feeds = run.OutputList == nullptr && FeedsInput(run, name, run.OutputQMgrName, run.OutputQueueName);
    if (run.OutputList != nullptr) {
      for (const MQOR& output : run.OutputList->Entries) {
        feeds = feeds || FeedsInput(run, name, Name(output.ObjectQMgrName), Name(output.ObjectName));
      }
    }
    if (feeds) return RefuseOntoItself(run, name) == 0;
  }
  return true;
}
