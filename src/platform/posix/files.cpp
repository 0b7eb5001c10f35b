#include "platform/files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

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

int RenameNoReplace(const std::string& from, const std::string& to) {
  if (renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) return 0;
  if (errno != EINVAL && errno != ENOSYS) return errno;
  // A file system without that operation: a second name is made only where none exists, then the first one goes.
  if (link(from.c_str(), to.c_str()) != 0) return errno;
  return unlink(from.c_str()) == 0 ? 0 : errno;
}

int SyncDirectory(const std::string& directory) {
  const int fd = open(directory.empty() ? "." : directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (fd < 0) return errno;
  const int error = fsync(fd) == 0 || errno == EINVAL ? 0 : errno;
  close(fd);
  return error;
}
