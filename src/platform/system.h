#pragma once

// What the C++ library cannot tell about the machine and the process.

#include <cstdint>
#include <cstdio>
#include <string>

enum class PlatformKind { Posix, Windows };
PlatformKind Platform();

// Empty when the system cannot tell.
std::string SystemUserName();
std::string SystemComputerName();

// Where the trap record and the self-test file go: "c:\temp\cstrap.txt" or "/tmp/cstrap.txt".
std::string TemporaryFilePath(const char* name);
// Opens a file for writing (its old content goes), never through a symbolic link. Null on failure.
std::FILE* OpenTemporaryForWrite(const std::string& path);

[[noreturn]] void BreakIntoDebugger();

// The process exit status for a result code: the 32-bit code on Windows; its low 8 bits on POSIX, 255 where those are 0
// and the code is not.
int ExitStatus(std::int32_t code);

// A write to a closed pipe becomes an error of that write instead of the end of the process, and so does the use of a
// standard stream that the caller has closed; a bad argument to the C library returns to its caller (and is shown on
// standard output where the library tells what it was).
void PrepareProcess();

// Lets the system's list of processes show the arguments of this process as they stand in `argv` now, where strings may
// have become shorter and what followed them in their memory been wiped. Moves the strings. (POSIX: they stand one
// behind the other in memory, as the system has laid them out.)
void ShowArguments(int argc, char** argv);

// Sets an environment variable of this process; null removes it. Only while there is one thread.
void SetEnvironment(const char* name, const char* value);

// The text of an operating-system error number, without a line end.
std::string SystemErrorText(int error);
