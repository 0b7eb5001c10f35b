// Runs whose clock stands still at a chosen second (libfaketime), in zones whose clocks jump twice a year: put times,
// ages, the dates of file names.

#include <ctime>

#include "preload_posix.h"

namespace {

// Rules of the zones as of today, written out, so that the machine needs no zone files.
constexpr char kBerlin[] = "CET-1CEST,M3.5.0,M10.5.0/3";
constexpr char kNewYork[] = "EST5EDT,M3.2.0,M11.1.0";
constexpr char kLordHowe[] = "<+1030>-10:30<+11>-11,M10.1.0,M4.1.0";  // jumps half an hour

class Clock : public Sandbox {
 protected:
  Outcome TarvoAt(std::int64_t now, const char* zone, std::vector<std::string> arguments) {
    auto variables = environment();
    harness::StopClock(variables, now);
    variables["TZ"] = zone;
    return harness::RunProcess(
        {harness::ProgramFolder() / "tarvo", std::move(arguments), Path("."), variables, {}, {}});
  }
  // A file of messages that were put one second before, at, and one second after `seconds`.
  void WriteMessagesAround(std::int64_t seconds) {
    std::string file = "* TARVO\n\n";
    for (const char* name : {"before", "at", "after"}) {
      const std::time_t time = seconds - 1 + (name[0] == 'a') + (name[1] == 'f');
      char stamp[64];
      std::strftime(stamp, sizeof stamp, "A PTD %Y%m%d\nA PTT %H%M%S00\n", std::gmtime(&time));
      file += std::string(stamp) + "S \"" + name + "\"\n\n";
    }
    WriteText("around.tvo", file);
  }
  std::string Chosen(const Outcome& outcome) {
    std::string chosen;
    for (const std::string& line : Lines(outcome.Out)) chosen += line + " ";
    return chosen;
  }
};

TEST_F(Clock, TimestampsMeanTheLocalClockAcrossItsJumps) {
  constexpr std::int64_t kNow = 1743377400;  // 30 March 2025, 23:30 UTC; in Berlin and on Lord Howe it is the 31st
  const struct {
    const char* Zone;
    const char* Timestamp;
    std::int64_t Seconds;
  } cases[] = {
      {kBerlin, "30/03/2025_01:59:59", 1743296399},
      {kBerlin, "30/03/2025_03:00", 1743296400},
      {kBerlin, "30/03/2025", 1743289200},
      {kBerlin, "31/03/2025_00", 1743372000},
      {kBerlin, "26/10/2025_01:59:59", 1761436799},
      {kBerlin, "26/10/2025_03:00:00", 1761444000},
      {kBerlin, "12:00", 1743415200},
      {kBerlin, "u12:00", 1743422400},
      {kBerlin, "u30/03/2025_01:00", 1743296400},
      {kNewYork, "09/03/2025_01:59:59", 1741503599},
      {kNewYork, "09/03/2025_03:00", 1741503600},
      {kNewYork, "02/11/2025_00:59:59", 1762059599},
      {kNewYork, "02/11/2025_02:00:00", 1762066800},
      {kNewYork, "12:00:00", 1743350400},
      {kNewYork, "u12:00:00", 1743336000},
      {kLordHowe, "06/04/2025_01:29:59", 1743863399},
      {kLordHowe, "06/04/2025_02:00", 1743867000},
      {kLordHowe, "05/10/2025_01:59:59", 1759591799},
      {kLordHowe, "05/10/2025_02:30", 1759591800},
      {kLordHowe, "12:00", 1743382800},
      {kLordHowe, "u06/10/2025_00:00:00", 1759708800},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.Zone) + " " + c.Timestamp);
    WriteMessagesAround(c.Seconds);
    const auto run = [&](const char* option) {
      return TarvoAt(kNow, c.Zone, {"-faround.tvo", "-fstdout", "-drNH", std::string(option) + c.Timestamp});
    };
    const auto from = run("-Tf");
    EXPECT_EQ(Chosen(from), "at after ") << from.Err;
    EXPECT_EQ(Chosen(run("-Tt")), "before ");
    // The report shows the local clock, which is the text of the option unless that is in UTC.
    const std::string_view timestamp = c.Timestamp;
    if (timestamp[0] == 'u' || timestamp.size() < 16) continue;
    const std::size_t report = from.Err.find("  Put after  ");
    ASSERT_NE(report, std::string::npos) << from.Err;
    EXPECT_EQ(from.Err.substr(report + 21, 2), timestamp.substr(0, 2)) << from.Err;
    EXPECT_EQ(from.Err.substr(report + 24, 5), timestamp.substr(11, 5)) << from.Err;
  }
}

TEST_F(Clock, AgesCountSecondsWhateverTheClockShows) {
  const struct {
    const char* Zone;
    std::int64_t Now;  // half an hour after a jump, or in the hour that comes twice
    const char* Younger;
    const char* Older;
  } cases[] = {
      {kBerlin, 1743298200, "Sat Mar 29 02:30:00 2025", "Sun Mar 30 01:30:00 2025"},
      {kBerlin, 1761442200, "Sat Oct 25 03:30:00 2025", "Sun Oct 26 02:30:00 2025"},
      {kNewYork, 1741505400, "Sat Mar 08 02:30:00 2025", "Sun Mar 09 01:30:00 2025"},
      {kLordHowe, 1759593600, "Sat Oct 04 02:30:00 2025", "Sun Oct 05 01:30:00 2025"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.Zone);
    WriteMessagesAround(c.Now - 3600);
    const auto old = TarvoAt(c.Now, c.Zone, {"-faround.tvo", "-fstdout", "-drNH", "-T60,1:0:0"});
    EXPECT_EQ(Chosen(old), "before ");
    const std::string report = std::string("Message selection active:\n  Younger than (1 day) ") + c.Younger +
                               "\n  Older   than (1 hour) " + c.Older + "\n\n";
    EXPECT_NE(old.Err.find(report), std::string::npos) << old.Err;
    EXPECT_EQ(Chosen(TarvoAt(c.Now, c.Zone, {"-faround.tvo", "-fstdout", "-drNH", "-T,1:00"})), "at after ");
    WriteMessagesAround(c.Now - 86400);
    EXPECT_EQ(Chosen(TarvoAt(c.Now, c.Zone, {"-faround.tvo", "-fstdout", "-drNH", "-T60,24:00"})), "at after ");
  }
}

TEST_F(Clock, ExampleDatesShowWinterAndSummer) {
  const struct {
    const char* Zone;
    const char* Local;
    const char* Winter;
    const char* Summer;
  } cases[] = {
      {kBerlin, "Mon Mar 31 01:30:00 2025", "1419505200", "1435226400"},
      {kNewYork, "Sun Mar 30 19:30:00 2025", "1419526800", "1435248000"},
      {kLordHowe, "Mon Mar 31 10:30:00 2025", "1419469200", "1435195800"},
      {"UTC0", "Sun Mar 30 23:30:00 2025", "1419508800", "1435233600"},
  };
  for (const auto& c : cases) {
    const auto outcome = TarvoAt(1743377400, c.Zone, {"-VT", "-fnone"});
    const std::string shown = std::string("Current Time:1743377400\nLocal Time  :") + c.Local +
                              "\n\nExample Date 20141225 120000 is " + c.Winter +
                              " as local time \nExample Date 20141225 120000 is 1419508800 as UTC time \n"
                              "Example Date 20150625 120000 is " +
                              c.Summer + " as local time \nExample Date 20150625 120000 is 1435233600 as UTC time \n";
    EXPECT_EQ(outcome.Err.substr(0, shown.size()), shown);
  }
}

TEST_F(Clock, FileNamesTakeTheLocalTimeOfOpening) {
  const struct {
    const char* Zone;
    std::int64_t Now;
    const char* Template;
    const char* Name;
  } cases[] = {
      {kBerlin, 1743296399, "%C-%t-%D-%J", "20250330-015959-Sun-089"},
      {kBerlin, 1743296400, "%C-%t-%D-%j", "20250330-030000-Sun-088"},
      {kNewYork, 1735707599, "%y-%yy-%m-%mm-%mmm-%d-%dd-%J", "2024-24-Dec-12-December-31-31st-366"},
      {kNewYork, 1735707600, "%c-%DD-%dd-%J-%H.%HH.%h.%hh.%M.%S.%P.%p",
       "250101-Wednesday-1st-001-00.0.00.0.00.00.AM.am"},
      {kLordHowe, 1753148100, "%dd-%H.%HH.%h.%hh.%M-%P%p", "22nd-12.12.00.0.05-PMpm"},
      {kLordHowe, 1753148100, "a%x%%b%", "a%b"},
  };
  WriteMessagesAround(1743296400);
  for (const auto& c : cases) {
    const auto outcome = TarvoAt(c.Now, c.Zone, {"-q", "-faround.tvo", std::string("-f") + c.Template});
    EXPECT_EQ(outcome.Exit, 0) << outcome.Err;
    EXPECT_TRUE(std::filesystem::remove(Path(c.Name))) << c.Template << " is not " << c.Name;
  }
}

}  // namespace
