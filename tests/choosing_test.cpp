// Which messages a run takes: every criterion and mixes of them, on queues and on files, against a slow and simple
// statement of what each criterion means.

#include <algorithm>
#include <array>
#include <chrono>
#include <cstring>
#include <functional>
#include <random>
#include <regex>
#include <set>

#include "common/text.h"
#include "harness.h"

namespace {

// ---- What the criteria mean

bool Contains(const StoredMessage& m, const std::string& bytes) { return m.Data.find(bytes) != std::string::npos; }
bool HasFormat(const StoredMessage& m, const char* format) { return std::memcmp(m.Descriptor.Format, format, 8) == 0; }
bool StartsWith(const MQBYTE24& id, const std::string& bytes) { return std::memcmp(id, bytes.data(), 24) == 0; }

std::string NameAt(const StoredMessage& m, std::size_t offset) {
  const std::string field = m.Data.substr(offset, 48);
  return field.substr(0, field.find_first_of(std::string(" \0", 2)));
}

bool Like(std::string_view text, std::string_view mask) {
  if (mask.empty()) return text.empty();
  if (mask[0] == '*') return Like(text, mask.substr(1)) || (!text.empty() && Like(text.substr(1), mask));
  return !text.empty() && (mask[0] == '?' || mask[0] == text[0]) && Like(text.substr(1), mask.substr(1));
}

bool Targeted(const StoredMessage& m, const char* qmgr, const char* queue) {
  const bool dead = HasFormat(m, "MQDEAD  ");
  if (!dead && !HasFormat(m, "MQXMIT  ")) return false;
  const std::size_t at = dead ? 12 : 8;
  return Like(NameAt(m, at), queue) && Like(NameAt(m, at + 48), qmgr);
}

MQLONG DeadLetterReason(const StoredMessage& m) {
  MQLONG reason = 0;
  if (HasFormat(m, "MQDEAD  ")) std::memcpy(&reason, m.Data.data() + 8, sizeof reason);
  return reason;
}

// Seconds since 1970, 0 when the message does not say when it was put.
std::int64_t PutSeconds(const StoredMessage& m) {
  const auto digits = [](const char* field, int from, int count) {
    return std::atoi(std::string(field + from, static_cast<std::size_t>(count)).c_str());
  };
  const char* const d = m.Descriptor.PutDate;
  const char* const t = m.Descriptor.PutTime;
  if (d[0] == ' ') return 0;
  const std::chrono::sys_days day = std::chrono::year(digits(d, 0, 4)) / digits(d, 4, 2) / digits(d, 6, 2);
  return day.time_since_epoch().count() * 86400LL + digits(t, 0, 2) * 3600 + digits(t, 2, 2) * 60 + digits(t, 4, 2);
}

using Meaning = std::function<bool(const StoredMessage& m, int position)>;

struct Criterion {
  std::string Argument;
  Meaning Passes;
  int LastPosition = 0;  // where the run ends; 0: with its source
};

bool IsIdentifier(const Criterion& c) { return c.Argument.starts_with("-g"); }

constexpr std::int64_t kNoon = 1731931200;  // 18 November 2024, 12:00 UTC
const std::string kId(24, '\x41');

Criterion Priority(const std::string& argument, int least, int most) {
  return {argument,
          [=](const auto& m, int) { return m.Descriptor.Priority >= least && m.Descriptor.Priority <= most; }};
}
Criterion Size(const std::string& argument, int least, int below) {
  return {argument, [=](const auto& m, int) {
            return static_cast<int>(m.Data.size()) >= least && static_cast<int>(m.Data.size()) < below;
          }};
}
Criterion Content(const std::string& option, const std::string& argument, const std::string& bytes) {
  const bool wanted = option[1] >= 'a';
  return {option + argument, [=](const auto& m, int) { return Contains(m, bytes) == wanted; }};
}
Criterion Range(const std::string& argument, int first, int last, bool ends = true) {
  return {argument, [=](const auto&, int position) { return position >= first && position <= last; }, ends ? last : 0};
}
Criterion Target(const std::string& argument, const char* qmgr, const char* queue) {
  return {argument, [=](const auto& m, int) { return Targeted(m, qmgr, queue); }};
}
Criterion PutTime(const std::string& argument, std::int64_t from, std::int64_t before) {
  return {argument, [=](const auto& m, int) {
            const std::int64_t time = PutSeconds(m);
            return time > 0 && time >= from && time < before;
          }};
}

constexpr std::int64_t kEver = 1LL << 40;
const std::vector<std::vector<Criterion>> kCriteria = {
    {Range("-r7", 7, 7), Range("-r7..", 7, 1000, false), Range("-r5..30", 5, 30), Range("-r30..5", 5, 30),
     Range("-r5#20", 5, 24), Range("-r#20", 1, 20), Range("-r40..1000", 40, 1000), Range("-r..12", 1, 12)},
    {{"-gm" + std::string(24, 'A'), [](const auto& m, int) { return StartsWith(m.Descriptor.MsgId, kId); }},
     {"-gxmDeadBeef",
      [](const auto& m, int) { return StartsWith(m.Descriptor.MsgId, "\xDE\xAD\xBE\xEF" + std::string(20, '\0')); }}},
    {{"-gcABC", [](const auto& m, int) { return StartsWith(m.Descriptor.CorrelId, "ABC" + std::string(21, ' ')); }}},
    {{"-gxg01FF",
      [](const auto& m, int) { return StartsWith(m.Descriptor.GroupId, "\x01\xFF" + std::string(22, '\0')); }}},
    {Size("-z100", 100, 1 << 30), Size("-z,300", 0, 300), Size("-z100,0.5k", 100, 512), Size("-z1K,1m", 1024, 1 << 20)},
    {Priority("-P3", 3, 99), Priority("-P,4", -1, 4), Priority("-P3,5", 3, 5), Priority("-P4,4", 4, 4)},
    {{"-Gr:2053", [](const auto& m, int) { return DeadLetterReason(m) == 2053; }},
     {"-Gr:MQRC_UNKNOWN_OBJECT_NAME", [](const auto& m, int) { return DeadLetterReason(m) == 2085; }}},
    {Target("-Gt:Q.*", "*", "Q.*"), Target("-Gt:*/Q.*", "*", "Q.*"), Target("-Gt:QM?/*", "QM?", "*"),
     Target("-Gt:*/Q.?.B*D", "*", "Q.?.B*D")},
    {Content("-s", "kettle", "kettle"), Content("-s", "le lamp", "le lamp"), Content("-s", "l", "l")},
    {Content("-s", "lamp", "lamp")},
    {Content("-S", "kettle", "kettle"), Content("-S", "Lamp", "Lamp")},
    {Content("-e", "kettle", Ebcdic("kettle")), Content("-e", "LAMP", Ebcdic("LAMP"))},
    {Content("-E", "kettle", Ebcdic("kettle")), Content("-E", "LAMP", Ebcdic("LAMP"))},
    {Content("-x", "00fF10", std::string("\0\xFF\x10", 3)), Content("-x", "6c616d705", "lamp")},
    {Content("-X", "00FF10", std::string("\0\xFF\x10", 3)), Content("-X", "10", "\x10")},
    {PutTime("-Tfu18/11/2024_12:00", kNoon, kEver), PutTime("-Tfu18/11/2024_20:30:01", kNoon + 30601, kEver)},
    {PutTime("-Ttu19/11/2024", 0, kNoon + 43200), PutTime("-Ttu18/11/2024_13:00:00", 0, kNoon + 3600)},
};

// ---- Messages and runs

class Choosing : public Sandbox {
 protected:
  void SetUp() override {
    CreateQueueManager("QM1", {"Q1"});
    std::mt19937 random(20);
    {
      Queues queues("QM1");
      for (int number = 1; number <= 80; ++number) {
        const StoredMessage message = Generate(random, number);
        queues.Put("Q1", message.Descriptor, message.Data);
      }
      messages_ = queues.Browse("Q1");
    }
    ASSERT_EQ(messages_.size(), 80U);
    ASSERT_EQ(Tarvo({"-q", "-mQM1", "-iQ1", "-Fall.tvo"}).Exit, 0);
  }

  // A message that holds its number ("#12#"), as no other message does.
  static StoredMessage Generate(std::mt19937& random, int number) {
    const auto below = [&](unsigned bound) { return static_cast<unsigned>(random() % bound); };
    StoredMessage m{harness::RichDescriptor(number), {}};
    MQMD& md = m.Descriptor;
    md.Priority = static_cast<MQLONG>(below(10));
    if (below(3) == 0) std::memcpy(md.MsgId, kId.data(), 24);
    if (below(5) == 0) std::memcpy(md.MsgId, "\xDE\xAD\xBE\xEF\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0", 24);
    if (below(3) == 0) std::memcpy(md.CorrelId, "ABC                     ", 24);
    if (below(3) == 0) {
      md.MsgFlags = MQMF_MSG_IN_GROUP;
      std::memcpy(md.GroupId, "\x01\xFF\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0", 24);
    }
    FillField(md.PutDate, 8, below(6) == 0 ? "" : "2024111" + std::to_string(7 + below(3)));
    char time[9];
    std::snprintf(time, sizeof time, "%02u%02u%02u42", below(24), below(2) * 30, below(3));
    FillField(md.PutTime, 8, md.PutDate[0] == ' ' ? "" : time);
    if (const unsigned kind = below(3); kind != 0) {
      static const char* const kQMgrs[] = {"", "QM1", "QM77"};
      static const char* const kQueues[] = {"Q.A.BCD", "Q.A", "OTHER.Q.A"};
      FillField(md.Format, 8, kind == 1 ? MQFMT_DEAD_LETTER_HEADER : MQFMT_XMIT_Q_HEADER);
      MQDLH dead;
      dead.Reason = below(2) == 0 ? 2053 : 2085;
      MQXQH transmission;
      const std::string queue = kQueues[below(3)], qmgr = kQMgrs[below(3)];
      const char padding = below(2) == 0 ? ' ' : '\0';
      FillField(kind == 1 ? dead.DestQName : transmission.RemoteQName, 48, queue, padding);
      FillField(kind == 1 ? dead.DestQMgrName : transmission.RemoteQMgrName, 48, qmgr, padding);
      m.Data = kind == 1 ? std::string(reinterpret_cast<char*>(&dead), sizeof dead)
                         : std::string(reinterpret_cast<char*>(&transmission), sizeof transmission);
    }
    const std::string pieces[] = {"kettle",         " ", "lamp", "Lamp", "kett", std::string("\0\xFF\x10", 3),
                                  Ebcdic("kettle"), "l", "\xC3", "x",    "10",   Ebcdic("LAMP")};
    m.Data += "#" + std::to_string(number) + "#";
    const std::size_t begin = m.Data.size();
    for (unsigned left = below(number % 10 == 0 ? 400 : 12); left > 0; --left) {
      m.Data += pieces[below(number % 7 == 0 ? 3 : 12)];
    }
    // Some sizes lie on the bounds that are asked for.
    const std::size_t exact = std::array{0, 100, 300, 512, 1024}[below(5)];
    if (exact > m.Data.size()) m.Data.insert(begin, exact - m.Data.size(), 'x');
    return m;
  }

  static std::string Number(const StoredMessage& m) {
    const std::size_t begin = m.Data.find('#');
    return m.Data.substr(begin, m.Data.find('#', begin + 1) + 1 - begin);
  }
  using Numbers = std::vector<std::string>;

  // What a run over these messages takes.
  Numbers Expected(const std::vector<Criterion>& criteria, bool inverted, bool fromQueue) const {
    // A queue manager that is asked for identifiers never shows the other messages.
    const auto shown = [&](const StoredMessage& m) {
      return !fromQueue || inverted || std::all_of(criteria.begin(), criteria.end(), [&](const Criterion& c) {
        return !IsIdentifier(c) || c.Passes(m, 0);
      });
    };
    Numbers numbers;
    int position = 0;
    for (const StoredMessage& m : messages_) {
      if (!shown(m)) continue;
      ++position;
      bool passes = true, ended = false;
      for (const Criterion& c : criteria) {
        passes = passes && c.Passes(m, position);
        ended = ended || (c.LastPosition != 0 && position > c.LastPosition);
      }
      if (passes != inverted && !ended) numbers.push_back(Number(m));
    }
    return numbers;
  }
  // The numbers of the messages that a run writes, in their order.
  Numbers Taken(const std::vector<std::string>& arguments) {
    const auto outcome = Tarvo(Joined(arguments, {"-q", "-drNH", "-Fout"}));
    EXPECT_EQ(outcome.Exit, 0) << outcome.Err;
    const std::string text = ReadText("out");
    static const std::regex number("#[0-9]+#");
    return {std::sregex_token_iterator(text.begin(), text.end(), number), std::sregex_token_iterator()};
  }

  void Compare(const std::vector<Criterion>& criteria, bool inverted, bool move) {
    std::vector<std::string> arguments = {"-mQM1"};
    if (inverted) arguments.emplace_back("-Gi:");
    for (const Criterion& c : criteria) arguments.push_back(c.Argument);
    std::string line;
    for (const std::string& argument : arguments) line += argument + " ";
    SCOPED_TRACE(line);
    const Numbers wanted = Expected(criteria, inverted, true);
    EXPECT_EQ(Taken(Joined(arguments, {"-iQ1"})), wanted);
    EXPECT_EQ(Taken(Joined(arguments, {"-fall.tvo"})), Expected(criteria, inverted, false));
    sizes_.insert(wanted.size());
    if (!move) return;
    EXPECT_EQ(Taken(Joined(arguments, {"-IQ1"})), wanted);
    Numbers left;
    for (const StoredMessage& m : messages_) {
      if (std::find(wanted.begin(), wanted.end(), Number(m)) == wanted.end()) left.push_back(Number(m));
    }
    Numbers stayed;
    for (const StoredMessage& m : Queues("QM1").Browse("Q1")) stayed.push_back(Number(m));
    EXPECT_EQ(stayed, left);
    ASSERT_EQ(LocalMq({"QM1"}, "CLEAR QLOCAL(Q1)\n").Exit, 0);
    ASSERT_EQ(Tarvo({"-q", "-mQM1", "-fall.tvo", "-oQ1"}).Exit, 0);
  }

  std::vector<StoredMessage> messages_;  // in the order in which the queue gives them
  std::set<std::size_t> sizes_;          // how many messages the cases took
};

TEST_F(Choosing, EachCriterionMeansWhatItSays) {
  bool move = false;
  for (const auto& alternatives : kCriteria) {
    for (const Criterion& c : alternatives) {
      Compare({c}, false, false);
      const std::size_t taken = Expected({c}, false, false).size();
      EXPECT_TRUE(taken > 0 && taken < messages_.size()) << c.Argument << " decides nothing here";
    }
    Compare({alternatives.back()}, move = !move, true);
  }
}

TEST_F(Choosing, MixedCriteriaAllHaveToHold) {
  std::mt19937 random(21);
  for (int round = 0; round < 40; ++round) {
    std::vector<Criterion> criteria;
    const auto first = random() % kCriteria.size();
    const auto step = 1 + random() % 5;
    for (std::size_t i = 0; i < 2 + random() % 2; ++i) {
      const auto& alternatives = kCriteria[(first + i * step) % kCriteria.size()];
      criteria.push_back(alternatives[random() % alternatives.size()]);
    }
    Compare(criteria, random() % 4 == 0, round % 4 == 0);
  }
  EXPECT_GT(sizes_.size(), 12U) << "the mixes take too few different numbers of messages";
}

TEST_F(Choosing, PurgingRemovesWhatIsNotTakenToo) {
  const Criterion priority = Priority("-P3,5", 3, 5);
  EXPECT_EQ(Taken({"-mQM1", "-IQ1", "-p", "-P3,5"}), Expected({priority}, false, true));
  EXPECT_EQ(Queues("QM1").Depth("Q1"), 0);
}

TEST_F(Choosing, TheReportListsEveryCriterion) {
  const std::vector<std::string> arguments = {"-fall.tvo",      "-fnull",   "-r9..5",
                                              "-z1.5k,1m",      "-P3,5",    "-gmABC",
                                              "-gxc0aff",       "-gxg01",   "-Tfu02/01/1980_02:03:55",
                                              "-Ttu01/01/2025", "-Gr:2085", "-Gt:QM*/Q.*",
                                              "-sABC",          "-s2",      "-SD",
                                              "-eABC",          "-EX y",    "-x4142",
                                              "-Xfe0"};
  environment()["TZ"] = "UTC";
  const std::string report =
      "Message selection active:\n"
      "  Message indexes 5 -> 9.\n"
      "  Message size greater or equal to 1 KB 512 bytes \n"
      "  Message size less than 1 MB \n"
      "  Message priority greater or equal to 3\n"
      "  Message priority less than or equal to 5\n"
      "  Message Identifier 0x'414243202020202020202020202020202020202020202020'\n"
      "  Correlation Identifier 0x'0AFF00000000000000000000000000000000000000000000'\n"
      "  Group Identifier 0x'010000000000000000000000000000000000000000000000'\n"
      "  Put after  Wed Jan 02 02:03:55 1980\n"
      "  Put before Wed Jan 01 00:00:00 2025\n"
      "  Messages targeted to QM*/Q.*\n"
      "  Messages with DLQ Reason 2085 Unknown object name\n"
      "  Containing the ASCII string 'ABC'\n"
      "  Containing the ASCII string '2'\n"
      "  Not containing the ASCII string 'D'\n"
      "  Containing the EBCDIC string 'ABC'\n"
      "  Not containing the EBCDIC string 'X y'\n"
      "  Containing the HEX string 0x'4142'\n"
      "  Not containing the HEX string 0x'FE'\n"
      "\n";
  const auto shown = Tarvo(arguments);
  const std::size_t start = shown.Err.find("Message selection active");
  ASSERT_NE(start, std::string::npos) << shown.Err;
  EXPECT_EQ(shown.Err.substr(start, report.size()), report);
  // The run ends where the range does.
  EXPECT_TRUE(shown.Err.substr(start + report.size()).starts_with("Read    - Files:   1  Messages:      9  Bytes:"))
      << shown.Err;
  const std::pair<std::vector<std::string>, std::string> more[] = {
      {{"-r5"}, "Message selection active:\n  Message index 5 only.\n\n"},
      {{"-r#3"}, "Message selection active:\n  Message index up to 3.\n\n"},
      {{"-r5.."}, "Message selection active:\n  Message indexes 5 onwards.\n\n"},
      {{"-T30"}, "Message selection active:\n  Older than (30 minutes) "},
      {{"-Gt:Q.*"}, "Message selection active:\n  Messages targeted to Q.*\n\n"},
      {{"-Gi:", "-r2"}, "Inverse Message selection active:\n  Message index 2 only.\n\n"},
      {{"-q", "-r2"}, ""}};
  for (const auto& [options, told] : more) {
    const std::string err = Tarvo(Joined({"-fall.tvo", "-fnull"}, options)).Err;
    EXPECT_TRUE(told.empty() ? err.empty() : err.find("\n\n" + told) != std::string::npos) << err;
  }
}

// ---- Selectors, which the queue manager evaluates

std::string WithProperties(const std::string& properties, const std::string& text) {
  std::string folder = "<usr>" + properties + "</usr>";
  folder.append((4 - folder.size() % 4) % 4, ' ');
  MQRFH2 header;
  const auto length = static_cast<MQLONG>(folder.size());
  header.StrucLength += 4 + length;
  std::memcpy(header.Format, MQFMT_STRING, 8);
  return std::string(reinterpret_cast<char*>(&header), sizeof header) +
         std::string(reinterpret_cast<const char*>(&length), 4) + folder + text;
}

class Selectors : public Sandbox {};

TEST_F(Selectors, ReachTheQueueManager) {
  CreateQueueManager("QM1", {"Q1", "Q2"});
  const struct {
    const char* Properties;
    const char* Text;
    int Priority;
  } messages[] = {
      {"<colour>red</colour><weight dt='i4'>12</weight><hot dt='boolean'>1</hot>", "one", 1},
      {"<colour>dark_red</colour><weight dt='r8'>2.5</weight><hot dt='boolean'>0</hot>", "two", 2},
      {"<colour>blue</colour>", "three", 3},
      {nullptr, "four", 4},
  };
  const struct {
    const char* Selector;
    const char* Taken;  // "" none
  } cases[] = {
      {"colour = 'red'", "one"},
      {"colour <> 'red'", "two three"},
      {"colour LIKE '%red' AND NOT hot", "two"},
      {"colour LIKE 'dark$_%' ESCAPE '$'", "two"},
      {"colour IN ('blue', 'red')", "one three"},
      {"colour IS NULL", "four"},
      {"weight BETWEEN 2 AND 3 OR hot = TRUE", "one two"},
      {"weight * 2 > 20", "one"},
      {"weight < 100 OR colour = 'blue'", "one two three"},
      {"NOT (weight > 5)", "two"},
      {"Root.MQMD.Priority >= 3", "three four"},
      {"Root.MQMD.Priority = 2 AND hot = FALSE", "two"},
      {"nothing = 1", ""},
  };
  const auto fill = [&] {
    Queues queues("QM1");
    for (const auto& m : messages) {
      MQMD md = harness::RichDescriptor(m.Priority);
      FillField(md.Format, 8, m.Properties != nullptr ? MQFMT_RF_HEADER_2 : MQFMT_STRING);
      queues.Put("Q1", md, m.Properties != nullptr ? WithProperties(m.Properties, m.Text) : m.Text);
    }
  };
  const auto taken = [&](const std::string& queue) {
    std::string texts;
    auto all = Queues("QM1").Texts(queue);
    std::reverse(all.begin(), all.end());  // the highest priority comes first
    for (const std::string& text : all) {
      const std::size_t behind = text.find("</usr>");
      std::string word = text.substr(behind == std::string::npos ? 0 : behind + 6);
      word.erase(0, word.find_first_not_of(' '));
      texts += (texts.empty() ? "" : " ") + word;
    }
    return texts;
  };
  fill();
  for (const auto& c : cases) {
    const auto outcome = Tarvo({"-mQM1", "-iQ1", "-oQ2", "-H", c.Selector});
    EXPECT_EQ(outcome.Exit, 0) << c.Selector << outcome.Err;
    EXPECT_NE(outcome.Err.find("  Messages matching selector '" + std::string(c.Selector) + "'\n"), std::string::npos);
    EXPECT_EQ(taken("Q2"), c.Taken) << c.Selector;
    ASSERT_EQ(LocalMq({"QM1"}, "CLEAR QLOCAL(Q2)\n").Exit, 0);
  }
  EXPECT_EQ(Tarvo({"-q", "-mQM1", "-IQ1", "-oQ2", "-H", "colour LIKE '%red'", "-P2"}).Exit, 0);
  EXPECT_EQ(taken("Q2"), "two");
  EXPECT_EQ(taken("Q1"), "one three four");
  const auto wrong = Tarvo({"-mQM1", "-IQ1", "-oQ2", "-H", "colour = = 'red'"});
  EXPECT_EQ(wrong.Exit, ExitStatus(MQRC_SELECTOR_SYNTAX_ERROR)) << wrong.Err;
  EXPECT_NE(wrong.Err.find("2459"), std::string::npos) << wrong.Err;
  EXPECT_EQ(taken("Q1"), "one three four");
}

}  // namespace
