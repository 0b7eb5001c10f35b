#include "cmdline/queue_arguments.h"

#include <gtest/gtest.h>

#include <string>

#include "common/console.h"

namespace {

struct Arguments {
  Options Asked;
  Console Screen;
  QueueArguments Queues{Asked, Screen};
};

const std::string kName48(48, 'N');
const std::string kName49(49, 'N');

TEST(AddDestination, CutsAtThePreferredSeparator) {
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
      {0, kName48 + "/" + kName48, kName48, kName48, false},
  };
  for (const auto& c : cases) {
    Arguments given;
    given.Queues.Separator = c.Separator;
    ASSERT_TRUE(AddDestination(given.Queues, c.Text, ListKind::Output)) << c.Text;
    EXPECT_EQ(given.Asked.Output.Queues.front().QMgr, c.QMgr) << c.Text;
    EXPECT_EQ(given.Asked.Output.Queues.front().Queue, c.Queue) << c.Text;
    EXPECT_EQ(given.Asked.CaseCounts, c.Quoted) << c.Text;
  }
}

TEST(SplitNames, RefusesNamesThatDoNotFit) {
  const struct {
    std::string Text;
    std::string Shown;
  } cases[] = {
      {kName49, "The Queue name '" + kName49 + "' is too long.\n"},
      {kName49 + "/Q", "The Queue Manager part of reply queue '" + kName49 + "/Q' is too long.\n"},
      {"M/" + kName49, "The Queue name part of reply queue 'M/" + kName49 + "' is too long.\n"},
  };
  Arguments given;
  for (const auto& c : cases) {
    testing::internal::CaptureStderr();
    EXPECT_FALSE(SplitNames(given.Queues, c.Text, "reply queue"));
    EXPECT_EQ(testing::internal::GetCapturedStderr(), c.Shown);
  }
}

TEST(SplitNames, KnowsNoFilesAndSetsNoFlag) {
  Arguments given;
  EXPECT_EQ(SplitNames(given.Queues, "'file:x'", "reply queue")->Queue, "file:x");
  EXPECT_FALSE(given.Asked.CaseCounts);
}

TEST(AddDestination, ASecondQueueMakesAList) {
  Arguments given;
  EXPECT_TRUE(AddDestination(given.Queues, "QM0/Q0", ListKind::Output));
  EXPECT_FALSE(given.Asked.Output.AsList);
  EXPECT_TRUE(AddDestination(given.Queues, "Q1", ListKind::Output));
  EXPECT_TRUE(given.Asked.Output.AsList);
  EXPECT_TRUE(AddDestination(given.Queues, "I1", ListKind::Input));
  EXPECT_FALSE(AddDestination(given.Queues, "'", ListKind::Input));
  EXPECT_EQ(given.Asked.Output.Queues.size(), 2U);
  EXPECT_EQ(given.Asked.Input.Queues.size(), 1U);
}

}  // namespace
