#include "platform/files.h"

#include <aclapi.h>
#include <fcntl.h>
#include <io.h>
#include <sys/stat.h>
#include <windows.h>

#include <cerrno>

namespace {

HANDLE HandleOf(std::FILE* file) { return reinterpret_cast<HANDLE>(_get_osfhandle(_fileno(file))); }

std::optional<FileIdentity> IdentityBehind(HANDLE handle) {
  BY_HANDLE_FILE_INFORMATION information;
  if (GetFileType(handle) != FILE_TYPE_DISK || !GetFileInformationByHandle(handle, &information)) return std::nullopt;
  const std::uint64_t high = information.nFileIndexHigh;
  return FileIdentity{information.dwVolumeSerialNumber, high << 32 | information.nFileIndexLow};
}

int ErrnoOf(DWORD error) {
  switch (error) {
    case ERROR_ALREADY_EXISTS:
    case ERROR_FILE_EXISTS:
      return EEXIST;
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND:
      return ENOENT;
    case ERROR_NOT_SAME_DEVICE:
      return EXDEV;
    case ERROR_DISK_FULL:
      return ENOSPC;
    default:
      return EACCES;
  }
}

// Whoever has the file open does not keep it from getting another name.
std::FILE* OpenStream(const std::string& name, DWORD disposition, bool append, bool binary) {
  const HANDLE handle = CreateFileA(name.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                    nullptr, disposition, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (handle == INVALID_HANDLE_VALUE) {
    errno = ErrnoOf(GetLastError());
    return nullptr;
  }
  const int fd = _open_osfhandle(reinterpret_cast<intptr_t>(handle), append ? _O_APPEND : 0);
  if (fd < 0) {
    CloseHandle(handle);
    return nullptr;
  }
  _setmode(fd, binary ? _O_BINARY : _O_TEXT);
  std::FILE* const file = _fdopen(fd, append ? "a" : "w");
  if (file == nullptr) _close(fd);
  return file;
}

}  // namespace

std::optional<FileIdentity> IdentityOf(std::FILE* file) { return IdentityBehind(HandleOf(file)); }

std::optional<FileIdentity> IdentityOf(const std::string& name) {
  const HANDLE handle = CreateFileA(name.c_str(), 0, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                    OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
  if (handle == INVALID_HANDLE_VALUE) return std::nullopt;
  const auto identity = IdentityBehind(handle);
  CloseHandle(handle);
  return identity;
}

std::FILE* OpenForReading(const std::string& name, const char* mode) { return std::fopen(name.c_str(), mode); }

// A new file has the permissions of its directory.
std::FILE* CreateLike(const std::string& name, const std::string&, bool binary) {
  return OpenStream(name, CREATE_NEW, false, binary);
}

OpenedForWriting OpenForWriting(const std::string& name, bool append, bool binary) {
  OpenedForWriting opened;
  opened.File = OpenStream(name, OPEN_EXISTING, append, binary);
  if (opened.File != nullptr || errno != ENOENT) return opened;
  opened.File = OpenStream(name, CREATE_NEW, append, binary);
  opened.Created = opened.File != nullptr;
  return opened;
}

int SetFileSize(std::FILE* file, std::int64_t bytes) { return _chsize_s(_fileno(file), bytes); }

int SyncToDisk(std::FILE* file) {
  if (_commit(_fileno(file)) == 0) return 0;
  // What pipes and consoles answer: there is no disk to reach.
  return errno == EBADF && GetFileType(HandleOf(file)) != FILE_TYPE_DISK ? 0 : errno;
}

std::int64_t FilePosition(std::FILE* file) { return _ftelli64(file); }

int SeekFile(std::FILE* file, std::int64_t position) { return _fseeki64(file, position, SEEK_SET) == 0 ? 0 : errno; }

std::int64_t FileSize(std::FILE* file) {
  struct _stat64 status;
  if (_fstat64(_fileno(file), &status) != 0 || (status.st_mode & _S_IFMT) != _S_IFREG) return -1;
  return status.st_size;
}

int RenameReplacing(const std::string& from, const std::string& to) {
  const DWORD flags = MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH;
  return MoveFileExA(from.c_str(), to.c_str(), flags) ? 0 : ErrnoOf(GetLastError());
}

namespace {

// Whether the access list lets the group read. What it denies elsewhere is left out of account.
bool LetsRead(PACL list, WELL_KNOWN_SID_TYPE group) {
  char id[SECURITY_MAX_SID_SIZE];
  DWORD size = sizeof id;
  if (!CreateWellKnownSid(group, nullptr, id, &size)) return true;
  void* entry = nullptr;
  for (DWORD i = 0; GetAce(list, i, &entry); ++i) {
    const auto* allowed = static_cast<const ACCESS_ALLOWED_ACE*>(entry);
    if (allowed->Header.AceType != ACCESS_ALLOWED_ACE_TYPE) continue;
    if ((allowed->Mask & (FILE_READ_DATA | GENERIC_READ | GENERIC_ALL)) == 0) continue;
    if (EqualSid(const_cast<DWORD*>(&allowed->SidStart), id)) return true;
  }
  return false;
}

}  // namespace

bool OthersMayRead(std::FILE* file) {
  const auto handle = reinterpret_cast<HANDLE>(_get_osfhandle(_fileno(file)));
  PACL list = nullptr;
  PSECURITY_DESCRIPTOR descriptor = nullptr;
  if (GetSecurityInfo(handle, SE_FILE_OBJECT, DACL_SECURITY_INFORMATION, nullptr, nullptr, &list, nullptr,
                      &descriptor) != ERROR_SUCCESS) {
    return true;
  }
  // Without a list everybody may.
  const bool readable = list == nullptr || LetsRead(list, WinWorldSid) || LetsRead(list, WinBuiltinUsersSid) ||
                        LetsRead(list, WinAuthenticatedUserSid);
  LocalFree(descriptor);
  return readable;
}

int SyncDirectory(const std::string&) { return 0; }
