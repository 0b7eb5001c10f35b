#include "platform/system.h"

#include <fcntl.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <climits>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <system_error>
#include <vector>

PlatformKind Platform() { return PlatformKind::Posix; }

std::string SystemUserName() {
  std::vector<char> buffer(16 * 1024);
  passwd entry{};
  passwd* found = nullptr;
  if (getpwuid_r(geteuid(), &entry, buffer.data(), buffer.size(), &found) != 0 || found == nullptr) return {};
  return found->pw_name;
}

std::string SystemComputerName() {
  char name[HOST_NAME_MAX + 1]{};
  return gethostname(name, HOST_NAME_MAX) == 0 ? name : std::string();
}

std::string TemporaryFilePath(const char* name) { return std::string("/tmp/") + name; }

std::FILE* OpenTemporaryForWrite(const std::string& path) {
  // Everybody may write to the folder, so the name may have been prepared by somebody else: a link to another file, or
  // a pipe that would never open. The old content goes only after the file is known to be a plain file of this user.
  const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, 0600);
  if (fd < 0) return nullptr;
  struct stat status;
  const bool safe = fstat(fd, &status) == 0 && S_ISREG(status.st_mode) && status.st_nlink == 1 &&
                    status.st_uid == geteuid() && ftruncate(fd, 0) == 0;
  std::FILE* file = safe ? fdopen(fd, "w") : nullptr;
  if (file == nullptr) close(fd);
  return file;
}

void BreakIntoDebugger() {
  std::raise(SIGTRAP);
  std::abort();
}

int ExitStatus(std::int32_t code) {
  const int low = static_cast<int>(static_cast<std::uint32_t>(code) & 0xFFU);
  return low == 0 && code != 0 ? 255 : low;
}

void PrepareProcess() {
  std::signal(SIGPIPE, SIG_IGN);
  // Were a standard stream closed, the next file opened would take its place and receive what is meant for the user.
  // What takes it instead, a directory, fails when it is used, also by a name like /dev/stdout, so that nobody believes
  // that his output has arrived.
  for (int fd = STDIN_FILENO; fd <= STDERR_FILENO; ++fd) {
    if (fcntl(fd, F_GETFD) < 0 && open("/", O_RDONLY | O_DIRECTORY) < 0) std::abort();
  }
}

void ShowArguments(int argc, char** argv) {
  if (argc == 0) return;
  // The system shows the memory in which it has laid them out. Closed up, it does not show how long they were.
  char* const end = argv[argc - 1] + std::strlen(argv[argc - 1]) + 1;
  char* to = argv[0];
  for (int i = 0; i < argc; ++i) {
    const std::size_t bytes = std::strlen(argv[i]) + 1;
    std::memmove(to, argv[i], bytes);
    argv[i] = to;
    to += bytes;
  }
  std::memset(to, 0, static_cast<std::size_t>(end - to));
}

void SetEnvironment(const char* name, const char* value) {
  if (value != nullptr) {
    setenv(name, value, 1);
  } else {
    unsetenv(name);
  }
}

std::string SystemErrorText(int error) { return std::generic_category().message(error); }
