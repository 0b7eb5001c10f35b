#pragma once

// Finding delimiters under the bracket rule: a delimiter counts only where every bracket opened since the start of the
// scan is closed again, and no closing bracket stands where another one (or none) is due. A scan looks at each byte
// once: it keeps its nesting and its place between candidates and between blocks. Once a closing bracket is out of
// place, no later candidate of the same scan can count.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "common/cs.h"

// The closing brackets that are due, innermost last.
using BracketStack = std::vector<char, CSAllocator<char>>;

// A delimiter prepared for scanning.
struct DelimiterRule {
  std::string Bytes;            // empty: not given
  std::uint8_t Classes[256]{};  // what a byte means to the scan: kOpening, kClosing, kFirstByte
  bool Brackets = false;        // the bracket rule is in force
  bool Closed = true;           // every bracket that the delimiter itself opens is closed in it
  std::string ClosesBefore;     // the closing brackets in it whose opening ones stand before it, in order
};

inline constexpr std::uint8_t kOpening = 1, kClosing = 2, kFirstByte = 4;

DelimiterRule MakeDelimiterRule(std::string_view bytes, bool brackets);

// The closing bracket of an opening one, else 0.
char ClosingBracket(char c);
bool IsClosingBracket(char c);

enum class ScanMode {
  Start,  // the brackets are looked at up to the delimiter
  End     // the brackets of the delimiter count too
};

enum class ScanResult {
  Found,      // at DelimiterScan::Found
  NeedsData,  // everything held is looked at
  PastLimit,  // no candidate up to the limit counts
  Hopeless,   // a bracket is out of place: no candidate can count any more
  NoMemory
};

// One scan for one delimiter. Offsets count from the start of the file.
struct DelimiterScan {
  DelimiterScan(const DelimiterRule& delimiterRule, ScanMode scanMode, std::int64_t from, BracketStack& stack);

  // Goes on through the bytes `held`, the first of which has the offset `base`; `ended` tells that none follow.
  // Candidates begin at `Limit` at the latest.
  ScanResult Continue(std::string_view held, std::int64_t base, bool ended);
  // Whether every bracket met so far is closed.
  bool Balanced() const { return Brackets.empty(); }

  const DelimiterRule& Rule;
  ScanMode Mode;
  std::int64_t At;              // the next byte to look at
  std::int64_t CandidatesFrom;  // delimiters that begin before are passed over
  std::int64_t Limit = INT64_MAX;
  std::int64_t Found = -1;
  BracketStack& Brackets;

 private:
  // The steps at a byte that means something, which stands at At and is the first of `held`; nothing when the scan goes
  // on behind it.
  std::optional<ScanResult> LookAt(std::string_view held, bool ended);
  std::optional<ScanResult> TryCandidate(std::string_view held, bool ended);
  std::optional<ScanResult> TakeBracket(char c);
};
