#include "localmq/test_support.h"

namespace localmq {
namespace {

class MessagesTest : public QueueManagerTest {};

TEST_F(MessagesTest, OneThatOvertakesIsSeenByAnOpenReader) {
  TestConnection app;
  TestConnection other;
  const MQHOBJ out = other.Opened("Q1", MQOO_OUTPUT);
  const MQHOBJ in = app.Opened("Q1", MQOO_INPUT_SHARED);
  for (const char* text : {"a", "b", "c", "d", "e", "f"}) other.Put(out, text);
  for (const char* text : {"a", "b", "c"}) {
    EXPECT_EQ(app.Get(in, MQGMO_SYNCPOINT), MQRC_NONE);
    EXPECT_EQ(app.Text, text);
  }
  MQMD urgent = TestConnection::Persistent();
  urgent.Priority = 9;
  other.Put(out, "urgent", MQPMO_NO_SYNCPOINT, urgent);
  EXPECT_EQ(app.Get(in, MQGMO_SYNCPOINT), MQRC_NONE);
  EXPECT_EQ(app.Text, "urgent");
  EXPECT_EQ(app.BackOut(), MQRC_NONE);
  EXPECT_EQ(app.Browse("Q1"), "urgent,a,b,c,d,e,f");
}

TEST_F(MessagesTest, UnitsOfWorkShowNothingBeforeTheCommit) {
  TestConnection app;
  TestConnection other;
  const MQHOBJ q1 = app.Opened("Q1", MQOO_INPUT_SHARED | MQOO_OUTPUT);
  const MQHOBJ q2 = app.Opened("Q2", MQOO_OUTPUT);
  app.Put(q1, "in");
  EXPECT_EQ(app.Get(q1, MQGMO_SYNCPOINT), MQRC_NONE);
  EXPECT_EQ(app.Put(q2, "out", MQPMO_SYNCPOINT), MQRC_NONE);
  EXPECT_EQ(other.Browse("Q1"), "");
  EXPECT_EQ(other.Browse("Q2"), "");
  EXPECT_EQ(app.Depth("Q2"), 1);
  EXPECT_EQ(app.BackOut(), MQRC_NONE);
  EXPECT_EQ(other.Browse("Q1"), "in");
  EXPECT_EQ(other.Browse("Q2"), "");

  EXPECT_EQ(app.Get(q1, MQGMO_SYNCPOINT), MQRC_NONE);
  EXPECT_EQ(app.Descriptor.BackoutCount, 1);
  EXPECT_EQ(app.Put(q2, "out", MQPMO_SYNCPOINT), MQRC_NONE);
  EXPECT_EQ(app.Commit(), MQRC_NONE);
  EXPECT_EQ(other.Browse("Q1"), "");
  EXPECT_EQ(other.Browse("Q2"), "out");
}

TEST_F(MessagesTest, DisconnectCommits) {
  TestConnection app;
  TestConnection other;
  app.Put(app.Opened("Q1", MQOO_OUTPUT), "kept", MQPMO_SYNCPOINT);
  EXPECT_EQ(app.Disconnect(), MQRC_NONE);
  EXPECT_EQ(other.Browse("Q1"), "kept");
}

}  // namespace
}  // namespace localmq
