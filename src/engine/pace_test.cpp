#include "engine/pace.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "engine/fake_mq_test.h"
#include "engine/status_lines.h"

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

struct PaceTest : testing::Test, FakeRun {
  PaceTest() {
    seconds = 5000;
    depth = 0;
    sleeps.clear();
    conn.Api.MQINQ = InquireDepth;
    unit.Begin();
  }
  void Start(int rate) {
    asked.Pace.Rate = rate;
    pace.emplace(asked.Pace, asked.Display.RateDetails, queues, kFakeClock);
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
      EXPECT_EQ(pace->After(unit, ended).reason(), 0);
    }
    printed = testing::internal::GetCapturedStdout();
    slept = sleeps.size() > sleepsBefore ? sleeps.back() : 0;
    return messages;
  }
  Tally read;
  UnitOfWork unit{asked, conn, conn, target, read};
  std::optional<Pace> pace;
  bool ended = false;
  std::string printed;
  std::int64_t slept = 0;
};

TEST_F(PaceTest, AFailedCommitEndsTheRun) {
  Start(1);
  mq.Script["MQCMIT"] = {{MQCC_FAILED, MQRC_BACKED_OUT}};
  EXPECT_EQ(pace->After(unit, ended).reason(), MQRC_BACKED_OUT);
}

TEST_F(PaceTest, AnAdaptiveRateFollowsTheConsumer) {
  asked.Display.RateDetails = true;
  Start(-1);
  depth = 200;  // of 1000 put in half a second, 800 were taken
  ticks += 500;
  EXPECT_EQ(RunPeriod(), 1000);
  EXPECT_EQ(printed,
            "  Period:500 Guess:1000 Rate:1000 Remain:0 Depth:200 Processed:800\n"
            "  800 msgs sent in  500 milliseconds\n  Adjust:2.00\n  Sleeping for 500\n");
  EXPECT_EQ(slept, 500);
  EXPECT_EQ(pace->guess(), 2000);
  // The depth at the start of the period counts towards the quota; a late period limits the adjustment to 5 %.
  ticks += 2000;
  EXPECT_EQ(RunPeriod(), 1800);
  EXPECT_EQ(pace->guess(), 1900);
  EXPECT_NE(printed.find("  Adjust:0.95\n  Sleep skipped\n"), std::string::npos) << printed;
}

TEST_F(PaceTest, ADeepTargetIsDrained) {
  depth = 6000;
  Start(-1);
  depth = 5900;
  ticks += 1000;
  RunPeriod();
  EXPECT_EQ(printed, "Message Rate   101 msgs/sec\n");
  EXPECT_EQ(pace->guess(), 101);
}

TEST_F(PaceTest, NothingDividesByZeroWhenNobodyConsumes) {
  depth = 6000;
  Start(-1);
  for (int period = 0; period < 5; ++period) {
    ++depth;
    RunPeriod();
    EXPECT_EQ(printed, "Target Queue does not appear to be being processed.\n");
  }
  EXPECT_EQ(pace->guess(), 0);
  // Somebody else puts too, then the consumer starts and the quota recovers from 0.
  depth += 500;
  RunPeriod();
  EXPECT_EQ(pace->guess(), 0);
  depth = 100;
  RunPeriod();
  EXPECT_GT(pace->guess(), 0);
}

TEST(StatusLines, CountsAreCarriedUntilTheClockHasMoved) {
  seconds = 5000;
  const DisplayOptions asked;
  Console screen;
  StatusLines lines(asked, screen, seconds, kFakeClock);
  const auto check = [&](int messages, std::int64_t read, std::int64_t written) {
    for (int i = 0; i < messages; ++i) lines.Count();
    testing::internal::CaptureStderr();
    lines.Check(read, written);
    const std::string line = testing::internal::GetCapturedStderr();
    return line.empty() ? line : line.substr(line.find('>'));
  };
  EXPECT_EQ(check(999, 999, 0), "");
  EXPECT_EQ(check(1, 1000, 0), "> Status - Read:      1000 Written:         0 Thruput:       * msg/sec\n");
  seconds += 4;
  EXPECT_EQ(check(1000, 2000, 1900), "> Status - Read:      2000 Written:      1900 Thruput:   500.0 msg/sec\n");
}

}  // namespace
