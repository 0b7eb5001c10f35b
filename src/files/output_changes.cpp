#include "files/output_changes.h"

#include <algorithm>
#include <cerrno>
#include <cinttypes>
#include <filesystem>
#include <system_error>
#include <utility>

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

Result Failed(const std::string& text, int error) { return {MQRC_FILE_SYSTEM_ERROR, WithCause(text, error)}; }

void RemoveNewFile(const ChangedFile& file) {
  const std::string& name = file.Temporary.empty() ? file.Path : file.Temporary;
  if (IdentityOf(name) == file.Identity) Remove(name);
}

// Of two failures the first one counts, and the first one's text.
Result First(const Result& first, const Result& second) {
  return {first.failed() ? first.reason() : second.reason(), first.text().empty() ? second.text() : first.text()};
}

}  // namespace

// What the counts tell is in files.
class OutputChanges::Uncounting {
 public:
  explicit Uncounting(WrittenCounts& written) : written_(written), last_(written) {}
  // Called for each file from the last one on. `gone`: what was written of it since its counts were taken.
  void Pass(const ChangedFile& file, bool gone) {
    if (gone) {
      written_.Msgs -= last_.Msgs - file.Before.Msgs;
      written_.Bytes -= last_.Bytes - file.Before.Bytes;
    }
    last_ = file.Before;
  }

 private:
  WrittenCounts& written_;
  WrittenCounts last_;
};

// Leaves a second name of the old file, where the file system has second names, and gives its own to the new one.
int OutputChanges::TakePlace(const ChangedFile& file) {
  if (IsThere(file.Path)) {
    const std::string aside = FreeNameBeside(file.Path, "old");
    std::error_code error;
    std::filesystem::create_hard_link(file.Path, aside, error);
    if (!error) setAside_.push_back({file.Path, aside});
  }
  return RenameReplacing(file.Temporary, file.Path);
}

void OutputChanges::RestoreOldFiles() {
  for (const OldFile& old : setAside_) {
    // Both may be names of one file still: then nothing is renamed, and one of them goes.
    if (RenameReplacing(old.Aside, old.Path) == 0) Remove(old.Aside);
  }
  setAside_.clear();
}

bool OutputChanges::NotCut(const ChangedFile& file, int error) {
  const std::string text =
      FormatText("Can not cut file '%s' back: what this run has written behind byte %" PRId64 " is still on its queue",
                 file.Path.c_str(), std::max(file.Length, std::int64_t{0}));
  screen_.Print("%s\n", WithCause(text, error).c_str());
  return false;
}

// Cuts the current output file, however it may be called by now. Answers whether that could be done.
bool OutputChanges::CutOpenFile(const ChangedFile& file) {
  OutputFile& stream = out_.Stream;
  stream.Drop();
  // What others have appended meanwhile is not ours to cut off.
  const std::int64_t own = stream.offered() - file.OfferedBefore;
  const bool othersToo = file.Shared && own != 0 && stream.Size() > file.Length + own;
  const bool cut = !othersToo && (own != 0 || !file.Shared);
  const int error = !cut ? 0 : stream.CutBack(std::max(file.Length, std::int64_t{0}));
  stream.Close(true);
  if (!othersToo && error == 0) return true;
  out_.Uncount();  // they were dropped
  return NotCut(file, error);
}

bool OutputChanges::CutClosedFile(const ChangedFile& file) {
  if (IdentityOf(file.Path) != file.Identity) return NotCut(file, ENOENT);
  const OpenedForWriting opened = OpenForWriting(file.Path, true, true);
  if (opened.File == nullptr) return NotCut(file, errno);
  int error = SetFileSize(opened.File, file.Length);
  if (error == 0) error = SyncToDisk(opened.File);
  std::fclose(opened.File);
  return error == 0 || NotCut(file, error);
}

// A run that fails without a unit of work leaves what it has copied, but not beside an old file.
bool OutputChanges::ReplacesAny() const {
  return std::any_of(changed_.begin(), changed_.end(), [](const ChangedFile& file) { return !file.Temporary.empty(); });
}

void OutputChanges::DropUnplaced() {
  Uncounting counts(out_.Written);
  for (auto file = changed_.rbegin(); file != changed_.rend(); ++file) {
    counts.Pass(*file, !file->Temporary.empty());
    if (file->Temporary.empty()) continue;
    RemoveNewFile(*file);
    --out_.Written.Files;
  }
  RestoreOldFiles();
  changed_.clear();
}

// Undoes everything since the last Keep.
void OutputChanges::TakeBack() {
  if (changed_.empty()) return;
  Uncounting counts(out_.Written);
  for (auto file = changed_.rbegin(); file != changed_.rend(); ++file) {
    bool gone = true;
    if (std::exchange(lastIsOpen_, false)) {
      gone = CutOpenFile(*file);
    } else if (file->Length != kNewFile) {
      gone = CutClosedFile(*file);
    }
    counts.Pass(*file, gone);
    if (file->Length != kNewFile) continue;
    RemoveNewFile(*file);
    --out_.Written.Files;
  }
  RestoreOldFiles();
  changed_.clear();
}

void OutputChanges::Add(ChangedFile file) {
  file.OfferedBefore = out_.Stream.offered();
  file.Before = out_.Written;
  files_.AddOutput(file.Identity);
  files_.AddOutput(file.Old);
  changed_.push_back(std::move(file));
  lastIsOpen_ = true;
}

Result OutputChanges::OpenBeside(const std::string& path, const RunFiles::Identity& old, bool binary) {
  std::FILE* stream = nullptr;
  std::string name;
  errno = EEXIST;
  for (int number = 1; number <= kMostLeftovers && stream == nullptr && errno == EEXIST; ++number) {
    name = NameBeside(path, "new", number);
    stream = CreateLike(name, path, binary);
  }
  int error = stream == nullptr ? errno : 0;
  const RunFiles::Identity identity = stream != nullptr ? IdentityOf(stream) : std::nullopt;
  if (stream != nullptr) error = out_.Stream.Adopt(stream);
  if (error != 0) {
    const std::string text = FormatText("Can not make file '%s', which is to replace '%s'", name.c_str(), path.c_str());
    return {error, WithCause(text, error)};
  }
  ChangedFile file;
  file.Path = path;
  file.Temporary = name;
  file.Identity = identity;
  file.Old = old;
  Add(std::move(file));
  return {};
}

void OutputChanges::Watch(const std::string& path, const RunFiles::Identity& identity, bool append) {
  ChangedFile file;
  file.Path = path;
  file.Identity = identity;
  file.Length = append ? out_.Stream.Size() : kNewFile;
  file.Shared = append;
  Add(std::move(file));
}

Result OutputChanges::Close() {
  // Messages of a queue are reported as written once they are on the disk, and an old file goes only when the new one
  // is; a file that is rewritten under another name still stands as it was.
  const bool toDisk = !input_.HasFile() || Replaces();
  if (out_.Stream.is_open()) lastIsOpen_ = false;
  return out_.Close(toDisk);
}

Result OutputChanges::SetAside(const std::string& path) {
  const std::string aside = FreeNameBeside(path, "old");
  if (const int error = RenameReplacing(path, aside); error != 0) {
    return Failed(FormatText("Can not rename file '%s' to '%s'", path.c_str(), aside.c_str()), error);
  }
  setAside_.push_back({path, aside});
  return {};
}

Result OutputChanges::Place() {
  // The first file of a set comes last: a set without it is not taken for a whole one.
  for (auto file = changed_.rbegin(); file != changed_.rend(); ++file) {
    if (file->Temporary.empty()) continue;
    int error = TakePlace(*file);
    if (error == 0) {
      file->Temporary.clear();
      files_.ForgetOutput(file->Old);
      const auto directory = std::filesystem::path(file->Path).parent_path().string();
      if (!output_.Generic) error = SyncEntries(directory);
    }
    if (error != 0) return Failed(FormatText("Can not replace file '%s'", file->Path.c_str()), error);
  }
  return {};
}

void OutputChanges::Keep() {
  if (changed_.empty()) return;
  for (const OldFile& old : setAside_) Remove(old.Aside);
  setAside_.clear();
  changed_.erase(changed_.begin(), changed_.end() - (lastIsOpen_ ? 1 : 0));
  if (!lastIsOpen_) return;
  ChangedFile& current = changed_.back();
  current.Length = out_.Stream.Size();
  current.OfferedBefore = out_.Stream.offered();
  current.Before = out_.Written;
}

Result OutputChanges::HandOver() {
  const bool replaces = Replaces();
  Result result = out_.Flush(replaces);
  if (!result.failed() && replaces) result = Place();
  if (!result.failed()) Keep();
  return result;
}

std::string OutputChanges::Leave() {
  std::string name;
  if (std::exchange(lastIsOpen_, false)) name = changed_.back().Temporary;
  changed_.clear();
  return name;
}

void OutputChanges::GiveUp() {
  static_cast<void>(Close());  // what could not be written goes too
  DropUnplaced();
}

Result OutputChanges::Finish(Result result) {
  const bool inUnits = input_.Remove && units_.MessageLimit != 0;
  if (result.failed() && inUnits) TakeBack();
  result = First(result, Close());
  if (!result.failed()) result = Place();
  if (!result.failed()) {
    Keep();
  } else if (inUnits || (!input_.Remove && ReplacesAny())) {
    TakeBack();
  } else {
    DropUnplaced();
  }
  return result;
}
