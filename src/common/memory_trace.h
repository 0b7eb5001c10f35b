#pragma once

// Tells the user of the memory that a station takes and gives back. One that has no console tells nothing.

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "common/console.h"

class MemoryTrace {
 public:
  MemoryTrace() = default;
  explicit MemoryTrace(Console* screen) : screen_(screen) {}

  void Allocating(std::size_t bytes) const {
    if (screen_ != nullptr) screen_->Print("Allocating %d bytes\n", Shown(bytes));
  }
  void Allocated(const void* block) const {
    if (screen_ != nullptr) screen_->Print("Allocation success %p\n", block);
  }
  void Failed(const char* text) const {
    if (screen_ != nullptr) screen_->PrintText(text);
  }
  void Freeing(const void* block) const {
    if (screen_ != nullptr) screen_->Print("Freeing %p\n", block);
  }

  // A size as messages show it, with 32 bits.
  static int Shown(std::size_t bytes) { return static_cast<int>(std::min(bytes, std::size_t{INT32_MAX})); }

 private:
  Console* screen_ = nullptr;
};
