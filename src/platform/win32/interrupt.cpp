#include "platform/interrupt.h"

#include <io.h>
#include <windows.h>

#include <algorithm>
#include <cerrno>

#include "platform/win32/wait_to_read.h"

namespace {

constexpr DWORD kLongestPoll = 50;   // milliseconds between two looks at an empty pipe
constexpr DWORD kHandlerTime = 100;  // milliseconds within which the handler runs once Ctrl-C has ended a read

// Stays set from the first interrupt on.
const HANDLE interrupted = CreateEventA(nullptr, TRUE, FALSE, nullptr);

// Runs on a thread of its own.
BOOL WINAPI OnConsoleEvent(DWORD event) {
  int none = 0;
  if (!FirstInterrupt.compare_exchange_strong(none, static_cast<int>(event) + 1)) return FALSE;
  SetEvent(interrupted);
  // After these the process ends as soon as they are handled: the run has the time that the system gives it.
  if (event == CTRL_CLOSE_EVENT || event == CTRL_LOGOFF_EVENT || event == CTRL_SHUTDOWN_EVENT) Sleep(INFINITE);
  return TRUE;
}

bool IsSetWithin(DWORD milliseconds) { return WaitForSingleObject(interrupted, milliseconds) == WAIT_OBJECT_0; }

}  // namespace

void WatchForInterrupts() { SetConsoleCtrlHandler(OnConsoleEvent, TRUE); }

int InterruptExitStatus() { return static_cast<int>(STATUS_CONTROL_C_EXIT); }

void PauseUnlessInterrupted(std::int64_t milliseconds) {
  constexpr std::int64_t kLongestWait = INFINITE - 1;
  while (milliseconds > 0) {
    const std::int64_t step = std::min(milliseconds, kLongestWait);
    if (IsSetWithin(static_cast<DWORD>(step))) return;
    milliseconds -= step;
  }
}

bool WaitToRead(HANDLE input) {
  const DWORD type = GetFileType(input);
  if (type == FILE_TYPE_CHAR) {
    const HANDLE either[] = {interrupted, input};
    return WaitForMultipleObjects(2, either, FALSE, INFINITE) != WAIT_OBJECT_0;
  }
  for (DWORD pause = 1; !IsSetWithin(0); pause = std::min(2 * pause, kLongestPoll)) {
    DWORD there = 0;
    if (type != FILE_TYPE_PIPE || !PeekNamedPipe(input, nullptr, 0, nullptr, &there, nullptr) || there != 0)
      return true;
    IsSetWithin(pause);
  }
  return false;
}

std::ptrdiff_t ReadUnlessInterrupted(std::FILE* file, void* buffer, std::size_t bytes) {
  const int fd = _fileno(file);
  const HANDLE input = reinterpret_cast<HANDLE>(_get_osfhandle(fd));
  if (input == INVALID_HANDLE_VALUE) return -1;  // errno tells
  int got = -1;
  if (WaitToRead(input)) {
    got = _read(fd, buffer, static_cast<unsigned>(std::min<std::size_t>(bytes, 0x7FFFFFFF)));
    if (got > 0) return got;
    // Ctrl-C ends the read of a console.
    if (GetFileType(input) != FILE_TYPE_CHAR || !IsSetWithin(kHandlerTime)) return got;
  }
  errno = EINTR;
  return -1;
}
