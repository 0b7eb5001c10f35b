#include "common/console.h"

#include <gtest/gtest.h>

#include <string>

#include "cmdline/parameters.h"

namespace {

// What `act` writes to standard error.
template <typename Action>
std::string Shown(const Action& act) {
  testing::internal::CaptureStderr();
  act();
  return testing::internal::GetCapturedStderr();
}

TEST(PrintDiagnostic, EndsTheProgressLineBelowItsLatestFigures) {
  Parameters run;
  run.Screen.Redraw = [](Parameters& r) { ShowInPlace(r, "20%"); };
  EXPECT_EQ(Shown([&] { ShowInPlace(run, "10%"); }), "10%");
  EXPECT_EQ(Shown([&] { PrintDiagnostic(run, "Trouble %d\n", 5); }), "\b\b\b20%\nTrouble 5\n");
  EXPECT_EQ(Shown([&] { PrintDiagnostic(run, "More\n"); }), "More\n");
}

TEST(PrintDiagnostic, TellsTheLineOfALogDump) {
  Parameters run;
  run.Log.DumpLineNumber = 7;
  EXPECT_EQ(Shown([&] { PrintDiagnostic(run, "a\n"); }), "a\n");
  run.Log.ReadingDumpFile = true;
  EXPECT_EQ(Shown([&] { PrintDiagnosticText(run, "100%s\n"); }), "Line No. 7: 100%s\n");
  run.Log.DumpLineNumber = 0;
  EXPECT_EQ(Shown([&] { PrintDiagnostic(run, "b\n"); }), "b\n");
}

TEST(PrintDiagnostic, WritesTextsOfAnyLength) {
  Parameters run;
  const std::string text(5000, 'x');
  EXPECT_EQ(Shown([&] { PrintDiagnostic(run, "<%s>", text.c_str()); }), "<" + text + ">");
}

TEST(ShowInPlace, BlanksWhatTheOldLineHadMore) {
  Parameters run;
  EXPECT_EQ(Shown([&] { ShowInPlace(run, "abcd"); }), "abcd");
  EXPECT_EQ(Shown([&] { ShowInPlace(run, "xy"); }), "\b\b\b\bxy  \b\b");
  EXPECT_EQ(Shown([&] { EraseInPlace(run); }), "\b\b  \b\b");
  EXPECT_EQ(run.Screen.InPlaceShown, 0U);
}

TEST(SetMessageText, CutsToItsCapacity) {
  Parameters run;
  SetMessageText(run, "%s", std::string(1000, 'm').c_str());
  EXPECT_EQ(run.MessageText.view(), std::string(711, 'm'));
}

}  // namespace
