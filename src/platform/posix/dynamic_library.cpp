#include "platform/dynamic_library.h"

#include <dlfcn.h>

#include <cerrno>
#include <system_error>

int DynamicLibrary::Load(const std::string& path, std::string& errorText) {
  handle_ = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (handle_ != nullptr) return 0;
  const char* text = dlerror();
  errorText = text != nullptr ? text : "";
  if (errorText.starts_with(path + ": ")) errorText.erase(0, path.size() + 2);
  // The loader gives a text and no number; the text of a file that it could not open ends with the system's reason.
  for (const int error : {ENOENT, EACCES}) {
    if (errorText.ends_with(std::generic_category().message(error))) return error;
  }
  return ENOEXEC;
}

void* DynamicLibrary::Entry(const char* name) const { return handle_ != nullptr ? dlsym(handle_, name) : nullptr; }
