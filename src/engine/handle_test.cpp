#include "engine/handle.h"

#include <gtest/gtest.h>

#include "engine/fake_mq_test.h"

namespace {

template <typename Header>
std::string Bytes(const Header& header) {
  return {reinterpret_cast<const char*>(&header), sizeof header};
}

struct HandleTest : testing::Test, FakeRun {
  void Hold(const std::string& data, const char* format) {
    ASSERT_EQ(GrowMessageBuffer(run, data.size() + 1), 0);
    run.Message.Descriptor = DefaultDescriptor();
    FillField(run.Message.Descriptor.Format, 8, format);
    run.Message.Data = run.Message.Buffer.data();
    std::memcpy(run.Message.Data, data.data(), data.size());
    run.Message.Length = run.Message.Delivered = static_cast<MQLONG>(data.size());
  }
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
  Set(FLAG_STRIP_HEADERS);
  for (const auto& [format, size] : {std::pair{MQFMT_DEAD_LETTER_HEADER, 171}, {MQFMT_XMIT_Q_HEADER, 427}}) {
    const std::string data(static_cast<std::size_t>(size), 'x');
    Hold(data, format);
    const FakeMessage put = Handled();
    EXPECT_EQ(put.Data, data);
    EXPECT_EQ(std::string_view(put.Descriptor.Format, 8), format);
  }
}

TEST_F(HandleTest, OnlyRemovedMessagesGoToTheBackoutQueueAndUnstripped) {
  struct Case {
    std::uint32_t Flags, Flags2;
    MQLONG BackoutCount, Threshold;
    bool Requeued;
  };
  const Case cases[] = {{FLAG_GET, 0, 3, 3, true},
                        {FLAG_GET, 0, 2, 3, false},
                        {FLAG_GET, 0, 3, 0, false},
                        {FLAG_GET, FLAG2_NO_BACKOUT, 3, 3, false},
                        {0, 0, 3, 3, false}};
  const std::string data = Bytes(MQDLH{}) + "inner";
  for (const Case& c : cases) {
    run.Flags = c.Flags | FLAG_CTX_SET_ALL | FLAG_STRIP_HEADERS;
    run.Flags2 = c.Flags2;
    queue.BackoutThreshold = c.Threshold;
    Hold(data, MQFMT_DEAD_LETTER_HEADER);
    run.Message.Descriptor.BackoutCount = c.BackoutCount;
    ASSERT_EQ(HandleMessage(run, &queue), 0);
    ASSERT_EQ(Commit(run, run.QMgrs[0]), 0);
    EXPECT_EQ(mq.Content(kOpened), c.Requeued ? data : "");
    EXPECT_EQ(mq.Content(kTarget), c.Requeued ? "" : "inner");
    mq.Queues.clear();
  }
}

TEST_F(HandleTest, BytesThatWereNotFetchedAreNeverPut) {
  Hold("data", "MQSTR");
  run.Message.Delivered = 0;
  EXPECT_EQ(HandleMessage(run, &queue), MQRC_UNEXPECTED_ERROR);
  EXPECT_EQ(mq.Count("MQPUT"), 0);
}

}  // namespace
