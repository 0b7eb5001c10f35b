#include "files/output_changes.h"

#include <algorithm>
#include <cerrno>
#include <cinttypes>
#include <filesystem>
#include <system_error>
#include <utility>

#include "cmdline/parameters.h"
#include "common/console.h"
#include "common/paths.h"
#include "platform/files.h"

namespace {

constexpr std::size_t kLongestStem = 100;  // of the old name; file systems limit a name, some to 143 bytes
constexpr int kMostLeftovers = 1000;       // of killed runs, all beside one file

// The n-th name beside `path` for a file that takes its place ("new") or has given it up ("old").
std::string NameBeside(const std::string& path, const char* kind, int number) {
  std::size_t directory = path.size();
  while (directory > 0 && !IsSeparator(path[directory - 1], NativePathStyle())) --directory;
  return path.substr(0, directory + kLongestStem) + ".tarvo-" + kind + std::to_string(number);
}

bool IsThere(const std::string& name) {
  std::error_code unknown;
  return std::filesystem::symlink_status(name, unknown).type() != std::filesystem::file_type::not_found;
}

std::string FreeNameBeside(const std::string& path, const char* kind) {
  int number = 1;
  while (number < kMostLeftovers && IsThere(NameBeside(path, kind, number))) ++number;
  return NameBeside(path, kind, number);
}

void Remove(const std::string& name) {
  std::error_code ignored;
  std::filesystem::remove(name, ignored);
}

MQLONG Failed(Parameters& run, const std::string& text, int error) {
  run.MessageText.Assign(WithCause(text, error));
  return MQRC_FILE_SYSTEM_ERROR;
}

OutputChanges& ChangesOf(Parameters& run) { return run.Writer.Changes; }

// Leaves a second name of the old file, where the file system has second names, and gives its own to the new one.
int TakePlace(OutputChanges& changes, const ChangedFile& file) {
  if (IsThere(file.Path)) {
    const std::string aside = FreeNameBeside(file.Path, "old");
    std::error_code error;
    std::filesystem::create_hard_link(file.Path, aside, error);
    if (!error) changes.SetAside.push_back({file.Path, aside});
  }
  return RenameReplacing(file.Temporary, file.Path);
}

void RestoreOldFiles(OutputChanges& changes) {
  for (const auto& old : changes.SetAside) {
    // Both may be names of one file still: then nothing is renamed, and one of them goes.
    if (RenameReplacing(old.Aside, old.Path) == 0) Remove(old.Aside);
  }
  changes.SetAside.clear();
}

bool NotCut(Parameters& run, const ChangedFile& file, int error) {
  const std::string text =
      FormatText("Can not cut file '%s' back: what this run has written behind byte %" PRId64 " is still on its queue",
                 file.Path.c_str(), std::max(file.Length, std::int64_t{0}));
  run.Screen.Print("%s\n", WithCause(text, error).c_str());
  return false;
}

// Cuts the current output file, however it may be called by now. Answers whether that could be done.
bool CutOpenFile(Parameters& run, const ChangedFile& file) {
  WriterState& writer = run.Writer;
  writer.Out.Drop();
  // What others have appended meanwhile is not ours to cut off.
  const std::int64_t own = writer.Out.offered() - file.OfferedBefore;
  const bool othersToo = file.Shared && own != 0 && writer.Out.Size() > file.Length + own;
  const bool cut = !othersToo && (own != 0 || !file.Shared);
  const int error = !cut ? 0 : writer.Out.CutBack(std::max(file.Length, std::int64_t{0}));
  writer.Out.Close(true);
  if (!othersToo && error == 0) return true;
  run.MsgsWritten -= writer.HeldMsgs;  // they were dropped
  run.BytesWritten -= writer.HeldBytes;
  return NotCut(run, file, error);
}

bool CutClosedFile(Parameters& run, const ChangedFile& file) {
  if (IdentityOf(file.Path) != file.Identity) return NotCut(run, file, ENOENT);
  const OpenedForWriting opened = OpenForWriting(file.Path, true, true);
  if (opened.File == nullptr) return NotCut(run, file, errno);
  int error = SetFileSize(opened.File, file.Length);
  if (error == 0) error = SyncToDisk(opened.File);
  std::fclose(opened.File);
  return error == 0 || NotCut(run, file, error);
}

void RemoveNewFile(const ChangedFile& file) {
  const std::string& name = file.Temporary.empty() ? file.Path : file.Temporary;
  if (IdentityOf(name) == file.Identity) Remove(name);
}

// What the counts tell is in files.
class Uncounting {
 public:
  explicit Uncounting(Parameters& run) : run_(run), msgs_(run.MsgsWritten), bytes_(run.BytesWritten) {}
  // Called for each file from the last one on. `gone`: what was written of it since its counts were taken.
  void Pass(const ChangedFile& file, bool gone) {
    if (gone) {
      run_.MsgsWritten -= msgs_ - file.MsgsBefore;
      run_.BytesWritten -= bytes_ - file.BytesBefore;
    }
    msgs_ = file.MsgsBefore;
    bytes_ = file.BytesBefore;
  }

 private:
  Parameters& run_;
  std::int64_t msgs_;
  std::int64_t bytes_;
};

// A run that fails without a unit of work leaves what it has copied, but not beside an old file.
void DropUnplaced(Parameters& run) {
  OutputChanges& changes = ChangesOf(run);
  Uncounting counts(run);
  for (auto file = changes.Files.rbegin(); file != changes.Files.rend(); ++file) {
    counts.Pass(*file, !file->Temporary.empty());
    if (file->Temporary.empty()) continue;
    RemoveNewFile(*file);
    --run.FilesWritten;
  }
  RestoreOldFiles(changes);
  changes.Files.clear();
}

// Undoes everything since the last KeepOutput.
void TakeBack(Parameters& run) {
  OutputChanges& changes = ChangesOf(run);
  if (changes.Files.empty()) return;
  Uncounting counts(run);
  for (auto file = changes.Files.rbegin(); file != changes.Files.rend(); ++file) {
    bool gone = true;
    if (std::exchange(changes.LastIsOpen, false)) {
      gone = CutOpenFile(run, *file);
    } else if (file->Length != kNewFile) {
      gone = CutClosedFile(run, *file);
    }
    counts.Pass(*file, gone);
    if (file->Length != kNewFile) continue;
    RemoveNewFile(*file);
    --run.FilesWritten;
  }
  RestoreOldFiles(changes);
  changes.Files.clear();
}

void Watch(Parameters& run, ChangedFile file) {
  OutputChanges& changes = ChangesOf(run);
  file.OfferedBefore = run.Writer.Out.offered();
  file.MsgsBefore = run.MsgsWritten;
  file.BytesBefore = run.BytesWritten;
  run.Naming.Files.AddOutput(file.Identity);
  run.Naming.Files.AddOutput(file.Old);
  changes.Files.push_back(std::move(file));
  changes.LastIsOpen = true;
}

}  // namespace

int OpenBeside(Parameters& run, const std::string& path, const RunFiles::Identity& old, bool binary) {
  std::FILE* stream = nullptr;
  std::string name;
  errno = EEXIST;
  for (int number = 1; number <= kMostLeftovers && stream == nullptr && errno == EEXIST; ++number) {
    name = NameBeside(path, "new", number);
    stream = CreateLike(name, path, binary);
  }
  int error = stream == nullptr ? errno : 0;
  const RunFiles::Identity identity = stream != nullptr ? IdentityOf(stream) : std::nullopt;
  if (stream != nullptr) error = run.Writer.Out.Adopt(stream);
  if (error != 0) {
    const std::string text = FormatText("Can not make file '%s', which is to replace '%s'", name.c_str(), path.c_str());
    Failed(run, text, error);
    return error;
  }
  ChangedFile file;
  file.Path = path;
  file.Temporary = name;
  file.Identity = identity;
  file.Old = old;
  Watch(run, std::move(file));
  return 0;
}

void WatchOutput(Parameters& run, const std::string& path, const RunFiles::Identity& identity, bool append) {
  ChangedFile file;
  file.Path = path;
  file.Identity = identity;
  file.Length = append ? run.Writer.Out.Size() : kNewFile;
  file.Shared = append;
  Watch(run, std::move(file));
}

MQLONG SetAside(Parameters& run, const std::string& path) {
  const std::string aside = FreeNameBeside(path, "old");
  if (const int error = RenameReplacing(path, aside); error != 0) {
    return Failed(run, FormatText("Can not rename file '%s' to '%s'", path.c_str(), aside.c_str()), error);
  }
  ChangesOf(run).SetAside.push_back({path, aside});
  return 0;
}

MQLONG PlaceOutput(Parameters& run) {
  OutputChanges& changes = ChangesOf(run);
  // The first file of a set comes last: a set without it is not taken for a whole one.
  for (auto file = changes.Files.rbegin(); file != changes.Files.rend(); ++file) {
    if (file->Temporary.empty()) continue;
    int error = TakePlace(changes, *file);
    if (error == 0) {
      file->Temporary.clear();
      run.Naming.Files.ForgetOutput(file->Old);
      const auto directory = std::filesystem::path(file->Path).parent_path().string();
      if (!run.Asked.Output.Generic) error = SyncEntries(directory);
    }
    if (error != 0) return Failed(run, FormatText("Can not replace file '%s'", file->Path.c_str()), error);
  }
  return 0;
}

void KeepOutput(Parameters& run) {
  OutputChanges& changes = ChangesOf(run);
  if (changes.Files.empty()) return;
  for (const auto& old : changes.SetAside) Remove(old.Aside);
  changes.SetAside.clear();
  changes.Files.erase(changes.Files.begin(), changes.Files.end() - (changes.LastIsOpen ? 1 : 0));
  if (!changes.LastIsOpen) return;
  ChangedFile& current = changes.Files.back();
  current.Length = run.Writer.Out.Size();
  current.OfferedBefore = run.Writer.Out.offered();
  current.MsgsBefore = run.MsgsWritten;
  current.BytesBefore = run.BytesWritten;
}

MQLONG HandOverOutput(Parameters& run) {
  const OutputChanges& changes = ChangesOf(run);
  const bool replaces = changes.LastIsOpen && !changes.Files.back().Temporary.empty();
  MQLONG reason = FlushOutputFile(run, replaces);
  if (reason == 0 && replaces) reason = PlaceOutput(run);
  if (reason == 0) KeepOutput(run);
  return reason;
}

std::string LeaveOutput(Parameters& run) {
  OutputChanges& changes = ChangesOf(run);
  std::string name;
  if (changes.LastIsOpen) name = changes.Files.back().Temporary;
  changes.Files.clear();
  return name;
}

MQLONG FinishOutput(Parameters& run, MQLONG result) {
  const bool inUnits = run.Asked.Input.Remove && run.Asked.Units.MessageLimit != 0;
  if (result != 0 && inUnits) TakeBack(run);
  const MQLONG closed = CloseOutputFile(run);
  if (result == 0) result = closed;
  if (result == 0) result = PlaceOutput(run);
  if (result == 0) {
    KeepOutput(run);
  } else if (inUnits) {
    TakeBack(run);
  } else {
    DropUnplaced(run);
  }
  return result;
}
