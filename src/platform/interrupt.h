#pragma once

// The wish that the run should end: SIGINT, SIGTERM or SIGHUP, or a console event on Windows. The first is only
// remembered, so that the run ends in order behind the message in hand; a second one ends the process at once, as if
// nobody watched. Calls into other libraries are never cut short: only what waits here asks for interrupts.

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstdio>

// Once in a process. What was ignored when it started (nohup) stays ignored.
void WatchForInterrupts();

// Set by the handler of interrupts alone.
inline constinit std::atomic<int> FirstInterrupt{0};

// 0, or the interrupt that came first: the number of the signal; on Windows the number of the console event plus 1.
inline int InterruptSignal() { return FirstInterrupt.load(std::memory_order_relaxed); }

// The exit status of a run that an interrupt has ended: 128 and the number of the signal; on Windows what the system
// gives a program that is ended by Ctrl-C.
int InterruptExitStatus();

// Waits that many milliseconds; an interrupt, also one that came before, ends the wait.
void PauseUnlessInterrupted(std::int64_t milliseconds);

// Waits until there is at least one byte and reads what is there, at most `bytes`, past the buffer that the C library
// has for the stream: whoever uses this never reads it in another way. 0 at the end; -1 after an error, with EINTR in
// errno when it was an interrupt, also one that came before.
std::ptrdiff_t ReadUnlessInterrupted(std::FILE* file, void* buffer, std::size_t bytes);
