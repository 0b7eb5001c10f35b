#include "platform/child_process.h"

#include <windows.h>

#include "platform/system.h"
#include "platform/win32/wait_to_read.h"

namespace {

HANDLE AsHandle(long long value) { return reinterpret_cast<HANDLE>(static_cast<INT_PTR>(value)); }
long long AsNumber(HANDLE handle) { return static_cast<long long>(reinterpret_cast<INT_PTR>(handle)); }

ChildProcess::Failure LastFailure(ChildProcess::Step step) {
  const int error = static_cast<int>(GetLastError());
  return {step, error, SystemErrorText(error)};
}

}  // namespace

ChildProcess::~ChildProcess() {
  if (pipe_ != -1) CloseHandle(AsHandle(pipe_));
  if (process_ != -1) CloseHandle(AsHandle(process_));
}

ChildProcess::Failure ChildProcess::Start(const std::string& program, const std::string& commandLine) {
  SECURITY_ATTRIBUTES inherit{sizeof inherit, nullptr, TRUE};
  HANDLE readEnd = nullptr;
  HANDLE writeEnd = nullptr;
  if (!CreatePipe(&readEnd, &writeEnd, &inherit, 0)) return LastFailure(Step::Pipe);
  pipe_ = AsNumber(readEnd);
  if (!SetHandleInformation(readEnd, HANDLE_FLAG_INHERIT, 0)) {
    const Failure failure = LastFailure(Step::HandleInformation);
    CloseHandle(writeEnd);
    return failure;
  }
  STARTUPINFOA start{};
  start.cb = sizeof start;
  start.dwFlags = STARTF_USESTDHANDLES;
  start.hStdInput = INVALID_HANDLE_VALUE;
  start.hStdOutput = writeEnd;
  start.hStdError = writeEnd;
  PROCESS_INFORMATION child{};
  std::string line = commandLine;  // the system may write into it
  if (!CreateProcessA(program.c_str(), line.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &start, &child)) {
    const Failure failure = LastFailure(Step::Create);
    CloseHandle(writeEnd);
    return failure;
  }
  CloseHandle(child.hThread);
  process_ = AsNumber(child.hProcess);
  // The pipe ends with the child only when nobody else holds its write end.
  if (!CloseHandle(writeEnd)) return LastFailure(Step::CloseHandle);
  return {};
}

int ChildProcess::ExitCode() {
  DWORD code = 0;
  if (process_ == -1 || WaitForSingleObject(AsHandle(process_), 1000) != WAIT_OBJECT_0) return 0;
  return GetExitCodeProcess(AsHandle(process_), &code) ? static_cast<int>(code) : 0;
}

std::size_t ChildProcess::Read(char* buffer, std::size_t bytes) {
  const DWORD limit = bytes > 0x7FFFFFFF ? 0x7FFFFFFF : static_cast<DWORD>(bytes);
  DWORD n = 0;
  // A write of no bytes completes a read without ending the pipe.
  do {
    if (!WaitToRead(AsHandle(pipe_)) || !ReadFile(AsHandle(pipe_), buffer, limit, &n, nullptr)) return 0;
  } while (n == 0 && limit > 0);
  return n;
}
