#pragma once

// Running a program of the tests: its own environment, standard streams through files, a time limit.

#include <chrono>
#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace harness {

// Variables set for the program on top of the test's own; an empty value removes the variable.
using Environment = std::map<std::string, std::string>;

struct Outcome {
  int Exit = -1;  // exit status; 128 + signal when a signal ended it
  bool TimedOut = false;
  std::string Out;
  std::string Err;
};

struct Command {
  std::filesystem::path Program;
  std::vector<std::string> Arguments;
  std::filesystem::path Folder;  // working directory
  Environment Variables;
  std::string Input;                 // standard input
  std::filesystem::path OutputFile;  // standard output goes here instead of into Outcome::Out, when set
  std::chrono::milliseconds Limit{240000};
};

// A program that is running; killed when the object goes and it has not ended.
class Process {
 public:
  explicit Process(const Command& command);
  ~Process();
  Process(const Process&) = delete;
  Process& operator=(const Process&) = delete;
  // Ends it at once, as a power cut would.
  void Kill();
  bool Running();
  // Sends it a signal; where there are signals.
  void Signal(int number);
  // What it has written to standard error so far.
  std::string Errors() const;
  // Waits for its end, at most the command's limit (then kills it).
  Outcome Wait();

 private:
  struct State;
  std::unique_ptr<State> state_;
};

inline Outcome RunProcess(const Command& command) { return Process(command).Wait(); }

// The text that a program meant which has written these bytes to a text file: on Windows line ends are CR LF there.
std::string TextOf(std::string bytes);

// Sets a variable of this test program itself (so that libraries loaded into it see it).
void SetOwnVariable(const std::string& name, const std::string& value);

}  // namespace harness
