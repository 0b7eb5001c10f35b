#include "files/output_files.h"

#include <algorithm>
#include <cerrno>
#include <ctime>
#include <filesystem>
#include <system_error>

#include "files/append.h"
#include "platform/files.h"

namespace {

constexpr std::size_t kAnswerLimit = 100;  // characters of an answer

Result AlreadyExists(const std::string& name) {
  return {MQRC_FILE_SYSTEM_ERROR, FormatText("File '%s' already exists.\n", name.c_str())};
}

// The file that a link stands for; the name itself when it is none.
std::string FileBehind(const std::string& name) {
  std::error_code error;
  if (!std::filesystem::is_symlink(name, error)) return name;
  const std::string file = std::filesystem::canonical(name, error).string();
  return error ? name : file;
}

// The file that a link to nothing would make; the name itself when it is none.
std::string FileToMake(const std::string& name) {
  constexpr int kMostLinks = 40;  // one behind the other
  std::error_code error;
  std::filesystem::path file = name;
  if (std::filesystem::exists(file, error)) return name;
  for (int link = 0; link < kMostLinks && std::filesystem::is_symlink(file, error); ++link) {
    const auto target = std::filesystem::read_symlink(file, error);
    if (error) return name;
    file = file.parent_path() / target;  // an absolute one stands for itself
  }
  return file.string();
}

OpenedForWriting OpenAsItStands(const std::string& name, bool append, bool binary) {
  std::error_code unknown;
  if (!std::filesystem::is_directory(name, unknown)) return OpenForWriting(name, append, binary);
  errno = EISDIR;
  return {};
}

bool IsBinary(const std::string& mode) { return mode.find('b') != std::string::npos; }

// What a message may take in the file: at least its hex digits and a descriptor, whatever the layout.
std::int64_t RoomNeeded(const LayoutOptions& layout, MQLONG length) {
  constexpr std::int64_t kDescriptorRoom = 1024;
  return std::max(2 * std::int64_t{length} + kDescriptorRoom, WorstCaseSize(layout, length));
}

}  // namespace

OutputFiles::OutputFiles(const InputOptions& input, const OutputOptions& output, const LayoutOptions& layout,
                         const LimitOptions& limits, const UnitOptions& units, RunFiles& files, Console& screen)
    : output_(output),
      layout_(layout),
      limits_(limits),
      files_(files),
      screen_(screen),
      changes_(out_, input, output, units, files, screen) {}

Result OutputFiles::CanNotOpen(const std::string& name, const std::string& mode, int error) const {
  return ::CanNotOpen("output", name, output_.AccessMode ? mode : std::string(), error);
}

// Asks until the answer is one of the three; the end of input is a no. False when the file must stay as it is.
bool OutputFiles::MayOverwrite(const std::string& name) {
  std::string answer;
  for (;;) {
    screen_.Print("File '%s' exists - overwrite (y)es/(n)o/(a)ll ?\n", name.c_str());
    if (!screen_.ReadAnswer(answer, kAnswerLimit)) return false;
    switch (answer.empty() ? '\0' : answer[0]) {
      case 'a':
        overwriteAll_ = true;
        return true;
      case 'y':
        approved_ = name;
        return true;
      case 'n':
        return false;
      default:
        break;
    }
  }
}

// Whether a file that is there may be written: never one that is read or that this run has written.
Result OutputFiles::CheckFile(const std::string& name, const RunFiles::Identity& file) {
  if (files_.IsInput(file)) {
    return {MQRC_FILE_SYSTEM_ERROR, FormatText("Output file '%s' is an input file of this run\n", name.c_str())};
  }
  return files_.IsOutput(file) ? AlreadyExists(name) : Result();
}

// What is asked and checked by name, while nothing is opened yet.
Result OutputFiles::CheckName(const std::string& name, bool append, bool mayAsk) {
  const RunFiles::Identity file = IdentityOf(name);
  if (Result result = CheckFile(name, file); result.failed()) return result;
  if (RunFiles::IsStandardOutput(file)) return AlreadyExists(name);
  std::error_code error;
  if (append || output_.Overwrite || overwriteAll_ || name == approved_ || !std::filesystem::exists(name, error)) {
    return {};
  }
  return mayAsk && MayOverwrite(name) ? Result() : AlreadyExists(name);
}

Result OutputFiles::OpenStandardOutput() {
  const RunFiles::Identity file = IdentityOf(stdout);
  if (Result result = CheckFile("stdout", file); result.failed()) return result;
  files_.AddOutput(file);
  out_.Stream.UseStandardOutput();
  return {};
}

// Opens the file as it stands and makes sure that it is the one that was checked. An old file on a disk is only
// appended to; else a new one that is to take its place is written beside it. Of a link to nothing the file that it
// makes is looked after, not the link.
Result OutputFiles::OpenNamed(const std::string& name, const std::string& mode) {
  const bool append = mode[0] == 'a';
  const std::string path = FileToMake(name);
  const OpenedForWriting opened = OpenAsItStands(path, append, IsBinary(mode));
  if (opened.File == nullptr) return CanNotOpen(name, mode, errno);
  const RunFiles::Identity file = IdentityOf(opened.File);
  Result result = opened.Created ? Result() : CheckFile(name, file);
  const bool regular = FileSize(opened.File) >= 0;
  std::string lineEnds;
  if (!result.failed() && regular && append && WritesMessageFile(layout_)) result = LookAtEnd(name, lineEnds);
  if (result.failed() || (regular && !opened.Created && !append)) {
    std::fclose(opened.File);
    if (result.failed()) return result;
    result = changes_.OpenBeside(FileBehind(name), file, IsBinary(mode));
    return result.failed() ? Result(MQRC_FILE_SYSTEM_ERROR, result.text()) : Result();
  }
  if (const int error = out_.Stream.Adopt(opened.File, path.c_str()); error != 0) return CanNotOpen(name, mode, error);
  if (regular) changes_.Watch(path, file, !opened.Created);
  return out_.Stream.Append(lineEnds) ? Result() : CanNotOpen(name, mode, out_.Stream.error());
}

void OutputFiles::Start(const std::string& name) {
  out_.Start(name);
  openTime_ = static_cast<std::int64_t>(std::time(nullptr));
}

Result OutputFiles::OpenForQueue(const std::string& path, const QueueFileNames& names) {
  queue_ = names;
  return OpenQueueFile(path);
}

Result OutputFiles::OpenQueueFile(const std::string& path) {
  if (path.size() > kFileNameLimit) return {ENAMETOOLONG, NameTooLong(path).text()};
  if (RunFiles::IsStandardOutput(IdentityOf(path))) return {EEXIST, AlreadyExists(path).text()};
  Result result = changes_.OpenBeside(path, {}, IsBinary(AccessMode(output_, 'w')));
  if (!result.failed()) Start(path);
  return result;
}

// When a queue's unload needs a second file, the first one gets the index 1.
Result OutputFiles::OpenNextOfQueue() {
  int& files = out_.Written.Files;
  if (files == 0) {
    const std::string first = queue_->Indexed(1);
    if (first.size() > kFileNameLimit) return NameTooLong(first);
    changes_.Redirect(first);
    files = 1;
  }
  const Result result = OpenQueueFile(queue_->Indexed(files + 1));
  if (result.failed()) return {MQRC_FILE_SYSTEM_ERROR, result.text()};
  ++files;
  return {};
}

Result OutputFiles::Open(const OutputRequest& request) {
  if (is_open() || output_.FileName.empty()) return {};
  if (queue_) return OpenNextOfQueue();
  InsertValues values = InsertsNow();
  values.MessageOrdinal = request.Place.Position;
  values.SelectedOrdinal = request.Place.Ordinal;
  values.FileNumber = out_.Written.Files + 1;
  const std::string name = ExpandTemplate(output_.FileName, values);
  if (name.size() > kFileNameLimit) return NameTooLong(name);
  Start(name);
  null_ = name == "null";
  if (null_) return {};
  if (name == "stdout") return request.OnlyCheck ? CheckFile(name, IdentityOf(stdout)) : OpenStandardOutput();
  const std::string mode = AccessMode(output_, 'w');
  Result result = CheckName(name, mode[0] == 'a', request.MayAsk);
  if (result.failed() || request.OnlyCheck) return result;
  result = OpenNamed(name, mode);
  if (!result.failed()) out_.Written.Files = values.FileNumber;
  return result;
}

Result OutputFiles::WriteHeader(const HeaderNames& names) {
  if (null_) return {};
  Result result = writer_.WriteHeader(files_.Created(), names);
  if (result.failed()) out_.Uncount();
  return result;
}

bool OutputFiles::HasRoom(MQLONG length) const {
  if (!is_open()) return null_;
  if (limits_.Size <= 0 || out_.MsgsInFile == 0) return true;
  return limits_.Size - out_.Stream.position() >= RoomNeeded(layout_, length);
}

Result OutputFiles::OpenNext(const OutputRequest& request) {
  Result result = Close();
  if (!result.failed()) result = Open(request);
  return result;
}

Result OutputFiles::Write(const OutgoingMessage& message) {
  if (!null_) {
    Result result = writer_.Write(message);
    if (result.failed()) {
      if (out_.Stream.error() != 0) out_.Uncount();
      return result;
    }
    if (!layout_.TimeOnQueue) ++out_.MsgsInFile;
  }
  out_.Count(message.Length);
  return {};
}

bool OutputFiles::ReachedLimit() const {
  if (limits_.Msgs > 0 && out_.MsgsInFile >= limits_.Msgs) return true;
  if (limits_.Age > 0 && AgeLeft() <= 0) return true;
  return limits_.Size > 0 && out_.Stream.position() >= limits_.Size;
}

Result OutputFiles::RollOver() { return output_.FileInserts && is_open() && ReachedLimit() ? Close() : Result(); }

std::int64_t OutputFiles::AgeLeft() const { return (openTime_ + limits_.Age - std::time(nullptr)) * 1000; }
