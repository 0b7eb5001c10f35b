#include "files/naming.h"

#include <gtest/gtest.h>

#include <ctime>

#include "files/progress.h"

namespace {

InsertValues At(int year, int month, int day, int hour) {
  InsertValues values;
  values.Local.tm_year = year - 1900;
  values.Local.tm_mon = month - 1;
  values.Local.tm_mday = day;
  values.Local.tm_hour = hour;
  values.Local.tm_min = 5;
  values.Local.tm_sec = 9;
  values.Local.tm_isdst = -1;
  std::mktime(&values.Local);  // the day of the week and of the year
  values.MessageOrdinal = 12;
  values.FileNumber = 3;
  values.SelectedOrdinal = 7;
  return values;
}

TEST(Template, ExpandsItsInserts) {
  const InsertValues evening = At(2025, 11, 18, 22), noon = At(2026, 1, 1, 12), midnight = At(2024, 12, 31, 0);
  const struct {
    InsertValues Values;
    const char* Template;
    const char* Name;
  } cases[] = {
      {evening, "%C %c %y %yy", "20251118 251118 2025 25"},
      {evening, "%m %mm %mmm %mmmm", "Nov 11 November Novemberm"},
      {evening, "%d %D %DD", "18 Tue Tuesday"},
      {evening, "%H %HH %h %hh %P %p", "22 22 10 10 PM pm"},
      {evening, "%M %S %t", "05 09 220509"},
      {evening, "%I %i %N %n %O %o", "00012 12 00003 3 00007 7"},
      {noon, "%J %j %h %hh %HH %P %dd", "001 000 00 0 12 PM 1st"},
      {midnight, "%J %j %H %HH %p %dd", "366 365 00 0 am 31st"},
      {At(2025, 6, 2, 1), "%dd%HH", "2nd1"},
      {At(2025, 6, 3, 1), "%dd", "3rd"},
      {At(2025, 6, 11, 1), "%dd", "11th"},
      {At(2025, 6, 22, 1), "%dd", "22nd"},
      {evening, "a%xb%", "ab"},
      {evening, "100%%n%%%n%", "100%n%3"},
      {evening, "", ""},
  };
  for (const auto& c : cases) EXPECT_EQ(ExpandTemplate(c.Template, c.Values), c.Name) << c.Template;
}

std::time_t now;

std::time_t Now(std::time_t*) { return now; }

TEST(Progress, LineOnATerminal) {
  Console screen;
  screen.StdinIsTerminal = true;
  ProgressLine line(screen, Now);
  std::int64_t done = 250;
  testing::internal::CaptureStderr();
  line.Start(0, "empty", {});  // nothing is shown, nor divided
  line.Show();
  line.End(false);
  line.Start(1000, "in.txt", [&done] { return done; });
  line.Show();  // drawn once a second at most
  now += 10;
  line.Show();
  done = 5000;
  ++now;
  line.Show();
  done = 0;
  ++now;
  line.Show();  // back at 0 %: no time left can be told
  line.End(true, ": 3 messages found");
  line.End(true);
  std::string texts = testing::internal::GetCapturedStderr();
  std::erase(texts, '\b');
  EXPECT_EQ(texts, "\nLoading 'in.txt' :  0%: 25%  ETA:30 secs: 99%  ETA:0 secs :  0%            : 3 messages found\n");
}

}  // namespace
