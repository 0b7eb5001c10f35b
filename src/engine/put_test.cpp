#include "engine/put.h"

#include <gtest/gtest.h>

#include "engine/fake_mq_test.h"

namespace {

struct PutTest : testing::Test, FakeRun {
  PutTest() { Hold("data"); }
  void Hold(const std::string& data) {
    ASSERT_EQ(GrowMessageBuffer(run, data.size() + 1), 0);
    run.Message.Descriptor = DefaultDescriptor();
    run.Message.Data = run.Message.Buffer.data();
    std::memcpy(run.Message.Data, data.data(), data.size());
    run.Message.Length = run.Message.Delivered = static_cast<MQLONG>(data.size());
  }
  MQLONG Put() { return PutMessage(run, &queue); }
  void UseDestinations(bool individually) {
    run.OutputList = std::make_unique<QueueList>();
    for (const char* name : {"A", "B", "C"}) {
      MQOR entry;
      FillField(entry.ObjectName, sizeof entry.ObjectName, name, '\0');
      run.OutputList->Entries.push_back(entry);
      run.OutputList->Responses.emplace_back();
      run.OutputList->Elements.emplace_back().Hobj = kTarget;
    }
    if (individually) run.Flags2 |= FLAG2_INDIVIDUAL_QUEUES;
  }
};

TEST_F(PutTest, OptionsFollowTheContextAndTheUnitOfWork) {
  const std::pair<std::uint32_t, MQLONG> contexts[] = {
      {FLAG_CTX_SET_ALL, MQPMO_SET_ALL_CONTEXT},
      {FLAG_CTX_SET_ALL_TIMES, MQPMO_SET_ALL_CONTEXT},
      {FLAG_CTX_SET_IDENTITY, MQPMO_SET_IDENTITY_CONTEXT},
      {FLAG_CTX_PASS_ALL, MQPMO_PASS_ALL_CONTEXT},
      {FLAG_CTX_PASS_IDENTITY, MQPMO_PASS_IDENTITY_CONTEXT},
      {FLAG_CTX_DEFAULT, MQPMO_DEFAULT_CONTEXT},
      {FLAG_CTX_NONE, MQPMO_NO_CONTEXT},
  };
  for (const auto& [flag, option] : contexts) {
    run.Flags = flag;
    run.TransactionLimit = 200;
    ASSERT_EQ(Put(), 0);
    EXPECT_EQ(mq.PutOptions.back().Options, option | MQPMO_SYNCPOINT);
    EXPECT_EQ(mq.PutOptions.back().Context, kSource);
    run.TransactionLimit = 0;
    ASSERT_EQ(PutMessage(run, nullptr), 0);
    EXPECT_EQ(mq.PutOptions.back().Options, option | MQPMO_NO_SYNCPOINT);
    EXPECT_EQ(mq.PutOptions.back().Context, MQHO_UNUSABLE_HOBJ);
  }
  EXPECT_EQ(run.MsgsWritten, 14);
  EXPECT_EQ(run.UowBytesWritten, 14 * 4);
}

TEST_F(PutTest, ARefusedAsynchronousPutIsRepeatedAndNotTriedAgain) {
  Set(0, FLAG2_ASYNC_PUT);
  mq.Script["MQPUT"] = {{MQCC_FAILED, MQRC_OPTIONS_ERROR}};
  ASSERT_EQ(Put(), 0);
  ASSERT_EQ(Put(), 0);
  ASSERT_EQ(mq.PutOptions.size(), 3U);
  EXPECT_NE(mq.PutOptions[0].Options & MQPMO_ASYNC_RESPONSE, 0);
  EXPECT_EQ(mq.PutOptions[1].Options & MQPMO_ASYNC_RESPONSE, 0);
  EXPECT_EQ(mq.PutOptions[2].Options & MQPMO_ASYNC_RESPONSE, 0);
}

std::string CfhOfVersion(MQLONG version) {
  MQCFH header;
  header.Version = version;
  return {reinterpret_cast<const char*>(&header), sizeof header};
}

TEST_F(PutTest, ACfhErrorIsRepeatedWithAVersion1DescriptorWhenThatLosesNothing) {
  struct Case {
    std::string Data;
    MQLONG MsgFlags;
    bool Repeated;
  };
  const Case cases[] = {{CfhOfVersion(1), 0, true},
                        {CfhOfVersion(1), 1, false},
                        {CfhOfVersion(3), 0, false},
                        {CfhOfVersion(1).substr(0, 35), 0, false}};
  for (const Case& c : cases) {
    Hold(c.Data);
    run.Message.Descriptor.MsgFlags = c.MsgFlags;
    mq.PutDescriptors.clear();
    mq.Script["MQPUT"] = {{MQCC_FAILED, MQRC_CFH_ERROR}};
    EXPECT_EQ(Put(), c.Repeated ? 0 : MQRC_CFH_ERROR);
    EXPECT_EQ(mq.PutDescriptors.size(), c.Repeated ? 2U : 1U);
    EXPECT_EQ(mq.PutDescriptors.back().Version, c.Repeated ? 1 : 2);
  }
}

TEST_F(PutTest, OldCommandHeadersBecomeVersion3InTheirOwnByteOrder) {
  run.PcfFlags = PCF_CFH3;
  struct Case {
    const char* Format;
    MQLONG Encoding;
    std::string Data;
    std::string VersionAfter;
  };
  const std::string big{'\0', '\0', '\0', '\3'}, little{'\3', '\0', '\0', '\0'}, one{'\1', '\0', '\0', '\0'};
  const Case cases[] = {{"MQADMIN ", MQENC_NATIVE, CfhOfVersion(1), little},
                        {"MQPCF   ", MQENC_S390, CfhOfVersion(0x01000000), big},
                        {"MQSTR   ", MQENC_NATIVE, CfhOfVersion(1), one},
                        {"MQADMIN ", MQENC_NATIVE, CfhOfVersion(1).substr(0, 20), one}};
  for (const Case& c : cases) {
    Hold(c.Data);
    FillField(run.Message.Descriptor.Format, 8, c.Format);
    run.Message.Descriptor.Encoding = c.Encoding;
    ASSERT_EQ(Put(), 0);
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(run.Message.Data) + 8, 4), c.VersionAfter);
  }
  EXPECT_EQ(CfhVersion(run.Message.Descriptor, run.Message.Data, 11), 0);
}

TEST_F(PutTest, OverridesAndPutTimesGoIntoTheDescriptor) {
  run.Flags = FLAG_CTX_SET_ALL_TIMES;
  run.OverrideMask = OVERRIDE_FORMAT | OVERRIDE_PRIORITY | OVERRIDE_REPLY_QUEUE;
  run.OverrideMd.Priority = 9;
  run.OverrideMd.CodedCharSetId = 37;
  FillField(run.OverrideMd.Format, 8, "MQSTR");
  FillField(run.OverrideMd.ReplyToQMgr, 48, "QMR");
  ASSERT_EQ(Put(), 0);
  const MQMD& put = mq.PutDescriptors.back();
  EXPECT_EQ(put.Priority, 9);
  EXPECT_EQ(put.CodedCharSetId, 0);
  EXPECT_TRUE(IsFormat(put.Format, MQFMT_STRING));
  EXPECT_EQ(NameInField(put.ReplyToQMgr, 48), "QMR");
  EXPECT_EQ(std::string_view(put.PutDate, 2), "20");
  EXPECT_EQ(std::string_view(put.PutTime + 6, 2), "00");
}

TEST_F(PutTest, TheFirstDestinationThatFailsIsTheRunsFailure) {
  struct Case {
    bool Individually;
    std::deque<FakeMq::Answer> Puts;
    std::vector<FakeMq::Answer> Responses;
    MQLONG Reason;
    int Delivered;
    const char* Text;
  };
  const FakeMq::Answer ok{MQCC_OK, 0}, full{MQCC_FAILED, MQRC_Q_FULL}, inhibited{MQCC_FAILED, MQRC_PUT_INHIBITED};
  const Case cases[] = {
      {false, {ok}, {ok, ok, ok}, 0, 3, ""},
      {false, {{MQCC_WARNING, MQRC_MULTIPLE_REASONS}}, {ok, full, inhibited}, MQRC_Q_FULL, 1, "MQPUT(B) failed"},
      {false, {{MQCC_FAILED, MQRC_CONNECTION_BROKEN}}, {}, MQRC_CONNECTION_BROKEN, 0, "MQPUT(A) failed RC(2009)"},
      {true, {ok, ok, ok}, {}, 0, 3, ""},
      {true, {inhibited, ok, full}, {}, MQRC_PUT_INHIBITED, 1, "MQPUT(A) failed RC(2051)"},
  };
  for (const Case& c : cases) {
    for (const bool units : {true, false}) {
      UseDestinations(c.Individually);
      run.Flags2 = c.Individually ? FLAG2_INDIVIDUAL_QUEUES : 0;
      run.TransactionLimit = units ? 200 : 0;
      run.Uow.SyncpointActive = units;
      run.QMgrs[0].UnitOpen = false;
      run.MsgsWritten = run.BytesWritten = 0;
      run.Put = {};
      run.MessageText.clear();
      mq.Script["MQPUT"] = c.Puts;
      mq.ListResponses = c.Responses;
      EXPECT_EQ(Put(), c.Reason);
      EXPECT_EQ(run.MessageText.view().substr(0, std::strlen(c.Text)), c.Text);
      EXPECT_EQ(run.QMgrs[0].UnitOpen, units);
      const int counted = units && c.Reason != 0 ? 0 : c.Delivered;
      EXPECT_EQ(run.MsgsWritten, counted);
      EXPECT_EQ(run.BytesWritten, counted * 4);
    }
  }
}

TEST_F(PutTest, TheBackoutQueueIsOpenedOnceAndGetsTheMessageInTheUnitOfWork) {
  for (int i = 0; i < 2; ++i) {
    ASSERT_EQ(RequeueToBackout(run, queue, run.Message.Descriptor, run.Message.Data, run.Message.Length), 0);
  }
  EXPECT_EQ(mq.Count("MQOPEN"), 1);
  EXPECT_EQ(mq.PutOptions.back().Options, MQPMO_SET_ALL_CONTEXT | MQPMO_SYNCPOINT);
  EXPECT_TRUE(run.QMgrs[0].UnitOpen);
  EXPECT_EQ(run.MsgsWritten, 0);
  mq.Script["MQPUT"] = {{MQCC_FAILED, MQRC_Q_FULL}, {MQCC_WARNING, MQRC_PRIORITY_EXCEEDS_MAXIMUM}};
  EXPECT_EQ(RequeueToBackout(run, queue, {}, run.Message.Data, 1), MQRC_Q_FULL);
  EXPECT_EQ(RequeueToBackout(run, queue, {}, run.Message.Data, 1), 0);
}

}  // namespace
