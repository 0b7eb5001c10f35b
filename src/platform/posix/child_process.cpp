#include "platform/child_process.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <string>
#include <vector>

#include "platform/posix/wait_to_read.h"
#include "platform/system.h"

extern char** environ;

namespace {

// Splits at blanks; double quotes keep a part together and are dropped, as the Windows C runtime does.
std::vector<std::string> SplitCommandLine(const std::string& commandLine) {
  std::vector<std::string> words;
  bool inWord = false;
  bool quoted = false;
  for (const char c : commandLine) {
    if (c == ' ' && !quoted) {
      inWord = false;
      continue;
    }
    if (!inWord) words.emplace_back();
    inWord = true;
    if (c == '"') {
      quoted = !quoted;
    } else {
      words.back() += c;
    }
  }
  return words;
}

int Spawn(const std::string& program, const std::string& commandLine, int output, pid_t& child) {
  std::vector<std::string> words = SplitCommandLine(commandLine);
  std::vector<char*> arguments;
  arguments.reserve(words.size() + 1);
  for (std::string& word : words) arguments.push_back(word.data());
  arguments.push_back(nullptr);

  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
  posix_spawn_file_actions_adddup2(&actions, output, STDERR_FILENO);
  posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  // This process ignores SIGPIPE; the child must end when nobody reads its output any more.
  posix_spawnattr_t attributes;
  posix_spawnattr_init(&attributes);
  sigset_t defaults;
  sigemptyset(&defaults);
  sigaddset(&defaults, SIGPIPE);
  posix_spawnattr_setsigdefault(&attributes, &defaults);
  posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF);
  const int error = posix_spawn(&child, program.c_str(), &actions, &attributes, arguments.data(), environ);
  posix_spawnattr_destroy(&attributes);
  posix_spawn_file_actions_destroy(&actions);
  return error;
}

}  // namespace

ChildProcess::~ChildProcess() {
  if (pipe_ >= 0) close(static_cast<int>(pipe_));
  // A child that is still busy is not waited for; the system collects it when this process ends.
  if (process_ > 0) waitpid(static_cast<pid_t>(process_), nullptr, WNOHANG);
}

ChildProcess::Failure ChildProcess::Start(const std::string& program, const std::string& commandLine) {
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) return {Step::Pipe, errno, SystemErrorText(errno)};
  pid_t child = -1;
  const int error = Spawn(program, commandLine, ends[1], child);
  close(ends[1]);
  if (error != 0) {
    close(ends[0]);
    return {Step::Create, error, SystemErrorText(error)};
  }
  pipe_ = ends[0];
  process_ = child;
  return {};
}

int ChildProcess::ExitCode() {
  for (int wait = 0; process_ > 0 && wait < 100; ++wait) {
    int status = 0;
    if (waitpid(static_cast<pid_t>(process_), &status, WNOHANG) > 0) {
      process_ = -1;
      return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }
    usleep(10000);
  }
  return 0;
}

std::size_t ChildProcess::Read(char* buffer, std::size_t bytes) {
  const std::ptrdiff_t n = ReadUnlessInterrupted(static_cast<int>(pipe_), buffer, bytes);
  return n > 0 ? static_cast<std::size_t>(n) : 0;
}
