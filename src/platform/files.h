#pragma once

// File operations that the C++ library lacks.

#include <cstdint>
#include <cstdio>
#include <string>

// Forces what was written to `file` (already flushed to the system) onto the disk. Returns 0, or errno. Streams that
// have no disk behind them (pipes, terminals, character devices) count as done.
int SyncToDisk(std::FILE* file);

// 64-bit position; -1 where the stream cannot tell.
std::int64_t FilePosition(std::FILE* file);
// Moves to an absolute position. Returns 0, or errno.
int SeekFile(std::FILE* file, std::int64_t position);
// Size of the file behind the stream in bytes; -1 where it has none (a pipe) or cannot be told.
std::int64_t FileSize(std::FILE* file);

// Renames without ever replacing an existing file. Returns 0, or errno (EEXIST when `to` exists).
int RenameNoReplace(const std::string& from, const std::string& to);

// Forces the entries of a directory onto the disk, so that a file made or renamed in it is found again after the
// machine fails. An empty name is the current directory. Returns 0, or errno; 0 where the system has no such operation.
int SyncDirectory(const std::string& directory);
