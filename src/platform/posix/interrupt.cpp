#include "platform/interrupt.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <ctime>
#include <limits>

#include "platform/posix/wait_to_read.h"

namespace {

using SignalAction = struct sigaction;

constexpr int kSignals[] = {SIGINT, SIGTERM, SIGHUP};

// A sender may signal the process and its process group (timeout, the end of a session): that is one interrupt.
constexpr std::int64_t kSameInterrupt = 20;  // milliseconds

// The pipe's read end is readable from the first interrupt on, so that a wait that is about to begin ends too.
int wakeRead = -1;
int wakeWrite = -1;
std::atomic<std::int64_t> firstAt{std::numeric_limits<std::int64_t>::max()};

std::int64_t Milliseconds() {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return std::int64_t{now.tv_sec} * 1000 + now.tv_nsec / 1000000;
}

extern "C" {
static void OnInterrupt(int signal) {
  const int error = errno;
  int none = 0;
  if (FirstInterrupt.compare_exchange_strong(none, signal)) {
    firstAt = Milliseconds();
    const char byte = 0;
    [[maybe_unused]] const ssize_t written = write(wakeWrite, &byte, 1);
  } else if (Milliseconds() - firstAt > kSameInterrupt) {
    std::signal(signal, SIG_DFL);
    raise(signal);  // takes effect when this function returns
  }
  errno = error;
}
}

}  // namespace

void WatchForInterrupts() {
  // Without the pipe an interrupt still ends the waits of the thread that gets it.
  if (int ends[2]; pipe2(ends, O_CLOEXEC | O_NONBLOCK) == 0) {
    wakeRead = ends[0];
    wakeWrite = ends[1];
  }
  SignalAction action{};
  action.sa_handler = OnInterrupt;
  // No call of a library fails because of an interrupt.
  action.sa_flags = SA_RESTART;
  for (const int signal : kSignals) sigaddset(&action.sa_mask, signal);
  for (const int signal : kSignals) {
    SignalAction before{};
    if (sigaction(signal, nullptr, &before) == 0 && before.sa_handler != SIG_IGN) sigaction(signal, &action, nullptr);
  }
}

int InterruptExitStatus() { return 128 + InterruptSignal(); }

void PauseUnlessInterrupted(std::int64_t milliseconds) {
  const std::int64_t end = Milliseconds() + milliseconds;
  pollfd wake{wakeRead, POLLIN, 0};
  for (std::int64_t left = milliseconds; left > 0 && InterruptSignal() == 0; left = end - Milliseconds()) {
    poll(&wake, 1, static_cast<int>(std::min<std::int64_t>(left, std::numeric_limits<int>::max())));
  }
}

bool WaitToRead(int fd) {
  for (;;) {
    if (InterruptSignal() != 0) {
      errno = EINTR;
      return false;
    }
    pollfd waits[] = {{fd, POLLIN, 0}, {wakeRead, POLLIN, 0}};
    if (poll(waits, 2, -1) < 0 && errno != EINTR) return false;
    if (waits[0].revents != 0) return true;
  }
}

std::ptrdiff_t ReadUnlessInterrupted(int fd, void* buffer, std::size_t bytes) {
  for (;;) {
    if (!WaitToRead(fd)) return -1;
    const ssize_t got = read(fd, buffer, bytes);
    if (got >= 0 || (errno != EINTR && errno != EAGAIN)) return got;
  }
}

std::ptrdiff_t ReadUnlessInterrupted(std::FILE* file, void* buffer, std::size_t bytes) {
  return ReadUnlessInterrupted(fileno(file), buffer, bytes);
}
