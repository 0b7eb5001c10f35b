#include "engine/selection.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <random>
#include <string>
#include <vector>

#include "engine/code_pages.h"
#include "engine/fake_mq_test.h"

namespace {

// The rules as they are told, by recursion: `started` says that the mask is tried from its beginning here, where a star
// is always a wildcard.
bool SlowMatch(bool caseCounts, std::string_view text, std::string_view mask, bool started = true) {
  if (mask.empty()) return text.empty();
  if (mask[0] == '*' && (started || text.empty() || text[0] != '*')) {
    if (mask.size() == 1) return true;
    if (text.empty()) return caseCounts && SlowMatch(caseCounts, text, mask.substr(1));
    for (std::size_t i = 0; i < text.size(); ++i) {
      if (SlowMatch(caseCounts, text.substr(i), mask.substr(1))) return true;
    }
    return false;
  }
  if (text.empty()) return false;
  const bool same = caseCounts ? text[0] == mask[0] : std::toupper(text[0]) == std::toupper(mask[0]);
  return (same || mask[0] == '?') && SlowMatch(caseCounts, text.substr(1), mask.substr(1), false);
}

TEST(Wildcards, Table) {
  struct Case {
    const char* Text;
    const char* Mask;
    bool Match, MatchNoCase;
  };
  static constexpr Case kCases[] = {
      {"ABC", "A*", true, true},   {"ABC", "*C", true, true},      {"ABC", "A?C", true, true},
      {"ABC", "*", true, true},    {"ABC", "ABC*", true, true},    {"ABC", "ABC**", true, false},
      {"ABC", "AB", false, false}, {"ABC", "?", false, false},     {"ABC", "A*D", false, false},
      {"ABC", "abc", false, true}, {"", "", true, true},           {"", "*", true, true},
      {"", "**", true, false},     {"", "?", false, false},        {"ABC", "", false, false},
      {"ABC", "**C", true, true},  {"AXBXC", "a*x?", false, true},
  };
  for (const Case& c : kCases) {
    EXPECT_EQ(WildcardMatch(c.Text, c.Mask), c.Match) << c.Text << " / " << c.Mask;
    EXPECT_EQ(WildcardMatchNoCase(c.Text, c.Mask), c.MatchNoCase) << c.Text << " / " << c.Mask;
  }
}

TEST(Wildcards, AnswerAsTheRulesDo) {
  std::mt19937 random(2);
  const auto pick = [&random](const char* alphabet, std::size_t letters, std::size_t most) {
    std::string text(random() % (most + 1), ' ');
    for (char& c : text) c = alphabet[random() % letters];
    return text;
  };
  for (int round = 0; round < 300000; ++round) {
    const std::string text = pick("aAb*", 4, 9);
    const std::string mask = pick("aAb*?*", 6, 7);
    ASSERT_EQ(WildcardMatch(text, mask), SlowMatch(true, text, mask)) << text << " / " << mask;
    ASSERT_EQ(WildcardMatchNoCase(text, mask), SlowMatch(false, text, mask)) << text << " / " << mask;
  }
}

// By recursion this would take longer than anybody waits.
TEST(Wildcards, ManyStarsDoNotExplode) {
  std::string mask;
  for (int i = 0; i < 40; ++i) mask += "*a";
  EXPECT_FALSE(WildcardMatch(std::string(5000, 'a'), mask + "b"));
  EXPECT_FALSE(WildcardMatchNoCase(std::string(5000, 'A'), mask + "b"));
  EXPECT_TRUE(WildcardMatch(std::string(5000, 'a'), mask));
}

TEST(PutTime, ReadsDescriptorFields) {
  struct Case {
    const char* Date;
    const char* Time;
    std::int64_t Seconds;
  };
  static constexpr Case kCases[] = {
      {"19700101", "00000000", 0},
      {"20000229", "12345678", 951827696},
      {"20240229", "235959  ", 1709251199},
      {"21000228", "00000000", 4107456000},
      {"20380119", "03140799", 2147483647},
      {" 200 1 1", " 0 0 0 0", -55855785600},
      {"        ", "        ", -1},
      {"20240229", "        ", -1},
      {"20241301", "00000000", -1},
      {"20240230", "00000000", -1},
      {"20240101", "24000000", -1},
      {"\0\0\0\0\0\0\0", "00000000", -1},
      {"2024", "00000000", -1},
      {"2024-1-1", "00000000", -1},
  };
  for (const Case& c : kCases) EXPECT_EQ(PutTimeUtc(c.Date, c.Time), c.Seconds) << c.Date << " " << c.Time;
  EXPECT_EQ(PutTimeUtc(nullptr, "00000000"), -1);
  EXPECT_EQ(PutTimeLocal("20240101", nullptr), -1);
}

TEST(PutTime, AgreesWithTheCalendarOfTheLibrary) {
  for (std::int64_t day = 0; day < 50000; day += 3) {
    const std::time_t time = day * 86400;
    const std::tm* utc = std::gmtime(&time);
    char date[16];
    std::strftime(date, sizeof date, "%Y%m%d", utc);
    ASSERT_EQ(PutTimeUtc(date, "00000000"), time) << date;
    const std::tm* local = std::localtime(&time);
    char clock[16];
    std::strftime(date, sizeof date, "%Y%m%d", local);
    std::strftime(clock, sizeof clock, "%H%M%S00", local);
    ASSERT_EQ(PutTimeLocal(date, clock), time) << date;
  }
}

TEST(CodePages, LettersAndDigitsSurviveBothWays) {
  const std::string_view text = "ABCIJRSZabcijrsz0189 .<(+|&!*);-/,%_>?:#@'=\"~{}";
  for (const char c : text) EXPECT_EQ(EbcdicToAscii(AsciiToEbcdic(static_cast<unsigned char>(c))), c);
  EXPECT_EQ(AsciiToEbcdic('$'), 0x5B);
  EXPECT_EQ(AsciiToEbcdic('\\'), 0xE0);
  EXPECT_EQ(AsciiToEbcdic('^'), 0x4B);
  EXPECT_EQ(static_cast<unsigned char>(EbcdicToAscii(0x5B)), 0x9C);
  EXPECT_EQ(EbcdicToAscii(0x00), '.');
  EXPECT_TRUE(IsEbcdicCcsid(37) && IsEbcdicCcsid(1047) && IsEbcdicCcsid(61712));
  EXPECT_FALSE(IsEbcdicCcsid(0) || IsEbcdicCcsid(819) || IsEbcdicCcsid(1208) || IsEbcdicCcsid(61713));
}

TEST(NormaliseRange, OrdersBoundsAndOpensTheStart) {
  struct Case {
    int Start, End, NewStart, NewEnd;
  };
  for (const Case& c : {Case{0, 0, 0, 0}, {0, 3, 1, 3}, {9, 5, 5, 9}, {5, 0, 5, 0}, {5, 5, 5, 5}}) {
    auto run = std::make_unique<Parameters>();
    run->RangeStart = c.Start;
    run->RangeEnd = c.End;
    NormaliseRange(*run);
    EXPECT_EQ(run->RangeStart, c.NewStart);
    EXPECT_EQ(run->RangeEnd, c.NewEnd);
  }
}

// Messages and criteria over small sets of values, so that each criterion lets some pass and refuses some.
class SelectionOracle : public testing::Test {
 protected:
  Parameters& run = *owner_;

  unsigned Below(unsigned bound) { return static_cast<unsigned>(random_() % bound); }
  std::string Letters(unsigned most) {
    std::string text(Below(most + 1), ' ');
    for (char& c : text) c = "abc"[Below(3)];
    return text;
  }
  void Hold(const std::string& data) {
    data_.assign(data.begin(), data.end());
    run.Message.Data = reinterpret_cast<MQBYTE*>(data_.data());
    run.Message.Length = run.Message.Delivered = static_cast<MQLONG>(data_.size());
  }
  static std::string NameField(std::string name) { return name.append(48 - name.size(), Padding(name)); }
  static char Padding(const std::string& name) { return name.size() % 2 == 0 ? ' ' : '\0'; }

  void MakeMessage() {
    run.MessageIndex = static_cast<int>(Below(10)) + 1;
    run.Message.Descriptor = DefaultDescriptor();
    MQMD& descriptor = run.Message.Descriptor;
    descriptor.MsgId[23] = static_cast<MQBYTE>(Below(2));
    descriptor.CorrelId[0] = static_cast<MQBYTE>(Below(2));
    descriptor.GroupId[11] = static_cast<MQBYTE>(Below(2));
    descriptor.Priority = static_cast<MQLONG>(Below(4));
    putTime_ = static_cast<int>(Below(6)) - 1;
    if (putTime_ == 0) putTime_ = -1;
    FillField(descriptor.PutDate, 8, putTime_ < 0 ? "" : "19700101");
    FillField(descriptor.PutTime, 8, putTime_ < 0 ? "" : "00000" + std::to_string(putTime_) + "00");
    targetQueue_ = Letters(3);
    targetQMgr_ = Letters(1);
    reason_ = 2053 + static_cast<MQLONG>(Below(2));
    std::string data = Letters(30);
    const unsigned kind = Below(4);
    hasDeadLetter_ = kind == 1;
    hasTarget_ = kind == 1 || kind == 2;
    const std::string names = NameField(targetQueue_) + NameField(targetQMgr_);
    if (hasDeadLetter_) {
      FillField(descriptor.Format, 8, MQFMT_DEAD_LETTER_HEADER);
      std::string header("DLH \1\0\0\0", 8);
      header.append(reinterpret_cast<const char*>(&reason_), 4);
      data.insert(0, header + names + std::string(sizeof(MQDLH) - header.size() - names.size(), 'c'));
    } else if (kind == 2) {
      FillField(descriptor.Format, 8, MQFMT_XMIT_Q_HEADER);
      data.insert(0, "XQH     " + names + std::string(sizeof(MQXQH) - 8 - names.size(), 'c'));
    } else if (kind == 3) {  // too short for the header that its format announces
      FillField(descriptor.Format, 8, Below(2) == 0 ? MQFMT_DEAD_LETTER_HEADER : MQFMT_XMIT_Q_HEADER);
      data.resize(Below(static_cast<unsigned>(sizeof(MQDLH))), 'a');
    }
    Hold(data);
  }

  template <typename T>
  void Sometimes(T& field, T value) {
    if (Below(5) == 0) field = value;
  }
  void MakeCriteria() {
    run.Flags = run.Flags2 = 0;
    run.RangeStart = run.RangeEnd = 0;
    run.SizeBelow = run.SizeAtLeast = run.PriorityAtLeast = run.PriorityAtMost = -1;
    run.PutBefore = run.PutAfter = 0;
    Sometimes(run.RangeStart, static_cast<int>(Below(5)) + 1);
    if (run.RangeStart != 0) Sometimes(run.RangeEnd, run.RangeStart + static_cast<int>(Below(6)));
    for (const std::uint32_t flag : {FLAG_BY_MSGID, FLAG_BY_CORRELID, FLAG_BY_GROUPID}) {
      if (Below(6) == 0) run.Flags |= flag;
    }
    Sometimes(run.SizeBelow, static_cast<MQLONG>(Below(30)));
    Sometimes(run.SizeAtLeast, static_cast<MQLONG>(Below(30)));
    Sometimes(run.PriorityAtLeast, static_cast<MQLONG>(Below(4)));
    Sometimes(run.PriorityAtMost, static_cast<MQLONG>(Below(4)));
    Sometimes(run.PutBefore, static_cast<std::int64_t>(Below(5)) + 1);
    Sometimes(run.PutAfter, static_cast<std::int64_t>(Below(5)) + 1);
    if (Below(4) == 0) run.Flags2 |= FLAG2_BY_DLQ_REASON;
    if (Below(4) == 0) run.Flags2 |= FLAG2_BY_TARGET;
    run.DlqReason = 2053;
    run.TargetQueueMask.Assign(std::string(Below(2), '*') + Letters(1) + std::string(Below(2), '*'));
    run.TargetQMgrMask.Assign(std::string(Below(2), '*'));
    for (auto* family : Families()) {
      for (SearchString& entry : *family) {
        const std::string text = Below(6) == 0 ? Letters(3) : "";
        entry.Length = static_cast<int>(text.size());
        text.copy(entry.Text, text.size());
        if (text.empty()) break;
      }
    }
  }
  using Family = SearchString[kSearchStrings];
  std::vector<Family*> Families() {
    return {&run.AsciiSearch,     &run.AsciiNotSearch, &run.EbcdicSearch,
            &run.EbcdicNotSearch, &run.HexSearch,      &run.HexNotSearch};
  }

  bool Expected() {
    const MQMD& descriptor = run.Message.Descriptor;
    const auto size = static_cast<MQLONG>(data_.size());
    bool yes = true;
    if (run.RangeStart > 0) yes &= run.MessageIndex >= run.RangeStart;
    if (run.RangeEnd > 0) yes &= run.MessageIndex <= run.RangeEnd;
    if (run.Has(FLAG_BY_MSGID)) yes &= descriptor.MsgId[23] == 0;
    if (run.Has(FLAG_BY_CORRELID)) yes &= descriptor.CorrelId[0] == 0;
    if (run.Has(FLAG_BY_GROUPID)) yes &= descriptor.GroupId[11] == 0;
    if (run.SizeBelow >= 0) yes &= size < run.SizeBelow;
    if (run.SizeAtLeast >= 0) yes &= size >= run.SizeAtLeast;
    if (run.PriorityAtLeast >= 0) yes &= descriptor.Priority >= run.PriorityAtLeast;
    if (run.PriorityAtMost >= 0) yes &= descriptor.Priority <= run.PriorityAtMost;
    if (run.Has2(FLAG2_BY_DLQ_REASON)) yes &= hasDeadLetter_ && reason_ == 2053;
    if (run.Has2(FLAG2_BY_TARGET)) {
      yes &= hasTarget_ && SlowMatch(true, targetQueue_, run.TargetQueueMask) &&
             SlowMatch(true, targetQMgr_, run.TargetQMgrMask);
    }
    bool wantedHere = true;
    for (const Family* family : Families()) {
      for (const SearchString& entry : *family) {
        if (entry.Length == 0) break;
        const std::string wanted(entry.Text, static_cast<std::size_t>(entry.Length));
        const bool found = std::string(data_.begin(), data_.end()).find(wanted) != std::string::npos;
        yes &= found == wantedHere;
      }
      wantedHere = !wantedHere;
    }
    if (run.PutBefore != 0 || run.PutAfter != 0) yes &= putTime_ > 0;
    if (run.PutBefore != 0) yes &= putTime_ < run.PutBefore;
    if (run.PutAfter != 0) yes &= putTime_ >= run.PutAfter;
    return yes;
  }

 private:
  static inline std::unique_ptr<Parameters> owner_ = std::make_unique<Parameters>();
  std::mt19937 random_{3};
  std::vector<char> data_;
  std::int64_t putTime_ = 0;
  std::string targetQueue_, targetQMgr_;
  MQLONG reason_ = 0;
  bool hasDeadLetter_ = false, hasTarget_ = false;
};

TEST_F(SelectionOracle, AgreesOnGeneratedMessagesAndCriteria) {
  int selected = 0;
  constexpr int kRounds = 100000;
  for (int round = 0; round < kRounds; ++round) {
    MakeMessage();
    MakeCriteria();
    ASSERT_EQ(SelectMessage(run), Expected()) << "round " << round;
    selected += SelectMessage(run) ? 1 : 0;
  }
  // Both answers must be met often, or the comparison proves little.
  EXPECT_GT(selected, kRounds / 50);
  EXPECT_LT(selected, kRounds / 2);
}

TEST_F(SelectionOracle, LooksOnlyAtDeliveredBytes) {
  MakeMessage();
  run.Flags = run.Flags2 = 0;
  run.RangeStart = 0;
  run.SizeBelow = run.SizeAtLeast = run.PriorityAtLeast = run.PriorityAtMost = -1;
  run.PutBefore = run.PutAfter = 0;
  for (auto* family : Families()) (*family)[0].Length = 0;
  Hold("xxABC");
  std::memcpy(run.AsciiSearch[0].Text, "ABC", 3);
  run.AsciiSearch[0].Length = 3;
  EXPECT_TRUE(SelectMessage(run));
  run.Message.Delivered = 4;
  EXPECT_FALSE(SelectMessage(run));
}

}  // namespace
