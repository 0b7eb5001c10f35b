#pragma once

// The console: is it one, how high is it, and reading a secret without echo.

bool StdinIsTerminal();
bool StdoutIsTerminal();
// Rows of the console behind standard output (its screen buffer on Windows); 0 when it cannot be told.
int ConsoleHeight();

// Turns line input and echo of standard input off for its lifetime; the mode is restored when it goes.
class SecretInput {
 public:
  SecretInput();
  ~SecretInput();
  SecretInput(const SecretInput&) = delete;
  SecretInput& operator=(const SecretInput&) = delete;
  // False when standard input cannot be used as a console.
  bool usable() const { return usable_; }
  // The next character, or -1 when the read fails or the input has ended.
  int Read();

 private:
  bool usable_ = false;
  struct Saved;
  Saved* saved_ = nullptr;
};
