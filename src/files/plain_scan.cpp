#include "files/plain_scan.h"

#include <algorithm>
#include <cstring>
#include <new>

namespace {

constexpr std::uint8_t kBracket = kOpening | kClosing;

std::uint8_t ClassOf(char c) {
  if (ClosingBracket(c) != 0) return kOpening;
  return IsClosingBracket(c) ? kClosing : 0;
}

// The next byte in [p, stop) that means something, or `stop`.
const unsigned char* NextSignificant(const DelimiterRule& rule, const unsigned char* p, const unsigned char* stop) {
  if (p == stop) return stop;
  if (!rule.Brackets) {
    const void* first = std::memchr(p, static_cast<unsigned char>(rule.Bytes[0]), static_cast<std::size_t>(stop - p));
    return first != nullptr ? static_cast<const unsigned char*>(first) : stop;
  }
  const std::uint8_t* classes = rule.Classes;
  while (stop - p >= 8) {
    if ((classes[p[0]] | classes[p[1]] | classes[p[2]] | classes[p[3]]) != 0) break;
    if ((classes[p[4]] | classes[p[5]] | classes[p[6]] | classes[p[7]]) != 0) {
      p += 4;
      break;
    }
    p += 8;
  }
  while (p != stop && classes[*p] == 0) ++p;
  return p;
}

// Whether a delimiter that begins where `open` is due closes all of it.
bool Accepts(const DelimiterRule& rule, ScanMode mode, const BracketStack& open) {
  if (!rule.Brackets) return true;
  if (mode == ScanMode::Start) return open.empty();
  return rule.Closed && std::equal(rule.ClosesBefore.begin(), rule.ClosesBefore.end(), open.rbegin(), open.rend());
}

}  // namespace

char ClosingBracket(char c) {
  switch (c) {
    case '(':
      return ')';
    case '<':
      return '>';
    case '[':
      return ']';
    case '{':
      return '}';
    default:
      return 0;
  }
}

bool IsClosingBracket(char c) { return c == ')' || c == '>' || c == ']' || c == '}'; }

DelimiterRule MakeDelimiterRule(std::string_view bytes, bool brackets) {
  DelimiterRule rule;
  rule.Bytes = bytes;
  rule.Brackets = brackets;
  std::string open;
  for (const char c : bytes) {
    if (const char closing = ClosingBracket(c); closing != 0) {
      open += closing;
    } else if (ClassOf(c) == kClosing) {
      if (open.empty()) {
        rule.ClosesBefore += c;
      } else if (open.back() == c) {
        open.pop_back();
      } else {
        rule.Closed = false;
      }
    }
  }
  rule.Closed = rule.Closed && open.empty();
  for (int c = 0; c < 256; ++c) rule.Classes[c] = ClassOf(static_cast<char>(c));
  if (!bytes.empty()) rule.Classes[static_cast<unsigned char>(bytes[0])] |= kFirstByte;
  return rule;
}

DelimiterScan::DelimiterScan(const DelimiterRule& delimiterRule, ScanMode scanMode, std::int64_t from,
                             BracketStack& stack)
    : Rule(delimiterRule), Mode(scanMode), At(from), CandidatesFrom(from), Brackets(stack) {
  Brackets.clear();
}

std::optional<ScanResult> DelimiterScan::LookAt(std::string_view held, bool ended) {
  const std::uint8_t meaning = Rule.Classes[static_cast<unsigned char>(held[0])];
  if ((meaning & kFirstByte) != 0) {
    if (const auto result = TryCandidate(held, ended); result) return result;
  }
  return Rule.Brackets && (meaning & kBracket) != 0 ? TakeBracket(held[0]) : std::nullopt;
}

std::optional<ScanResult> DelimiterScan::TryCandidate(std::string_view held, bool ended) {
  if (At < CandidatesFrom) return {};
  const std::string& delimiter = Rule.Bytes;
  if (held.size() < delimiter.size()) return ended ? std::optional<ScanResult>() : ScanResult::NeedsData;
  if (std::memcmp(held.data(), delimiter.data(), delimiter.size()) != 0 || !Accepts(Rule, Mode, Brackets)) return {};
  Found = At;
  return ScanResult::Found;
}

std::optional<ScanResult> DelimiterScan::TakeBracket(char c) {
  if (const char closing = ClosingBracket(c); closing != 0) {
    try {
      Brackets.push_back(closing);
    } catch (const std::bad_alloc&) {
      return ScanResult::NoMemory;
    }
    return {};
  }
  if (Brackets.empty() || Brackets.back() != c) return ScanResult::Hopeless;
  Brackets.pop_back();
  return {};
}

ScanResult DelimiterScan::Continue(std::string_view held, std::int64_t base, bool ended) {
  const auto* first = reinterpret_cast<const unsigned char*>(held.data());
  const bool limited = Limit < base + static_cast<std::int64_t>(held.size());
  if (limited && Limit < At) return ScanResult::PastLimit;
  const auto* stop = limited ? first + (Limit - base) + 1 : first + held.size();
  for (const unsigned char* p = first + (At - base);; ++p) {
    p = NextSignificant(Rule, p, stop);
    At = base + (p - first);
    if (p == stop) return limited ? ScanResult::PastLimit : ScanResult::NeedsData;
    const auto result = LookAt(held.substr(static_cast<std::size_t>(p - first)), ended);
    if (result) return *result;
  }
}
