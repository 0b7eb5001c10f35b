#include "engine/get.h"

#include <gtest/gtest.h>

#include "engine/fake_mq_test.h"

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
    FakeRun run;
    run.conn.CommandLevel = 700;
    run.asked.Input.Remove = c.Remove;
    run.asked.Units.MessageLimit = c.TransactionLimit;
    const auto options = [&] { return GetOptions(run.asked, {.BrowseFirst = c.BrowseFirst}, run.conn, c.UnderCursor); };
    EXPECT_EQ(options(), c.Options | MQGMO_PROPERTIES_FORCE_MQRFH2);
    run.conn.CommandLevel = 699;
    EXPECT_EQ(options(), c.Options);
    run.conn.CommandLevel = 700;
    run.asked.Input.NoForcedRfh2 = true;
    EXPECT_EQ(options(), c.Options);
  }
}

struct GetTest : testing::Test, FakeRun {};

TEST_F(GetTest, ResetsTheDescriptorAndAsksForIdentifiersAndConversion) {
  message.Descriptor.Priority = 7;
  asked.Input.Convert = true;
  asked.Selection.MsgId.emplace()[0] = 1;
  asked.Selection.GroupId.emplace()[23] = 2;
  asked.Input.ConvertCcsid = 1208;
  asked.Input.ConvertEncoding = 273;
  mq.Add(kSource, "x");
  Arrival arrival{};
  ASSERT_FALSE(QueueSource(asked, {}, conn, queue).Next(message, 0, arrival).failed());
  EXPECT_EQ(arrival, Arrival::Message);
  const MQMD& wanted = mq.GetDescriptors[0];
  EXPECT_EQ(wanted.Version, MQMD_VERSION_2);
  EXPECT_EQ(wanted.Priority, -1);
  EXPECT_EQ(wanted.MsgId[0], 1);
  EXPECT_EQ(wanted.GroupId[23], 2);
  EXPECT_EQ(wanted.CodedCharSetId, 1208);
  EXPECT_EQ(wanted.Encoding, 273);
  EXPECT_GE(mq.GetOptions[0].Version, MQGMO_VERSION_2);
  EXPECT_EQ(mq.GetOptions[0].MatchOptions, MQMO_MATCH_MSG_ID | MQMO_MATCH_CORREL_ID | MQMO_MATCH_GROUP_ID);
  EXPECT_NE(mq.GetOptions[0].Options & MQGMO_CONVERT, 0);
}

TEST_F(GetTest, ABrowsedMessageThatHasGoneIsNoFailureOfTheRun) {
  mq.Add(kSource, "x");
  QueueSource source(asked, {.BrowseFirst = true}, conn, queue);
  Arrival arrival{};
  ASSERT_FALSE(source.Next(message, 0, arrival).failed());
  mq.Script["MQGET"] = {{MQCC_FAILED, MQRC_NO_MSG_UNDER_CURSOR}};
  bool gone = false;
  EXPECT_FALSE(source.Remove(message, gone).failed());
  EXPECT_TRUE(gone);
}

}  // namespace
