#include "files/streams.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <new>
#include <utility>

#include "common/console.h"
#include "platform/files.h"
#include "platform/interrupt.h"
#include "platform/system.h"

namespace {

std::unique_ptr<char[]> NewBlock(std::size_t bytes) { return std::unique_ptr<char[]>(new (std::nothrow) char[bytes]); }

// The error of the call that has just failed; the C library may forget to say.
int LastError() { return errno != 0 ? errno : EIO; }

bool IsDirectory(const char* name) {
  std::error_code unknown;
  return std::filesystem::is_directory(name, unknown);
}

// Drops each carriage return in front of a line feed. Returns how many bytes are left.
std::size_t DropCarriageReturns(char* text, std::size_t bytes) {
  const char* const end = text + bytes;
  char* to = text;
  for (const char* from = text; from != end;) {
    const void* const found = std::memchr(from, '\r', static_cast<std::size_t>(end - from));
    const char* const at = found != nullptr ? static_cast<const char*>(found) : end;
    if (to != from) std::memmove(to, from, static_cast<std::size_t>(at - from));
    to += at - from;
    from = at;
    if (at == end) break;
    ++from;
    if (from == end || *from != '\n') *to++ = '\r';
  }
  return static_cast<std::size_t>(to - text);
}

}  // namespace

OutputFile::~OutputFile() { Close(false); }

void OutputFile::Begin(std::FILE* file) {
  file_ = file;
  used_ = 0;
  written_ = offered_ = 0;
  error_ = 0;
  entryOnDisk_ = true;
}

int OutputFile::Open(const char* name, const char* mode) {
  Close(false);
  if (IsDirectory(name)) return EISDIR;
  errno = 0;
  return Adopt(std::fopen(name, mode), name);
}

int OutputFile::Adopt(std::FILE* file, const char* name) {
  Close(false);
  if (file == nullptr) return LastError();
  if (block_ == nullptr) block_ = NewBlock(kStreamBlock);
  if (block_ == nullptr) {
    std::fclose(file);
    return ENOMEM;
  }
  // The block is all the buffer there is: what could not be written must not be tried again behind our back.
  std::setvbuf(file, nullptr, _IONBF, 0);
  Begin(file);
  if (name == nullptr) return 0;
  if (std::fseek(file_, 0, SEEK_END) == 0) written_ = std::max(FilePosition(file_), std::int64_t{0});
  try {
    newEntryIn_ = std::filesystem::path(name).parent_path().string();
    entryOnDisk_ = false;
  } catch (const std::exception&) {
    Close(false);
    return ENOMEM;
  }
  return 0;
}

void OutputFile::UseStandardOutput() {
  Close(false);
  if (block_ == nullptr) block_ = NewBlock(kStreamBlock);
  Begin(stdout);
  if (block_ == nullptr) error_ = ENOMEM;
}

bool OutputFile::Write(const char* data, std::size_t bytes) {
  if (error_ != 0) return false;
  if (file_ == nullptr) {
    error_ = EBADF;
    return false;
  }
  if (bytes == 0) return true;
  errno = 0;
  offered_ += static_cast<std::int64_t>(bytes);
  // Nothing stays behind in the C library, so that a failure shows now and written() is what the system has taken.
  const bool taken = file_ == stdout ? WriteStandardOutput({data, bytes}) : std::fwrite(data, 1, bytes, file_) == bytes;
  if (!taken || std::fflush(file_) != 0) {
    error_ = LastError();
    return false;
  }
  written_ += static_cast<std::int64_t>(bytes);
  return true;
}

bool OutputFile::WriteBlock() {
  // What a failed write leaves behind is not tried again: how much of it has reached the file is not known.
  const std::size_t bytes = used_;
  used_ = 0;
  return Write(block_.get(), bytes);
}

bool OutputFile::Append(std::string_view bytes) {
  if (bytes.size() >= kStreamBlock) return WriteBlock() && Write(bytes.data(), bytes.size());
  char* const room = Reserve(bytes.size());
  if (room == nullptr) return false;
  if (!bytes.empty()) std::memcpy(room, bytes.data(), bytes.size());
  Advance(bytes.size());
  return true;
}

int OutputFile::Flush(bool toDisk) {
  if (file_ == nullptr) return error_;
  if (!WriteBlock() || !toDisk) return error_;
  error_ = SyncToDisk(file_);
  if (error_ == 0 && !entryOnDisk_) {
    error_ = SyncEntries(newEntryIn_);
    entryOnDisk_ = true;
  }
  return error_;
}

void OutputFile::Drop() {
  used_ = 0;
  error_ = 0;
}

int OutputFile::Close(bool toDisk) {
  if (file_ == nullptr) return 0;
  Flush(toDisk);
  if (file_ != stdout) {
    errno = 0;
    if (std::fclose(file_) != 0 && error_ == 0) error_ = LastError();
  }
  file_ = nullptr;
  used_ = 0;
  return error_;
}

int SyncEntries(const std::string& directory) {
  const int failure = SyncDirectory(directory);
  // A directory that may be written but not read cannot be asked for this.
  return failure == EACCES || failure == EPERM ? 0 : failure;
}

InputFile::~InputFile() { Close(); }

int InputFile::Open(const char* name, const char* mode) {
  Close();
  if (IsDirectory(name)) return EISDIR;
  errno = 0;
  // In the text mode of Windows a Ctrl-Z would end the file, and what stands behind it would be lost.
  const std::string_view given(mode);
  translates_ = Platform() == PlatformKind::Windows && (given == "r" || given == "rt");
  file_ = OpenForReading(name, translates_ ? "rb" : mode);
  if (file_ == nullptr) return error_ = LastError();
  begin_ = end_ = 0;
  ended_ = false;
  consumed_ = 0;
  error_ = 0;
  waits_ = Size() < 0;
  putBack_ = EOF;
  return 0;
}

void InputFile::Close() {
  if (file_ == nullptr) return;
  std::fclose(file_);
  file_ = nullptr;
  begin_ = end_ = 0;
  if (capacity_ > kStreamBlock) ReleaseBlock();
}

std::int64_t InputFile::Size() const { return file_ != nullptr ? FileSize(file_) : -1; }

int InputFile::Seek(std::int64_t position) {
  if (const int failure = SeekFile(file_, position); failure != 0) return failure;
  std::clearerr(file_);
  putBack_ = EOF;
  begin_ = end_ = 0;
  ended_ = false;
  consumed_ = 0;
  error_ = 0;
  return 0;
}

const void* InputFile::AllocateBlock() {
  if (block_ == nullptr) {
    block_ = NewBlock(kStreamBlock);
    capacity_ = block_ != nullptr ? kStreamBlock : 0;
  }
  return block_.get();
}

void InputFile::ReleaseBlock() {
  block_.reset();
  capacity_ = 0;
  begin_ = end_ = 0;
}

std::size_t InputFile::ReadRaw(void* buffer, std::size_t bytes) {
  if (file_ == nullptr || ended_ || error_ != 0 || bytes == 0) return 0;
  errno = 0;
  // A pipe hands over what its writer has written so far: a message that is there does not wait for a whole block.
  const std::ptrdiff_t there = waits_ ? ReadUnlessInterrupted(file_, buffer, bytes) : 0;
  const std::size_t got =
      waits_ ? static_cast<std::size_t>(std::max<std::ptrdiff_t>(there, 0)) : std::fread(buffer, 1, bytes, file_);
  if (there < 0 || (!waits_ && got < bytes && std::ferror(file_) != 0)) {
    error_ = LastError();
  } else {
    ended_ = waits_ ? got == 0 : got < bytes;
  }
  return got;
}

std::size_t InputFile::ReadFrom(void* buffer, std::size_t bytes) {
  auto* const text = static_cast<char*>(buffer);
  if (!translates_ || bytes == 0) return ReadRaw(text, bytes);
  std::size_t got = 1;
  if (putBack_ != EOF) {
    text[0] = static_cast<char>(std::exchange(putBack_, EOF));
  } else {
    got = ReadRaw(text, bytes);
  }
  if (got != 0 && text[got - 1] == '\r') {
    // The block ends between the two: this carriage return goes, one before it stays.
    unsigned char next = 0;
    const bool more = ReadRaw(&next, 1) == 1;
    if (more && next == '\n') {
      const std::size_t left = DropCarriageReturns(text, got - 1);
      text[left] = '\n';
      return left + 1;
    }
    if (more) putBack_ = next;
  }
  return DropCarriageReturns(text, got);
}

// Reads more behind what is held, making room first. False when there is nothing more.
bool InputFile::Fill() {
  if (AllocateBlock() == nullptr) {
    error_ = ENOMEM;
    return false;
  }
  const std::size_t held = end_ - begin_;
  if (held == capacity_) {
    auto larger = capacity_ <= SIZE_MAX / 2 ? NewBlock(2 * capacity_) : nullptr;
    if (larger == nullptr) {
      error_ = ENOMEM;
      return false;
    }
    std::memcpy(larger.get(), block_.get() + begin_, held);
    block_ = std::move(larger);
    capacity_ *= 2;
  } else if (begin_ != 0) {
    std::memmove(block_.get(), block_.get() + begin_, held);
  }
  begin_ = 0;
  end_ = held;
  const std::size_t got = ReadFrom(block_.get() + held, capacity_ - held);
  end_ += got;
  return got != 0;
}

std::string_view InputFile::NextLineBeyondBlock() {
  std::size_t searched = end_ - begin_;
  while (Fill()) {
    const char* const from = block_.get() + searched;
    const std::size_t fresh = end_ - searched;
    if (const void* const lf = std::memchr(from, '\n', fresh); lf != nullptr) {
      return Take(searched + static_cast<std::size_t>(static_cast<const char*>(lf) - from) + 1);
    }
    searched = end_;
  }
  // Bytes before a read error may be a part of a line: they are not handed out as one.
  return error_ == 0 ? Take(end_ - begin_) : std::string_view{};
}

std::size_t InputFile::Read(void* buffer, std::size_t bytes) {
  std::size_t got = std::min(bytes, end_ - begin_);
  if (got != 0) {
    std::memcpy(buffer, block_.get() + begin_, got);
    begin_ += got;
  }
  got += ReadFrom(static_cast<char*>(buffer) + got, bytes - got);
  consumed_ += static_cast<std::int64_t>(got);
  return got;
}
