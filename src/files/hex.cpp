#include "files/hex.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>

namespace {

// A vector register of the smallest x86-64 machine; other machines get what the compiler makes of it.
using Lanes __attribute__((vector_size(16))) = unsigned char;
using Words __attribute__((vector_size(16))) = std::uint64_t;

constexpr std::size_t kStep = sizeof(Lanes);

Lanes Load(const void* from) {
  Lanes lanes;
  std::memcpy(&lanes, from, sizeof lanes);
  return lanes;
}

void Store(void* to, Lanes lanes) { std::memcpy(to, &lanes, sizeof lanes); }

Lanes Spread(int byte) { return Lanes{} + static_cast<unsigned char>(byte); }

constexpr auto kDigitPairs = [] {
  std::array<char, 512> pairs{};
  for (std::size_t i = 0; i < 256; ++i) {
    pairs[2 * i] = "0123456789ABCDEF"[i / 16];
    pairs[2 * i + 1] = "0123456789ABCDEF"[i % 16];
  }
  return pairs;
}();

constexpr auto kDigitValues = [] {
  std::array<signed char, 256> values{};
  for (std::size_t i = 0; i < values.size(); ++i) {
    const int c = static_cast<int>(i);
    const int letter = c | 0x20;
    const bool isLetter = letter >= 'a' && letter <= 'f';
    values[i] = static_cast<signed char>(c >= '0' && c <= '9' ? c - '0' : isLetter ? letter - 'a' + 10 : -1);
  }
  return values;
}();

Lanes DigitsOf(Lanes values) {
  constexpr int kLetterGap = 'A' - '9' - 1;
  return values + Spread('0') + (reinterpret_cast<Lanes>(values > Spread(9)) & Spread(kLetterGap));
}

void EncodeStep(char* out, const MQBYTE* bytes) {
  const Lanes values = Load(bytes);
  const Lanes high = DigitsOf(values >> 4);
  const Lanes low = DigitsOf(values & Spread(0x0F));
  Store(out, __builtin_shufflevector(high, low, 0, 16, 1, 17, 2, 18, 3, 19, 4, 20, 5, 21, 6, 22, 7, 23));
  Store(out + kStep, __builtin_shufflevector(high, low, 8, 24, 9, 25, 10, 26, 11, 27, 12, 28, 13, 29, 14, 30, 15, 31));
}

// The values of sixteen digits; lanes of `invalid` are set where there is none.
Lanes ValuesOf(Lanes digits, Lanes& invalid) {
  const Lanes number = digits - Spread('0');
  const Lanes letter = (digits | Spread(0x20)) - Spread('a');
  const Lanes isNumber = reinterpret_cast<Lanes>(number <= Spread(9));
  const Lanes isLetter = reinterpret_cast<Lanes>(letter <= Spread(5));
  invalid |= ~(isNumber | isLetter);
  return (isNumber & number) | (isLetter & (letter + Spread(10)));
}

// Decodes 32 digits, or nothing (false) when one of them is none.
bool DecodeStep(MQBYTE* out, const char* text) {
  const Lanes first = Load(text);
  const Lanes second = Load(text + kStep);
  const Lanes high = __builtin_shufflevector(first, second, 0, 2, 4, 6, 8, 10, 12, 14, 16, 18, 20, 22, 24, 26, 28, 30);
  const Lanes low = __builtin_shufflevector(first, second, 1, 3, 5, 7, 9, 11, 13, 15, 17, 19, 21, 23, 25, 27, 29, 31);
  Lanes invalid{};
  const Lanes highValues = ValuesOf(high, invalid);
  const Lanes lowValues = ValuesOf(low, invalid);
  Words words;
  std::memcpy(&words, &invalid, sizeof words);
  if ((words[0] | words[1]) != 0) return false;
  Store(out, highValues << 4 | lowValues);
  return true;
}

}  // namespace

char* EncodeHex(char* out, const MQBYTE* bytes, std::size_t count) {
  std::size_t i = 0;
  for (; i + kStep <= count; i += kStep) EncodeStep(out + 2 * i, bytes + i);
  if (i == count) return out + 2 * count;
  if (count >= kStep) {
    // The last step overlaps the one before it.
    EncodeStep(out + 2 * (count - kStep), bytes + count - kStep);
    return out + 2 * count;
  }
  for (; i < count; ++i) std::memcpy(out + 2 * i, &kDigitPairs[2 * std::size_t{bytes[i]}], 2);
  return out + 2 * count;
}

int HexDigit(char c) { return kDigitValues[static_cast<unsigned char>(c)]; }

HexResult DecodeHex(MQBYTE* out, std::size_t room, std::string_view text) {
  const std::size_t pairs = std::min(room, text.size() / 2);
  std::size_t i = 0;
  while (i + kStep <= pairs && DecodeStep(out + i, text.data() + 2 * i)) i += kStep;
  if (i != 0 && i < pairs && i + kStep > pairs && DecodeStep(out + pairs - kStep, text.data() + 2 * (pairs - kStep))) {
    i = pairs;
  }
  for (; i < room && 2 * i < text.size(); ++i) {
    const int high = HexDigit(text[2 * i]);
    if (high < 0) break;
    const int low = 2 * i + 1 < text.size() ? HexDigit(text[2 * i + 1]) : -1;
    if (low < 0) return {i, true};
    out[i] = static_cast<MQBYTE>(high << 4 | low);
  }
  return {i, false};
}
