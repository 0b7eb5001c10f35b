#include "platform/terminal.h"

#include <io.h>
#include <windows.h>

#include <cstdio>

namespace {

// The C runtime takes every character device for a terminal, also NUL.
bool IsConsole(std::FILE* file) {
  DWORD mode = 0;
  return _isatty(_fileno(file)) != 0 && GetConsoleMode(reinterpret_cast<HANDLE>(_get_osfhandle(_fileno(file))), &mode);
}

}  // namespace

bool StdinIsTerminal() { return IsConsole(stdin); }
bool StdoutIsTerminal() { return IsConsole(stdout); }
bool StderrIsTerminal() { return IsConsole(stderr); }

int ConsoleHeight() {
  CONSOLE_SCREEN_BUFFER_INFO information;
  if (!GetConsoleScreenBufferInfo(GetStdHandle(STD_OUTPUT_HANDLE), &information)) return 0;
  return information.dwSize.Y;
}

struct SecretInput::Saved {
  HANDLE Console;
  DWORD Mode;
};

SecretInput::SecretInput() {
  const HANDLE console = GetStdHandle(STD_INPUT_HANDLE);
  DWORD mode = 0;
  if (console == INVALID_HANDLE_VALUE || console == nullptr || !GetConsoleMode(console, &mode)) return;
  // Without processed input, so that Ctrl-C cannot leave the console without echo.
  const DWORD off = ENABLE_LINE_INPUT | ENABLE_ECHO_INPUT | ENABLE_PROCESSED_INPUT;
  if (SetConsoleMode(console, mode & ~off)) saved_ = std::make_unique<Saved>(Saved{console, mode});
}

SecretInput::~SecretInput() {
  if (saved_ != nullptr) SetConsoleMode(saved_->Console, saved_->Mode);
}

int SecretInput::Read() {
  if (saved_ == nullptr) return -1;
  char c = 0;
  DWORD n = 0;
  if (!ReadConsoleA(saved_->Console, &c, 1, &n, nullptr) || n == 0) return -1;
  if (c == '\x03') {
    SetConsoleMode(saved_->Console, saved_->Mode);
    GenerateConsoleCtrlEvent(CTRL_C_EVENT, 0);
    return -1;
  }
  return static_cast<unsigned char>(c);
}
