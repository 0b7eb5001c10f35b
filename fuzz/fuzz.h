#pragma once

// For fuzz targets: the input as a file in the working directory, which scripts/fuzz.sh makes an empty one, and checks
// that no build leaves out.

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

#include "files/current_message.h"

inline void Require(bool holds) {
  if (!holds) std::abort();
}

inline void WriteFile(const char* name, std::string_view bytes) {
  std::FILE* const file = std::fopen(name, "wb");
  Require(file != nullptr && std::fwrite(bytes.data(), 1, bytes.size(), file) == bytes.size());
  std::fclose(file);
}

inline std::string_view AsText(const std::uint8_t* data, std::size_t size) {
  return {reinterpret_cast<const char*>(data), size};
}

// A copy of the data of a message: every byte of it must be there.
inline std::string DataOf(const CurrentMessage& message) {
  Require(message.Length >= 0 && message.Delivered == message.Length);
  return {reinterpret_cast<const char*>(message.Data), static_cast<std::size_t>(message.Length)};
}
