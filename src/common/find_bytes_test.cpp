#include "common/find_bytes.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

namespace {

// Over two letters the first and last bytes deceive the search all the time.
TEST(FindBytes, FindsWhatAPlainSearchFinds) {
  std::mt19937 random(1);
  for (int round = 0; round < 200000; ++round) {
    std::string data(random() % 100, 'a');
    for (char& c : data) c = random() % 3 == 0 ? 'b' : 'a';
    std::string wanted(random() % 20, 'a');
    for (char& c : wanted) c = random() % 4 == 0 ? 'b' : 'a';
    // A block of its own, so that a sanitizer sees a look beyond its end.
    const std::vector<char> block(data.begin(), data.end());
    ASSERT_EQ(FindBytes({block.data(), block.size()}, wanted), data.find(wanted)) << data << " / " << wanted;
  }
}

TEST(FindBytes, FindsBytesOfAnyValueAtTheVeryEnd) {
  std::string data(1000, '\0');
  data += "\xFF\x80";
  EXPECT_EQ(FindBytes(data, "\xFF\x80"), 1000U);
  EXPECT_EQ(FindBytes(data, "\x80"), 1001U);
  EXPECT_EQ(FindBytes(data, "\xFF\x80\x01"), std::string::npos);
}

}  // namespace
