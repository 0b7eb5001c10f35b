#include "engine/selection.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <random>
#include <string>
#include <vector>

#include "engine/code_pages.h"
#include "engine/fake_mq_test.h"

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

TEST(PutTime, ReadsDescriptorFields) {
  struct Case {
    const char* Date;
    const char* Time;
    std::int64_t Seconds;
  };
  static constexpr Case kCases[] = {
      {"19700101", "00000000", 0},
      {"20000229", "12345678", 951827696},
      {"20240229", "235959  ", 1709251199},
      {"21000228", "00000000", 4107456000},
      {"20380119", "03140799", 2147483647},
      {" 200 1 1", " 0 0 0 0", -55855785600},
      {"        ", "        ", -1},
      {"20240229", "        ", -1},
      {"20241301", "00000000", -1},
      {"20240230", "00000000", -1},
      {"20240101", "24000000", -1},
      {"\0\0\0\0\0\0\0", "00000000", -1},
      {"2024", "00000000", -1},
      {"2024-1-1", "00000000", -1},
  };
  for (const Case& c : kCases) EXPECT_EQ(PutTimeUtc(c.Date, c.Time), c.Seconds) << c.Date << " " << c.Time;
  EXPECT_EQ(PutTimeUtc(nullptr, "00000000"), -1);
  EXPECT_EQ(PutTimeLocal("20240101", nullptr), -1);
}

TEST(PutTime, AgreesWithTheCalendarOfTheLibrary) {
  const auto put = [](const std::tm* calendar) {
    char text[32];
    std::strftime(text, sizeof text, "%Y%m%d%H%M%S00", calendar);
    return std::string(text);
  };
  // Every third day for 136 years, each time half an hour later in the day. The library of Windows has no local time
  // before 1970.
  for (std::time_t time = 86400; time < 50000 * std::int64_t{86400}; time += 3 * 86400 + 1800) {
    const std::string utc = put(std::gmtime(&time));
    ASSERT_EQ(PutTimeUtc(utc.c_str(), utc.c_str() + 8), time) << utc;
    // In the hour that comes twice either instant is right: both show the same time.
    const std::string local = put(std::localtime(&time));
    const std::time_t back = PutTimeLocal(local.c_str(), local.c_str() + 8);
    ASSERT_EQ(put(std::localtime(&back)), local);
  }
}

TEST(CodePages, LettersAndDigitsSurviveBothWays) {
  // What the system's converter makes of the characters from the blank on, as code page 1047.
  constexpr unsigned char kExpected[] =
      "\x40\x5a\x7f\x7b\x5b\x6c\x50\x7d\x4d\x5d\x5c\x4e\x6b\x60\x4b\x61\xf0\xf1\xf2\xf3\xf4\xf5\xf6\xf7\xf8\xf9"
      "\x7a\x5e\x4c\x7e\x6e\x6f\x7c\xc1\xc2\xc3\xc4\xc5\xc6\xc7\xc8\xc9\xd1\xd2\xd3\xd4\xd5\xd6\xd7\xd8\xd9\xe2"
      "\xe3\xe4\xe5\xe6\xe7\xe8\xe9\xad\xe0\xbd\x5f\x6d\x79\x81\x82\x83\x84\x85\x86\x87\x88\x89\x91\x92\x93\x94"
      "\x95\x96\x97\x98\x99\xa2\xa3\xa4\xa5\xa6\xa7\xa8\xa9\xc0\x4f\xd0\xa1";
  const std::string_view notSearched = "^`";
  const std::string_view readOtherwise = "$[]\\^`";
  for (unsigned char c = ' '; c <= '~'; ++c) {
    const bool known = notSearched.find(static_cast<char>(c)) == std::string_view::npos;
    EXPECT_EQ(AsciiToEbcdic(c), known ? kExpected[c - ' '] : 0x4B) << c;
    if (readOtherwise.find(static_cast<char>(c)) != std::string_view::npos) continue;
    EXPECT_EQ(EbcdicToAscii(kExpected[c - ' ']), static_cast<char>(c));
  }
  EXPECT_EQ(static_cast<unsigned char>(EbcdicToAscii(0x5B)), 0x9C);
  EXPECT_EQ(EbcdicToAscii(0x00), '.');
  EXPECT_TRUE(IsEbcdicCcsid(37) && IsEbcdicCcsid(1047) && IsEbcdicCcsid(61712));
  EXPECT_FALSE(IsEbcdicCcsid(0) || IsEbcdicCcsid(819) || IsEbcdicCcsid(1208) || IsEbcdicCcsid(61713));
}

TEST(NormaliseRange, OrdersBoundsAndOpensTheStart) {
  struct Case {
    int Start, End, NewStart, NewEnd;
  };
  for (const Case& c : {Case{0, 0, 0, 0}, {0, 3, 1, 3}, {9, 5, 5, 9}, {5, 0, 5, 0}, {5, 5, 5, 5}}) {
    auto run = std::make_unique<Parameters>();
    run->Asked.Selection.RangeStart = c.Start;
    run->Asked.Selection.RangeEnd = c.End;
    NormaliseRange(*run);
    EXPECT_EQ(run->RangeStart, c.NewStart);
    EXPECT_EQ(run->RangeEnd, c.NewEnd);
  }
}

TEST(SelectMessage, LooksOnlyAtDeliveredBytes) {
  const auto run = std::make_unique<Parameters>();
  std::string data = "xxABC";
  run->Message.Data = reinterpret_cast<MQBYTE*>(data.data());
  run->Message.Length = run->Message.Delivered = 5;
  run->Asked.Selection.Ascii = {"ABC"};
  EXPECT_TRUE(SelectMessage(*run));
  run->Message.Delivered = 4;
  EXPECT_FALSE(SelectMessage(*run));
}

// A header that the format announces, but the message is too short for.
TEST(SelectMessage, ReadsNoHeaderBeyondTheMessage) {
  const auto run = std::make_unique<Parameters>();
  for (const char* format : {MQFMT_DEAD_LETTER_HEADER, MQFMT_XMIT_Q_HEADER}) {
    FillField(run->Message.Descriptor.Format, 8, format);
    for (std::size_t size = 0; size < sizeof(MQDLH); ++size) {
      std::vector<MQBYTE> data(size);  // of its own, so that a sanitizer sees a look beyond its end
      std::copy_n("DLH \1\0\0\0\5\10\0\0", std::min<std::size_t>(size, 12), data.begin());
      run->Message.Data = data.data();
      run->Message.Length = run->Message.Delivered = static_cast<MQLONG>(size);
      for (const bool byTarget : {false, true}) {
        run->Asked.Selection = {};
        if (byTarget) run->Asked.Selection.Target = {"*", "*"};
        if (!byTarget) run->Asked.Selection.DlqReason = 2053;
        EXPECT_FALSE(SelectMessage(*run)) << format << size;
      }
    }
  }
}

}  // namespace
