#include "mq/destinations.h"

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "cmdline/parameters.h"
#include "platform/test_folder.h"

namespace {

namespace fs = std::filesystem;

struct Outcome {
  bool Ok = false;
  std::string Shown;
};

template <typename Action>
Outcome Captured(const Action& act) {
  Outcome outcome;
  testing::internal::CaptureStderr();
  outcome.Ok = act();
  outcome.Shown = testing::internal::GetCapturedStderr();
  return outcome;
}

std::vector<std::string> Destinations(const QueueList* list) {
  std::vector<std::string> texts;
  if (list == nullptr) return texts;
  for (const MQOR& entry : list->Entries) texts.push_back(DestinationText(entry.ObjectQMgrName, entry.ObjectName));
  return texts;
}

const std::string kName48(48, 'N');
const std::string kName49(49, 'N');

TEST(SplitQueueName, CutsAtThePreferredSeparator) {
  const struct {
    char Separator;
    std::string Text;
    std::string QMgr;
    std::string Queue;
    bool Quoted;
  } cases[] = {
      {0, "Q1", "", "Q1", false},
      {0, "QM1/Q1", "QM1", "Q1", false},
      {0, "QM1#Q1", "QM1", "Q1", false},
      {0, "A,B/C", "A", "B/C", false},
      {0, "A/B#C", "A/B", "C", false},
      {0, R"(A/B\C)", "A/B", "C", false},
      {0, "A/B/C", "A", "B/C", false},
      {'+', "QM1+Q1", "QM1", "Q1", false},
      {'+', "QM1/Q1", "", "QM1/Q1", false},
      {0, "'Q1'", "", "Q1", true},
      {0, "'QM1/Q1'", "QM1", "Q1", true},
      {0, "'Q1", "", "Q1", true},
      {0, "'", "", "", true},
      {0, kName48 + "/" + kName48, kName48, kName48, false},
  };
  for (const auto& c : cases) {
    Parameters run;
    QueueNames names;
    EXPECT_TRUE(SplitQueueName(run, c.Separator, c.Text, names, ListKind::Output)) << c.Text;
    EXPECT_EQ(std::string(names.QMgr, strnlen(names.QMgr, 48)), c.QMgr) << c.Text;
    EXPECT_EQ(std::string(names.Queue, strnlen(names.Queue, 48)), c.Queue) << c.Text;
    EXPECT_EQ(run.Has2(FLAG2_QUOTED_NAME), c.Quoted) << c.Text;
  }
}

TEST(SplitQueueName, RefusesNamesThatDoNotFit) {
  const struct {
    std::string Text;
    std::string Shown;
    std::string ShownForReply;
  } cases[] = {
      {kName49, "The Queue name '" + kName49 + "' is too long.\n", "The Queue name '" + kName49 + "' is too long.\n"},
      {kName49 + "/Q", "The Queue Manager part of destination '" + kName49 + "/Q' is too long.\n",
       "The Queue Manager part of reply queue '" + kName49 + "/Q' is too long.\n"},
      {"M/" + kName49, "The Queue name part of destination 'M/" + kName49 + "' is too long.\n",
       "The Queue name part of reply queue 'M/" + kName49 + "' is too long.\n"},
  };
  Parameters run;
  QueueNames names;
  for (const auto& c : cases) {
    const Outcome split = Captured([&] { return SplitQueueName(run, 0, c.Text, names, ListKind::Output); });
    EXPECT_FALSE(split.Ok);
    EXPECT_EQ(split.Shown, c.Shown);
    const Outcome reply = Captured([&] { return SplitReplyQueueName(run, 0, c.Text, names); });
    EXPECT_FALSE(reply.Ok);
    EXPECT_EQ(reply.Shown, c.ShownForReply);
  }
}

TEST(SplitReplyQueueName, KnowsNoFilesAndSetsNoFlag) {
  Parameters run;
  QueueNames names;
  EXPECT_TRUE(SplitReplyQueueName(run, 0, "'file:x'", names));
  EXPECT_STREQ(names.Queue, "file:x");
  EXPECT_FALSE(run.Has2(FLAG2_QUOTED_NAME));
}

TEST(AddDestination, ListBeginsWithTheSingleQueueAndDoublesWhenFull) {
  Parameters run;
  run.OutputQMgrName.Assign("QM0");
  run.OutputQueueName.Assign("Q0");
  for (int i = 1; i < 10; ++i) EXPECT_TRUE(AddDestination(run, "Q" + std::to_string(i), ListKind::Output));
  EXPECT_EQ(run.OutputList->Entries.capacity(), 10U);
  EXPECT_TRUE(AddDestination(run, "QM2/Q10", ListKind::Output));
  EXPECT_EQ(run.OutputList->Entries.capacity(), 20U);
  const std::vector<std::string> texts = Destinations(run.OutputList.get());
  EXPECT_EQ(texts.size(), 11U);
  EXPECT_EQ(texts.front(), "QM0/Q0");
  EXPECT_EQ(texts.back(), "QM2/Q10");
  EXPECT_EQ(run.OutputQueueName, "Q0");
  EXPECT_TRUE(AddDestination(run, "I1", ListKind::Input));
  EXPECT_EQ(Destinations(run.InputList.get()), std::vector<std::string>{"I1"});
}

TEST(AddDestination, NeedsAQueueName) {
  Parameters run;
  const Outcome outcome = Captured([&] { return AddDestination(run, "QM2/", ListKind::Output); });
  EXPECT_FALSE(outcome.Ok);
  EXPECT_EQ(outcome.Shown, "The Queue name part of destination 'QM2/' is missing.\n");
}

class DestinationFile : public testing::Test {
 protected:
  void SetUp() override { fs::create_directories(Path("sub")); }

  std::string Path(const std::string& name) const { return folder_.Path(name); }
  void Write(const std::string& name, const std::string& text) const { std::ofstream(Path(name)) << text; }
  Outcome Add(const std::string& text) {
    return Captured([&] { return AddDestination(run_, text, ListKind::Output); });
  }
  std::vector<std::string> Listed() const { return Destinations(run_.OutputList.get()); }

  Parameters run_;

 private:
  TestFolder folder_;
};

using Names = std::vector<std::string>;

TEST_F(DestinationFile, SkipsCommentsAndSpace) {
  Write("d.txt", "* comment\n\n  QM2/Q2  \r\n\tQ3");
  const Outcome outcome = Add("FILE:" + Path("d.txt"));
  EXPECT_TRUE(outcome.Ok) << outcome.Shown;
  EXPECT_EQ(Listed(), (Names{"QM2/Q2", "Q3"}));
  EXPECT_EQ(run_.OutputQueueName, "Q2");
  EXPECT_EQ(run_.IncludeChain, nullptr);
}

TEST_F(DestinationFile, IncludesAreTakenFromTheIncludingFilesFolder) {
  Write("d.txt", "Q1\nfile: sub/e.txt\nQ4\nfile:empty.txt\n");
  Write("sub/e.txt", "Q2\nfile:f.txt\n");
  Write("sub/f.txt", "Q3");
  Write("empty.txt", "* nothing here\n");
  const Outcome outcome = Add("file:" + Path("d.txt"));
  EXPECT_TRUE(outcome.Ok) << outcome.Shown;
  EXPECT_EQ(Listed(), (Names{"Q1", "Q2", "Q3", "Q4"}));
}

TEST_F(DestinationFile, ListMayGrowWhileAFileIsRead) {
  std::string text;
  for (int i = 1; i <= 25; ++i) text += "Q" + std::to_string(i) + "\n";
  Write("d.txt", text);
  run_.OutputQueueName.Assign("Q0");
  EXPECT_TRUE(Add("file:" + Path("d.txt")).Ok);
  EXPECT_TRUE(Add("LAST").Ok);
  const Names names = Listed();
  EXPECT_EQ(names.size(), 27U);
  EXPECT_EQ(names.front(), "Q0");
  EXPECT_EQ(names.back(), "LAST");
}

TEST_F(DestinationFile, RecursionIsRecognisedByTheFile) {
  for (const std::string spelling : {"a.txt", "sub/../a.txt"}) {
    Write("a.txt", "Q1\nfile:b.txt\n");
    Write("b.txt", "file:" + spelling + "\n");
    const Outcome outcome = Add("file:" + Path("a.txt"));
    EXPECT_FALSE(outcome.Ok);
    const std::string again = Path("") + spelling;
    EXPECT_EQ(outcome.Shown, FormatText("Recursive use of file '%s'.\n"
                                        "  File '%s' includes file '%s' on line 2.\n"
                                        "  File '%s' includes file '%s' on line 1.\n",
                                        again.c_str(), Path("a.txt").c_str(), Path("b.txt").c_str(),
                                        Path("b.txt").c_str(), again.c_str()));
    EXPECT_EQ(run_.IncludeChain, nullptr);
  }
}

TEST_F(DestinationFile, LongLinesComeInPieces) {
  // 499 characters are one line; what follows them is the next one.
  Write("d.txt", "Q1" + std::string(497, ' ') + "Q2\nfile:none.txt\n");
  const Outcome outcome = Add("file:" + Path("d.txt"));
  EXPECT_FALSE(outcome.Ok);
  EXPECT_EQ(Listed(), (Names{"Q1", "Q2"}));
  EXPECT_EQ(outcome.Shown, "Can not open file '" + Path("none.txt") + "'.\n");
}

TEST_F(DestinationFile, MustNameADestination) {
  Write("d.txt", "* only a comment\n");
  run_.OutputQueueName.Assign("Q0");
  const Outcome outcome = Add("file:" + Path("d.txt"));
  EXPECT_FALSE(outcome.Ok);
  EXPECT_EQ(outcome.Shown, "There are no destinations in file '" + Path("d.txt") + "'.\n");
}

TEST(ShowDestinations, ListsOneOrSeveral) {
  const auto shown = [](Parameters& run) {
    return Captured([&] {
             ShowDestinations(run);
             return true;
           })
        .Shown;
  };
  Parameters run;
  EXPECT_EQ(shown(run), "");
  run.OutputQMgrName.Assign("QM1");
  run.OutputQueueName.Assign("Q1");
  EXPECT_EQ(shown(run), "Output Destination : QM1/Q1\n\n");
  EXPECT_TRUE(AddDestination(run, "Q2", ListKind::Output));
  EXPECT_EQ(shown(run), "Output Destinations : QM1/Q1\n                    : Q2\n\n");
  Parameters single;
  EXPECT_TRUE(AddDestination(single, "Q3", ListKind::Output));
  EXPECT_EQ(shown(single), "Output Destination : Q3\n\n");
}

}  // namespace
