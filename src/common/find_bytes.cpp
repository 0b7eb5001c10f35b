#include "common/find_bytes.h"

#include <cstdint>
#include <cstring>

namespace {

// A vector register of the smallest x86-64 machine; other machines get what the compiler makes of it.
using Lanes __attribute__((vector_size(16))) = unsigned char;
using Words __attribute__((vector_size(16))) = std::uint64_t;

Lanes Load(const char* from) {
  Lanes lanes;
  std::memcpy(&lanes, from, sizeof lanes);
  return lanes;
}

Lanes Spread(char byte) { return Lanes{} + static_cast<unsigned char>(byte); }

bool AnySet(Lanes lanes) {
  Words words;
  std::memcpy(&words, &lanes, sizeof words);
  return (words[0] | words[1]) != 0;
}

}  // namespace

std::size_t FindBytes(std::string_view data, std::string_view wanted) {
  if (wanted.empty()) return 0;
  if (wanted.size() > data.size()) return std::string_view::npos;
  const std::size_t places = data.size() - wanted.size() + 1;  // where a match can begin
  const std::size_t distance = wanted.size() - 1;
  const char first = wanted.front();
  const char last = wanted.back();
  const auto matchesAt = [&](std::size_t at) {
    return data[at] == first && data[at + distance] == last &&
           std::memcmp(data.data() + at, wanted.data(), wanted.size()) == 0;
  };

  // Sixteen places at a time are ruled out by their first and last bytes together, which is rarely deceived, whatever
  // either byte is.
  constexpr std::size_t kStep = sizeof(Lanes);
  const Lanes firsts = Spread(first);
  const Lanes lasts = Spread(last);
  std::size_t at = 0;
  for (; at + kStep <= places; at += kStep) {
    const char* const from = data.data() + at;
    const auto candidates = reinterpret_cast<Lanes>((Load(from) == firsts) & (Load(from + distance) == lasts));
    if (!AnySet(candidates)) continue;
    for (std::size_t i = at; i < at + kStep; ++i) {
      if (matchesAt(i)) return i;
    }
  }
  for (; at < places; ++at) {
    if (matchesAt(at)) return at;
  }
  return std::string_view::npos;
}
