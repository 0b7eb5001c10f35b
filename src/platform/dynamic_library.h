#pragma once

// Loading a library at run time. A library that was loaded stays loaded until the process ends.

#include <string>

class DynamicLibrary {
 public:
  // Loads `path` (a bare name is searched for by the system). Returns 0, or a system error number that is never 0, with
  // what the loader says in `errorText`, without the path itself in front.
  int Load(const std::string& path, std::string& errorText);
  // The address of an exported entry, or null.
  void* Entry(const char* name) const;

 private:
  void* handle_ = nullptr;
};
