#include "engine/get.h"

#include <gtest/gtest.h>

#include <ctime>
#include <limits>

#include "common/clock.h"
#include "engine/fake_mq_test.h"
#include "platform/test_folder.h"

namespace {

TEST(GetOptions, FollowTheModeOfTheRun) {
  struct Case {
    bool Remove, BrowseFirst;
    int TransactionLimit;
    bool UnderCursor;
    MQLONG Options;
  };
  const Case cases[] = {
      {false, false, 200, false, MQGMO_BROWSE_NEXT | MQGMO_NO_SYNCPOINT},
      {true, true, 200, false, MQGMO_BROWSE_NEXT | MQGMO_NO_SYNCPOINT},
      {true, true, 200, true, MQGMO_MSG_UNDER_CURSOR | MQGMO_SYNCPOINT},
      {true, true, 0, true, MQGMO_MSG_UNDER_CURSOR | MQGMO_NO_SYNCPOINT},
      {true, false, 200, false, MQGMO_SYNCPOINT},
      {true, false, -1, false, MQGMO_SYNCPOINT},
      {true, false, 0, false, MQGMO_NO_SYNCPOINT},
  };
  for (const Case& c : cases) {
    const auto run = std::make_unique<Parameters>();
    run->QMgrs[0].CommandLevel = 700;
    run->Asked.Input.Remove = c.Remove;
    run->BrowseFirst = c.BrowseFirst;
    run->Asked.Units.MessageLimit = c.TransactionLimit;
    EXPECT_EQ(GetOptions(*run, c.UnderCursor), c.Options | MQGMO_PROPERTIES_FORCE_MQRFH2);
    run->QMgrs[0].CommandLevel = 699;
    EXPECT_EQ(GetOptions(*run, c.UnderCursor), c.Options);
    run->QMgrs[0].CommandLevel = 700;
    run->Asked.Input.NoForcedRfh2 = true;
    EXPECT_EQ(GetOptions(*run, c.UnderCursor), c.Options);
  }
}

struct GetTest : testing::Test, FakeRun {
  MQLONG Get(bool underCursor = false) { return GetQueueMessage(run, queue, underCursor); }
};

TEST_F(GetTest, WaitsOnlyWhenNothingIsPending) {
  struct Case {
    int WaitInterval;
    int LastMessageAgo;  // milliseconds
    int UowCount;
    int TransactionLimit;
    MQLONG Wait;  // milliseconds; 0: none
  };
  constexpr MQLONG kMost = kLongestWait;
  const Case cases[] = {
      {0, 0, 0, 200, 0},  {30, 0, 0, 200, kMost}, {30, 29600, 0, 200, 400},   {30, 30001, 0, 200, 0},
      {30, 0, 5, 200, 0}, {30, 0, 5, -1, kMost},  {-1, 99000, 0, 200, kMost}, {2000000000, 0, 0, 200, kMost}};
  for (const Case& c : cases) {
    mq.Add(kSource, "x");
    run.Asked.Input.WaitInterval = c.WaitInterval;
    const std::int64_t start = SteadyMillis();
    run.Wait.Since = start - c.LastMessageAgo;
    run.Uow.UowCount = c.UowCount;
    run.Asked.Units.MessageLimit = c.TransactionLimit;
    ASSERT_EQ(Get(), 0);
    const MQGMO& options = mq.GetOptions.back();
    EXPECT_EQ((options.Options & MQGMO_WAIT) != 0, c.Wait != 0);
    EXPECT_LE(options.WaitInterval, c.Wait);
    EXPECT_GE(options.WaitInterval, c.Wait - (SteadyMillis() - start));
  }
}

TEST_F(GetTest, ResetsTheDescriptorAndAsksForIdentifiersAndConversion) {
  run.Message.Descriptor.Priority = 7;
  run.Asked.Input.Convert = true;
  run.Asked.Selection.MsgId.emplace()[0] = 1;
  run.Asked.Selection.GroupId.emplace()[23] = 2;
  run.Asked.Input.ConvertCcsid = 1208;
  run.Asked.Input.ConvertEncoding = 273;
  mq.Add(kSource, "x");
  ASSERT_EQ(Get(), 0);
  const MQMD& asked = mq.GetDescriptors[0];
  EXPECT_EQ(asked.Version, MQMD_VERSION_2);
  EXPECT_EQ(asked.Priority, -1);
  EXPECT_EQ(asked.MsgId[0], 1);
  EXPECT_EQ(asked.GroupId[23], 2);
  EXPECT_EQ(asked.CodedCharSetId, 1208);
  EXPECT_EQ(asked.Encoding, 273);
  EXPECT_GE(mq.GetOptions[0].Version, MQGMO_VERSION_2);
  EXPECT_EQ(mq.GetOptions[0].MatchOptions, MQMO_MATCH_MSG_ID | MQMO_MATCH_CORREL_ID | MQMO_MATCH_GROUP_ID);
  EXPECT_NE(mq.GetOptions[0].Options & MQGMO_CONVERT, 0);
}

TEST_F(GetTest, CommitsWhatIsPendingBeforeItWaits) {
  run.Uow = {true, 150};
  run.Asked.Input.WaitInterval = 1;
  run.Wait.Since = SteadyMillis();
  ASSERT_EQ(Get(), 0);
  EXPECT_TRUE(run.Finished);
  ASSERT_GE(mq.Calls.size(), 3U);
  EXPECT_EQ(mq.Calls[1], "MQCMIT 1");
  EXPECT_EQ(mq.GetOptions[0].Options & MQGMO_WAIT, 0);
  EXPECT_NE(mq.GetOptions[1].Options & MQGMO_WAIT, 0);
  EXPECT_EQ(mq.Count("MQCMIT"), 1);
}

TEST_F(GetTest, AFileThatReachesItsAgeIsClosedByAWaitingGetOnly) {
  const TestFolder folder;
  const std::string name = folder.Path("aged.tvo");
  run.Asked.Output.FileName = name;
  ASSERT_FALSE(run.Outputs->Open({}).failed());
  ASSERT_FALSE(run.Outputs->Write({.Descriptor = DefaultDescriptor(), .Data = {}}).failed());
  ASSERT_FALSE(run.Outputs->Flush(false).failed());
  run.Asked.Input.WaitInterval = 30;
  run.Wait.Since = SteadyMillis();
  run.BrowseFirst = true;
  mq.Add(kSource, "one");
  mq.Add(kSource, "two");
  ASSERT_EQ(Get(), 0);
  run.Asked.Limits.Age = -1;  // passed already
  ASSERT_EQ(Get(true), 0);
  EXPECT_TRUE(run.Outputs->is_open());
  run.Outputs->Count(0);  // it waits for nothing while something is not flushed
  mq.Add(kSource, "three");
  ASSERT_EQ(Get(), 0);
  EXPECT_TRUE(run.Outputs->is_open());
  ASSERT_FALSE(run.Outputs->Flush(false).failed());
  ASSERT_EQ(Get(), 0);
  EXPECT_FALSE(run.Outputs->is_open());
}

TEST_F(GetTest, ABrowsedMessageThatHasGoneIsNoFailureOfTheRun) {
  run.BrowseFirst = true;
  EXPECT_EQ(Get(true), MQRC_NO_MSG_UNDER_CURSOR);
  EXPECT_TRUE(run.MessageText.empty());
  EXPECT_FALSE(run.Finished);
}

}  // namespace
