#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "cmdline/parameters.h"
#include "engine/file_sources.h"
#include "engine/put.h"
#include "engine/transfer.h"
#include "generic/generic.h"
#include "generic/queue_run.h"
#include "mq/reasons.h"
#include "platform/interrupt.h"

namespace {

// Whether a queue name matches an output queue name taken as a pattern.
bool IsWanted(const Parameters& run, std::string_view queue) {
  const auto& patterns = run.Asked.Output.Queues;
  return std::any_of(patterns.begin(), patterns.end(),
                     [&](const QueueName& pattern) { return MatchesPattern(run, queue, pattern.Queue); });
}

// Lists the files of the queues that are wanted. A file that is left out is named; `leftOut` becomes the run's result
// unless the queue is a system queue, which is loaded only when it is named itself or holds users' messages.
MQLONG FindFiles(Parameters& run, MQLONG& leftOut) {
  const MQLONG result = ScanDirectory(run, [&](std::string_view name) -> MQLONG {
    GenericQueueEntry entry;
    if (!ParseQueueFileName(run, name, entry) || !IsWanted(run, entry.QueueName)) return 0;
    const char* why = entry.Fault;
    if (why != nullptr) {
      leftOut = MQRC_FILE_SYSTEM_ERROR;
    } else if (IsSystemQueue(entry.QueueName) && run.Asked.Output.Queues.front().Queue != entry.QueueName) {
      why = "a system queue is loaded only when it is named";
    }
    if (why == nullptr) return run.Generic.Queues.Add(std::move(entry));
    run.Screen.Print("File '%s' is left out: %s\n", entry.FilePath.c_str(), why);
    return 0;
  });
  if (result == 0) run.Generic.Queues.FormGroups();
  return result;
}

// Every group with indexes runs from 1 without a gap, has no index twice, and no file without index stands beside it.
bool CheckIndexes(Parameters& run) {
  bool sound = true;
  const GenericQueueEntry* start = nullptr;
  int expected = 0;
  bool reported = false;
  const auto problem = [&](const std::string& path, const char* what) {
    if (!reported) run.Screen.Print("Indexed File '%s' %s\n", path.c_str(), what);
    reported = true;
    sound = false;
  };
  for (const auto& [key, file] : run.Generic.Queues) {
    if (file.GroupStart) {
      start = &file;
      reported = false;
      expected = 1;
    }
    if (!file.HasIndex) continue;
    if (!start->HasIndex) {
      problem(file.FilePath, "stands beside a file of the same queue without index");
    } else if (start->LowestIndex != 1) {
      problem(start->FilePath, "should start at index 1");
    } else if (file.Index < expected) {
      problem(file.FilePath, "has the same index as another file");
    } else if (file.Index > expected) {
      run.Generic.FileNames.BaseName = file.BaseName;
      problem(run.Generic.FileNames.Indexed(expected), "appears to be missing");
    }
    ++expected;
  }
  return sound;
}

// Every file can be read, or the user goes on all the same.
bool CheckReadable(Parameters& run) {
  bool failed = false;
  for (const auto& [key, file] : run.Generic.Queues) {
    InputFile probe;
    if (probe.Open(file.FilePath.c_str(), "r") == 0) continue;
    failed = true;
    run.Screen.Print("%s\n", file.FilePath.c_str());
  }
  return !failed || Confirm(run, "\nThese files can not be read.\nAre you sure you want to continue? ");
}

// The depth of a queue that can be opened; the reason of the open or the inquiry otherwise.
MQLONG InquireDepth(QMgrConn& conn, const std::string& queue, MQLONG& depth) {
  MQHOBJ hobj = MQHO_UNUSABLE_HOBJ;
  MQLONG reason = OpenQueue(conn, queue, conn.QMgrName, MQOO_INQUIRE | MQOO_OUTPUT, hobj);
  if (reason != 0) return reason;
  const MQLONG selector = MQIA_CURRENT_Q_DEPTH;
  MQLONG code = MQCC_OK;
  conn.Api.MQINQ(conn.Hconn, hobj, 1, &selector, 1, &depth, 0, nullptr, &code, &reason);
  if (code != MQCC_OK) depth = 0;  // an alias queue has no depth of its own
  CloseQueue(conn, hobj);
  return code == MQCC_FAILED ? reason : 0;
}

// 0 when every queue can be loaded, or the user goes on all the same; else the last reason.
MQLONG CheckQueues(Parameters& run) {
  QMgrConn& conn = OutputConn(run);
  MQLONG problem = 0;
  for (const auto& [key, file] : run.Generic.Queues) {
    if (!file.GroupStart) continue;
    MQLONG depth = 0;
    const MQLONG reason = InquireDepth(conn, file.QueueName, depth);
    if (reason != 0) {
      problem = reason;
      run.Screen.Print("%-48s RC(%d) %s\n", file.QueueName.c_str(), reason, ReasonText(reason));
    } else if (depth > 0) {
      problem = MQRC_Q_NOT_EMPTY;
      run.Screen.Print("%-48s Not empty.\n", file.QueueName.c_str());
    }
  }
  if (problem == 0) return 0;
  const bool goOn =
      Confirm(run, "\nThere are potential problems with these queues.\nAre you sure you want to continue? ");
  return goOn ? 0 : problem;
}

std::int64_t TotalSize(const std::vector<std::string>& paths) {
  std::int64_t total = 0;
  for (const std::string& path : paths) {
    std::error_code error;
    const auto size = std::filesystem::file_size(path, error);
    if (!error) total += static_cast<std::int64_t>(size);
  }
  return total;
}

InputFiles::Plan PlanQueue(Parameters& run, const std::vector<std::string>& paths, bool set) {
  InputFiles::Plan plan = PlanInput(run.Asked.Output, run.Files);
  plan.NameOf = [paths](int number) {
    const auto at = static_cast<std::size_t>(number - 1);
    return at < paths.size() ? paths[at] : std::string();
  };
  plan.Set = set;
  plan.Listed = true;
  return plan;
}

// One group of files onto its queue, with its line on standard output.
void LoadQueue(Parameters& run, const GenericQueueEntry& start, const std::vector<std::string>& paths, int& queues,
               std::int64_t& messages, MQLONG& firstFailure) {
  PrintOutput("%-48s ", start.QueueName.c_str());
  std::fflush(stdout);
  run.MessageText.clear();
  QMgrConn& conn = OutputConn(run);
  MQHOBJ hobj = MQHO_UNUSABLE_HOBJ;
  const MQLONG opened = OpenQueue(conn, start.QueueName, conn.QMgrName, MQOO_OUTPUT | MQOO_SET_ALL_CONTEXT, hobj);
  if (opened != 0) return ReportQueueFailure(opened, firstFailure);
  OutputQueues queue(run.Asked.Output, conn, QueueName{"", start.QueueName}, hobj);
  run.Generic.FileNames.BaseName = start.BaseName;
  run.In = std::make_unique<InputFiles>(PlanQueue(run, paths, start.HasIndex));
  if (const int fileError = run.In->OpenFirst(); fileError != 0) {
    WriteStandardOutput(WithCause(FormatText("File Error RC(%d)\n", fileError), fileError));
    if (firstFailure == 0) firstFailure = MQRC_FILE_SYSTEM_ERROR;
    return CloseQueue(conn, hobj);
  }
  // One progress line goes on over them all.
  if (ShowsProgress(run)) run.Progress.Start(TotalSize(paths), nullptr, [&run] { return run.In->BytesRead(); });
  const auto source = MakeFileSource(run.Asked.Plain, *run.In, run.Screen, run.Memory());
  QueuesTarget target(run.Asked, queue, conn, *run.Async);
  const Outcome outcome = Transfer(run.Asked, run.Stations(), *source, target, &queue, run.Progress).Run();
  run.Keep(outcome.End);
  const MQLONG result = outcome.reason();
  run.In->Close();
  run.Progress.End(false);

  const std::int64_t put = (outcome.RolledBack ? outcome.Put - outcome.UncommittedPut : outcome.Put).Msgs;
  ++queues;
  messages += put;
  if (result != 0) {
    ReportQueueFailure(result, firstFailure);
  } else {
    PrintOutput("%-6" PRId64 " %s\n", put, outcome.CutShort ? "Cut short." : "Done.");
  }
  CloseQueue(conn, hobj);
  ShowMessageText(run);
}

}  // namespace

MQLONG GenericLoad(Parameters& run) {
  MQLONG result = ParseGenericFileSpec(run, run.Asked.Input.FileName);
  MQLONG leftOut = 0;
  if (result == 0) result = FindFiles(run, leftOut);
  if (result != 0) return result;
  GenericQueueList& files = run.Generic.Queues;
  if (files.empty()) {
    run.Screen.PrintText("No matching TARVO files found.\n");
    return leftOut;
  }
  if (!CheckIndexes(run) || !CheckReadable(run)) return MQRC_OBJECT_ALREADY_EXISTS;
  result = CheckQueues(run);
  if (result != 0) return result;

  run.Async.emplace(run.Asked, OutputConn(run));
  int queues = 0;
  std::int64_t messages = 0;
  MQLONG firstFailure = leftOut;
  for (auto at = files.begin(); at != files.end();) {
    const GenericQueueEntry& start = at->second;
    // A unit that could not even be backed out stays open on the connection: the next queue's commit would carry it
    // out.
    if (OutputConn(run).UnitOpen || InterruptSignal() != 0) {
      run.Screen.Print("The queues from '%s' on are not loaded.\n", start.QueueName.c_str());
      break;
    }
    std::vector<std::string> paths;
    do {
      paths.push_back(at->second.FilePath);
    } while (++at != files.end() && !at->second.GroupStart);
    LoadQueue(run, start, paths, queues, messages, firstFailure);
  }
  PrintOutput("\nTotal : %d Queues, %" PRId64 " Messages\n", queues, messages);
  return firstFailure;
}
