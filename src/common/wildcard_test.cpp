#include "common/wildcard.h"

#include <gtest/gtest.h>

#include <cctype>
#include <random>
#include <string>

namespace {

// The rules as they are told, by recursion: `started` says that the mask is tried from its beginning here, where a star
// is always a wildcard.
bool SlowMatch(bool caseCounts, std::string_view text, std::string_view mask, bool started = true) {
  if (mask.empty()) return text.empty();
  if (mask[0] == '*' && (started || text.empty() || text[0] != '*')) {
    if (mask.size() == 1) return true;
    if (text.empty()) return caseCounts && SlowMatch(caseCounts, text, mask.substr(1));
    for (std::size_t i = 0; i < text.size(); ++i) {
      if (SlowMatch(caseCounts, text.substr(i), mask.substr(1))) return true;
    }
    return false;
  }
  if (text.empty()) return false;
  const bool same = caseCounts ? text[0] == mask[0] : std::toupper(text[0]) == std::toupper(mask[0]);
  return (same || mask[0] == '?') && SlowMatch(caseCounts, text.substr(1), mask.substr(1), false);
}

TEST(Wildcards, Table) {
  struct Case {
    const char* Text;
    const char* Mask;
    bool Match, MatchNoCase;
  };
  static constexpr Case kCases[] = {
      {"ABC", "A*", true, true},   {"ABC", "*C", true, true},      {"ABC", "A?C", true, true},
      {"ABC", "*", true, true},    {"ABC", "ABC*", true, true},    {"ABC", "ABC**", true, false},
      {"ABC", "AB", false, false}, {"ABC", "?", false, false},     {"ABC", "A*D", false, false},
      {"ABC", "abc", false, true}, {"", "", true, true},           {"", "*", true, true},
      {"", "**", true, false},     {"", "?", false, false},        {"ABC", "", false, false},
      {"ABC", "**C", true, true},  {"AXBXC", "a*x?", false, true},
  };
  for (const Case& c : kCases) {
    EXPECT_EQ(WildcardMatch(c.Text, c.Mask), c.Match) << c.Text << " / " << c.Mask;
    EXPECT_EQ(WildcardMatchNoCase(c.Text, c.Mask), c.MatchNoCase) << c.Text << " / " << c.Mask;
  }
}

TEST(Wildcards, AnswerAsTheRulesDo) {
  std::mt19937 random(2);
  const auto pick = [&random](const char* alphabet, std::size_t letters, std::size_t most) {
    std::string text(random() % (most + 1), ' ');
    for (char& c : text) c = alphabet[random() % letters];
    return text;
  };
  for (int round = 0; round < 300000; ++round) {
    const std::string text = pick("aAb*", 4, 9);
    const std::string mask = pick("aAb*?*", 6, 7);
    ASSERT_EQ(WildcardMatch(text, mask), SlowMatch(true, text, mask)) << text << " / " << mask;
    ASSERT_EQ(WildcardMatchNoCase(text, mask), SlowMatch(false, text, mask)) << text << " / " << mask;
  }
}

// By recursion this would take longer than anybody waits.
TEST(Wildcards, ManyStarsDoNotExplode) {
  std::string mask;
  for (int i = 0; i < 40; ++i) mask += "*a";
  EXPECT_FALSE(WildcardMatch(std::string(5000, 'a'), mask + "b"));
  EXPECT_FALSE(WildcardMatchNoCase(std::string(5000, 'A'), mask + "b"));
  EXPECT_TRUE(WildcardMatch(std::string(5000, 'a'), mask));
}

}  // namespace
