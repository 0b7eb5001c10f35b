#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <filesystem>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "engine/file_sources.h"
#include "engine/put.h"
#include "engine/transfer.h"
#include "generic/generic.h"
#include "generic/queue_run.h"
#include "mq/opened_queue.h"
#include "mq/reasons.h"
#include "platform/interrupt.h"

namespace {

// The depth of a queue that can be opened; the reason of the open or the inquiry otherwise.
MQLONG InquireDepth(QMgrConn& conn, const std::string& queue, MQLONG& depth) {
  const OpenedQueue opened(conn, QueueObject(queue, conn.QMgrName), MQOO_INQUIRE | MQOO_OUTPUT);
  if (opened.end().failed()) return opened.reason();
  const MQLONG selector = MQIA_CURRENT_Q_DEPTH;
  CallEnd end;
  conn.Api.MQINQ(conn.Hconn, opened.hobj(), 1, &selector, 1, &depth, 0, nullptr, &end.CompCode, &end.Reason);
  if (end.CompCode != MQCC_OK) depth = 0;  // an alias queue has no depth of its own
  return end.Failure();
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

}  // namespace

GenericLoad::GenericLoad(const Options& asked, const RunStations& run, RunFiles& files, ProgressLine& progress)
    : asked_(asked), run_(run), files_(files), progress_(progress), screen_(run.Screen), async_(asked, run.Output) {}

// Lists the files of the queues that are wanted. A file that is left out is named; it makes the run fail unless its
// queue is a system queue, which is loaded only when it is named itself or holds users' messages.
MQLONG GenericLoad::FindFiles() {
  std::set<std::string> found;
  if (const MQLONG reason = ScanDirectory(screen_, names_.Directory, found); reason != 0) return reason;
  const QueuePatterns wanted{asked_.Output.Queues, asked_.CaseCounts};
  for (const std::string& name : found) {
    std::optional<GenericQueueEntry> file = ParseQueueFileName(names_, name);
    if (!file || !wanted.Match(file->QueueName)) continue;
    const char* why = file->Fault;
    if (why != nullptr) {
      failures_.Add(MQRC_FILE_SYSTEM_ERROR);
    } else if (IsSystemQueue(file->QueueName) && asked_.Output.Queues.front().Queue != file->QueueName) {
      why = "a system queue is loaded only when it is named";
    }
    if (why != nullptr) {
      screen_.Print("File '%s' is left out: %s\n", file->FilePath.c_str(), why);
    } else if (const MQLONG reason = list_.Add(std::move(*file)); reason != 0) {
      return reason;
    }
  }
  list_.FormGroups();
  return 0;
}

// Every group with indexes runs from 1 without a gap, has no index twice, and no file without index stands beside it.
bool GenericLoad::CheckIndexes() const {
  bool sound = true;
  const GenericQueueEntry* start = nullptr;
  int expected = 0;
  bool reported = false;
  const auto problem = [&](const std::string& path, const char* what) {
    if (!reported) screen_.Print("Indexed File '%s' %s\n", path.c_str(), what);
    reported = true;
    sound = false;
  };
  for (const auto& [key, file] : list_) {
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
      problem(NamesOf(names_, file).Indexed(expected), "appears to be missing");
    }
    ++expected;
  }
  return sound;
}

// Every file can be read, or the user goes on all the same.
bool GenericLoad::CheckReadable() const {
  bool failed = false;
  for (const auto& [key, file] : list_) {
    InputFile probe;
    if (probe.Open(file.FilePath.c_str(), "r") == 0) continue;
    failed = true;
    screen_.Print("%s\n", file.FilePath.c_str());
  }
  return !failed || Confirm(screen_, asked_.Output.Overwrite,
                            "\nThese files can not be read.\nAre you sure you want to continue? ");
}

// 0 when every queue can be loaded, or the user goes on all the same; else the last reason.
MQLONG GenericLoad::CheckQueues() const {
  MQLONG problem = 0;
  for (const auto& [key, file] : list_) {
    if (!file.GroupStart) continue;
    MQLONG depth = 0;
    const MQLONG reason = InquireDepth(run_.Output, file.QueueName, depth);
    if (reason != 0) {
      problem = reason;
      screen_.Print("%-48s RC(%d) %s\n", file.QueueName.c_str(), reason, ReasonText(reason));
    } else if (depth > 0) {
      problem = MQRC_Q_NOT_EMPTY;
      screen_.Print("%-48s Not empty.\n", file.QueueName.c_str());
    }
  }
  if (problem == 0) return 0;
  const bool goOn = Confirm(screen_, asked_.Output.Overwrite,
                            "\nThere are potential problems with these queues.\nAre you sure you want to continue? ");
  return goOn ? 0 : problem;
}

InputFiles::Plan GenericLoad::PlanOf(const std::vector<std::string>& paths, bool set) const {
  InputFiles::Plan plan = PlanInput(asked_.Output, files_);
  plan.NameOf = [paths](int number) {
    const auto at = static_cast<std::size_t>(number - 1);
    return at < paths.size() ? paths[at] : std::string();
  };
  plan.Set = set;
  plan.Listed = true;
  return plan;
}

// One group of files onto its queue, with its line on standard output.
void GenericLoad::LoadQueue(const GenericQueueEntry& start, const std::vector<std::string>& paths) {
  PrintOutput("%-48s ", start.QueueName.c_str());
  std::fflush(stdout);
  QMgrConn& conn = run_.Output;
  const MQLONG options = MQOO_OUTPUT | MQOO_SET_ALL_CONTEXT;
  const OpenedQueue opened(conn, QueueObject(start.QueueName, conn.QMgrName), options);
  if (opened.end().failed()) return failures_.EndLine(opened.reason());
  InputFiles in(PlanOf(paths, start.HasIndex));
  if (const int error = in.OpenFirst(); error != 0) return failures_.EndLineOfFile(error);
  // One progress line goes on over them all.
  if (!asked_.Display.Quiet) progress_.Start(TotalSize(paths), nullptr, [&in] { return in.BytesRead(); });
  const MemoryTrace memory(asked_.Display.TraceMemory ? &screen_ : nullptr);
  const auto source = MakeFileSource(asked_.Plain, in, screen_, memory);
  OutputQueues queue(asked_.Output, conn, QueueName{"", start.QueueName}, opened.hobj());
  QueuesTarget target(asked_, queue, conn, async_);
  const Outcome outcome = Transfer(asked_, run_, *source, target, &queue, progress_).Run();
  in.Close();
  progress_.End(false);

  const std::int64_t put = (outcome.RolledBack ? outcome.Put - outcome.UncommittedPut : outcome.Put).Msgs;
  ++queues_;
  messages_ += put;
  if (outcome.reason() != 0) {
    failures_.EndLine(outcome.reason());
  } else {
    PrintOutput("%-6" PRId64 " %s\n", put, outcome.CutShort ? "Cut short." : "Done.");
  }
  ShowText(screen_, outcome.End.text());
}

void GenericLoad::LoadQueues() {
  for (auto at = list_.begin(); at != list_.end();) {
    const GenericQueueEntry& start = at->second;
    // A unit that could not even be backed out stays open on the connection: the next queue's commit would carry it
    // out.
    if (run_.Output.UnitOpen || InterruptSignal() != 0) {
      screen_.Print("The queues from '%s' on are not loaded.\n", start.QueueName.c_str());
      return;
    }
    std::vector<std::string> paths;
    do {
      paths.push_back(at->second.FilePath);
    } while (++at != list_.end() && !at->second.GroupStart);
    LoadQueue(start, paths);
  }
}

MQLONG GenericLoad::Run() {
  MQLONG result = ParseGenericFileSpec(screen_, asked_.Input.FileName, names_);
  if (result == 0) result = FindFiles();
  if (result != 0) return result;
  if (list_.empty()) {
    screen_.PrintText("No matching TARVO files found.\n");
    return failures_.first();
  }
  if (!CheckIndexes() || !CheckReadable()) return MQRC_OBJECT_ALREADY_EXISTS;
  if (const MQLONG problem = CheckQueues(); problem != 0) return problem;

  LoadQueues();
  PrintOutput("\nTotal : %d Queues, %" PRId64 " Messages\n", queues_, messages_);
  return failures_.first();
}
