#include <algorithm>
#include <cerrno>
#include <ctime>
#include <filesystem>
#include <set>
#include <system_error>

#include "cmdline/parameters.h"
#include "common/console.h"
#include "files/append.h"
#include "files/naming.h"
#include "files/progress.h"
#include "files/writer.h"
#include "platform/files.h"

namespace {

constexpr std::size_t kModeLimit = 20;     // characters of an access mode
constexpr std::size_t kAnswerLimit = 100;  // characters of an answer
constexpr int kLargestGap = 1000;          // between the numbers of a set's files, where messages number them

// The stream mode of one side ('r' or 'w'): its letter first, then what -a adds. An 'a' makes the output append.
std::string AccessMode(const Parameters& run, char side) {
  if (!run.Asked.Output.AccessMode) return std::string(1, side);
  const std::string_view given(*run.Asked.Output.AccessMode);
  std::string mode(1, side == 'w' && given.find('a') != std::string_view::npos ? 'a' : side);
  for (const char c : given) {
    if (c != 'r' && c != 'w' && c != 'a' && mode.size() < kModeLimit) mode += c;
  }
  return mode;
}

InsertValues ValuesNow(const Parameters& run, int fileNumber) {
  InsertValues values;
  const std::time_t now = std::time(nullptr);
  if (const std::tm* local = std::localtime(&now); local != nullptr) values.Local = *local;
  // The first files are opened before the first message is read.
  values.MessageOrdinal = std::max(1, run.MessageIndex);
  values.FileNumber = fileNumber;
  values.SelectedOrdinal = run.SelectedCount + 1;
  return values;
}

// The files that an indexed input set has or may come to.
void FindInputSet(Parameters& run) {
  std::set<std::string> names;
  int missing = 0;
  for (int number = 1; missing < kLargestGap; ++number) {
    InsertValues values = ValuesNow(run, number);
    values.MessageOrdinal = values.SelectedOrdinal = number;
    const std::string name = ExpandTemplate(run.Asked.Input.FileName, values);
    const RunFiles::Identity file = IdentityOf(name);
    // A name that does not change with its number is found once.
    missing = file && names.insert(name).second ? 0 : missing + 1;
    run.Naming.Files.AddInput(file);
  }
  run.Naming.InputSetKnown = true;
}

MQLONG AlreadyExists(Parameters& run, const std::string& name) {
  run.MessageText.Format("File '%s' already exists.\n", name.c_str());
  return MQRC_FILE_SYSTEM_ERROR;
}

MQLONG CanNotOpenOutput(Parameters& run, const std::string& name, const std::string& mode, int error) {
  return run.Keep(CanNotOpen("output", name, run.Asked.Output.AccessMode ? mode : std::string(), error));
}

// The progress of a set of plainly named files is that of the file in hand.
void StartLoading(Parameters& run) {
  EndProgressLine(run, false);
  if (!run.Screen.StdinIsTerminal || (run.Asked.Display.Quiet && run.Plain.Pass != CountingPass::Running)) return;
  StartProgressLine(run, run.In->File().Size(), run.In->Name());
}

// Asks until the answer is one of the three; the end of input is a no. False when the file must stay as it is.
bool MayOverwrite(Parameters& run, const std::string& name) {
  std::string answer;
  for (;;) {
    run.Screen.Print("File '%s' exists - overwrite (y)es/(n)o/(a)ll ?\n", name.c_str());
    if (!run.Screen.ReadAnswer(answer, kAnswerLimit)) return false;
    switch (answer.empty() ? '\0' : answer[0]) {
      case 'a':
        run.Naming.OverwriteAll = true;
        return true;
      case 'y':
        run.Naming.Approved = name;
        return true;
      case 'n':
        return false;
      default:
        break;
    }
  }
}

// When a queue's unload needs a second file, the first one gets the index 1.
MQLONG NumberFirstFile(Parameters& run) {
  const std::string first = IndexedName(run.Naming, 1);
  if (first.size() > kFileNameLimit) return run.Keep(NameTooLong(first));
  run.Writer.Changes.Files.back().Path = first;
  run.FilesWritten = 1;
  return 0;
}

// Whether a file that is there may be written: never one that is read or that this run has written.
MQLONG CheckOutputFile(Parameters& run, const std::string& name, const RunFiles::Identity& file) {
  if (!file) return 0;
  RunFiles& files = run.Naming.Files;
  const bool readsSet = run.Asked.Input.FileSet && !run.Asked.Input.Generic && !run.Asked.Log.Given;
  if (readsSet && !run.Naming.InputSetKnown) FindInputSet(run);
  if (files.IsInput(file)) {
    run.MessageText.Format("Output file '%s' is an input file of this run\n", name.c_str());
    return MQRC_FILE_SYSTEM_ERROR;
  }
  return files.IsOutput(file) ? AlreadyExists(run, name) : 0;
}

// What is asked and checked by name, while nothing is opened yet.
MQLONG CheckOutputName(Parameters& run, const std::string& name, bool append, bool mayAsk) {
  const RunFiles::Identity file = IdentityOf(name);
  if (const MQLONG reason = CheckOutputFile(run, name, file); reason != 0) return reason;
  if (RunFiles::IsStandardOutput(file)) return AlreadyExists(run, name);
  std::error_code error;
  if (append || run.Asked.Output.Overwrite || run.Naming.OverwriteAll || name == run.Naming.Approved ||
      !std::filesystem::exists(name, error))
    return 0;
  return mayAsk && MayOverwrite(run, name) ? 0 : AlreadyExists(run, name);
}

MQLONG OpenStandardOutput(Parameters& run) {
  const RunFiles::Identity file = IdentityOf(stdout);
  if (const MQLONG reason = CheckOutputFile(run, "stdout", file); reason != 0) return reason;
  run.Naming.Files.AddOutput(file);
  run.Writer.Out.UseStandardOutput();
  return 0;
}

// The file that a link stands for; the name itself when it is none.
std::string FileBehind(const std::string& name) {
  std::error_code error;
  if (!std::filesystem::is_symlink(name, error)) return name;
  const std::string file = std::filesystem::canonical(name, error).string();
  return error ? name : file;
}

OpenedForWriting OpenAsItStands(const std::string& name, bool append, bool binary) {
  std::error_code unknown;
  if (!std::filesystem::is_directory(name, unknown)) return OpenForWriting(name, append, binary);
  errno = EISDIR;
  return {};
}

// Opens the file as it stands and makes sure that it is the one that was checked. An old file on a disk is only
// appended to; else a new one that is to take its place is written beside it.
MQLONG OpenNamedOutput(Parameters& run, const std::string& name, const std::string& mode) {
  const bool append = mode[0] == 'a';
  const bool binary = mode.find('b') != std::string::npos;
  const OpenedForWriting opened = OpenAsItStands(name, append, binary);
  if (opened.File == nullptr) return CanNotOpenOutput(run, name, mode, errno);
  const RunFiles::Identity file = IdentityOf(opened.File);
  MQLONG reason = opened.Created ? 0 : CheckOutputFile(run, name, file);
  const bool regular = FileSize(opened.File) >= 0;
  std::string lineEnds;
  if (reason == 0 && regular && append && WritesMessageFile(run.Asked.Layout)) reason = LookAtEnd(run, name, lineEnds);
  if (reason != 0 || (regular && !opened.Created && !append)) {
    std::fclose(opened.File);
    if (reason != 0) return reason;
    return OpenBeside(run, FileBehind(name), file, binary) == 0 ? 0 : MQRC_FILE_SYSTEM_ERROR;
  }
  if (const int error = run.Writer.Out.Adopt(opened.File, name.c_str()); error != 0) {
    return CanNotOpenOutput(run, name, mode, error);
  }
  if (regular) WatchOutput(run, name, file, !opened.Created);
  return run.Writer.Out.Append(lineEnds) ? 0 : CanNotOpenOutput(run, name, mode, run.Writer.Out.error());
}

void StartOutput(Parameters& run, const std::string& name) {
  run.Writer.FileName.Assign(name);
  run.Writer.MsgsInFile = 0;
  run.Writer.MsgsSinceFlush = 0;
  run.Naming.OpenTime = static_cast<std::int64_t>(std::time(nullptr));
}

// The next file of a queue that is unloaded.
MQLONG OpenNextQueueFile(Parameters& run) {
  if (run.FilesWritten == 0) {
    if (const MQLONG reason = NumberFirstFile(run); reason != 0) return reason;
  }
  const std::string name = IndexedName(run.Naming, run.FilesWritten + 1);
  if (OpenQueueFile(run, name) != 0) return MQRC_FILE_SYSTEM_ERROR;
  ++run.FilesWritten;
  return 0;
}

MQLONG OpenOutput(Parameters& run, bool mayAsk) {
  if (run.Asked.Output.Generic) return OpenNextQueueFile(run);
  const int number = run.FilesWritten + 1;
  const std::string name = ExpandTemplate(run.Asked.Output.FileName, ValuesNow(run, number));
  if (name.size() > kFileNameLimit) return run.Keep(NameTooLong(name));
  StartOutput(run, name);
  if (name == "null") {
    run.NullOutput = true;
    return 0;
  }
  if (name == "stdout") return OpenStandardOutput(run);
  const std::string mode = AccessMode(run, 'w');
  if (const MQLONG reason = CheckOutputName(run, name, mode[0] == 'a', mayAsk); reason != 0) return reason;
  if (run.Plain.Pass == CountingPass::Running) return 0;
  if (const MQLONG reason = OpenNamedOutput(run, name, mode); reason != 0) return reason;
  run.FilesWritten = number;
  return 0;
}

}  // namespace

int OpenQueueFile(Parameters& run, const std::string& name) {
  if (name.size() > kFileNameLimit) {
    run.Keep(NameTooLong(name));
    return ENAMETOOLONG;
  }
  if (RunFiles::IsStandardOutput(IdentityOf(name))) {
    AlreadyExists(run, name);
    return EEXIST;
  }
  const bool binary = AccessMode(run, 'w').find('b') != std::string::npos;
  if (const int error = OpenBeside(run, name, {}, binary); error != 0) return error;
  StartOutput(run, name);
  return 0;
}

InputFiles::Plan PlanInput(Parameters& run) {
  InputFiles::Plan plan;
  plan.NameOf = [&run](int number) { return ExpandTemplate(run.Asked.Input.FileName, ValuesNow(run, number)); };
  plan.Set = run.Asked.Input.FileSet;
  plan.Mode = AccessMode(run, 'r');
  plan.ShowsMode = run.Asked.Output.AccessMode.has_value();
  plan.Files = &run.Naming.Files;
  plan.Opened = [&run] { StartLoading(run); };
  return plan;
}

MQLONG OpenFiles(Parameters& run, OpenRequest request) {
  MQLONG reason = 0;
  if (request.Input && !run.Asked.Input.FileName.empty() && !run.In->File().is_open()) {
    run.MessageText.clear();
    reason = run.Keep(run.In->OpenNext());
  }
  if (reason == 0 && request.Output && !run.Asked.Output.FileName.empty() && !run.Writer.Out.is_open()) {
    reason = OpenOutput(run, request.MayAsk);
  }
  return reason;
}
