#include "common/visible_text.h"

#include <algorithm>
#include <iterator>

namespace {

unsigned ByteAt(std::string_view text, std::size_t at) {
  return at < text.size() ? static_cast<unsigned char>(text[at]) : 0;
}

bool IsContinuation(unsigned byte) { return (byte & 0xC0) == 0x80; }

// How UTF-8 characters begin, by their first byte and the bounds of the second. Neither forms longer than needed, nor
// surrogates, nor what lies beyond the last character are characters.
struct Beginning {
  unsigned First, Last;
  std::size_t Length;
  unsigned Least, Most;
};
constexpr Beginning kBeginnings[] = {
    {0xC2, 0xDF, 2, 0x80, 0xBF}, {0xE0, 0xE0, 3, 0xA0, 0xBF}, {0xE1, 0xEC, 3, 0x80, 0xBF}, {0xED, 0xED, 3, 0x80, 0x9F},
    {0xEE, 0xEF, 3, 0x80, 0xBF}, {0xF0, 0xF0, 4, 0x90, 0xBF}, {0xF1, 0xF3, 4, 0x80, 0xBF}, {0xF4, 0xF4, 4, 0x80, 0x8F},
};

// The bytes of the UTF-8 character with which `text` begins; 0 where it begins with none.
std::size_t CharacterLength(std::string_view text) {
  const unsigned lead = ByteAt(text, 0);
  if (lead < 0x80) return 1;
  const unsigned second = ByteAt(text, 1);
  const auto* const begins = std::find_if(std::begin(kBeginnings), std::end(kBeginnings), [&](const Beginning& b) {
    return lead >= b.First && lead <= b.Last && second >= b.Least && second <= b.Most;
  });
  if (begins == std::end(kBeginnings)) return 0;
  for (std::size_t i = 2; i < begins->Length; ++i) {
    if (!IsContinuation(ByteAt(text, i))) return 0;
  }
  return begins->Length;
}

bool IsLineEnd(std::string_view text) { return text.starts_with('\n') || text.starts_with("\r\n"); }

// Whether the character, or the byte that is part of none, with which `text` begins steers a terminal.
bool Steers(std::string_view text, std::size_t length) {
  const unsigned first = ByteAt(text, 0);
  if (length == 0) return first < 0xA0;
  if (length == 2) return first == 0xC2 && ByteAt(text, 1) < 0xA0;
  return length == 1 && (first < 0x20 || first == 0x7F) && first != '\t' && !IsLineEnd(text);
}

}  // namespace

std::string VisibleText(std::string_view data) {
  std::string shown(data);
  for (std::size_t at = 0; at < data.size();) {
    const std::string_view rest = data.substr(at);
    const std::size_t length = CharacterLength(rest);
    const std::size_t bytes = std::max<std::size_t>(length, 1);
    if (Steers(rest, length)) shown.replace(at, bytes, bytes, '.');
    at += bytes;
  }
  return shown;
}

std::size_t WholeCharacters(std::string_view text, std::size_t limit) {
  if (text.size() <= limit) return text.size();
  std::size_t start = limit;
  while (start > 0 && limit - start < 3 && IsContinuation(ByteAt(text, start))) --start;
  return start + CharacterLength(text.substr(start)) > limit ? start : limit;
}
