#pragma once

// A child process whose standard output and standard error come back through one pipe. It gets no standard input and is
// never waited for long: its output ends when it does, and whatever it still writes after the object has gone is
// refused.

#include <cstddef>
#include <string>

class ChildProcess {
 public:
  // The step that failed, for the message: each has its own text.
  enum class Step { None, Pipe, HandleInformation, Create, CloseHandle };
  struct Failure {
    Step step = Step::None;
    int error = 0;
    std::string text;
  };

  ChildProcess() = default;
  ~ChildProcess();
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  // Starts `program` with the arguments of `commandLine` (its first word is the name the program sees). Where the
  // system takes an argument vector, the command line is split at blanks; a part in double quotes stays together.
  Failure Start(const std::string& program, const std::string& commandLine);
  // Reads what is there, at most `bytes`, waiting for at least one byte. 0 means that the pipe has ended, or
  // that an interrupt came first.
  std::size_t Read(char* buffer, std::size_t bytes);
  // How the child ended, whose output has: its exit code, or 128 and the number of the signal that ended it. 0 also
  // when it goes on for a second after its output.
  int ExitCode();

 private:
  long long pipe_ = -1;
  long long process_ = -1;
};
