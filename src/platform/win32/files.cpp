#include "platform/files.h"

#include <io.h>
#include <sys/stat.h>
#include <windows.h>

#include <cerrno>

int SyncToDisk(std::FILE* file) {
  if (_commit(_fileno(file)) == 0) return 0;
  // What pipes and consoles answer: there is no disk to reach.
  return errno == EBADF && GetFileType(reinterpret_cast<HANDLE>(_get_osfhandle(_fileno(file)))) != FILE_TYPE_DISK
             ? 0
             : errno;
}

std::int64_t FilePosition(std::FILE* file) { return _ftelli64(file); }

int SeekFile(std::FILE* file, std::int64_t position) { return _fseeki64(file, position, SEEK_SET) == 0 ? 0 : errno; }

std::int64_t FileSize(std::FILE* file) {
  struct _stat64 status;
  if (_fstat64(_fileno(file), &status) != 0 || (status.st_mode & _S_IFMT) != _S_IFREG) return -1;
  return status.st_size;
}

int RenameNoReplace(const std::string& from, const std::string& to) {
  if (MoveFileExA(from.c_str(), to.c_str(), 0)) return 0;
  switch (GetLastError()) {
    case ERROR_ALREADY_EXISTS:
    case ERROR_FILE_EXISTS:
      return EEXIST;
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND:
      return ENOENT;
    case ERROR_NOT_SAME_DEVICE:
      return EXDEV;
    default:
      return EACCES;
  }
}

int SyncDirectory(const std::string&) { return 0; }
