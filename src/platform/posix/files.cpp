#include "platform/files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "platform/interrupt.h"
#include "platform/posix/wait_to_read.h"

namespace {

constexpr mode_t kAnybody = 0666;  // less what the user's mask takes

std::optional<FileIdentity> IdentityIn(const struct stat& status) {
  if (!S_ISREG(status.st_mode) && !S_ISBLK(status.st_mode)) return std::nullopt;
  return FileIdentity{status.st_dev, status.st_ino};
}

bool IsNamedPipe(const std::string& name) {
  struct stat status;
  return stat(name.c_str(), &status) == 0 && S_ISFIFO(status.st_mode);
}

// Opening a named pipe waits for its other end, and goes on waiting behind a signal: what is asked here never waits.
int OpenExistingForWriting(const std::string& name, int flags) {
  constexpr std::int64_t kBetweenTries = 20;  // milliseconds
  if (!IsNamedPipe(name)) return open(name.c_str(), flags);
  int fd = open(name.c_str(), flags | O_NONBLOCK);
  while (fd < 0 && errno == ENXIO && InterruptSignal() == 0) {
    PauseUnlessInterrupted(kBetweenTries);
    fd = open(name.c_str(), flags | O_NONBLOCK);
  }
  if (fd < 0 && errno == ENXIO) errno = EINTR;
  if (fd >= 0) fcntl(fd, F_SETFL, flags & O_APPEND);  // writes wait for their room
  return fd;
}

}  // namespace

std::optional<FileIdentity> IdentityOf(std::FILE* file) {
  struct stat status;
  return fstat(fileno(file), &status) == 0 ? IdentityIn(status) : std::nullopt;
}

std::optional<FileIdentity> IdentityOf(const std::string& name) {
  struct stat status;
  return stat(name.c_str(), &status) == 0 ? IdentityIn(status) : std::nullopt;
}

std::FILE* CreateLike(const std::string& name, const std::string& like, bool) {
  struct stat old;
  const bool known = stat(like.c_str(), &old) == 0 && S_ISREG(old.st_mode);
  const int fd = open(name.c_str(), O_WRONLY | O_CLOEXEC | O_CREAT | O_EXCL, known ? S_IRUSR | S_IWUSR : kAnybody);
  if (fd < 0) return nullptr;
  if (known) {
    constexpr mode_t kGroup = S_IRWXG;
    mode_t mode = old.st_mode & (S_IRWXU | S_IRWXG | S_IRWXO);
    const bool sameGroup =
        fchown(fd, old.st_uid, old.st_gid) == 0 || fchown(fd, static_cast<uid_t>(-1), old.st_gid) == 0;
    // Another group than the old one may do what anybody may.
    if (!sameGroup) mode = (mode & ~kGroup) | ((mode & S_IRWXO) << 3);
    static_cast<void>(fchmod(fd, mode));  // where there are no permissions nothing is lost
  }
  std::FILE* const file = fdopen(fd, "w");
  if (file == nullptr) close(fd);
  return file;
}

OpenedForWriting OpenForWriting(const std::string& name, bool append, bool) {
  const int flags = O_WRONLY | O_CLOEXEC | (append ? O_APPEND : 0);
  OpenedForWriting opened;
  int fd = open(name.c_str(), flags | O_CREAT | O_EXCL, kAnybody);
  opened.Created = fd >= 0;
  if (fd < 0 && errno == EEXIST) fd = OpenExistingForWriting(name, flags);
  if (fd >= 0) opened.File = fdopen(fd, append ? "a" : "w");
  if (fd >= 0 && opened.File == nullptr) close(fd);
  return opened;
}

std::FILE* OpenForReading(const std::string& name, const char* mode) {
  const bool writesToo = std::strchr(mode, '+') != nullptr;
  if (writesToo || !IsNamedPipe(name)) return std::fopen(name.c_str(), mode);
  const int fd = open(name.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  if (fd < 0) return nullptr;
  std::FILE* const file = WaitToRead(fd) ? fdopen(fd, mode) : nullptr;
  if (file == nullptr) {
    const int error = errno;
    close(fd);
    errno = error;
  }
  return file;
}

int SetFileSize(std::FILE* file, std::int64_t bytes) { return ftruncate(fileno(file), bytes) == 0 ? 0 : errno; }

int SyncToDisk(std::FILE* file) {
  if (fsync(fileno(file)) == 0) return 0;
  // What pipes, terminals and character devices answer: there is no disk to reach.
  return errno == EINVAL || errno == ENOTSUP || errno == EROFS ? 0 : errno;
}

std::int64_t FilePosition(std::FILE* file) { return ftello(file); }

int SeekFile(std::FILE* file, std::int64_t position) { return fseeko(file, position, SEEK_SET) == 0 ? 0 : errno; }

std::int64_t FileSize(std::FILE* file) {
  struct stat status;
  if (fstat(fileno(file), &status) != 0 || !S_ISREG(status.st_mode)) return -1;
  return status.st_size;
}

int RenameReplacing(const std::string& from, const std::string& to) {
  return rename(from.c_str(), to.c_str()) == 0 ? 0 : errno;
}

bool OthersMayRead(std::FILE* file) {
  struct stat status;
  return fstat(fileno(file), &status) != 0 || (status.st_mode & (S_IRGRP | S_IROTH)) != 0;
}

int SyncDirectory(const std::string& directory) {
  const int fd = open(directory.empty() ? "." : directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (fd < 0) return errno;
  const int error = fsync(fd) == 0 || errno == EINVAL ? 0 : errno;
  close(fd);
  return error;
}
