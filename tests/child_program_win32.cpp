#include <windows.h>

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <stdexcept>

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
         ("tarvo-test-" + std::to_string(GetCurrentProcessId()) + "-" + std::to_string(++counter) + what);
}

HANDLE OpenInheritable(const std::filesystem::path& path, bool write) {
  SECURITY_ATTRIBUTES inherit{sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE};
  const HANDLE handle =
      CreateFileA(path.string().c_str(), write ? GENERIC_WRITE : GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE,
                  &inherit, write ? CREATE_ALWAYS : OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (handle == INVALID_HANDLE_VALUE) throw std::runtime_error("cannot open " + path.string());
  return handle;
}

// Quotes an argument as the C runtime takes it apart again.
std::string Quoted(const std::string& argument) {
  std::string text = "\"";
  std::size_t backslashes = 0;
  for (const char c : argument) {
    if (c == '\\') {
      ++backslashes;
      continue;
    }
    text.append(c == '"' ? backslashes * 2 + 1 : backslashes, '\\');
    backslashes = 0;
    text += c;
  }
  text.append(backslashes * 2, '\\');
  return text + '"';
}

std::string EnvironmentBlock(const Environment& variables) {
  Environment all;
  char* own = GetEnvironmentStringsA();
  for (const char* at = own; *at != '\0'; at += std::string_view(at).size() + 1) {
    const std::string entry = at;
    const std::size_t equals = entry.find('=', 1);
    if (equals != std::string::npos) all[entry.substr(0, equals)] = entry.substr(equals + 1);
  }
  FreeEnvironmentStringsA(own);
  for (const auto& [name, value] : variables) all[name] = value;
  std::string block;
  for (const auto& [name, value] : all) {
    if (!value.empty()) block += name + "=" + value + '\0';
  }
  return block + '\0';
}

}  // namespace

struct Process::State {
  Command command;
  std::filesystem::path out, err, in;
  bool ownOut = true;
  HANDLE process = nullptr;
  DWORD status = 0;
  std::chrono::steady_clock::time_point start;
};

Process::Process(const Command& command) : state_(std::make_unique<State>()) {
  State& s = *state_;
  s.command = command;
  s.ownOut = command.OutputFile.empty();
  s.out = s.ownOut ? NewFile(".out") : command.OutputFile;
  s.err = NewFile(".err");
  s.in = NewFile(".in");
  std::ofstream(s.in, std::ios::binary) << command.Input;
  std::string line = Quoted(command.Program.string());
  for (const auto& argument : command.Arguments) line += ' ' + Quoted(argument);
  std::string block = EnvironmentBlock(command.Variables);

  STARTUPINFOA startup{};
  startup.cb = sizeof startup;
  startup.dwFlags = STARTF_USESTDHANDLES;
  startup.hStdInput = OpenInheritable(s.in, false);
  startup.hStdOutput = OpenInheritable(s.out, true);
  startup.hStdError = OpenInheritable(s.err, true);
  PROCESS_INFORMATION information{};
  const std::string folder = command.Folder.string();
  s.start = std::chrono::steady_clock::now();
  BOOL started = FALSE;
  DWORD error = ERROR_INTERNAL_ERROR;
  // Wine fails to start a process now and then, before anything of the program has run.
  for (int attempt = 0; !started && error == ERROR_INTERNAL_ERROR && attempt < 5; ++attempt) {
    started = CreateProcessA(nullptr, line.data(), nullptr, nullptr, TRUE, 0, block.data(),
                             folder.empty() ? nullptr : folder.c_str(), &startup, &information);
    error = GetLastError();
  }
  CloseHandle(startup.hStdInput);
  CloseHandle(startup.hStdOutput);
  CloseHandle(startup.hStdError);
  if (!started) throw std::runtime_error("cannot start " + line + ": error " + std::to_string(error));
  CloseHandle(information.hThread);
  s.process = information.hProcess;
}

Process::~Process() {
  Kill();
  CloseHandle(state_->process);
  std::error_code ignored;
  if (state_->ownOut) std::filesystem::remove(state_->out, ignored);
  std::filesystem::remove(state_->err, ignored);
  std::filesystem::remove(state_->in, ignored);
}

void Process::Kill() {
  if (!Running()) return;
  TerminateProcess(state_->process, 137);
  WaitForSingleObject(state_->process, INFINITE);
}

bool Process::Running() { return WaitForSingleObject(state_->process, 0) == WAIT_TIMEOUT; }

Outcome Process::Wait() {
  State& s = *state_;
  Outcome outcome;
  if (WaitForSingleObject(s.process, static_cast<DWORD>(s.command.Limit.count())) == WAIT_TIMEOUT) {
    outcome.TimedOut = true;
    Kill();
  }
  GetExitCodeProcess(s.process, &s.status);
  outcome.Exit = static_cast<int>(s.status);
  if (s.ownOut) outcome.Out = TextOf(Slurp(s.out));
  outcome.Err = TextOf(Slurp(s.err));
  return outcome;
}

std::string TextOf(std::string bytes) {
  std::size_t kept = 0;
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    if (bytes[i] != '\r' || i + 1 == bytes.size() || bytes[i + 1] != '\n') bytes[kept++] = bytes[i];
  }
  bytes.resize(kept);
  return bytes;
}

void SetOwnVariable(const std::string& name, const std::string& value) { _putenv_s(name.c_str(), value.c_str()); }

}  // namespace harness
