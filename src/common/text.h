#pragma once

// Fixed-size texts inside records, and the fixed-width fields of the MQ structures (padded with blanks or NULs, not
// terminated). Nothing here allocates.

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <string_view>

#include "common/visible_text.h"

// A NUL-terminated text of at most N characters, stored in place. Always terminated; assignment cuts what does not fit.
template <std::size_t N>
class Text {
 public:
  static constexpr std::size_t kCapacity = N;

  Text() = default;
  Text(std::string_view text) { Assign(text); }  // NOLINT(google-explicit-constructor): a text is a text

  // Returns false when the text was cut, behind a whole character.
  bool Assign(std::string_view text) {
    const std::size_t n = WholeCharacters(text, N);
    if (n > 0) std::memmove(chars_, text.data(), n);
    chars_[n] = '\0';
    return n == text.size();
  }
  void clear() { chars_[0] = '\0'; }
  bool empty() const { return chars_[0] == '\0'; }
  const char* c_str() const { return chars_; }
  // For C interfaces that fill a buffer; Capacity() + 1 bytes may be written, the last one stays the terminator.
  char* data() { return chars_; }
  std::string_view view() const { return std::string_view(chars_); }
  operator std::string_view() const { return view(); }  // NOLINT(google-explicit-constructor)
  friend bool operator==(const Text& a, std::string_view b) { return a.view() == b; }

 private:
  char chars_[N + 1]{};
};

// The text of a fixed-width name field: up to its first NUL or blank, at most `width` characters.
inline std::string_view NameInField(const char* field, std::size_t width) {
  std::size_t n = 0;
  while (n < width && field[n] != '\0' && field[n] != ' ') ++n;
  return {field, n};
}

// The text of a fixed-width field whose blanks belong to it, as in names that a user typed: up to its first NUL.
inline std::string_view TextInField(const char* field, std::size_t width) {
  return {field, std::find(field, field + width, '\0')};
}

// Whether two texts are the same but for the case of ASCII letters.
inline bool SameIgnoringCase(std::string_view a, std::string_view b) {
  const auto upper = [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; };
  return std::equal(a.begin(), a.end(), b.begin(), b.end(), [&](char x, char y) { return upper(x) == upper(y); });
}

// Copies as much of `text` as fits into a fixed-width field and fills the rest with `pad`.
inline void FillField(char* field, std::size_t width, std::string_view text, char pad = ' ') {
  const std::size_t n = std::min(text.size(), width);
  if (n > 0) std::memcpy(field, text.data(), n);  // an empty text may have no address
  std::memset(field + n, pad, width - n);
}

// Whether an 8-character format field holds exactly `format` (an MQFMT_... constant, blanks included).
inline bool IsFormat(const char (&field)[8], const char (&format)[9]) { return std::memcmp(field, format, 8) == 0; }
