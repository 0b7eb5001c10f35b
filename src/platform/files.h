#pragma once

// File operations that the C++ library lacks.

#include <compare>
#include <cstdint>
#include <cstdio>
#include <optional>
#include <string>

// Which file it is, by whatever name, link or descriptor it was reached.
struct FileIdentity {
  std::uint64_t Volume = 0;
  std::uint64_t File = 0;
  auto operator<=>(const FileIdentity&) const = default;
};
// Of an open stream, or of what a name stands for (links followed, nothing is opened for long). None for what is no
// file on a disk, where writing what is read does no harm: a pipe, a terminal, a character device.
std::optional<FileIdentity> IdentityOf(std::FILE* file);
std::optional<FileIdentity> IdentityOf(const std::string& name);

struct OpenedForWriting {
  std::FILE* File = nullptr;  // null: errno tells why
  bool Created = false;       // there was no such file before
};
// Opens for writing at the start or, with `append`, at the end, and leaves what the file holds as it is; makes the file
// where there is none. `binary`: line ends are written as they are. A named pipe waits for its reader, until an
// interrupt comes: EINTR.
OpenedForWriting OpenForWriting(const std::string& name, bool append, bool binary);
// Opens with a mode as fopen knows them. A named pipe waits for what it is to deliver, until an interrupt comes: null
// with EINTR in errno.
std::FILE* OpenForReading(const std::string& name, const char* mode);
// Makes a file for writing, with the permissions and, where possible, the owner of `like` when there is such a file.
// Null with EEXIST in errno when `name` exists.
std::FILE* CreateLike(const std::string& name, const std::string& like, bool binary);
// Cuts a file to `bytes` bytes (or fills it up with zeros). Returns 0, or errno.
int SetFileSize(std::FILE* file, std::int64_t bytes);

// Forces what was written to `file` (already flushed to the system) onto the disk. Returns 0, or errno. Streams that
// have no disk behind them (pipes, terminals, character devices) count as done.
int SyncToDisk(std::FILE* file);

// 64-bit position; -1 where the stream cannot tell.
std::int64_t FilePosition(std::FILE* file);
// Moves to an absolute position. Returns 0, or errno.
int SeekFile(std::FILE* file, std::int64_t position);
// Size of the file behind the stream in bytes; -1 where it has none (a pipe) or cannot be told.
std::int64_t FileSize(std::FILE* file);

// Renames; a file that is there is replaced at once. Returns 0, or errno.
int RenameReplacing(const std::string& from, const std::string& to);

// Whether somebody else than its owner and the system's administrators may read the file, as far as the system tells:
// on POSIX its group or others, on Windows everybody, every user or every authenticated user.
bool OthersMayRead(std::FILE* file);

// Forces the entries of a directory onto the disk, so that a file made or renamed in it is found again after the
// machine fails. An empty name is the current directory. Returns 0, or errno; 0 where the system has no such operation.
int SyncDirectory(const std::string& directory);
