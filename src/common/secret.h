#pragma once

// A password in memory: it stands in one place, is moved and never copied, and is wiped when it goes.

#include <algorithm>
#include <cstddef>
#include <memory>
#include <string_view>
#include <utility>

// Overwrites memory with zeros, also where nobody reads it again.
inline void Wipe(char* memory, std::size_t bytes) {
  volatile char* at = memory;
  while (bytes-- > 0) *at++ = 0;
}

class Secret {
 public:
  explicit Secret(std::size_t capacity) : chars_(std::make_unique<char[]>(capacity)), capacity_(capacity) {}
  explicit Secret(std::string_view text) : Secret(text.size()) {
    std::copy(text.begin(), text.end(), chars_.get());
    size_ = text.size();
  }
  Secret(Secret&& other) noexcept { *this = std::move(other); }
  // What stood here goes with `other`.
  Secret& operator=(Secret&& other) noexcept {
    std::swap(chars_, other.chars_);
    std::swap(capacity_, other.capacity_);
    std::swap(size_, other.size_);
    return *this;
  }
  ~Secret() { Wipe(chars_.get(), capacity_); }

  std::string_view view() const { return {chars_.get(), size_}; }
  bool empty() const { return size_ == 0; }
  // False when there is no room for one more.
  bool Append(char c) {
    if (size_ == capacity_) return false;
    chars_[size_++] = c;
    return true;
  }
  void RemoveLast() { --size_; }

 private:
  std::unique_ptr<char[]> chars_;
  std::size_t capacity_ = 0;
  std::size_t size_ = 0;
};
