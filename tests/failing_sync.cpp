// Preloaded into a program: the FAILING_SYNC-th time that a message file (*.tvo, or beside one) is forced onto the disk
// fails, as it does on a disk that breaks. Everything else, the queue manager's own files included, is untouched.

#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <string>
#include <string_view>

extern "C" int fsync(int fd) {
  static int count = 0;
  char name[4096];
  const ssize_t length = readlink(("/proc/self/fd/" + std::to_string(fd)).c_str(), name, sizeof name);
  const char* failing = std::getenv("FAILING_SYNC");
  const bool counts =
      length > 0 && std::string_view(name, static_cast<std::size_t>(length)).find(".tvo") != std::string_view::npos;
  if (counts && failing != nullptr && ++count == std::atoi(failing)) {
    errno = EIO;
    return -1;
  }
  return static_cast<int>(syscall(SYS_fsync, fd));
}
