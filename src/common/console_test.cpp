#include "common/console.h"

#include <gtest/gtest.h>

#include <string>

#include "common/result.h"

namespace {

// What `act` writes to standard error.
template <typename Action>
std::string Shown(const Action& act) {
  testing::internal::CaptureStderr();
  act();
  return testing::internal::GetCapturedStderr();
}

TEST(Print, EndsTheProgressLineBelowItsLatestFigures) {
  Console screen;
  screen.Redraw = [&] { screen.ShowInPlace("20%"); };
  EXPECT_EQ(Shown([&] { screen.ShowInPlace("10%"); }), "10%");
  EXPECT_EQ(Shown([&] { screen.Print("Trouble %d\n", 5); }), "\b\b\b20%\nTrouble 5\n");
  EXPECT_EQ(Shown([&] { screen.Print("More\n"); }), "More\n");
}

TEST(Print, WritesTextsOfAnyLengthBehindTheirPrefix) {
  Console screen;
  screen.Prefix = [] { return "Line No. 7: "; };
  const std::string text(5000, 'x');
  EXPECT_EQ(Shown([&] { screen.Print("<%s>", text.c_str()); }), "Line No. 7: <" + text + ">");
  EXPECT_EQ(Shown([&] { screen.PrintText("100%s\n"); }), "Line No. 7: 100%s\n");
}

TEST(ShowInPlace, BlanksWhatTheOldLineHadMore) {
  Console screen;
  EXPECT_EQ(Shown([&] { screen.ShowInPlace("abcd"); }), "abcd");
  EXPECT_EQ(Shown([&] { screen.ShowInPlace("xy"); }), "\b\b\b\bxy  \b\b");
  EXPECT_EQ(Shown([&] { screen.EraseInPlace(); }), "\b\b  \b\b");
  EXPECT_FALSE(screen.StandsInPlace());
}

TEST(Result, CutsItsTextToItsCapacity) {
  FailureText text;
  text.Format("%s", std::string(1000, 'm').c_str());
  EXPECT_EQ(text.view(), std::string(711, 'm'));
  EXPECT_EQ(Result(1, std::string(1000, 'm')).text(), std::string(711, 'm'));
}

}  // namespace
