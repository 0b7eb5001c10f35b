#include "cmdline/selection_report.h"

#include <cstdlib>
#include <ctime>

#include "cmdline/command_line_test.h"
#include "cmdline/validate.h"

namespace {

// The report of a command line that reads queue Q1.
std::string Report(std::vector<std::string> arguments) {
  arguments.insert(arguments.begin(), "-iQ1");
  const Parsed parsed = Parse(arguments);
  EXPECT_TRUE(parsed.Outcome.GoOn);
  EXPECT_TRUE(ValidateOptions(*parsed.Run));
  return CaptureOf([&] { ShowSelection(*parsed.Run); }).Errors;
}

}  // namespace

TEST(SelectionReport, ShowsEveryCriterion) {
  static char zone[] = "TZ=UTC0";
  putenv(zone);
  struct Case {
    std::vector<std::string> Arguments;
    std::string Lines;
  };
  for (const Case& one : std::vector<Case>{
           {{"-r5"}, "  Message index 5 only.\n"},
           {{"-r#3"}, "  Message index up to 3.\n"},
           {{"-r9..5"}, "  Message indexes 5 -> 9.\n"},
           {{"-r5.."}, "  Message indexes 5 onwards.\n"},
           {{"-Ha = 'b'"}, "  Messages matching selector 'a = 'b''\n"},
           {{"-z1.5k,1m"}, "  Message size greater or equal to 1 KB 512 bytes \n  Message size less than 1 MB \n"},
           {{"-P3,5"}, "  Message priority greater or equal to 3\n  Message priority less than or equal to 5\n"},
           {{"-gmABC"}, "  Message Identifier 0x'414243202020202020202020202020202020202020202020'\n"},
           {{"-gxc0aff", "-gxg01"},
            "  Correlation Identifier 0x'0AFF00000000000000000000000000000000000000000000'\n"
            "  Group Identifier 0x'010000000000000000000000000000000000000000000000'\n"},
           {{"-T30,60"},
            "  Younger than (1 hour) Wed Jan 01 11:00:00 2025\n"
            "  Older   than (30 minutes) Wed Jan 01 11:30:00 2025\n"},
           {{"-T30"}, "  Older than (30 minutes) Wed Jan 01 11:30:00 2025\n"},
           {{"-Tfu02/01/1980_02:03:55", "-Ttu01/01/2025"},
            "  Put after  Wed Jan 02 02:03:55 1980\n  Put before Wed Jan 01 00:00:00 2025\n"},
           {{"-Gt:*/Q.*"}, "  Messages targeted to */Q.*\n"},
           {{"-Gt:Q.*"}, "  Messages targeted to Q.*\n"},
           {{"-Gr:2085"}, "  Messages with DLQ Reason 2085 Unknown object name\n"},
           {{"-sABC", "-SD", "-eABC", "-EX", "-x4142", "-Xfe", "-s2"},
            "  Containing the ASCII string 'ABC'\n  Containing the ASCII string '2'\n"
            "  Not containing the ASCII string 'D'\n  Containing the EBCDIC string 'ABC'\n"
            "  Not containing the EBCDIC string 'X'\n  Containing the HEX string 0x'4142'\n"
            "  Not containing the HEX string 0x'FE'\n"},
       }) {
    SCOPED_TRACE(Joined(one.Arguments));
    EXPECT_EQ(Report(one.Arguments), "Message selection active:\n" + one.Lines + "\n");
  }
  EXPECT_EQ(Report({"-Gi:", "-r2"}), "Inverse Message selection active:\n  Message index 2 only.\n\n");
  EXPECT_EQ(Report({"-q", "-r2"}), "");
}

TEST(SelectionReport, ShowsExampleDates) {
  const auto run = FreshRun();
  static char zone[] = "TZ=CET-1CEST,M3.5.0,M10.5.0/3";
  putenv(zone);
  tzset();
  const Written written = CaptureOf([&] { ShowExampleDates(*run, "20150625"); });
  EXPECT_EQ(written.Errors,
            "Example Date 20150625 120000 is 1435226400 as local time \n"
            "Example Date 20150625 120000 is 1435233600 as UTC time \n");
  static char utc[] = "TZ=UTC0";
  putenv(utc);
  tzset();
}
