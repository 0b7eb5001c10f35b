#include "engine/code_pages.h"

#include <gtest/gtest.h>

#include <string_view>

namespace {

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

}  // namespace
