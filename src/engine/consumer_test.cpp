#include "engine/consumer.h"

#include <gtest/gtest.h>

#include "engine/fake_mq_test.h"
#include "engine/transfer.h"
#include "platform/test_folder.h"

namespace {

constexpr MQHOBJ kSecond = 11;

struct ConsumerTest : testing::Test, FakeRun {
  ConsumerTest() {
    run.InputList = std::make_unique<QueueList>();
    for (const MQHOBJ hobj : {kSource, kSecond}) {
      run.InputList->Entries.emplace_back();
      QueueElement& element = run.InputList->Elements.emplace_back();
      element.Hobj = hobj;
      element.QueueName.Assign(hobj == kSource ? "FIRST" : "SECOND");
    }
    for (const char* data : {"a1", "a2", "a3", "a4", "a5"}) mq.Add(kSource, data);
    for (const char* data : {"b1", "b2", "b3"}) mq.Add(kSecond, data);
  }
  MQLONG Consume() { return TransferMessages(run, nullptr, false); }
};

TEST_F(ConsumerTest, TakesAllQueuesUntilEachHasReportedEmpty) {
  ASSERT_EQ(Consume(), 0);
  EXPECT_EQ(mq.Content(kTarget), "a1 b1 a2 b2 a3 b3 a4 a5");
  EXPECT_EQ(run.MessageIndex, 8);
  EXPECT_EQ(mq.Count("MQCB(DEREGISTER)"), 2);
  EXPECT_FALSE(run.QMgrs[0].UnitOpen);
}

TEST_F(ConsumerTest, TheRangeCountsOverAllQueues) {
  Set(FLAG_SELECTING);
  run.RangeStart = 2;
  run.RangeEnd = 3;
  for (const int wait : {0, 5}) {
    run.WaitInterval = wait;
    run.Finished = false;
    ASSERT_EQ(Consume(), 0);
    EXPECT_EQ(run.MessageIndex, 3);
    EXPECT_GE(mq.Count("MQCTL(STOP)"), 1);
  }
  EXPECT_EQ(run.SelectedCount, 2);
}

TEST_F(ConsumerTest, AFailureInsideTheCallbackIsTheRunsResultAndIsBackedOut) {
  for (const int wait : {0, 30}) {
    run.WaitInterval = wait;
    run.Finished = false;
    run.MessageText.clear();
    mq.Script["MQPUT"] = {{MQCC_OK, 0}, {MQCC_FAILED, MQRC_Q_FULL}};
    EXPECT_EQ(Consume(), MQRC_Q_FULL);
    EXPECT_TRUE(run.RolledBack);
    EXPECT_EQ(mq.Content(kSource), "a1 a2 a3 a4 a5");
    EXPECT_EQ(mq.Content(kSecond), "b1 b2 b3");
    EXPECT_EQ(mq.Content(kTarget), "");
    EXPECT_NE(run.MessageText.view().find("MQPUT(TARGET)"), std::string_view::npos);
  }
}

TEST_F(ConsumerTest, AFailedStepOfItsOwnEndsTheRunWithItsReason) {
  struct Case {
    const char* Call;
    const char* Text;
  };
  const Case cases[] = {
      {"MQCB(REGISTER)", "MQCB(REGISTER)(QM1/FIRST) failed RC(2009)"},
      {"MQCTL(START)", "MQCTL(START_WAIT)(QM1) failed RC(2009)"},
      {"MQCB(DEREGISTER)", "MQCB(DEREGISTER)(QM1/SECOND) failed RC(2009)"},
  };
  for (const Case& c : cases) {
    run.Finished = false;
    run.MessageText.clear();
    mq.Script[c.Call] = {{MQCC_FAILED, MQRC_CONNECTION_BROKEN}};
    EXPECT_EQ(Consume(), MQRC_CONNECTION_BROKEN);
    EXPECT_EQ(run.MessageText.view().substr(0, std::strlen(c.Text)), c.Text);
  }
}

TEST_F(ConsumerTest, WaitsForMessagesAndClosesAnAgedFileInBetween) {
  run.OutputHobj = MQHO_UNUSABLE_HOBJ;
  run.OutputQueueName.clear();
  const TestFolder folder;
  run.OutputFileName.Assign(folder.Path("consumed%n.tvo"));
  Set(FLAG_FORCE | FLAG_OUTPUT_INSERTS);
  run.LimitMsgs = 0;
  run.LimitAge = 1;
  run.WaitInterval = 3;
  ASSERT_EQ(Consume(), 0);
  EXPECT_EQ(run.MsgsWritten, 8);
  EXPECT_FALSE(run.Writer.Out.is_open());
  EXPECT_EQ(mq.Content(kSource) + mq.Content(kSecond), "");
  EXPECT_EQ(mq.Count("MQCTL(STOP)"), 2);
}

}  // namespace
