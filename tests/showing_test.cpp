// What a run shows about messages (the summary, the time on the queue), and what it does to each on its way: headers
// taken off, delays, the backout queue.

#include <algorithm>
#include <chrono>
#include <ctime>
#include <regex>
#include <thread>

#include "common/text.h"
#include "harness.h"

namespace {

constexpr std::int64_t kDay = 86400;

// "YYYYMMDDHHMMSS" of an instant that lies `age` seconds back, in UTC.
std::string PutTimeOfAge(std::int64_t age) {
  const std::time_t put = std::time(nullptr) - age;
  char text[16];
  std::strftime(text, sizeof text, "%Y%m%d%H%M%S", std::gmtime(&put));
  return text;
}

MQMD DescriptorOfAge(int seed, std::int64_t age) {
  MQMD md = harness::RichDescriptor(seed);
  md.Priority = 5;
  const std::string put = PutTimeOfAge(age);
  FillField(md.PutDate, sizeof md.PutDate, put.substr(0, 8));
  FillField(md.PutTime, sizeof md.PutTime, put.substr(8) + "00");
  return md;
}

std::vector<std::string> Grep(std::string_view text, std::string_view part) {
  std::vector<std::string> lines = Lines(text);
  std::erase_if(lines, [&](const std::string& line) { return line.find(part) == std::string::npos; });
  return lines;
}

class Showing : public Sandbox {
 protected:
  void SetUp() override {
    CreateQueueManager("QM1", {"Q1", "OUT", "OTHER", "BQ"}, "DEFINE QALIAS(A1) TARGET(Q1)\nDEFINE QLOCAL(Q0)\n");
  }
  void Clear() {
    ASSERT_EQ(LocalMq({"QM1"}, "CLEAR QLOCAL(Q1)\nCLEAR QLOCAL(OUT)\nCLEAR QLOCAL(OTHER)\nCLEAR QLOCAL(BQ)\n").Exit, 0);
  }
  // What follows the banner of a run that went well; no line is wider than a terminal.
  std::string Shown(const std::vector<std::string>& arguments) {
    const Outcome outcome = Tarvo(Joined({"-mQM1"}, arguments));
    EXPECT_EQ(outcome.Exit, 0) << outcome.Err;
    EXPECT_EQ(outcome.Out, "");
    for (const auto& line : Lines(outcome.Err)) EXPECT_LE(line.size(), 80U) << line;
    return outcome.Err.substr(outcome.Err.find("\n\n") + 2);
  }
};

// ---- The summary

struct Kind {
  std::int64_t Value;
  std::size_t Bucket;
};
constexpr Kind kAges[] = {{20 * 60, 3},   {kDay / 2, 4},   {3 * kDay, 5},    {10 * kDay, 6},  {20 * kDay, 7},
                          {60 * kDay, 8}, {120 * kDay, 9}, {300 * kDay, 10}, {400 * kDay, 11}};
constexpr Kind kSizes[] = {{100, 1}, {99, 0}, {1023, 1}, {5000, 3}};

const Kind& SizeOf(int i) { return kSizes[i % 1000 == 0 ? 3 : i % 100 == 0 ? 2 : i % 2]; }

// The counts of the three rows below the lines of dashes.
std::vector<int> HistogramCounts(const std::string& shown) {
  std::vector<int> counts;
  const std::vector<std::string> lines = Lines(shown);
  for (std::size_t i = 0; i + 1 < lines.size(); ++i) {
    if (!lines[i].starts_with("------")) continue;
    std::istringstream row(lines[i + 1]);
    for (int count = 0; row >> count;) counts.push_back(count);
    EXPECT_EQ(lines[i].size(), lines[i + 1].size());
    EXPECT_EQ(lines[i].size(), lines[i - 1].size());
  }
  return counts;
}

std::string WeeksAndDays(std::int64_t seconds) {
  const std::int64_t weeks = seconds / (7 * kDay);
  const std::int64_t days = seconds % (7 * kDay) / kDay;
  return std::to_string(weeks) + (weeks == 1 ? " Week " : " Weeks ") + std::to_string(days) +
         (days == 1 ? " Day " : " Days ");
}

TEST_F(Showing, ASummaryOfAnyNumberOfMessagesOnAQueueAndInAFile) {
  struct Case {
    int Messages;
    const char* Read;
    const char* Depth;
    const char* Bytes;
  };
  const Case cases[] = {
      {0, "Messages:      0  Bytes:           0", "Messages                    0     1000000    0.0 %",
       "Message Bytes         0 bytes  190.73 TBs    0.0 %"},
      {1, "Messages:      1  Bytes:          99", "Messages                    1     1000000    0.0 %",
       "Message Bytes        99 bytes  190.73 TBs    0.0 %"},
      {100000, "Messages:100,000  Bytes:  11,270,700", "Messages               100000     1000000   10.0 %",
       "Message Bytes       10.75 MBs  190.73 TBs    0.0 %"}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.Messages);
    Clear();
    std::string file = "* TARVO\n";
    std::vector<int> counts(20);
    std::int64_t ages = 0;
    for (int i = 1; i <= c.Messages; ++i) {
      const Kind& age = kAges[i % std::size(kAges)];
      const std::string put = PutTimeOfAge(age.Value);
      file += "A PTD " + put.substr(0, 8) + "\nA PTT " + put.substr(8) + "00\nS \"" +
              std::string(static_cast<std::size_t>(SizeOf(i).Value), 'x') + "\"\n\n";
      ++counts[age.Bucket];
      ++counts[12 + SizeOf(i).Bucket];
      ages += age.Value;
    }
    WriteText("in.tvo", file);
    ASSERT_EQ(Tarvo({"-mQM1", "-oQ1", "-fin.tvo"}).Exit, 0);
    const std::string queue = Shown({"-iQ1", "-ds-"});
    EXPECT_TRUE(queue.starts_with(std::string("Read    - Files:   0  ") + c.Read)) << queue;
    EXPECT_EQ(HistogramCounts(queue), counts);
    EXPECT_NE(queue.find(std::string("\n") + c.Depth + "\n" + c.Bytes + "\n"), std::string::npos) << queue;
    EXPECT_EQ(Grep(queue, " Message : ").size(), c.Messages == 0 ? 0U : 6U);
    const std::string fromFile = Shown({"-fin.tvo", "-ds"});
    EXPECT_TRUE(fromFile.starts_with(std::string("Read    - Files:   1  ") + c.Read)) << fromFile;
    EXPECT_EQ(HistogramCounts(fromFile), counts);
    EXPECT_EQ(fromFile.find("Queue Size Summary"), std::string::npos);
    for (const std::string& shown : {queue, fromFile}) {
      if (c.Messages == 1) {
        EXPECT_EQ(Grep(shown, "Message : 99 bytes ").size(), 3U) << shown;
        EXPECT_EQ(Grep(shown, "Message : 12 Hrs ").size(), 3U) << shown;
      } else if (c.Messages != 0) {
        EXPECT_EQ(Grep(shown, "Youngest Message : 20 Mins ").size(), 1U) << shown;
        EXPECT_EQ(Grep(shown, "Oldest   Message : " + WeeksAndDays(400 * kDay)).size(), 1U) << shown;
        EXPECT_EQ(Grep(shown, "Average  Message : " + WeeksAndDays(ages / c.Messages)).size(), 1U) << shown;
        EXPECT_NE(
            shown.find("Smallest Message : 99 bytes \nBiggest  Message : 4.9 KBs \nAverage  Message : 112 bytes "),
            std::string::npos)
            << shown;
      }
    }
  }
}

TEST_F(Showing, ALimitThatIsNotKnownIsNotShownAsANumber) {
  Queues("QM1").PutText("Q1", "12345");
  struct Case {
    std::vector<std::string> Arguments;
    std::vector<std::string> Rows;  // of the queue size block
  };
  const Case cases[] = {{{"-iQ1", "-ds"}, {"Messages", "Message Bytes", "Data Bytes", "Queue File Size"}},
                        {{"-iQ1", "-ds-"}, {"Messages", "Message Bytes"}},
                        {{"-iQ1", "-ds", "-OB"}, {"Data Bytes", "Queue File Size"}},
                        {{"-iQ1", "-ds-", "-OB"}, {}},
                        {{"-iA1", "-ds"}, {}},
                        {{"-iA1", "-ds-"}, {}}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.Arguments[0] + c.Arguments[1]);
    const std::string shown = Shown(c.Arguments);
    EXPECT_NE(shown.find("Read    - Files:   0  Messages:      1  Bytes:           5\n"), std::string::npos) << shown;
    const std::vector<std::string> rows = Grep(shown, " %");
    ASSERT_EQ(rows.size(), c.Rows.size()) << shown;
    for (std::size_t i = 0; i < rows.size(); ++i) EXPECT_TRUE(rows[i].starts_with(c.Rows[i] + "  ")) << rows[i];
    EXPECT_EQ(shown.find("Queue Size Summary") == std::string::npos, rows.empty());
    EXPECT_EQ(Grep(shown, "Data Bytes").size(),
              Grep(shown, "Data Bytes          369 bytes    1.99 TBs    0.0 %").size())
        << shown;
  }
}

TEST_F(Showing, IdentifiersStandBelowTheMessageTheyBelongTo) {
  Queues queues("QM1");
  const MQMD middle = DescriptorOfAge(3, kDay);
  const MQMD young = DescriptorOfAge(1, 600);
  const MQMD old = DescriptorOfAge(2, 9 * kDay);
  queues.Put("Q1", middle, std::string(2000, 'x'));
  queues.Put("Q1", young, std::string(50, 'x'));
  queues.Put("Q1", old, std::string(1000, 'x'));
  MQMD twin = young;  // the first of two of the same age stays the youngest
  twin.MsgId[0] = 0xFF;
  queues.Put("Q1", twin, "x");
  const std::pair<const char*, const MQMD*> below[] = {
      {"Youngest", &young}, {"Oldest  ", &old}, {"Smallest", &twin}, {"Biggest ", &middle}};
  for (const char* option : {"-ds", "-dsM", "-dsC", "-dsMC"}) {
    const std::vector<std::string> lines = Lines(Shown({"-iQ1", option}));
    for (const auto& [label, md] : below) {
      std::vector<std::string> expected;
      if (std::string(option).find('M') != std::string::npos) expected.push_back("     Message Id:" + Hex(md->MsgId));
      if (std::string(option).find('C') != std::string::npos)
        expected.push_back("     Correl  Id:" + Hex(md->CorrelId));
      if (!expected.empty()) expected.emplace_back();
      const auto at = std::find_if(lines.begin(), lines.end(), [&](const std::string& line) {
        return line.starts_with(std::string(label) + " Message : ");
      });
      ASSERT_LT(lines.end() - at, 60);
      ASSERT_GT(lines.end() - at, static_cast<std::ptrdiff_t>(expected.size()));
      EXPECT_TRUE(std::equal(expected.begin(), expected.end(), at + 1)) << option << " " << *at << "\n" << at[1];
    }
  }
}

TEST_F(Showing, AgesCountFromTheStartOfTheRunHoweverLongItTakes) {
  Queues queues("QM1");
  const MQMD md = DescriptorOfAge(1, 3 * kDay);
  for (int i = 0; i < 3; ++i) queues.Put("Q1", md, "x");
  const std::vector<std::string> ages = Grep(Shown({"-iQ1", "-ds", "-D400"}), "Message : 3 Days");
  ASSERT_EQ(ages.size(), 3U);
  for (const auto& line : ages) EXPECT_EQ(line.substr(8), ages[0].substr(8));
  ASSERT_EQ(Tarvo({"-mQM1", "-iQ1", "-dT", "-Fages", "-D400"}).Exit, 0);
  const std::vector<std::string> times = Grep(ReadText("ages"), "3 days");
  ASSERT_EQ(times.size(), 3U);
  EXPECT_EQ(times[2], times[0]);
}

TEST_F(Showing, TimeOnQueueOfMessagesWithAndWithoutAPutTime) {
  Queues queues("QM1");
  const MQMD first = DescriptorOfAge(1, 90061 + 20);
  MQMD second = DescriptorOfAge(2, 0);
  FillField(second.PutDate, sizeof second.PutDate, "");
  const MQMD third = DescriptorOfAge(3, 372 * kDay + 30);
  for (const MQMD& md : {first, second, third}) queues.Put("Q1", md, "data");
  const std::string blanks(13, ' ');
  const std::string one =
      "    1. MsgId:" + Hex(first.MsgId) + "\n" + blanks + "1 day 1 hour 1 minute [2-5][0-9] seconds\n\n";
  const std::string rest = "    2. MsgId:" + Hex(second.MsgId) + "\n" + blanks +
                           "Unknown\n\n    3. MsgId:" + Hex(third.MsgId) + "\n" + blanks +
                           "1 year 1 week [3-5][0-9] seconds\n\n";
  ASSERT_EQ(Tarvo({"-mQM1", "-iQ1", "-Fsaved.tvo"}).Exit, 0);
  for (const char* input : {"-iQ1", "-fsaved.tvo"}) {
    const Outcome all = Tarvo({"-mQM1", input, "-fstdout", "-dTH"});
    EXPECT_TRUE(std::regex_match(all.Out, std::regex(one + rest))) << input << "\n" << all.Out << one << rest;
    // The number is the message's place in its source.
    EXPECT_TRUE(std::regex_match(Tarvo({"-mQM1", input, "-fstdout", "-dTH", "-r2.."}).Out, std::regex(rest))) << input;
  }
}

// ---- Headers

// How a queue manager writes the numbers and texts of its headers.
struct Machine {
  const char* Name;
  bool BigEndian, InEbcdic;
  MQLONG Number(MQLONG value) const {
    return BigEndian ? static_cast<MQLONG>(__builtin_bswap32(static_cast<std::uint32_t>(value))) : value;
  }
  template <std::size_t N>
  void Fill(char (&field)[N], std::string text) const {
    text.resize(N, ' ');
    FillField(field, N, InEbcdic ? Ebcdic(text) : text);
  }
};
constexpr Machine kMachines[] = {
    {"native", false, false}, {"big-endian", true, false}, {"EBCDIC", false, true}, {"big-endian EBCDIC", true, true}};

template <typename Header>
std::string Bytes(const Header& header) {
  return {reinterpret_cast<const char*>(&header), sizeof header};
}

MQDLH DeadLetterHeader(const Machine& machine, const char* queue, const char* format) {
  MQDLH header;
  machine.Fill(header.StrucId, "DLH");
  header.Version = machine.Number(1);
  header.Reason = machine.Number(MQRC_Q_FULL);
  machine.Fill(header.DestQName, queue);
  machine.Fill(header.DestQMgrName, "QM1");
  header.Encoding = machine.Number(273);
  header.CodedCharSetId = machine.Number(819);
  machine.Fill(header.Format, format);
  header.PutApplType = machine.Number(MQAT_UNIX);
  machine.Fill(header.PutApplName, "PAYROLL 7");
  machine.Fill(header.PutDate, "20240229");
  machine.Fill(header.PutTime, "23595999");
  return header;
}

MQXQH TransmissionHeader(const Machine& machine) {
  MQXQH header;
  machine.Fill(header.StrucId, "XQH");
  header.Version = machine.Number(1);
  MQMD1& md = header.MsgDesc;
  machine.Fill(md.StrucId, "MD");
  const std::pair<MQLONG*, MQLONG> numbers[] = {
      {&md.Version, 1},      {&md.Report, 1},       {&md.MsgType, MQMT_REPLY},  {&md.Expiry, 1234567},
      {&md.Feedback, 66001}, {&md.Encoding, 1},     {&md.CodedCharSetId, 1208}, {&md.Priority, 7},
      {&md.Persistence, 1},  {&md.BackoutCount, 0}, {&md.PutApplType, 1}};
  for (const auto& [field, value] : numbers) *field = machine.Number(value);
  machine.Fill(md.Format, "MQSTR");
  machine.Fill(md.ReplyToQ, "REPLY Q");
  machine.Fill(md.ReplyToQMgr, "QM9");
  machine.Fill(md.UserIdentifier, "CLERK");
  machine.Fill(md.ApplIdentityData, "IDENTITY");
  machine.Fill(md.PutApplName, "SENDER 1");
  machine.Fill(md.PutDate, "20231231");
  machine.Fill(md.PutTime, "01020304");
  machine.Fill(md.ApplOriginData, "ORIG");
  for (int i = 0; i < 24; ++i) md.MsgId[i] = static_cast<MQBYTE>(0xC1 + i), md.CorrelId[i] = static_cast<MQBYTE>(i);
  return header;
}

std::string Line(const char* tag, const std::string& value, std::size_t width = 0) {
  std::string text = std::string("A ") + tag + " " + value;
  text.resize(std::max(text.size(), 6 + width), ' ');
  return text + "\n";
}

TEST_F(Showing, HeadersAreTakenOffInTheByteOrderAndCodePageOfTheirQueueManager) {
  Queues queues("QM1");
  for (const Machine& machine : kMachines) {
    for (const bool dead : {true, false}) {
      for (const bool transmission : {true, false}) {
        SCOPED_TRACE(std::string(machine.Name) + (dead ? " dead letter" : "") +
                     (transmission ? " in transmission" : ""));
        Clear();
        MQMD outer = harness::RichDescriptor(5);
        outer.Encoding = machine.BigEndian ? 273 : 546;
        outer.CodedCharSetId = machine.InEbcdic ? 500 : 1208;
        std::string data;
        if (dead) data += Bytes(DeadLetterHeader(machine, "OUT", transmission ? "MQXMIT" : "MQSTR"));
        if (transmission) data += Bytes(TransmissionHeader(machine));
        FillField(outer.Format, 8, dead ? "MQDEAD" : transmission ? "MQXMIT" : "MQSTR");
        queues.Put("Q1", outer, data + "MQ inner data");
        ASSERT_EQ(Tarvo({"-mQM1", "-iQ1", "-Fout.tvo", "-h", "-dp"}).Exit, 0);
        const std::string file = ReadText("out.tvo");
        EXPECT_NE(file.find("\nS \"MQ inner data\"\n\n"), std::string::npos) << file;
        std::vector<std::string> expected = {Line("FMT", "MQSTR", 8)};
        if (transmission) {
          for (const auto& line :
               {Line("MST", "2"), Line("EXP", "1234567"), Line("FDB", "66001"), Line("ENC", "1"), Line("CCS", "1208"),
                Line("PRI", "7"), Line("PER", "1"), Line("MSI", "C1C2C3C4C5C6C7C8C9CACBCCCDCECFD0D1D2D3D4D5D6D7D8"),
                Line("COI", "000102030405060708090A0B0C0D0E0F1011121314151617"), Line("RTQ", "REPLY Q", 48),
                Line("RTM", "QM9", 48), Line("USR", "CLERK", 12), Line("PAT", "1"), Line("PAN", "SENDER 1", 28),
                Line("PTD", "20231231"), Line("PTT", "01020304"), Line("AOX", "4F524947")}) {
            expected.push_back(line);
          }
          EXPECT_EQ(file.find("A VER"), std::string::npos);
        } else {
          for (const auto& line : {Line("PRI", "5"), Line("MSI", Hex(outer.MsgId)), Line("USR", "user5", 12)}) {
            expected.push_back(line);  // what the header does not say stays
          }
          if (dead) {
            for (const auto& line : {Line("ENC", "273"), Line("CCS", "819"), Line("PAT", "6"),
                                     Line("PAN", "PAYROLL 7", 28), Line("PTD", "20240229"), Line("PTT", "23595999")}) {
              expected.push_back(line);
            }
          }
        }
        for (const auto& line : expected) EXPECT_NE(file.find(line), std::string::npos) << line << file;
        // Onto a queue the message goes as into the file.
        ASSERT_EQ(Tarvo({"-mQM1", "-iQ1", "-oOUT", "-h"}).Exit, 0);
        ASSERT_EQ(Tarvo({"-mQM1", "-fout.tvo", "-oOTHER"}).Exit, 0);
        EXPECT_TRUE(SameMessages(queues.Browse("OTHER"), queues.Browse("OUT")));
      }
    }
  }
}

TEST_F(Showing, DeadLettersGoBackToWhereTheyWereMeantToGo) {
  Queues queues("QM1");
  MQMD outer = harness::RichDescriptor(4);
  FillField(outer.Format, 8, "MQDEAD");
  int number = 0;
  for (const char* queue : {"OUT", "OTHER", "OUT", "GONE"}) {
    queues.Put("Q1", outer, Bytes(DeadLetterHeader(kMachines[0], queue, "MQSTR")) + queue + std::to_string(++number));
  }
  queues.Put("Q1", outer, "too short for a header");
  for (const char* queue : {"OUT", "OTHER"}) {
    ASSERT_EQ(Tarvo({"-mQM1", "-IQ1", std::string("-o") + queue, "-h", std::string("-Gt:*/") + queue}).Exit, 0);
  }
  EXPECT_EQ(queues.Texts("OUT"), (std::vector<std::string>{"OUT1", "OUT3"}));
  EXPECT_EQ(queues.Texts("OTHER"), std::vector<std::string>{"OTHER2"});
  for (const auto& message : queues.Browse("OUT")) EXPECT_EQ(message.Descriptor.CodedCharSetId, 819);
  const auto left = queues.Texts("Q1");
  ASSERT_EQ(left.size(), 2U);
  EXPECT_TRUE(left[0].ends_with("GONE4"));
  // A message without the header that its format announces goes on as it is.
  ASSERT_EQ(Tarvo({"-mQM1", "-IQ1", "-oOUT", "-h"}).Exit, 0);
  EXPECT_EQ(queues.Texts("OUT").back(), "too short for a header");
  EXPECT_TRUE(IsFormat(queues.Browse("OUT").back().Descriptor.Format, MQFMT_DEAD_LETTER_HEADER));
}

// ---- Delays

TEST_F(Showing, DelaysHoldEachMessageBack) {
  std::string file = "* TARVO\n";
  for (const char* put : {"A PTT 10000000\n", "A PTT 10000090\n"})
    file += std::string("A PTD 20260101\n") + put + "X 00\n\n";
  WriteText("in.tvo", file);
  for (const char* option : {"-D450", "-Dr"}) {
    const auto start = std::chrono::steady_clock::now();
    ASSERT_EQ(Tarvo({"-fin.tvo", "-fnull", option}).Exit, 0);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(890)) << option;
  }
}

TEST_F(Showing, LongSleepsAreAnnouncedBeforeTheyBegin) {
  WriteText("in.tvo", "* TARVO\nA PTD 20260101\nA PTT 23590000\nX 00\n\nA PTD 20260102\nA PTT 00003000\nX 00\n");
  harness::Process sleeping(
      {harness::ProgramFolder() / "tarvo", {"-fin.tvo", "-fnull", "-Dr"}, Path("."), environment(), {}, Path("shown")});
  Await("shown", "\n");
  sleeping.Kill();
  EXPECT_TRUE(std::regex_match(ReadText("shown"), std::regex("[0-2][0-9]:[0-5][0-9] - sleeping for 1 minute .*\n")))
      << ReadText("shown");
}

// ---- The backout queue

TEST_F(Showing, AMessageBackedOutTooOftenIsSomewhereWhateverFails) {
  ASSERT_EQ(LocalMq({"QM1"}, "ALTER QLOCAL(Q1) BOTHRESH(2) BOQNAME(BQ)\n").Exit, 0);
  MQMD md = harness::RichDescriptor(6);
  FillField(md.Format, 8, "MQDEAD");
  const std::string poison = Bytes(DeadLetterHeader(kMachines[0], "OUT", "MQSTR")) + "poison";
  struct Case {
    const char* Script;
    std::vector<std::string> More;
    const char* Says;
    int Exit;
    const char* Place;  // of the poisoned message afterwards
  };
  const Case cases[] = {{"", {"-oOUT", "-h"}, "Written - Files:   0  Messages:      1", 0, "BQ"},
                        {"", {"-Fout.tvo"}, "Written - Files:   1  Messages:      1", 0, "BQ"},
                        {"", {"-Fnull"}, "Messages:      2", 0, "BQ"},
                        {"", {"-oOUT", "-OB"}, "Written - Files:   0  Messages:      2", 0, "OUT"},
                        {"", {"-oOUT", "-t0"}, "Written - Files:   0  Messages:      1", 0, "BQ"},
                        {"MQOPEN@BQ:1=2035", {"-oOUT"}, "MQOPEN on object 'QM1/BQ' returned 2035", 2035, "Q1"},
                        {"MQOPEN@BQ:1=2035;MQBACK:1=2009", {"-oOUT"}, "MQBCK(QM1) failed RC(2009)", 2035, "Q1"},
                        {"MQPUT@BQ:1=2053", {"-oOUT"}, "MQPUT on object 'QM1/BQ' returned 2053", 2053, "Q1"},
                        {"MQPUT@BQ:1=after:2009", {"-oOUT"}, "returned 2009", 2009, "Q1"},
                        {"MQPUT@OUT:1=2053", {"-oOUT"}, "MQPUT(OUT) failed RC(2053)", 2053, "Q1"}};
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.Script) + " " + c.More[0]);
    Clear();
    Queues queues("QM1");
    queues.Put("Q1", md, poison);
    queues.RaiseBackoutCount("Q1", 2);
    queues.PutText("Q1", "fine");
    const Outcome outcome = TarvoWithFaults(c.Script, Joined({"-mQM1", "-IQ1"}, c.More));
    EXPECT_EQ(outcome.Exit, ExitStatus(c.Exit)) << outcome.Err;
    EXPECT_NE(outcome.Err.find(c.Says), std::string::npos) << outcome.Err;
    for (const char* queue : {"Q1", "OUT", "BQ"}) {
      const auto texts = queues.Texts(queue);
      EXPECT_EQ(std::count(texts.begin(), texts.end(), poison), queue == std::string(c.Place) ? 1 : 0) << queue;
    }
    EXPECT_EQ(queues.Depth("Q1"), c.Exit == 0 ? 0 : 2);
  }
}

}  // namespace
