#include "platform/terminal.h"

#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>

#include "platform/interrupt.h"

bool StdinIsTerminal() { return isatty(STDIN_FILENO) != 0; }
bool StdoutIsTerminal() { return isatty(STDOUT_FILENO) != 0; }
bool StderrIsTerminal() { return isatty(STDERR_FILENO) != 0; }

int ConsoleHeight() {
  winsize size{};
  return ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 ? size.ws_row : 0;
}

struct SecretInput::Saved {
  termios Mode;
};

SecretInput::SecretInput() {
  termios mode;
  if (tcgetattr(STDIN_FILENO, &mode) != 0) return;
  termios secret = mode;
  // Without signals from the keyboard, so that an interrupt cannot leave the terminal without echo.
  secret.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO | ISIG);
  secret.c_cc[VMIN] = 1;
  secret.c_cc[VTIME] = 0;
  if (tcsetattr(STDIN_FILENO, TCSAFLUSH, &secret) == 0) saved_ = std::make_unique<Saved>(Saved{mode});
}

SecretInput::~SecretInput() {
  if (saved_ != nullptr) tcsetattr(STDIN_FILENO, TCSADRAIN, &saved_->Mode);
}

int SecretInput::Read() {
  // Past the buffer of the stream, which would keep what was typed.
  unsigned char c = 0;
  if (saved_ == nullptr || ReadUnlessInterrupted(stdin, &c, 1) != 1) return -1;
  const cc_t* keys = saved_->Mode.c_cc;
  if (c == keys[VERASE] || c == 0x7F) return '\b';
  if (c == keys[VEOF]) return -1;
  if (c == keys[VINTR] || c == keys[VQUIT]) {
    tcsetattr(STDIN_FILENO, TCSADRAIN, &saved_->Mode);
    std::raise(c == keys[VINTR] ? SIGINT : SIGQUIT);
    return -1;
  }
  return c;
}
