#include "platform/dynamic_library.h"

#include <windows.h>

#include "platform/system.h"

int DynamicLibrary::Load(const std::string& path, std::string& errorText) {
  handle_ = reinterpret_cast<void*>(LoadLibraryExA(path.c_str(), nullptr, 0));
  if (handle_ != nullptr) return 0;
  const int error = static_cast<int>(GetLastError());
  errorText = SystemErrorText(error);
  return error != 0 ? error : ERROR_MOD_NOT_FOUND;
}

void* DynamicLibrary::Entry(const char* name) const {
  if (handle_ == nullptr) return nullptr;
  return reinterpret_cast<void*>(GetProcAddress(reinterpret_cast<HMODULE>(handle_), name));
}
