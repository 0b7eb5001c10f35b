#include "mq/connection.h"

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "cmdline/parameters.h"

namespace {

// A queue manager that only notes what it is asked, and fails what it is told to fail.
struct FakeQMgr {
  std::vector<std::string> Calls;
  std::map<std::string, MQLONG> UnknownQueues;  // name: reason
  MQOD LastOd;
  MQLONG LastOptions = 0;
  MQLONG BackReason = 0;
};
FakeQMgr* fake = nullptr;

void Answer(MQLONG failure, MQLONG* compCode, MQLONG* reason) {
  *compCode = failure != 0 ? MQCC_FAILED : MQCC_OK;
  *reason = failure;
}

void FakeOpen(MQHCONN, MQOD* od, MQLONG options, MQHOBJ* hobj, MQLONG* compCode, MQLONG* reason) {
  fake->LastOd = *od;
  fake->LastOptions = options;
  *hobj = 100 + static_cast<MQHOBJ>(fake->Calls.size());
  Answer(0, compCode, reason);
  if (od->Version >= MQOD_VERSION_2 && od->RecsPresent > 0) {
    fake->Calls.push_back("MQOPEN list of " + std::to_string(od->RecsPresent));
    const auto* records = static_cast<const MQOR*>(od->ObjectRecPtr);
    auto* responses = static_cast<MQRR*>(od->ResponseRecPtr);
    for (int i = 0; i < od->RecsPresent; ++i) {
      const auto unknown = fake->UnknownQueues.find(records[i].ObjectName);
      if (unknown == fake->UnknownQueues.end()) continue;
      responses[i] = {MQCC_FAILED, unknown->second};
      *compCode = MQCC_WARNING;
      *reason = MQRC_MULTIPLE_REASONS;
    }
    return;
  }
  fake->Calls.push_back(std::string("MQOPEN ") + od->ObjectName);
  if (const auto unknown = fake->UnknownQueues.find(od->ObjectName); unknown != fake->UnknownQueues.end()) {
    Answer(unknown->second, compCode, reason);
  }
  if ((options & MQOO_RESOLVE_LOCAL_Q) != 0) FillField(od->ResolvedQName, 48, "Q.LOCAL");
}

class Outputs : public testing::Test {
 protected:
  void SetUp() override {
    fake = &qmgr_;
    QMgrConn& conn = run_.QMgrs[0];
    conn.Hconn = 7;
    conn.QMgrName.Assign("QM1");
    conn.Api.MQOPEN = FakeOpen;
    conn.Api.MQBACK = [](MQHCONN, MQLONG* compCode, MQLONG* reason) {
      fake->Calls.emplace_back("MQBACK");
      Answer(fake->BackReason, compCode, reason);
    };
    conn.Api.MQDISC = [](MQHCONN* hconn, MQLONG* compCode, MQLONG* reason) {
      fake->Calls.emplace_back("MQDISC");
      *hconn = MQHC_UNUSABLE_HCONN;
      Answer(0, compCode, reason);
    };
  }

  void Add(const std::vector<std::string>& queues) {
    for (const std::string& queue : queues) ASSERT_TRUE(AddDestination(run_, queue, ListKind::Output));
  }
  MQLONG Open() {
    testing::internal::CaptureStderr();
    const MQLONG result = OpenOutputs(run_);
    shown_ = testing::internal::GetCapturedStderr();
    return result;
  }
  void Disconnect() {
    testing::internal::CaptureStderr();
    DisconnectQMgr(run_, run_.QMgrs[0]);
    shown_ = testing::internal::GetCapturedStderr();
  }

  FakeQMgr qmgr_;
  Parameters run_;
  std::string shown_;
};

using Calls = std::vector<std::string>;

TEST_F(Outputs, ContextDecidesTheOpenOptions) {
  const struct {
    std::uint32_t Context;
    MQLONG Options;
  } cases[] = {
      {FLAG_CTX_SET_ALL, MQOO_OUTPUT | MQOO_SET_ALL_CONTEXT},
      {FLAG_CTX_SET_ALL_TIMES, MQOO_OUTPUT | MQOO_SET_ALL_CONTEXT},
      {FLAG_CTX_SET_IDENTITY, MQOO_OUTPUT | MQOO_SET_IDENTITY_CONTEXT},
      {FLAG_CTX_PASS_ALL, MQOO_OUTPUT | MQOO_PASS_ALL_CONTEXT},
      {FLAG_CTX_PASS_IDENTITY, MQOO_OUTPUT | MQOO_PASS_IDENTITY_CONTEXT},
      {FLAG_CTX_DEFAULT, MQOO_OUTPUT},
      {FLAG_CTX_NONE, MQOO_OUTPUT},
  };
  run_.OutputQueueName.Assign("Q1");
  for (const auto& c : cases) {
    run_.Flags = c.Context | FLAG_QUIET;
    EXPECT_EQ(Open(), MQRC_NONE);
    EXPECT_EQ(qmgr_.LastOptions, c.Options) << c.Context;
    EXPECT_EQ(qmgr_.LastOd.Version, MQOD_VERSION_1);
  }
  run_.Flags = FLAG_CTX_NONE | FLAG_CTX_DEFAULT;
  EXPECT_EQ(Open(), MQRC_OPTIONS_ERROR);
}

TEST_F(Outputs, FailedSingleQueueIsReported) {
  qmgr_.UnknownQueues["Q1"] = MQRC_UNKNOWN_OBJECT_NAME;
  run_.OutputQMgrName.Assign("QM9");
  run_.OutputQueueName.Assign("Q1");
  EXPECT_EQ(Open(), MQRC_UNKNOWN_OBJECT_NAME);
  EXPECT_EQ(shown_, "MQOPEN on object 'QM1/QM9/Q1' returned 2085 Unknown object name.\n");
  EXPECT_EQ(run_.OutputHobj, MQHO_UNUSABLE_HOBJ);
}

TEST_F(Outputs, AllIndividualQueuesAreTried) {
  run_.Flags2 |= FLAG2_INDIVIDUAL_QUEUES;
  qmgr_.UnknownQueues["Q2"] = MQRC_UNKNOWN_OBJECT_NAME;
  Add({"Q1", "Q2", "Q3"});
  EXPECT_EQ(Open(), MQRC_UNKNOWN_OBJECT_NAME);
  EXPECT_EQ(qmgr_.Calls, (Calls{"MQOPEN Q1", "MQOPEN Q2", "MQOPEN Q3"}));
  EXPECT_EQ(shown_, "MQOPEN on object 'QM1/Q2' returned 2085 Unknown object name.\n");
  EXPECT_EQ(run_.OutputList->Elements[1].Hobj, MQHO_UNUSABLE_HOBJ);
  EXPECT_NE(run_.OutputList->Elements[2].Hobj, MQHO_UNUSABLE_HOBJ);
  EXPECT_EQ(run_.OutputList->Elements[2].QueueName, "Q3");
}

TEST_F(Outputs, FailedDestinationOfAListEndsTheOpen) {
  qmgr_.UnknownQueues["Q2"] = MQRC_UNKNOWN_OBJECT_NAME;
  Add({"Q1", "QM2/Q2", "Q3"});
  EXPECT_EQ(Open(), MQRC_UNKNOWN_OBJECT_NAME);
  EXPECT_EQ(qmgr_.LastOd.Version, MQOD_VERSION_2);
  EXPECT_EQ(shown_, "MQOPEN on object 'QM1/QM2/Q2' returned 2085 Unknown object name.\n");
}

TEST_F(Outputs, CallsAreTracedOnRequest) {
  run_.Verbose = VERBOSE_APIS | VERBOSE_DESTINATIONS;
  Add({"Q1"});
  EXPECT_EQ(Open(), MQRC_NONE);
  EXPECT_EQ(shown_, "Output Destination : Q1\n\nMQOPEN on object 'QM1/<Distribution' returned 0 OK.\n");
  EXPECT_NE(run_.OutputHobj, MQHO_UNUSABLE_HOBJ);
}

TEST_F(Outputs, AdaptiveRateAsksTheDepthOfTheResolvedQueue) {
  run_.Rate = -1;
  run_.OutputQueueName.Assign("ALIAS");
  EXPECT_EQ(Open(), MQRC_NONE);
  EXPECT_EQ(qmgr_.Calls, (Calls{"MQOPEN ALIAS", "MQOPEN Q.LOCAL"}));
  EXPECT_EQ(qmgr_.LastOptions, MQOO_INQUIRE);
  EXPECT_EQ(shown_, "Monitoring depth of queue 'Q.LOCAL'\n\n");
  EXPECT_NE(run_.Pace.RateHobj, MQHO_UNUSABLE_HOBJ);

  qmgr_.UnknownQueues["Q.LOCAL"] = MQRC_NOT_AUTHORIZED;
  EXPECT_EQ(Open(), MQRC_NOT_AUTHORIZED);
  EXPECT_EQ(shown_, "MQOPEN(INQUIRE) on object 'QM1/Q.LOCAL' returned 2035 Not authorized.\n");
}

TEST_F(Outputs, DisconnectBacksAnOpenUnitOutFirst) {
  run_.QMgrs[0].UnitOpen = true;
  Disconnect();
  Disconnect();
  EXPECT_EQ(qmgr_.Calls, (Calls{"MQBACK", "MQDISC"}));
  EXPECT_EQ(shown_, "");
}

TEST_F(Outputs, NothingIsDisconnectedWhileItsUnitCannotBeBackedOut) {
  run_.QMgrs[0].UnitOpen = true;
  qmgr_.BackReason = MQRC_RESOURCE_PROBLEM;
  Disconnect();
  EXPECT_EQ(qmgr_.Calls, Calls{"MQBACK"});
  EXPECT_TRUE(
      shown_.starts_with("MQBACK on qmgr 'QM1' returned 2102 Resource problem.\nThe open unit of work on queue "
                         "manager 'QM1' could not be backed out."))
      << shown_;
}

}  // namespace
