#include "mq/destinations.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "cmdline/parameters.h"

namespace {

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
    EXPECT_EQ(run.Asked.CaseCounts, c.Quoted) << c.Text;
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
    const Outcome reply = Captured([&] { return SplitNames(run, 0, c.Text, "reply queue", names); });
    EXPECT_FALSE(reply.Ok);
    EXPECT_EQ(reply.Shown, c.ShownForReply);
  }
}

TEST(SplitNames, KnowsNoFilesAndSetsNoFlag) {
  Parameters run;
  QueueNames names;
  EXPECT_TRUE(SplitNames(run, 0, "'file:x'", "reply queue", names));
  EXPECT_STREQ(names.Queue, "file:x");
  EXPECT_FALSE(run.Asked.CaseCounts);
}

TEST(AddDestination, ASecondQueueMakesAList) {
  Parameters run;
  EXPECT_TRUE(AddDestination(run, "QM0/Q0", ListKind::Output));
  EXPECT_FALSE(run.Asked.Output.AsList);
  EXPECT_TRUE(AddDestination(run, "Q1", ListKind::Output));
  EXPECT_TRUE(run.Asked.Output.AsList);
  EXPECT_TRUE(AddDestination(run, "I1", ListKind::Input));
  EXPECT_EQ(DestinationText(run.Asked.Output.Queues.front()), "QM0/Q0");
  EXPECT_EQ(DestinationText(run.Asked.Output.Queues.back()), "Q1");
  EXPECT_EQ(run.Asked.Input.Queues.size(), 1U);
}

}  // namespace
