#include <cstring>
#include <vector>

#include "localmq/calls.h"
#include "localmq/test_support.h"

namespace localmq {
namespace {

class PutTest : public QueueManagerTest {
 protected:
  void SetUp() override {
    QueueManagerTest::SetUp();
    app_ = std::make_unique<TestConnection>();
  }
  void TearDown() override {
    app_.reset();
    QueueManagerTest::TearDown();
  }

  std::unique_ptr<TestConnection> app_;
};

std::string Field(const MQCHAR* field, std::size_t length) { return FieldText(field, length); }

TEST_F(PutTest, ContextComesFromWhereTheOptionsSay) {
  MQMD given = TestConnection::Persistent();
  SetField(given.UserIdentifier, sizeof given.UserIdentifier, "giver");
  SetField(given.ApplIdentityData, sizeof given.ApplIdentityData, "identity");
  given.PutApplType = MQAT_CICS;
  SetField(given.PutApplName, sizeof given.PutApplName, "origin");
  SetField(given.PutDate, sizeof given.PutDate, "20010203");
  SetField(given.PutTime, sizeof given.PutTime, "04050607");
  SetField(given.ApplOriginData, sizeof given.ApplOriginData, "od");

  // The message whose context is passed on.
  const MQHOBJ source =
      app_->Opened("Q2", MQOO_OUTPUT | MQOO_SET_ALL_CONTEXT | MQOO_INPUT_SHARED | MQOO_SAVE_ALL_CONTEXT);
  app_->Put(source, "source", MQPMO_SET_ALL_CONTEXT, given);

  struct Case {
    MQLONG OpenOption;
    MQLONG PutOption;
    bool GivenIdentity;
    bool GivenOrigin;
  };
  const Case cases[] = {
      {MQOO_SET_ALL_CONTEXT, MQPMO_SET_ALL_CONTEXT, true, true},
      {MQOO_SET_IDENTITY_CONTEXT, MQPMO_SET_IDENTITY_CONTEXT, true, false},
      {0, MQPMO_DEFAULT_CONTEXT, false, false},
      {MQOO_PASS_ALL_CONTEXT, MQPMO_PASS_ALL_CONTEXT, true, true},
      {MQOO_PASS_IDENTITY_CONTEXT, MQPMO_PASS_IDENTITY_CONTEXT, true, false},
  };
  const auto put = [&](MQHOBJ out, MQLONG option, const MQMD& descriptor) {
    MQPMO options;
    options.Options = option;
    options.Context = source;
    MQMD copy = descriptor;
    MQPUT(app_->Handle, out, &copy, &options, 1, "x", &app_->CompCode, &app_->Reason);
    return app_->Reason;
  };
  const MQHOBJ strong = app_->Opened("Q1", MQOO_OUTPUT | MQOO_SET_ALL_CONTEXT);
  EXPECT_EQ(put(strong, MQPMO_PASS_ALL_CONTEXT, MQMD()), MQRC_CONTEXT_NOT_AVAILABLE);
  EXPECT_EQ(app_->Get(source), MQRC_NONE);
  const MQHOBJ in = app_->Opened("Q1", MQOO_INPUT_SHARED);
  for (const Case& test : cases) {
    const bool passes = (test.PutOption & (MQPMO_PASS_ALL_CONTEXT | MQPMO_PASS_IDENTITY_CONTEXT)) != 0;
    const MQHOBJ out = app_->Opened("Q1", MQOO_OUTPUT | test.OpenOption);
    ASSERT_EQ(put(out, test.PutOption, passes ? MQMD() : given), MQRC_NONE);
    ASSERT_EQ(app_->Get(in), MQRC_NONE);
    const MQMD& got = app_->Descriptor;
    EXPECT_EQ(Field(got.UserIdentifier, 12) == "giver", test.GivenIdentity);
    EXPECT_EQ(Field(got.ApplIdentityData, 32) == "identity", test.GivenIdentity);
    EXPECT_EQ(Field(got.PutApplName, 28) == "origin", test.GivenOrigin);
    EXPECT_EQ(Field(got.PutDate, 8) == "20010203", test.GivenOrigin);
    EXPECT_EQ(Field(got.ApplOriginData, 4) == "od", test.GivenOrigin);
    EXPECT_EQ(got.PutApplType, test.GivenOrigin ? MQAT_CICS : MQAT_DEFAULT);
    app_->Close(out);
  }
  ASSERT_EQ(put(strong, MQPMO_NO_CONTEXT, given), MQRC_NONE);
  ASSERT_EQ(app_->Get(in), MQRC_NONE);
  EXPECT_EQ(Field(app_->Descriptor.UserIdentifier, 12) + Field(app_->Descriptor.PutDate, 8), "");
  EXPECT_EQ(app_->Descriptor.PutApplType, MQAT_NO_CONTEXT);

  const MQHOBJ plain = app_->Opened("Q1", MQOO_OUTPUT);
  const std::pair<MQLONG, MQLONG> refusals[] = {
      {MQPMO_SET_ALL_CONTEXT, MQRC_NOT_OPEN_FOR_SET_ALL},
      {MQPMO_SET_IDENTITY_CONTEXT, MQRC_NOT_OPEN_FOR_SET_IDENT},
      {MQPMO_PASS_ALL_CONTEXT, MQRC_NOT_OPEN_FOR_PASS_ALL},
      {MQPMO_PASS_IDENTITY_CONTEXT, MQRC_NOT_OPEN_FOR_PASS_IDENT},
      {MQPMO_SET_ALL_CONTEXT | MQPMO_NO_CONTEXT, MQRC_OPTIONS_ERROR},
  };
  for (const auto& [option, reason] : refusals) EXPECT_EQ(put(plain, option, given), reason) << option;
  app_->Close(source);
  EXPECT_EQ(put(strong, MQPMO_PASS_ALL_CONTEXT, MQMD()), MQRC_CONTEXT_HANDLE_ERROR);
}

TEST_F(PutTest, DescriptorsAreChecked) {
  const MQHOBJ out = app_->Opened("Q1", MQOO_OUTPUT);
  struct Case {
    void (*Change)(MQMD&);
    MQLONG Reason;
  };
  const Case cases[] = {
      {[](MQMD& md) { md.StrucId[1] = 'X'; }, MQRC_MD_ERROR},
      {[](MQMD& md) { md.Version = 0; }, MQRC_MD_ERROR},
      {[](MQMD& md) { md.Expiry = 0; }, MQRC_EXPIRY_ERROR},
      {[](MQMD& md) { md.MsgType = 3; }, MQRC_MSG_TYPE_ERROR},
      {[](MQMD& md) { md.MsgType = MQMT_REQUEST; }, MQRC_MISSING_REPLY_TO_Q},
      {[](MQMD& md) { md.Priority = -2; }, MQRC_PRIORITY_ERROR},
      {[](MQMD& md) { md.Persistence = 3; }, MQRC_PERSISTENCE_ERROR},
      {[](MQMD& md) { md.Version = 2, md.MsgSeqNumber = 0; }, MQRC_MSG_SEQ_NUMBER_ERROR},
      {[](MQMD& md) { md.Version = 2, md.Offset = -1; }, MQRC_OFFSET_ERROR},
      {[](MQMD& md) { md.Version = 2, md.MsgFlags = 0x800; }, MQRC_MSG_FLAGS_ERROR},
      {[](MQMD& md) { md.MsgSeqNumber = 0; }, MQRC_NONE},  // not a field of version 1
      {[](MQMD& md) { md.Priority = 12; }, MQRC_PRIORITY_EXCEEDS_MAXIMUM},
  };
  for (const Case& test : cases) {
    MQMD descriptor;
    test.Change(descriptor);
    EXPECT_EQ(app_->Put(out, "x", MQPMO_NO_SYNCPOINT, descriptor), test.Reason);
    EXPECT_EQ(app_->CompCode == MQCC_FAILED, test.Reason != 0 && test.Reason != MQRC_PRIORITY_EXCEEDS_MAXIMUM);
  }
  EXPECT_EQ(app_->Depth("Q1"), 2);
  EXPECT_EQ(app_->Put(9999, "x"), MQRC_HOBJ_ERROR);
  EXPECT_EQ(app_->Put(app_->Opened("Q1", MQOO_BROWSE), "x"), MQRC_NOT_OPEN_FOR_OUTPUT);
}

TEST_F(PutTest, QueuesHaveLimits) {
  Define("Q1", [](QueueAttributes& queue) { queue.MaxDepth = 2, queue.MaxMsgLength = 5; });
  const MQHOBJ out = app_->Opened("Q1", MQOO_OUTPUT);
  EXPECT_EQ(app_->Put(out, "123456"), MQRC_MSG_TOO_BIG_FOR_Q);
  EXPECT_EQ(app_->Put(out, "12345"), MQRC_NONE);
  EXPECT_EQ(app_->Put(out, "1", MQPMO_SYNCPOINT), MQRC_NONE);
  EXPECT_EQ(app_->Put(out, "2", MQPMO_SYNCPOINT), MQRC_Q_FULL) << "what the unit of work puts counts";
  EXPECT_EQ(app_->BackOut(), MQRC_NONE);
  EXPECT_EQ(app_->Put(out, "2"), MQRC_NONE);
  Define("Q1", [](QueueAttributes& queue) { queue.InhibitPut = MQQA_PUT_INHIBITED; });
  EXPECT_EQ(app_->Put(out, "3"), MQRC_PUT_INHIBITED);
}

TEST(Combine, OneReasonForAllIsTheCallsReason) {
  const Outcome unknown = Failed(MQRC_UNKNOWN_OBJECT_NAME), full = Failed(MQRC_Q_FULL);
  const auto combined = [](std::vector<Outcome> outcomes) { return Combine(outcomes); };
  EXPECT_EQ(combined({unknown, unknown}).Reason, MQRC_UNKNOWN_OBJECT_NAME);
  EXPECT_EQ(combined({unknown, full}).CompCode, MQCC_FAILED);
  EXPECT_EQ(combined({unknown, full}).Reason, MQRC_MULTIPLE_REASONS);
  EXPECT_EQ(combined({Done(), full}).CompCode, MQCC_WARNING);
}

TEST_F(PutTest, WhatTheQueueManagerFills) {
  Define("Q1", [](QueueAttributes& queue) { queue.DefPriority = 4, queue.DefPersistence = MQPER_PERSISTENT; });
  const MQHOBJ out = app_->Opened("Q1", MQOO_OUTPUT);
  MQMD descriptor;
  SetField(descriptor.ReplyToQ, sizeof descriptor.ReplyToQ, "REPLY");
  MQPMO options;
  options.Options = MQPMO_NEW_CORREL_ID;
  MQPUT(app_->Handle, out, &descriptor, &options, 1, "x", &app_->CompCode, &app_->Reason);
  EXPECT_EQ(app_->Reason, MQRC_NONE);
  EXPECT_EQ(Field(options.ResolvedQName, 48) + "/" + Field(options.ResolvedQMgrName, 48), "Q1/QM1");
  const MQBYTE24 none{};
  EXPECT_NE(std::memcmp(descriptor.MsgId, none, 24), 0);
  EXPECT_NE(std::memcmp(descriptor.CorrelId, none, 24), 0);
  EXPECT_NE(std::memcmp(descriptor.CorrelId, descriptor.MsgId, 24), 0);
  EXPECT_EQ(Field(descriptor.ReplyToQMgr, 48), "QM1");
  EXPECT_EQ(descriptor.CodedCharSetId, 1208);
  EXPECT_EQ(descriptor.Priority, 4);
  EXPECT_EQ(descriptor.Persistence, MQPER_PERSISTENT);
  EXPECT_EQ(app_->Get(app_->Opened("Q1", MQOO_INPUT_SHARED)), MQRC_NONE);
  EXPECT_EQ(std::memcmp(&descriptor.MsgId, &app_->Descriptor.MsgId, 48), 0);
}

TEST_F(PutTest, AsynchronousPutsThatFailAreToldWhenAsked) {
  Define("FULL", [](QueueAttributes& queue) { queue.MaxDepth = 0; });
  Define("SHUT", [](QueueAttributes& queue) { queue.InhibitPut = MQQA_PUT_INHIBITED; });
  Define("SMALL", [](QueueAttributes& queue) { queue.MaxMsgLength = 1; });
  const auto ask = [&] {
    MQSTS status;
    MQSTAT(app_->Handle, MQSTAT_TYPE_ASYNC_ERROR, &status, &app_->CompCode, &app_->Reason);
    EXPECT_EQ(app_->Reason, MQRC_NONE);
    return status;
  };
  const MQHOBJ good = app_->Opened("Q1", MQOO_OUTPUT);
  constexpr MQLONG kAsync = MQPMO_ASYNC_RESPONSE | MQPMO_SYNCPOINT;
  for (const auto& [name, reason] :
       {std::pair{"FULL", MQRC_Q_FULL}, {"SHUT", MQRC_PUT_INHIBITED}, {"SMALL", MQRC_MSG_TOO_BIG_FOR_Q}}) {
    SCOPED_TRACE(name);
    const MQHOBJ bad = app_->Opened(name, MQOO_OUTPUT);
    for (const MQLONG persistence : {MQPER_NOT_PERSISTENT, MQPER_PERSISTENT}) {
      MQMD descriptor;
      descriptor.Persistence = persistence;
      for (const MQHOBJ queue : {good, bad, bad}) {
        EXPECT_EQ(app_->Put(queue, "text", kAsync, descriptor), MQRC_NONE);
      }
      const MQSTS status = ask();
      EXPECT_EQ(status.PutSuccessCount, 1);
      EXPECT_EQ(status.PutFailureCount, 2);
      EXPECT_EQ(status.CompCode, MQCC_FAILED);
      EXPECT_EQ(status.Reason, reason);
      EXPECT_EQ(Field(status.ObjectName, sizeof status.ObjectName), name);
      EXPECT_EQ(ask().PutFailureCount, 0);
      // A unit of work without one of its persistent messages is none.
      EXPECT_EQ(app_->Commit(), persistence == MQPER_PERSISTENT ? MQRC_BACKED_OUT : MQRC_NONE);
    }
  }
  EXPECT_EQ(app_->Depth("Q1"), 3);
}

}  // namespace
}  // namespace localmq
