#include "platform/dynamic_library.h"

#include <dlfcn.h>

#include <cerrno>

int DynamicLibrary::Load(const std::string& path, std::string& errorText) {
  errno = 0;
  handle_ = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (handle_ != nullptr) return 0;
  const int error = errno;
  const char* text = dlerror();
  errorText = text != nullptr ? text : "";
  // The loader sets no number for a file that it opened and could not use.
  return error != 0 ? error : ENOEXEC;
}

void* DynamicLibrary::Entry(const char* name) const { return handle_ != nullptr ? dlsym(handle_, name) : nullptr; }
