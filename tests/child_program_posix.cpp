#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <thread>

#include "child_program.h"

namespace harness {

namespace {

std::string Slurp(const std::filesystem::path& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

std::filesystem::path NewFile(const char* what) {
  static int counter = 0;
  return std::filesystem::temp_directory_path() /
         ("tarvo-test-" + std::to_string(getpid()) + "-" + std::to_string(++counter) + what);
}

int OpenOrThrow(const std::filesystem::path& path, int flags) {
  const int fd = open(path.c_str(), flags | O_CLOEXEC, 0600);
  if (fd < 0) throw std::runtime_error("cannot open " + path.string());
  return fd;
}

}  // namespace

struct Process::State {
  Command command;
  std::filesystem::path out, err, in;
  bool ownOut = true;
  pid_t pid = -1;
  bool ended = false;
  int status = 0;
  std::chrono::steady_clock::time_point start;

  // Collects the exit status when it is there; true when the program has ended.
  bool Poll() {
    if (ended) return true;
    if (waitpid(pid, &status, WNOHANG) == pid) ended = true;
    return ended;
  }
};

Process::Process(const Command& command) : state_(std::make_unique<State>()) {
  State& s = *state_;
  s.command = command;
  s.ownOut = command.OutputFile.empty();
  s.out = s.ownOut ? NewFile(".out") : command.OutputFile;
  s.err = NewFile(".err");
  s.in = NewFile(".in");
  std::ofstream(s.in, std::ios::binary) << command.Input;

  std::vector<std::string> variables;
  for (char** e = environ; *e != nullptr; ++e) {
    const std::string entry = *e;
    if (command.Variables.count(entry.substr(0, entry.find('='))) == 0) variables.push_back(entry);
  }
  for (const auto& [name, value] : command.Variables) {
    if (!value.empty()) variables.push_back(name + "=" + value);
  }
  std::vector<char*> envp;
  for (auto& v : variables) envp.push_back(v.data());
  envp.push_back(nullptr);
  std::vector<std::string> words = command.Arguments;
  words.insert(words.begin(), command.Program.string());
  std::vector<char*> argv;
  for (auto& w : words) argv.push_back(w.data());
  argv.push_back(nullptr);

  const int in = OpenOrThrow(s.in, O_RDONLY);
  const int out = OpenOrThrow(s.out, O_WRONLY | O_CREAT | O_TRUNC);
  const int err = OpenOrThrow(s.err, O_WRONLY | O_CREAT | O_TRUNC);
  s.start = std::chrono::steady_clock::now();
  s.pid = fork();
  if (s.pid == 0) {
    dup2(in, 0);
    dup2(out, 1);
    dup2(err, 2);
    if (!command.Folder.empty() && chdir(command.Folder.c_str()) != 0) _exit(126);
    // Whoever runs the tests may ignore what a user would not: a background job ignores an interrupt.
    for (const int number : {SIGPIPE, SIGINT, SIGTERM}) signal(number, SIG_DFL);
    execve(argv[0], argv.data(), envp.data());
    _exit(127);
  }
  close(in);
  close(out);
  close(err);
  if (s.pid < 0) throw std::runtime_error("cannot start " + words[0]);
}

Process::~Process() {
  Kill();
  std::error_code ignored;
  if (state_->ownOut) std::filesystem::remove(state_->out, ignored);
  std::filesystem::remove(state_->err, ignored);
  std::filesystem::remove(state_->in, ignored);
}

void Process::Kill() {
  if (state_->Poll()) return;
  kill(state_->pid, SIGKILL);
  waitpid(state_->pid, &state_->status, 0);
  state_->ended = true;
}

void Process::Signal(int number) {
  if (!state_->Poll()) kill(state_->pid, number);
}

std::string Process::Errors() const { return Slurp(state_->err); }

bool Process::Running() { return !state_->Poll(); }

Outcome Process::Wait() {
  State& s = *state_;
  Outcome outcome;
  auto pause = std::chrono::microseconds(200);
  while (!s.Poll()) {
    if (std::chrono::steady_clock::now() - s.start > s.command.Limit) {
      outcome.TimedOut = true;
      Kill();
      break;
    }
    std::this_thread::sleep_for(pause);
    if (pause < std::chrono::milliseconds(5)) pause *= 2;
  }
  outcome.Exit = WIFEXITED(s.status) ? WEXITSTATUS(s.status) : 128 + WTERMSIG(s.status);
  if (s.ownOut) outcome.Out = Slurp(s.out);
  outcome.Err = Slurp(s.err);
  return outcome;
}

std::string TextOf(std::string bytes) { return bytes; }

void SetOwnVariable(const std::string& name, const std::string& value) { setenv(name.c_str(), value.c_str(), 1); }

}  // namespace harness
