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

// ---- Delays

// A clock that moves only when somebody sleeps.
std::int64_t ticks = 0;
std::vector<std::int64_t> sleeps;
constexpr PaceClock kFakeClock = {
    [] { return ticks; },
    [] { return std::int64_t{0}; },
    [](std::int64_t millis) {
      sleeps.push_back(millis);
      ticks += millis;
    },
};

// An earlier message starts again, one without a time does not count.
TEST_F(HandleTest, DelaysKeepTheSpacingOfThePutTimes) {
  constexpr const char* kPut[] = {"2026010110000000", "2026010110000090", "2026010110000180", "2025123110000000",
                                  "                ", "2025123110000040", "2026010110000040"};
  const struct {
    bool Relative;
    MQLONG Delay;
    std::vector<std::int64_t> Sleeps;
    const char* Printed;
  } cases[] = {
      {false, 150, {150, 150, 150, 150, 150, 150, 150}, ""},
      {true, 100, {900, 900, 400, 86400000}, " - sleeping for 1 day\n"},
      {true, 10, {90, 90, 40, 8640000}, " - sleeping for 2 hours 24 minutes\n"},
  };
  run.Pace.Clock = &kFakeClock;
  for (const auto& c : cases) {
    run.Asked.Pace.DelayRelative = c.Relative;
    run.Asked.Pace.Delay = c.Delay;
    run.Replay = {};
    sleeps.clear();
    testing::internal::CaptureStdout();
    for (const std::string_view put : kPut) {
      Hold("data");
      FillField(run.Message.Descriptor.PutDate, 8, put.substr(0, 8));
      FillField(run.Message.Descriptor.PutTime, 8, put.substr(8));
      EXPECT_EQ(HandleMessage(run, &queue), 0);
    }
    const std::string printed = testing::internal::GetCapturedStdout();
    EXPECT_EQ(sleeps, c.Sleeps);
    EXPECT_EQ(printed.substr(std::min<std::size_t>(printed.size(), 5)), c.Printed);  // behind the time of day
  }
}

}  // namespace
