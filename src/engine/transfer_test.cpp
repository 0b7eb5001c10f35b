#include "engine/transfer.h"

#include <gtest/gtest.h>

#include "engine/fake_mq_test.h"
#include "platform/system.h"

namespace {

struct TransferTest : testing::Test, FakeRun {
  void AddMessages(int count) {
    for (int i = 1; i <= count; ++i) {
      MQMD descriptor;
      descriptor.Priority = i % 10;
      mq.Add(kSource, std::to_string(i), descriptor);
    }
  }
  MQLONG Transfer() { return TransferMessages(run, &queue, false); }
};

TEST_F(TransferTest, CommitsByCountAndAtTheEnd) {
  AddMessages(5);
  run.TransactionLimit = 2;
  ASSERT_EQ(Transfer(), 0);
  EXPECT_EQ(mq.Content(kTarget), "1 2 3 4 5");
  EXPECT_EQ(mq.Content(kSource), "");
  EXPECT_EQ(mq.Count("MQCMIT"), 3);
  EXPECT_EQ(run.MsgsRead, 5);
  EXPECT_EQ(run.BytesWritten, 5);
  EXPECT_EQ(run.UowMsgsRead + run.UowMsgsWritten, 0);
  EXPECT_FALSE(run.QMgrs[0].UnitOpen);
}

TEST_F(TransferTest, SelectionLeavesTheRestOnTheQueueUnlessItIsPurged) {
  struct Case {
    std::uint32_t Flags;  // as the run driver leaves them: FLAG_SELECTING browses first
    std::uint32_t Flags2;
    const char* Target;
    const char* Source;
  };
  const Case cases[] = {{FLAG_SELECTING, 0, "7 8 9", "1 2 3 4 5 6"},
                        {FLAG_SELECTING, FLAG2_INVERT, "1 2 3 4 5 6", "7 8 9"},
                        {0, 0, "7 8 9", ""}};
  for (const Case& c : cases) {
    FakeRun other;
    for (int i = 1; i <= 9; ++i) {
      MQMD descriptor;
      descriptor.Priority = i;
      other.mq.Add(kSource, std::to_string(i), descriptor);
    }
    other.Set(c.Flags, c.Flags2);
    other.run.PriorityAtLeast = 7;
    ASSERT_EQ(TransferMessages(other.run, &other.queue, false), 0);
    EXPECT_EQ(other.mq.Content(kTarget), c.Target);
    EXPECT_EQ(other.mq.Content(kSource), c.Source);
    EXPECT_EQ(other.run.MsgsRead, 9);
  }
}

TEST_F(TransferTest, TheRangeEndEndsTheRun) {
  AddMessages(10);
  Set(FLAG_SELECTING);
  run.RangeStart = run.RangeEnd = 3;
  ASSERT_EQ(Transfer(), 0);
  EXPECT_EQ(mq.Content(kTarget), "3");
  EXPECT_EQ(mq.Content(kSource), "1 2 4 5 6 7 8 9 10");
  EXPECT_EQ(run.MsgsRead, 3);
  EXPECT_TRUE(run.Finished);
}

TEST_F(TransferTest, WithoutATargetEveryMessageIsRemoved) {
  AddMessages(5);
  run.OutputHobj = MQHO_UNUSABLE_HOBJ;
  run.OutputQueueName.clear();
  run.TransactionLimit = 2;
  ASSERT_EQ(Transfer(), 0);
  EXPECT_EQ(mq.Content(kSource), "");
  EXPECT_EQ(mq.Count("MQCMIT"), 3);
  EXPECT_EQ(run.SelectedCount, 0);
}

TEST_F(TransferTest, AFailureBacksOutTheOpenUnitOnly) {
  AddMessages(5);
  run.TransactionLimit = 2;
  mq.Script["MQPUT"] = {{MQCC_OK, 0}, {MQCC_OK, 0}, {MQCC_OK, 0}, {MQCC_FAILED, MQRC_Q_FULL}};
  EXPECT_EQ(Transfer(), MQRC_Q_FULL);
  EXPECT_EQ(mq.Content(kTarget), "1 2");
  EXPECT_EQ(mq.Content(kSource), "3 4 5");
  EXPECT_TRUE(run.RolledBack);
  EXPECT_EQ(run.MsgsRead - run.UowMsgsRead, 2);
  EXPECT_EQ(run.MsgsWritten - run.UowMsgsWritten, 2);
  EXPECT_EQ(run.MessageText.view().substr(0, 13), "MQPUT(TARGET)");
}

TEST_F(TransferTest, WithoutUnitsOfWorkNothingIsBackedOut) {
  AddMessages(3);
  run.TransactionLimit = 0;
  mq.Script["MQPUT"] = {{MQCC_OK, 0}, {MQCC_FAILED, MQRC_Q_FULL}};
  EXPECT_EQ(Transfer(), MQRC_Q_FULL);
  EXPECT_EQ(mq.Content(kTarget), "1");
  EXPECT_EQ(mq.Count("MQBACK") + mq.Count("MQCMIT"), 0);
  EXPECT_FALSE(run.RolledBack);
}

TEST_F(TransferTest, TwoQueueManagersEndTheirUnitsInOrderAndEachForItself) {
  struct Case {
    std::deque<FakeMq::Answer> Commits, Backouts;
    MQLONG Result;
    std::vector<std::string> Ends;
    const char* Source;
    const char* Target;
    bool OutputOpen;
  };
  const FakeMq::Answer ok{MQCC_OK, 0}, broken{MQCC_FAILED, MQRC_CONNECTION_BROKEN},
      undone{MQCC_WARNING, MQRC_BACKED_OUT};
  const Case cases[] = {
      {{}, {}, 0, {"MQCMIT 2", "MQCMIT 1"}, "", "1 2 3", false},
      {{undone}, {}, MQRC_BACKED_OUT, {"MQCMIT 2", "MQBACK 2", "MQBACK 1"}, "1 2 3", "", false},
      {{ok, broken}, {}, MQRC_CONNECTION_BROKEN, {"MQCMIT 2", "MQCMIT 1", "MQBACK 1"}, "1 2 3", "1 2 3", false},
      {{broken}, {broken}, MQRC_CONNECTION_BROKEN, {"MQCMIT 2", "MQBACK 2", "MQBACK 1"}, "1 2 3", "", true},
  };
  for (const Case& c : cases) {
    for (const int rangeEnd : {0, 3}) {  // the commit when nothing is left, and that at the end of the run
      FakeRun other;
      for (const char* data : {"1", "2", "3"}) other.mq.Add(kSource, data);
      other.UseTwoQueueManagers();
      other.run.RangeStart = rangeEnd != 0 ? 1 : 0;
      other.run.RangeEnd = rangeEnd;
      other.mq.Script["MQCMIT"] = c.Commits;
      other.mq.Script["MQBACK"] = c.Backouts;
      EXPECT_EQ(TransferMessages(other.run, &other.queue, false), c.Result);
      const std::vector<std::string>& calls = other.mq.Calls;
      const auto ends = static_cast<std::ptrdiff_t>(c.Ends.size());
      EXPECT_EQ(std::vector<std::string>(calls.end() - ends, calls.end()), c.Ends);
      EXPECT_EQ(other.mq.Content(kSource), c.Source);
      EXPECT_EQ(other.mq.Content(kTarget), c.Target);
      EXPECT_EQ(other.run.RolledBack, c.Result != 0);
      EXPECT_EQ(other.run.QMgrs[1].UnitOpen, c.OutputOpen);
      EXPECT_FALSE(other.run.QMgrs[0].UnitOpen);
      EXPECT_EQ(other.run.MessageText.empty(), c.Result == 0);
    }
  }
}

TEST_F(TransferTest, AFileThatCannotBeFlushedKeepsTheMessagesOnTheirQueue) {
  if (Platform() == PlatformKind::Windows) GTEST_SKIP() << "needs a file that is always full";
  struct Case {
    int TransactionLimit;
    int RangeEnd;
  };
  const Case cases[] = {{2, 0}, {200, 0}, {200, 3}};  // the commit by count, when nothing is left, and the last one
  for (const Case& c : cases) {
    FakeRun other;
    for (const char* data : {"1", "2", "3"}) other.mq.Add(kSource, data);
    other.run.OutputHobj = MQHO_UNUSABLE_HOBJ;
    other.run.OutputQueueName.clear();
    other.run.OutputFileName.Assign("/dev/full");
    other.run.TransactionLimit = c.TransactionLimit;
    other.run.RangeStart = c.RangeEnd != 0 ? 1 : 0;
    other.run.RangeEnd = c.RangeEnd;
    ASSERT_EQ(other.run.Writer.Out.Open("/dev/full", "w"), 0);
    EXPECT_EQ(TransferMessages(other.run, &other.queue, false), MQRC_RESOURCE_PROBLEM);
    EXPECT_EQ(other.mq.Content(kSource), "1 2 3");
    EXPECT_EQ(other.mq.Count("MQCMIT"), 0);
    EXPECT_FALSE(other.run.MessageText.empty());
    other.run.Writer.Out.Close(false);
  }
}

TEST_F(TransferTest, RefusesWhatItCannotDo) {
  run.Flags = FLAG_CTX_PASS_ALL;
  EXPECT_EQ(TransferMessages(run, nullptr, false), MQRC_CONTEXT_NOT_AVAILABLE);
  run.Flags = FLAG_CTX_SET_ALL | FLAG_WRITE_INDEX;
  EXPECT_EQ(Transfer(), MQRC_OPTIONS_ERROR);
  EXPECT_FALSE(run.RolledBack);
}

}  // namespace
