#include "platform/system.h"

#include <fcntl.h>
#include <io.h>
#include <windows.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <cwchar>

PlatformKind Platform() { return PlatformKind::Windows; }

std::string SystemUserName() {
  char name[257];  // UNLEN + 1
  DWORD size = sizeof name;
  return GetUserNameA(name, &size) ? name : std::string();
}

std::string SystemComputerName() {
  char name[MAX_COMPUTERNAME_LENGTH + 1];
  DWORD size = sizeof name;
  return GetComputerNameA(name, &size) ? name : std::string();
}

std::string TemporaryFilePath(const char* name) { return std::string("c:\\temp\\") + name; }

std::FILE* OpenTemporaryForWrite(const std::string& path) {
  // The old content goes only after the file is known not to be a link to another one.
  const HANDLE handle = CreateFileA(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr, OPEN_ALWAYS,
                                    FILE_ATTRIBUTE_NORMAL | FILE_FLAG_OPEN_REPARSE_POINT, nullptr);
  if (handle == INVALID_HANDLE_VALUE) return nullptr;
  BY_HANDLE_FILE_INFORMATION information;
  const bool safe = GetFileType(handle) == FILE_TYPE_DISK && GetFileInformationByHandle(handle, &information) &&
                    (information.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) == 0 &&
                    information.nNumberOfLinks == 1 && SetEndOfFile(handle);
  const int fd = safe ? _open_osfhandle(reinterpret_cast<intptr_t>(handle), _O_TEXT) : -1;
  if (fd < 0) {
    CloseHandle(handle);
    return nullptr;
  }
  std::FILE* file = _fdopen(fd, "w");
  if (file == nullptr) _close(fd);
  return file;
}

void BreakIntoDebugger() {
  DebugBreak();
  std::abort();
}

int ExitStatus(std::int32_t code) { return code; }

namespace {

void ShowInvalidParameter(const wchar_t* expression, const wchar_t*, const wchar_t*, unsigned, uintptr_t) {
  if (expression != nullptr) std::wprintf(L"Expression: %ls\n", expression);
}

}  // namespace

void PrepareProcess() { _set_invalid_parameter_handler(ShowInvalidParameter); }

void ShowArguments(int argc, char** argv) {
  std::string line;
  for (int i = 0; i < argc; ++i) {
    const std::string argument = argv[i];
    if (i > 0) line += ' ';
    line += argument.empty() || argument.find(' ') != std::string::npos ? '"' + argument + '"' : argument;
  }
  // The system shows this very memory. The second copy is the one that the C library was given.
  wchar_t* const shown = GetCommandLineW();
  const std::size_t room = std::wcslen(shown);
  std::wstring wide(line.size() + 1, L'\0');
  wide.resize(static_cast<std::size_t>(MultiByteToWideChar(CP_ACP, 0, line.data(), static_cast<int>(line.size()),
                                                           wide.data(), static_cast<int>(wide.size()))));
  SecureZeroMemory(shown, room * sizeof(wchar_t));
  std::wmemcpy(shown, wide.data(), std::min(room, wide.size()));
  char* const copy = GetCommandLineA();
  SecureZeroMemory(copy, std::strlen(copy));
}

void SetEnvironment(const char* name, const char* value) {
  _putenv_s(name, value != nullptr ? value : "");  // an empty value removes the variable
}

std::string SystemErrorText(int error) {
  char text[501];
  DWORD size = FormatMessageA(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr,
                              static_cast<DWORD>(error), 0, text, sizeof text - 1, nullptr);
  while (size > 0 && (text[size - 1] == '\n' || text[size - 1] == '\r')) --size;
  return {text, size};
}
