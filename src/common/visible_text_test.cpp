#include "common/visible_text.h"

#include <gtest/gtest.h>

namespace {

TEST(VisibleText, ShowsWhatSteersATerminalAsDots) {
  const struct {
    std::string_view Data, Shown;
  } cases[] = {
      {"plain\ttext\n\n", "plain\ttext\n\n"},
      {std::string_view("\0\x07\x08\x1B[2J\x1F\x7F ~", 11), "....[2J.. ~"},
      {"a\r\nb\rc\r", "a\r\nb.c."},
      {"\x80\x9F\xA0\xFF", "..\xA0\xFF"},
      {"\xC3\x9B\xE2\x82\xAC\xF0\x9F\x98\x80", "\xC3\x9B\xE2\x82\xAC\xF0\x9F\x98\x80"},
      {"\xC2\x80\xC2\x9F\xC2\xA0", "....\xC2\xA0"},
      {"\xC3\x1B\xE2\x82\xF4\x90\x80\x80", "\xC3.\xE2.\xF4..."},
      {"\xC1\x9B\xE0\x9F\x9B\xED\xA0\x9B\xF0\x8F\x9B\x9B\xF5\x9B", "\xC1.\xE0..\xED\xA0.\xF0...\xF5."},
  };
  for (const auto& c : cases) EXPECT_EQ(VisibleText(c.Data), c.Shown) << testing::PrintToString(c.Data);
}

TEST(WholeCharacters, TearsNone) {
  const struct {
    const char* Text;
    std::size_t Limit, Kept;
  } cases[] = {
      {"abc", 3, 3},           {"abcd", 3, 3},         {"a\xC3\xA9", 2, 1},         {"a\xC3\xA9z", 3, 3},
      {"\xE2\x82\xAC", 2, 0},  {"\xA9\xA9\xA9", 2, 2}, {"a\xF0\x9F\x98\x80", 4, 1}, {"a\xF0\x9F\x98\x80", 2, 1},
      {"\xE2\x82z\x82", 3, 3}, {"\xC3\xA9", 0, 0}};
  for (const auto& c : cases) EXPECT_EQ(WholeCharacters(c.Text, c.Limit), c.Kept) << c.Text << " " << c.Limit;
}

}  // namespace
