#include "engine/handle.h"

#include <gtest/gtest.h>

#include <chrono>

#include "engine/code_pages.h"
#include "engine/fake_mq_test.h"

namespace {

MQLONG BigEndian(MQLONG value) { return static_cast<MQLONG>(__builtin_bswap32(static_cast<std::uint32_t>(value))); }

void ToEbcdic(char* text, std::size_t length) {
  for (std::size_t i = 0; i < length; ++i) {
    text[i] = static_cast<char>(AsciiToEbcdic(static_cast<unsigned char>(text[i])));
  }
}

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

TEST_F(HandleTest, ADeadLetterHeaderIsStrippedInItsOwnByteOrderAndCodePage) {
  Set(FLAG_STRIP_HEADERS);
  for (const bool host : {false, true}) {
    MQDLH header;
    header.Encoding = host ? BigEndian(785) : 785;
    header.CodedCharSetId = host ? BigEndian(500) : 500;
    header.PutApplType = host ? BigEndian(2) : 2;
    FillField(header.Format, 8, "MQSTR");
    FillField(header.PutApplName, 28, "PAYROLL");
    FillField(header.PutDate, 8, "20240229");
    if (host) {
      ToEbcdic(header.Format, 8);
      ToEbcdic(header.PutApplName, 28);
      ToEbcdic(header.PutDate, 8);
    }
    Hold(Bytes(header) + "inner", MQFMT_DEAD_LETTER_HEADER);
    if (host) run.Message.Descriptor.Encoding = 785, run.Message.Descriptor.CodedCharSetId = 37;
    const FakeMessage put = Handled();
    EXPECT_EQ(put.Data, "inner");
    EXPECT_EQ(put.Descriptor.Encoding, 785);
    EXPECT_EQ(put.Descriptor.CodedCharSetId, 500);
    EXPECT_EQ(put.Descriptor.PutApplType, 2);
    EXPECT_TRUE(IsFormat(put.Descriptor.Format, MQFMT_STRING));
    EXPECT_EQ(NameInField(put.Descriptor.PutApplName, 28), "PAYROLL");
    EXPECT_EQ(std::string_view(put.Descriptor.PutDate, 8), "20240229");
  }
}

TEST_F(HandleTest, ATransmissionHeaderInsideADeadLetterHeaderIsStrippedToo) {
  Set(FLAG_STRIP_HEADERS);
  MQDLH dead;
  FillField(dead.Format, 8, MQFMT_XMIT_Q_HEADER);
  MQXQH transmission;
  transmission.MsgDesc.Priority = BigEndian(6);
  transmission.MsgDesc.Version = BigEndian(1);
  transmission.MsgDesc.MsgId[5] = 0x51;
  Hold(Bytes(dead) + Bytes(transmission) + "inner", MQFMT_DEAD_LETTER_HEADER);
  run.Message.Descriptor.Encoding = 273;
  const FakeMessage put = Handled();
  EXPECT_EQ(put.Data, "inner");
  EXPECT_EQ(put.Descriptor.Priority, 6);
  EXPECT_EQ(put.Descriptor.Version, 1);
  EXPECT_EQ(put.Descriptor.MsgId[5], 0x51);
}

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

TEST_F(HandleTest, RelativeDelayKeepsTheSpacingOfThePuts) {
  Set(FLAG_DELAY_RELATIVE);
  run.Delay = 100;
  Hold("data", "MQSTR");
  const auto handle = [this](const char* date, const char* time) {
    FillField(run.Message.Descriptor.PutDate, 8, date);
    FillField(run.Message.Descriptor.PutTime, 8, time);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(HandleMessage(run, &queue), 0);
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  };
  EXPECT_LT(handle("20240101", "23595990"), 0.15);
  EXPECT_GE(handle("20240102", "00000010"), 0.19);  // 200 ms later, over midnight
  run.Delay = 50;
  handle("20240102", "00000030");
  EXPECT_LT(handle("20240101", "00000000"), 0.15);  // an earlier message starts again
  EXPECT_LT(handle("        ", "        "), 0.15);  // one without a put time keeps to none
  EXPECT_EQ(std::string_view(run.Replay.ReplayPutDate, 8), "20240101");
}

}  // namespace
