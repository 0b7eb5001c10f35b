#include "engine/rate.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "engine/fake_mq_test.h"

namespace {

// A clock that stands still unless somebody sleeps or the test moves it.
std::int64_t ticks = 0;
std::int64_t seconds = 0;
std::vector<std::int64_t> sleeps;
constexpr PaceClock kFakeClock = {
    [] { return ticks; },
    [] { return seconds; },
    [](std::int64_t millis) {
      sleeps.push_back(millis);
      ticks += millis;
    },
};

int depth = 0;
void InquireDepth(MQHCONN, MQHOBJ, MQLONG, const MQLONG* selectors, MQLONG, MQLONG* values, MQLONG, MQCHAR*,
                  MQLONG* compCode, MQLONG* reason) {
  EXPECT_EQ(selectors[0], MQIA_CURRENT_Q_DEPTH);
  *values = depth;
  *compCode = depth < 0 ? MQCC_FAILED : MQCC_OK;
  *reason = 0;
}

struct RateTest : testing::Test, FakeRun {
  RateTest() {
    seconds = 5000;
    depth = 0;
    sleeps.clear();
    run.Pace.Clock = &kFakeClock;
    run.QMgrs[0].Api.MQINQ = InquireDepth;
    run.Uow.SyncpointActive = true;
  }
  // Messages handled until the next period ends, and what that printed.
  int RunPeriod(std::int64_t millisPerMessage = 0) {
    const std::size_t sleepsBefore = sleeps.size();
    const int commitsBefore = mq.Count("MQCMIT");
    testing::internal::CaptureStdout();
    int messages = 0;
    while (!ended && mq.Count("MQCMIT") == commitsBefore && messages < 100000) {
      ticks += millisPerMessage;
      ++messages;
      EXPECT_EQ(PaceMessage(run, ended), 0);
    }
    printed = testing::internal::GetCapturedStdout();
    slept = sleeps.size() > sleepsBefore ? sleeps.back() : 0;
    return messages;
  }
  bool ended = false;
  std::string printed;
  std::int64_t slept = 0;
};

TEST_F(RateTest, AFailedCommitEndsTheRun) {
  run.Asked.Pace.Rate = 1;
  StartRate(run);
  mq.Script["MQCMIT"] = {{MQCC_FAILED, MQRC_BACKED_OUT}};
  EXPECT_EQ(PaceMessage(run, ended), MQRC_BACKED_OUT);
}

TEST_F(RateTest, AnAdaptiveRateFollowsTheConsumer) {
  run.Asked.Pace.Rate = -1;
  run.Asked.Display.RateDetails = true;
  StartRate(run);
  depth = 200;  // of 1000 put in half a second, 800 were taken
  ticks += 500;
  EXPECT_EQ(RunPeriod(), 1000);
  EXPECT_EQ(printed,
            "  Period:500 Guess:1000 Rate:1000 Remain:0 Depth:200 Processed:800\n"
            "  800 msgs sent in  500 milliseconds\n  Adjust:2.00\n  Sleeping for 500\n");
  EXPECT_EQ(slept, 500);
  EXPECT_EQ(run.Pace.RateGuess, 2000);
  // The depth at the start of the period counts towards the quota; a late period limits the adjustment to 5 %.
  ticks += 2000;
  EXPECT_EQ(RunPeriod(), 1800);
  EXPECT_EQ(run.Pace.RateGuess, 1900);
  EXPECT_NE(printed.find("  Adjust:0.95\n  Sleep skipped\n"), std::string::npos) << printed;
}

TEST_F(RateTest, ADeepTargetIsDrained) {
  run.Asked.Pace.Rate = -1;
  depth = 6000;
  StartRate(run);
  depth = 5900;
  ticks += 1000;
  RunPeriod();
  EXPECT_EQ(printed, "Message Rate   101 msgs/sec\n");
  EXPECT_EQ(run.Pace.RateGuess, 101);
}

TEST_F(RateTest, NothingDividesByZeroWhenNobodyConsumes) {
  run.Asked.Pace.Rate = -1;
  depth = 6000;
  StartRate(run);
  for (int period = 0; period < 5; ++period) {
    ++depth;
    RunPeriod();
    EXPECT_EQ(printed, "Target Queue does not appear to be being processed.\n");
  }
  EXPECT_EQ(run.Pace.RateGuess, 0);
  // Somebody else puts too, then the consumer starts and the quota recovers from 0.
  depth += 500;
  RunPeriod();
  EXPECT_EQ(run.Pace.RateGuess, 0);
  depth = 100;
  RunPeriod();
  EXPECT_GT(run.Pace.RateGuess, 0);
}

TEST_F(RateTest, AnInstantConsumerNeverOverflowsTheQuota) {
  run.Asked.Pace.Rate = -1;
  StartRate(run);
  run.Pace.RateGuess = 2000000000;
  run.Pace.RatePeriodCount = 1999999999;
  RunPeriod();
  EXPECT_EQ(run.Pace.RateGuess, 2147483647);
}

struct StatusTest : RateTest {
  std::string Check() {
    testing::internal::CaptureStderr();
    CheckStatus(run);
    const std::string line = testing::internal::GetCapturedStderr();
    return line.empty() ? line : line.substr(line.find('>'));
  }
  StatusTest() { run.Status.LastStatusTime = run.Status.LastRateTime = seconds; }
};

TEST_F(StatusTest, CountsAreCarriedUntilTheClockHasMoved) {
  run.MsgsRead = run.Status.StatusMsgs = 999;
  EXPECT_EQ(Check(), "");
  run.MsgsRead = run.Status.StatusMsgs = 1000;
  EXPECT_EQ(Check(), "> Status - Read:      1000 Written:         0 Thruput:       * msg/sec\n");
  run.MsgsRead = 2000;
  run.MsgsPut = 1900;
  run.Status.StatusMsgs = 1000;
  seconds += 4;
  EXPECT_EQ(Check(), "> Status - Read:      2000 Written:      1900 Thruput:   500.0 msg/sec\n");
  EXPECT_EQ(run.Status.StatusCarry, 0U);
}

}  // namespace
