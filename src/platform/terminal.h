#pragma once

// The console: is it one, how high is it, and reading a secret without echo.

#include <memory>

bool StdinIsTerminal();
bool StdoutIsTerminal();
bool StderrIsTerminal();
// Rows of the console behind standard output (its screen buffer on Windows); 0 when it cannot be told.
int ConsoleHeight();

// Turns line input and echo of standard input off for its lifetime; the mode is restored when it goes, also before an
// interrupt typed meanwhile ends the process.
class SecretInput {
 public:
  SecretInput();
  ~SecretInput();
  SecretInput(const SecretInput&) = delete;
  SecretInput& operator=(const SecretInput&) = delete;
  // False when standard input cannot be used as a console.
  bool usable() const { return saved_ != nullptr; }
  // The next character, or -1 when the read fails, is interrupted or the input has ended. Whatever key erases a
  // character on this terminal reads as '\b'.
  int Read();

 private:
  struct Saved;
  std::unique_ptr<Saved> saved_;
};
