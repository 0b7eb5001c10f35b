#include "cmdline/value_parsers.h"

#include <cstdlib>
#include <ctime>
#include <limits>
#include <optional>

#include "cmdline/command_line_test.h"
#include "cmdline/numbers.h"

namespace {

// One parser called with one text after another on the same run, and what it printed for the last of them.
using Parser = bool(CommandLine& line, std::string_view text);

struct Applied {
  std::unique_ptr<FreshLine> Fresh = std::make_unique<FreshLine>();
  bool Ok = false;
  std::string Errors;
};

Applied Apply(Parser* parse, const std::vector<std::string>& texts) {
  Applied result;
  for (const std::string& text : texts) {
    result.Errors = CaptureOf([&] { result.Ok = parse(result.Fresh->Line, text); }).Errors;
  }
  return result;
}

struct Refused {
  Parser* Parse;
  std::vector<std::string> Texts;
  std::string Message;
};

}  // namespace

TEST(Numbers, AreWhole) {
  constexpr std::int64_t kMost = std::numeric_limits<std::int64_t>::max();
  constexpr std::int64_t kLeast = std::numeric_limits<std::int64_t>::min();
  struct Case {
    const char* Text;
    std::int64_t Least;
    std::optional<std::int64_t> Value;
  };
  for (const Case& one :
       {Case{"007", 0, 7}, Case{"-7", -9, -7}, Case{"+7", -9, {}}, Case{"-7", 0, {}}, Case{"+7", 0, {}},
        Case{"-10", -9, {}}, Case{"", 0, {}}, Case{"-", -9, {}}, Case{"+-5", -9, {}}, Case{"12x", 0, {}},
        Case{" 1", 0, {}}, Case{"1 ", 0, {}}, Case{"9223372036854775807", 0, kMost},
        Case{"9223372036854775808", kLeast, {}}, Case{"99999999999999999999", 0, {}}}) {
    EXPECT_EQ(WholeNumber(one.Text, one.Least, kMost), one.Value) << one.Text;
  }
  EXPECT_EQ(WholeHexNumber("0xFf", 255), 255);
  for (const char* text : {"100", "", "0x", "-1", "1G"}) EXPECT_EQ(WholeHexNumber(text, 255), std::nullopt) << text;
}

TEST(TimeSelection, ReadsAges) {
  struct Case {
    const char* Text;
    int Older, Younger;
  };
  for (const Case& one : {Case{"90", 5400, 0},
                          {"1:30", 5400, 0},
                          {"2:0:0", 172800, 0},
                          {",60", 0, 3600},
                          {"30,1:00", 1800, 3600},
                          {"60,", 3600, 0},
                          {"0", 0, 0},
                          {"14d,2H", 1209600, 7200},
                          {"90m", 5400, 0},
                          {"35791394", 2147483640, 0}}) {
    SCOPED_TRACE(one.Text);
    const Applied result = Apply(ParseTimeSelection, {one.Text});
    EXPECT_TRUE(result.Ok);
    EXPECT_EQ(result.Fresh->Line.Asked.Selection.OlderThan, one.Older);
    EXPECT_EQ(result.Fresh->Line.Asked.Selection.YoungerThan, one.Younger);
  }
}

TEST(SizeSelection, AddsUpUnits) {
  struct Case {
    const char* Text;
    MQLONG AtLeast, Below;
  };
  for (const Case& one : {Case{"100", 100, -1},
                          {"1.5k", 1536, -1},
                          {"10 MB", 10485760, -1},
                          {"1M512K", 1572864, -1},
                          {"1m512kb", 1572864, -1},
                          {"1k,1m", 1024, 1048576},
                          {",100", -1, 100},
                          {"16777217", 16777217, -1},
                          {"2147483647", 2147483647, -1},
                          {"1g1023m1023k1023", 2147483647, -1}}) {
    SCOPED_TRACE(one.Text);
    const Applied result = Apply(ParseSizeSelection, {one.Text});
    EXPECT_TRUE(result.Ok);
    EXPECT_EQ(result.Fresh->Line.Asked.Selection.SizeAtLeast, one.AtLeast);
    EXPECT_EQ(result.Fresh->Line.Asked.Selection.SizeBelow, one.Below);
  }
}

TEST(FileLimits, SetOneEach) {
  const Applied age = Apply(ParseFileLimit, {"a30m"});
  EXPECT_EQ(age.Fresh->Line.Asked.Limits.Age, 1800);
  EXPECT_TRUE(age.Fresh->Line.Asked.Limits.Active);
  EXPECT_EQ(age.Fresh->Line.Asked.Limits.Msgs, 0);
  EXPECT_EQ(Apply(ParseFileLimit, {"s2g"}).Fresh->Line.Asked.Limits.Size, 2147483648);
  EXPECT_EQ(Apply(ParseFileLimit, {"s5000000000B"}).Fresh->Line.Asked.Limits.Size, 5000000000);
  const Applied both = Apply(ParseFileLimit, {"m10", "s1m"});
  EXPECT_EQ(both.Fresh->Line.Asked.Limits.Msgs, 10);
  EXPECT_EQ(both.Fresh->Line.Asked.Limits.Size, 1048576);
}

TEST(ValueParsers, RefuseWhatTheyCanNotRead) {
  for (const Refused& one : std::vector<Refused>{
           {ParseTimeSelection, {",5", ",6"}, "You can only specify the 'younger than' age once\n"},
           {ParseTimeSelection, {""}, "Invalid -T parameter ''\n"},
           {ParseTimeSelection, {"24856d"}, "Invalid -T parameter '24856d'\n"},
           {ParseTimeSelection, {"35791395"}, "Invalid -T parameter '35791395'\n"},
           {ParseTimeSelection, {"99999999999:0:0"}, "Invalid -T parameter '99999999999:0:0'\n"},
           {ParseTimeSelection, {"f25/12/2024", "f25/12/2024"}, "You can only specify the 'younger than' time once\n"},
           {ParseTimeSelection, {"t25/12/2024", "t25/12/2024"}, "You can only specify the 'older than' time once\n"},
           {ParseTimeSelection, {"f12"}, "Unrecognised time format '12'\n"},
           {ParseTimeSelection, {"fu25/12/24"}, "Unrecognised time format '25/12/24'\n"},
           {ParseTimeSelection, {"fu25/12/2024_12:00:00x"}, "Unrecognised time format '25/12/2024_12:00:00x'\n"},
           {ParseTimeSelection, {"fu01/01/1950"}, "Unrecognised time format '01/01/1950'\n"},
           {ParseTimeSelection, {"tu01/01/1970"}, "Unrecognised time format '01/01/1970'\n"},
           {ParseTimeSelection, {"f32/01/2025"}, "Unrecognised time format '32/01/2025'\n"},
           {ParseTimeSelection, {"f29/02/2025"}, "Unrecognised time format '29/02/2025'\n"},
           {ParseTimeSelection, {"fu01/13/2025"}, "Unrecognised time format '01/13/2025'\n"},
           {ParseTimeSelection, {"f25:00"}, "Unrecognised time format '25:00'\n"},
           {ParseTimeSelection, {"f10:60"}, "Unrecognised time format '10:60'\n"},
           {ParseTimeSelection, {"fu10:00:60"}, "Unrecognised time format '10:00:60'\n"},
           {ParseTimeSelection, {"f_12:00"}, "Unrecognised time format '_12:00'\n"},
           {ParseSizeSelection, {",1", ",2"}, "You can only specify the 'less than' message size once\n"},
           {ParseSizeSelection, {","}, "Invalid -z parameter ','\n"},
           {ParseSizeSelection, {"2g"}, "Invalid -z parameter '2g'\n"},
           {ParseFileLimit, {"a30mx"}, "Unrecognised -La parameter '30mx'\n"},
           {ParseFileLimit, {"a"}, "Unrecognised -La parameter ''\n"},
           {ParseFileLimit, {"a0h"}, "Invalid -La parameter '0h'\n"},
           {ParseFileLimit, {"a3x"}, "Unrecognised -La file age unit 'x'\n"},
           {ParseFileLimit, {"a600000h"}, "Invalid -La parameter '600000h'\n"},
           {ParseFileLimit, {"s30"}, "Please specify the units for -Ls parameter '30'\n"},
           {ParseFileLimit, {"s3h"}, "Unrecognised -Ls file size unit 'h'\n"},
           {ParseFileLimit, {"s9000000000g"}, "Invalid -Ls parameter '9000000000g'\n"},
           {ParseFileLimit, {"m2147483648"}, "Invalid -Lm parameter '2147483648'\n"},
       }) {
    SCOPED_TRACE(Joined(one.Texts));
    const Applied result = Apply(one.Parse, one.Texts);
    EXPECT_FALSE(result.Ok);
    EXPECT_EQ(result.Errors, one.Message);
  }
}
