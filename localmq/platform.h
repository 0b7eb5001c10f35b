#pragma once

// What the local queue manager needs from the operating system: files that are locked for as long as a process lives,
// where a user's data belongs, who runs us, and conversion between code pages. One implementation a system, chosen by
// CMake: platform_posix.cpp and platform_win32.cpp.

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "mq/mqi.h"

namespace localmq {

// A file that at most one LockFile in all processes holds. The system lets go of it when the process ends, however it
// ends, which is how others notice a connection that died.
class LockFile {
 public:
  LockFile() = default;
  ~LockFile() { Release(); }
  LockFile(const LockFile&) = delete;
  LockFile& operator=(const LockFile&) = delete;

  // Creates the file if needed and locks it; false when it is held elsewhere or cannot be made. Never waits.
  bool Acquire(const std::string& path);
  void Release();

 private:
  std::intptr_t file_{-1};
};

// The folder for data that programs keep for the user; empty when it cannot be told.
std::string UserDataDirectory();
std::string UserName();
// The path of the running program.
std::string ProgramPath();
std::int64_t ProcessNumber();

// Converts text between coded character sets. False when a set is not known or a character has no counterpart.
bool ConvertText(MQLONG fromCcsid, MQLONG toCcsid, std::span<const std::uint8_t> text,
                 std::vector<std::uint8_t>& converted);

}  // namespace localmq
