#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <filesystem>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "engine/get.h"
#include "engine/target.h"
#include "engine/transfer.h"
#include "generic/command_server.h"
#include "generic/generic.h"
#include "mq/opened_queue.h"
#include "mq/reasons.h"
#include "platform/interrupt.h"

namespace {

MQLONG Refuse(Console& screen, const char* text) {
  screen.PrintText(text);
  return MQRC_OPTIONS_ERROR;
}

MQLONG CheckOptions(const Options& asked, Console& screen) {
  if (asked.Input.Remove) return Refuse(screen, "You can not do a destructive generic unload.\n");
  if (!asked.Display.Summary && !asked.Layout.TimeOnQueue) return 0;
  return Refuse(screen, "The display options 's' and 'T' write no messages, which a generic unload is for.\n");
}

// "No non-empty queues found matching 'A*', 'B*' or 'C*'."
void ShowNothingFound(Console& screen, const std::vector<QueueName>& patterns) {
  std::string text = "No non-empty queues found matching ";
  for (std::size_t i = 0; i < patterns.size(); ++i) {
    if (i > 0) text += i + 1 == patterns.size() ? " or " : ",";
    text += '\'' + patterns[i].Queue + '\'';
  }
  screen.Print("%s.\n", text.c_str());
}

// How a queue's line ends when its unload has not failed.
const char* Remark(const GenericQueueEntry& queue, std::int64_t written, bool cutShort, const SelectionOptions& asked) {
  if (cutShort) return "Cut short.";
  if (written == queue.Depth) return "Done.";
  return asked.Active || asked.HasIdentifier() ? "Filtered." : "Changing.";
}

// The old set of a queue goes when its new one is complete. A single file takes the place of a single one at once; else
// the old files go first, so that no set is ever taken for a whole one that is half old and half new.
Result SetOldFilesAside(const std::vector<std::string>& old, OutputChanges& changes) {
  const auto& written = changes.files();
  if (written.size() == 1 && old.size() == 1 && old.front() == written.front().Path) return {};
  for (const std::string& name : old) {
    if (Result result = changes.SetAside(name); result.failed()) return result;
  }
  return {};
}

}  // namespace

GenericUnload::GenericUnload(const Options& asked, const RunStations& run, RunFiles& files, ProgressLine& progress,
                             std::int64_t now)
    : asked_(asked), run_(run), files_(files), progress_(progress), now_(now), screen_(run.Screen) {}

MQLONG GenericUnload::FindExistingFiles() {
  std::set<std::string> found;
  if (const MQLONG reason = ScanDirectory(screen_, names_.Directory, found); reason != 0) return reason;
  for (const std::string& name : found) {
    std::optional<GenericQueueEntry> file = ParseQueueFileName(names_, name);
    if (!file || file->Fault != nullptr) continue;
    file->QueueListed = queues_.HasQueue(file->QueueName);
    if (const MQLONG reason = existing_.Add(std::move(*file)); reason != 0) return reason;
  }
  existing_.FormGroups();
  queues_.NameFiles(names_.Directory, names_.FileType, existing_);
  return 0;
}

// Every file can be named, and none of the names is that of something else: a directory, or, where names do not differ
// by their case, a file of another type.
MQLONG GenericUnload::CheckNames() const {
  std::set<std::string_view> replaced;
  for (const auto& [key, file] : existing_) {
    if (file.QueueListed) replaced.insert(file.FilePath);
  }
  MQLONG result = 0;
  for (const auto& [key, queue] : queues_) {
    // A file for each message is the most that limits can ask for.
    const std::string longest = queue.Depth > 1 ? NamesOf(names_, queue).Indexed(queue.Depth) : queue.FilePath;
    std::error_code error;
    if (longest.size() > kPathLimit) {
      screen_.Print("File name '%s' is longer than %d characters\n", longest.c_str(), static_cast<int>(kPathLimit));
      result = MQRC_FILE_SYSTEM_ERROR;
    } else if (!replaced.contains(queue.FilePath) && std::filesystem::exists(queue.FilePath, error)) {
      screen_.Print("File '%s' already exists.\n", queue.FilePath.c_str());
      result = MQRC_OBJECT_ALREADY_EXISTS;
    }
  }
  return result;
}

// Lists the existing files of queues that are listed, or are not. Answers whether there are any.
bool GenericUnload::ShowExisting(bool listed) const {
  bool any = false;
  for (const auto& [key, file] : existing_) {
    if (!file.GroupStart || file.QueueListed != listed) continue;
    any = true;
    if (file.HighestIndex > file.Index) {
      screen_.Print("%s[-> %c%d]\n", file.FilePath.c_str(), '$', file.HighestIndex);
    } else {
      screen_.Print("%s\n", file.FilePath.c_str());
    }
  }
  return any;
}

GenericUnload::ForeignFiles GenericUnload::AskAboutForeignFiles() const {
  if (!ShowExisting(false)) return ForeignFiles::Keep;
  screen_.PrintText("\nThese files already exist and will not be affected by the download.");
  screen_.PrintText("\nHowever, they could affect and contaminate a future upload.\n");
  if (asked_.Output.Overwrite) return ForeignFiles::Keep;
  for (;;) {
    screen_.PrintText("What would you like to do? (c)ontinue, (d)elete the files, (q)uit ");
    std::string answer;
    if (!AskTerminal(screen_, answer) || answer.starts_with('q')) return ForeignFiles::Quit;
    if (answer.starts_with('c') || answer.starts_with('d')) {
      screen_.PrintText("\n");
      return answer.starts_with('c') ? ForeignFiles::Keep : ForeignFiles::Delete;
    }
  }
}

// Opens every queue once. Answers whether the unload goes on.
bool GenericUnload::CheckAccess() const {
  bool failed = false;
  for (const auto& [key, queue] : queues_) {
    const MQLONG reason =
        OpenedQueue(run_.Input, QueueObject(queue.QueueName, {}, asked_.Selection.Selector), MQOO_BROWSE).reason();
    if (reason == 0) continue;
    failed = true;
    screen_.Print("%-48s RC(%d) %s\n", queue.QueueName.c_str(), reason, ReasonText(reason));
  }
  return !failed || Confirm(screen_, asked_.Output.Overwrite,
                            "\nError accessing these queues.\nAre you sure you want to continue? ");
}

// Everything that is asked or checked before the first file is touched.
MQLONG GenericUnload::Prepare() {
  if (const MQLONG reason = FindExistingFiles(); reason != 0) return reason;
  if (const MQLONG reason = CheckNames(); reason != 0) return reason;
  const bool forced = asked_.Output.Overwrite;
  if (!forced && ShowExisting(true) &&
      !Confirm(screen_, forced,
               "\nThese files already exist and will be deleted.\nAre you sure you want to continue? ")) {
    return MQRC_OBJECT_ALREADY_EXISTS;
  }
  foreign_ = AskAboutForeignFiles();
  return foreign_ == ForeignFiles::Quit || !CheckAccess() ? MQRC_OBJECT_ALREADY_EXISTS : 0;
}

MQLONG GenericUnload::DeleteForeignFiles() const {
  for (const auto& [key, file] : existing_) {
    std::error_code error;
    if (!file.QueueListed) std::filesystem::remove(file.FilePath, error);
    if (error) {
      const std::string text = FormatText("Attempt to delete file '%s' failed.\n", file.FilePath.c_str());
      screen_.PrintText(WithCause(text, error));
      return MQRC_OBJECT_ALREADY_EXISTS;
    }
  }
  return 0;
}

std::vector<std::string> GenericUnload::OldFiles(const GenericQueueEntry& queue) const {
  std::vector<std::string> old;
  for (const auto& [key, file] : existing_) {
    if (file.QueueName != queue.QueueName) continue;
    // Where case does not count, it may be the new file of another queue by now.
    if (!files_.IsOutput(IdentityOf(file.FilePath))) old.push_back(file.FilePath);
  }
  return old;
}

// Returns how the queue's transfer and its files ended.
Result GenericUnload::TransferQueue(const GenericQueueEntry& queue, MQHOBJ hobj, OutputFiles& out, bool& cutShort) {
  QueueElement element;
  element.Hobj = hobj;
  element.QueueName.Assign(queue.QueueName);
  QueueSource source(asked_, {}, run_.Input, element);
  FileTarget target(asked_, out, now_, screen_.StdinIsTerminal);
  if (!asked_.Display.Quiet) progress_.Start(queue.Depth, nullptr, [&out] { return out.written().Msgs; });
  Outcome outcome = Transfer(asked_, run_, source, target, nullptr, progress_).Run();
  cutShort = outcome.CutShort && out.written().Msgs < std::max(queue.Depth, 1);
  Result end = std::move(outcome.End);
  const std::vector<std::string> old = OldFiles(queue);
  if (!end.failed() && cutShort && !old.empty()) {
    out.changes().GiveUp();  // a part never takes the place of a whole set
  } else {
    if (!end.failed()) end = out.Close();
    if (!end.failed()) end = SetOldFilesAside(old, out.changes());
    end = out.changes().Finish(std::move(end));
  }
  progress_.End(false);
  return end;
}

// One queue into its file, with its line on standard output.
void GenericUnload::UnloadQueue(const GenericQueueEntry& queue) {
  PrintOutput("%-48s %6d  ", queue.QueueName.c_str(), queue.Depth);
  std::fflush(stdout);
  const OpenedQueue opened(run_.Input, QueueObject(queue.QueueName, {}, asked_.Selection.Selector), MQOO_BROWSE);
  if (opened.end().failed()) return failures_.EndLine(opened.reason());
  OutputFiles out(asked_.Input, asked_.Output, asked_.Layout, asked_.Limits, asked_.Units, files_, screen_);
  if (const Result file = out.OpenForQueue(queue.FilePath, NamesOf(names_, queue)); file.failed()) {
    failures_.EndLineOfFile(file.reason());
    return ShowText(screen_, file.text());
  }
  bool cutShort = false;
  const Result end = TransferQueue(queue, opened.hobj(), out, cutShort);

  const std::int64_t written = out.written().Msgs;
  Totals& totals = IsSystemQueue(queue.QueueName) ? systems_ : users_;
  ++totals.Queues;
  totals.Messages += written;
  if (end.failed()) {
    failures_.EndLine(end.reason());
  } else {
    PrintOutput("%s\n", Remark(queue, written, cutShort, asked_.Selection));
  }
  ShowText(screen_, end.text());
}

void GenericUnload::UnloadQueues() {
  for (const auto& [key, queue] : queues_) {
    if (InterruptSignal() != 0) {
      screen_.Print("The queues from '%s' on are not unloaded.\n", queue.QueueName.c_str());
      return;
    }
    UnloadQueue(queue);
  }
}

// Nothing has left a queue, so it is soon enough when the new files' names reach the disk with the last of them.
void GenericUnload::SyncDirectory() {
  const int error = SyncEntries(names_.Directory);
  if (error == 0) return;
  const char* const directory = names_.Directory.c_str();
  screen_.PrintText(WithCause(FormatText("Error flushing data to file '%s'RC(%d)\n", directory, error), error));
  failures_.Add(MQRC_RESOURCE_PROBLEM);
}

MQLONG GenericUnload::Run() {
  MQLONG result = CheckOptions(asked_, screen_);
  if (result == 0) result = ParseGenericFileSpec(screen_, asked_.Output.FileName, names_);
  const QueuePatterns wanted{asked_.Input.Queues, asked_.CaseCounts};
  if (result == 0) result = CommandServer(run_.Input).ListQueues(wanted, queues_);
  if (result != 0 || InterruptSignal() != 0) return result;
  if (queues_.empty()) {
    ShowNothingFound(screen_, asked_.Input.Queues);
    return 0;
  }
  if (const MQLONG reason = Prepare(); reason != 0) return reason;

  UnloadQueues();
  const bool complete = failures_.first() == 0 && InterruptSignal() == 0;
  if (complete && foreign_ == ForeignFiles::Delete) failures_.Add(DeleteForeignFiles());
  SyncDirectory();
  PrintOutput("\nTotal : %d Queues, %" PRId64 " Messages\n", users_.Queues, users_.Messages);
  if (systems_.Queues != 0) {
    PrintOutput(" plus : %d System Queues, %" PRId64 " Messages\n", systems_.Queues, systems_.Messages);
  }
  return failures_.first();
}
