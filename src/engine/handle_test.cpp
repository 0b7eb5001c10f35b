#include "engine/handle.h"

#include <gtest/gtest.h>

#include "engine/fake_mq_test.h"

namespace {

struct HandleTest : testing::Test, FakeRun {
  // Handles the message in hand and returns what was put.
  FakeMessage Handled() {
    EXPECT_EQ(HandleMessage(run, &queue), 0);
    EXPECT_EQ(Commit(run, run.QMgrs[0]), 0);
    const FakeMessage message = mq.Queues[kTarget].back();
    mq.Queues[kTarget].clear();
    return message;
  }
};

TEST_F(HandleTest, AMessageTooShortForItsHeaderHasNone) {
  run.Asked.Output.StripHeaders = true;
  for (const auto& [format, size] : {std::pair{MQFMT_DEAD_LETTER_HEADER, 171}, {MQFMT_XMIT_Q_HEADER, 427}}) {
    const std::string data(static_cast<std::size_t>(size), 'x');
    Hold(data, format);
    const FakeMessage put = Handled();
    EXPECT_EQ(put.Data, data);
    EXPECT_EQ(std::string_view(put.Descriptor.Format, 8), format);
  }
}

TEST_F(HandleTest, BytesThatWereNotFetchedAreNeverPut) {
  Hold("data", "MQSTR");
  run.Message.Delivered = 0;
  EXPECT_EQ(HandleMessage(run, &queue), MQRC_UNEXPECTED_ERROR);
  EXPECT_EQ(mq.Count("MQPUT"), 0);
}

}  // namespace
