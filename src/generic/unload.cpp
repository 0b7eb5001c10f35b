#include <algorithm>
#include <cerrno>
#include <cinttypes>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include "cmdline/parameters.h"
#include "engine/transfer.h"
#include "generic/command_server.h"
#include "generic/generic.h"
#include "generic/queue_run.h"
#include "mq/reasons.h"
#include "platform/interrupt.h"

namespace {

struct Totals {
  int Queues = 0;
  std::int64_t Messages = 0;
};

// "No non-empty queues found matching 'A*', 'B*' or 'C*'."
void ShowNothingFound(Parameters& run) {
  std::string text = "No non-empty queues found matching ";
  const auto& patterns = run.Asked.Input.Queues;
  for (std::size_t i = 0; i < patterns.size(); ++i) {
    if (i > 0) text += i + 1 == patterns.size() ? " or " : ",";
    text += '\'' + patterns[i].Queue + '\'';
  }
  run.Screen.Print("%s.\n", text.c_str());
}

MQLONG FindExistingFiles(Parameters& run) {
  GenericState& state = run.Generic;
  const MQLONG result = ScanDirectory(run, [&](std::string_view name) -> MQLONG {
    GenericQueueEntry entry;
    if (!ParseQueueFileName(run, name, entry) || entry.Fault != nullptr) return 0;
    entry.QueueListed = state.Queues.HasQueue(entry.QueueName);
    return state.ExistingFiles.Add(std::move(entry));
  });
  if (result != 0) return result;
  state.ExistingFiles.FormGroups();
  state.Queues.NameFiles(run.Generic.FileNames.Directory, run.Generic.FileNames.FileType, state.ExistingFiles);
  return 0;
}

// Every file can be named, and none of the names is that of something else: a directory, or, where names do not differ
// by their case, a file of another type.
MQLONG CheckNames(Parameters& run) {
  GenericState& state = run.Generic;
  std::set<std::string_view> replaced;
  for (const auto& [key, file] : state.ExistingFiles) {
    if (file.QueueListed) replaced.insert(file.FilePath);
  }
  MQLONG result = 0;
  for (const auto& [key, queue] : state.Queues) {
    // A file for each message is the most that limits can ask for.
    run.Generic.FileNames.BaseName = queue.BaseName;
    const std::string longest = queue.Depth > 1 ? run.Generic.FileNames.Indexed(queue.Depth) : queue.FilePath;
    std::error_code error;
    if (longest.size() > kPathLimit) {
      run.Screen.Print("File name '%s' is longer than %d characters\n", longest.c_str(), static_cast<int>(kPathLimit));
      result = MQRC_FILE_SYSTEM_ERROR;
    } else if (!replaced.contains(queue.FilePath) && std::filesystem::exists(queue.FilePath, error)) {
      run.Screen.Print("File '%s' already exists.\n", queue.FilePath.c_str());
      result = MQRC_OBJECT_ALREADY_EXISTS;
    }
  }
  return result;
}

// Lists the existing files of queues that are listed, or are not. Answers whether there are any.
bool ShowExisting(Parameters& run, bool listed) {
  bool any = false;
  for (const auto& [key, file] : run.Generic.ExistingFiles) {
    if (!file.GroupStart || file.QueueListed != listed) continue;
    any = true;
    if (file.HighestIndex > file.Index) {
      run.Screen.Print("%s[-> %c%d]\n", file.FilePath.c_str(), '$', file.HighestIndex);
    } else {
      run.Screen.Print("%s\n", file.FilePath.c_str());
    }
  }
  return any;
}

bool HasListed(Parameters& run, bool listed) {
  for (const auto& [key, file] : run.Generic.ExistingFiles) {
    if (file.QueueListed == listed) return true;
  }
  return false;
}

enum class ForeignFiles { Keep, Delete, Quit };

ForeignFiles AskAboutForeignFiles(Parameters& run) {
  if (!ShowExisting(run, false)) return ForeignFiles::Keep;
  run.Screen.PrintText("\nThese files already exist and will not be affected by the download.");
  run.Screen.PrintText("\nHowever, they could affect and contaminate a future upload.\n");
  if (run.Asked.Output.Overwrite) return ForeignFiles::Keep;
  for (;;) {
    run.Screen.PrintText("What would you like to do? (c)ontinue, (d)elete the files, (q)uit ");
    std::string answer;
    if (!AskTerminal(run, answer) || answer.starts_with('q')) return ForeignFiles::Quit;
    if (answer.starts_with('c') || answer.starts_with('d')) {
      run.Screen.PrintText("\n");
      return answer.starts_with('c') ? ForeignFiles::Keep : ForeignFiles::Delete;
    }
  }
}

// Opens every queue once. Answers whether the unload goes on.
bool CheckAccess(Parameters& run) {
  QMgrConn& conn = InputConn(run);
  bool failed = false;
  for (const auto& [key, queue] : run.Generic.Queues) {
    MQHOBJ hobj = MQHO_UNUSABLE_HOBJ;
    const MQLONG reason = OpenQueue(conn, queue.QueueName, {}, MQOO_BROWSE, hobj, run.Asked.Selection.Selector);
    CloseQueue(conn, hobj);
    if (reason == 0) continue;
    failed = true;
    run.Screen.Print("%-48s RC(%d) %s\n", queue.QueueName.c_str(), reason, ReasonText(reason));
  }
  return !failed || Confirm(run, "\nError accessing these queues.\nAre you sure you want to continue? ");
}

// Everything that is asked or checked before the first file is touched.
MQLONG PrepareDirectory(Parameters& run, bool& deleteForeign) {
  if (const MQLONG reason = CheckNames(run); reason != 0) return reason;
  if (!run.Asked.Output.Overwrite && HasListed(run, true)) {
    ShowExisting(run, true);
    if (!Confirm(run, "\nThese files already exist and will be deleted.\nAre you sure you want to continue? ")) {
      return MQRC_OBJECT_ALREADY_EXISTS;
    }
  }
  const ForeignFiles foreign = AskAboutForeignFiles(run);
  if (foreign == ForeignFiles::Quit || !CheckAccess(run)) return MQRC_OBJECT_ALREADY_EXISTS;
  deleteForeign = foreign == ForeignFiles::Delete;
  return 0;
}

MQLONG DeleteForeignFiles(Parameters& run) {
  for (const auto& [key, file] : run.Generic.ExistingFiles) {
    std::error_code error;
    if (!file.QueueListed) std::filesystem::remove(file.FilePath, error);
    if (error) {
      const std::string text = FormatText("Attempt to delete file '%s' failed.\n", file.FilePath.c_str());
      run.Screen.PrintText(WithCause(text, error));
      return MQRC_OBJECT_ALREADY_EXISTS;
    }
  }
  return 0;
}

std::vector<std::string> OldFiles(Parameters& run, const GenericQueueEntry& queue) {
  std::vector<std::string> old;
  for (const auto& [key, file] : run.Generic.ExistingFiles) {
    if (file.QueueName != queue.QueueName) continue;
    // Where case does not count, it may be the new file of another queue by now.
    if (!run.Files.IsOutput(IdentityOf(file.FilePath))) old.push_back(file.FilePath);
  }
  return old;
}

// The old set of a queue goes when its new one is complete. A single file takes the place of a single one at once; else
// the old files go first, so that no set is ever taken for a whole one that is half old and half new.
MQLONG SetOldFilesAside(Parameters& run, const std::vector<std::string>& old) {
  const auto& written = run.Outputs->changes().files();
  if (written.size() == 1 && old.size() == 1 && old.front() == written.front().Path) return 0;
  for (const std::string& name : old) {
    if (Result result = run.Outputs->changes().SetAside(name); result.failed()) return run.Keep(result);
  }
  return 0;
}

MQLONG TransferQueue(Parameters& run, const GenericQueueEntry& queue, MQHOBJ hobj, bool& cutShort) {
  QueueElement element;
  element.Hobj = hobj;
  element.QueueName.Assign(queue.QueueName);
  QueueSource source(run.Asked, run.Gets, InputConn(run), element);
  const auto target = MakeFileTarget(run.Asked, *run.Outputs, *run.Summary, run.StartTime, run.Screen.StdinIsTerminal);
  const Outcome outcome = Transfer(run.Asked, run.Stations(), source, *target, nullptr, run.Progress).Run();
  cutShort = outcome.CutShort && run.Outputs->written().Msgs < std::max(queue.Depth, 1);
  run.Keep(outcome.End);
  MQLONG result = outcome.reason();
  const std::vector<std::string> old = OldFiles(run, queue);
  if (result == 0 && cutShort && !old.empty()) {
    run.Outputs->changes().GiveUp();  // a part never takes the place of a whole set
  } else {
    if (result == 0) result = run.Keep(run.Outputs->Close());
    if (result == 0) result = SetOldFilesAside(run, old);
    result = run.Keep(run.Outputs->changes().Finish({result, run.MessageText}));
  }
  run.Progress.End(false);
  return result;
}

// One queue into its file, with its line on standard output.
void UnloadQueue(Parameters& run, const GenericQueueEntry& queue, Totals& users, Totals& systems,
                 MQLONG& firstFailure) {
  PrintOutput("%-48s %6d  ", queue.QueueName.c_str(), queue.Depth);
  std::fflush(stdout);
  run.MessageText.clear();
  QMgrConn& conn = InputConn(run);
  MQHOBJ hobj = MQHO_UNUSABLE_HOBJ;
  const MQLONG opened = OpenQueue(conn, queue.QueueName, {}, MQOO_BROWSE, hobj, run.Asked.Selection.Selector);
  if (opened != 0) return ReportQueueFailure(opened, firstFailure);
  run.Generic.FileNames.BaseName = queue.BaseName;
  run.RenewOutputs();
  if (const int error = run.Keep(run.Outputs->OpenForQueue(queue.FilePath, run.Generic.FileNames)); error != 0) {
    WriteStandardOutput(WithCause(FormatText("File Error RC(%d)\n", error), error));
    if (firstFailure == 0) firstFailure = MQRC_FILE_SYSTEM_ERROR;
    CloseQueue(conn, hobj);
    return ShowMessageText(run);
  }
  if (ShowsProgress(run)) run.Progress.Start(queue.Depth, nullptr, [&run] { return run.Outputs->written().Msgs; });
  bool cutShort = false;
  const MQLONG result = TransferQueue(run, queue, hobj, cutShort);

  Totals& totals = IsSystemQueue(queue.QueueName) ? systems : users;
  ++totals.Queues;
  const std::int64_t written = run.Outputs->written().Msgs;
  totals.Messages += written;
  if (result != 0) {
    ReportQueueFailure(result, firstFailure);
  } else if (cutShort) {
    PrintOutput("Cut short.\n");
  } else if (written == queue.Depth) {
    PrintOutput("Done.\n");
  } else {
    const bool filtered = run.Asked.Selection.Active || run.Asked.Selection.HasIdentifier();
    PrintOutput(filtered ? "Filtered.\n" : "Changing.\n");
  }
  CloseQueue(conn, hobj);
  ShowMessageText(run);
}

}  // namespace

MQLONG GenericUnload(Parameters& run) {
  if (run.Asked.Input.Remove) {
    run.Screen.PrintText("You can not do a destructive generic unload.\n");
    return MQRC_OPTIONS_ERROR;
  }
  if (run.Asked.Display.Summary || run.Asked.Layout.TimeOnQueue) {
    run.Screen.PrintText("The display options 's' and 'T' write no messages, which a generic unload is for.\n");
    return MQRC_OPTIONS_ERROR;
  }
  MQLONG result = ParseGenericFileSpec(run, run.Asked.Output.FileName);
  if (result == 0) result = QueryQueueNames(run);
  if (result != 0 || InterruptSignal() != 0) return result;
  if (run.Generic.Queues.empty()) {
    ShowNothingFound(run);
    return 0;
  }
  result = FindExistingFiles(run);
  bool deleteForeign = false;
  if (result == 0) result = PrepareDirectory(run, deleteForeign);
  if (result != 0) return result;

  Totals users;
  Totals systems;
  MQLONG firstFailure = 0;
  for (const auto& [key, queue] : run.Generic.Queues) {
    if (InterruptSignal() != 0) {
      run.Screen.Print("The queues from '%s' on are not unloaded.\n", queue.QueueName.c_str());
      break;
    }
    UnloadQueue(run, queue, users, systems, firstFailure);
  }
  if (deleteForeign && firstFailure == 0 && InterruptSignal() == 0) firstFailure = DeleteForeignFiles(run);
  // Nothing has left a queue, so it is soon enough when the new files' names reach the disk with the last of them.
  if (const int error = SyncEntries(run.Generic.FileNames.Directory); error != 0) {
    const char* const directory = run.Generic.FileNames.Directory.c_str();
    run.Screen.PrintText(WithCause(FormatText("Error flushing data to file '%s'RC(%d)\n", directory, error), error));
    if (firstFailure == 0) firstFailure = MQRC_RESOURCE_PROBLEM;
  }
  PrintOutput("\nTotal : %d Queues, %" PRId64 " Messages\n", users.Queues, users.Messages);
  if (systems.Queues != 0) {
    PrintOutput(" plus : %d System Queues, %" PRId64 " Messages\n", systems.Queues, systems.Messages);
  }
  return firstFailure;
}
