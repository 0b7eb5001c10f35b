// The pace of whole runs: required rates, status lines, and what is not shown where nobody looks.

#include <cstdlib>

#include "harness.h"

namespace {

class Pacing : public Sandbox {
 protected:
  void SetUp() override { CreateQueueManager("QM1", {"Q1", "Q2"}); }

  Outcome Copy(std::vector<std::string> options) {
    options.insert(options.begin(), {"-mQM1", "-iQ1", "-oQ2"});
    return Tarvo(options);
  }
};

double SecondsOf(const std::chrono::steady_clock::time_point start) {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// Hundredths of a second since midnight.
int PutTime(const StoredMessage& message) {
  const std::string digits(message.Descriptor.PutTime, sizeof message.Descriptor.PutTime);
  const int number = std::stoi(digits);
  return (number / 1000000 * 3600 + number / 10000 % 100 * 60) * 100 + number % 10000;
}

// Slow: the real clock for some seconds. The time of the puts counts, so that starting the program does not. Never is
// the pace faster than required; how much slower depends on what else the machine does.
TEST_F(Pacing, AFixedRateIsKept) {
  constexpr int kRate = 100;
  constexpr int kPeriods = 6;
  constexpr int kDay = 24 * 3600 * 100;
  Queues("QM1").PutNumbered("Q1", kRate * kPeriods + 1);
  const auto outcome = Copy({"-R" + std::to_string(kRate), "-Cd"});
  EXPECT_EQ(outcome.Exit, 0) << outcome.Err;
  const auto copied = Queues("QM1").Browse("Q2");
  ASSERT_EQ(copied.size(), static_cast<std::size_t>(kRate * kPeriods + 1));
  const int hundredths = (PutTime(copied.back()) - PutTime(copied.front()) + kDay) % kDay;
  EXPECT_GT(hundredths, 95 * kPeriods) << outcome.Out;
  EXPECT_LT(hundredths, 200 * kPeriods) << outcome.Out;
  const auto lines = Lines(outcome.Out);
  ASSERT_EQ(lines.size(), static_cast<std::size_t>(kPeriods));
  for (const std::string& line : lines) {
    EXPECT_TRUE(line.starts_with("100 msgs sent in ") && line.ends_with(" milliseconds")) << line;
  }
}

TEST_F(Pacing, ADurationReplaysABrowsedQueueUntilItEnds) {
  Queues queues("QM1");
  queues.PutNumbered("Q1", 20);
  const auto start = std::chrono::steady_clock::now();
  const auto outcome = Copy({"-R50:1"});
  EXPECT_EQ(outcome.Exit, 0) << outcome.Err;
  EXPECT_GE(SecondsOf(start), 0.95);
  auto lines = Lines(outcome.Out);
  ASSERT_FALSE(lines.empty());
  EXPECT_EQ(lines.back(), "Required Rate End Time Reached.");
  const auto copied = queues.Texts("Q2");
  ASSERT_EQ(copied.size(), 50 * (lines.size() - 1)) << outcome.Out;
  for (std::size_t i = 0; i < copied.size(); ++i) EXPECT_EQ(copied[i], "message " + std::to_string(i % 20 + 1));
  EXPECT_EQ(queues.Depth("Q1"), 20);
  // A queue that is emptied can not be read again.
  const auto moved = Tarvo({"-mQM1", "-IQ1", "-oQ2", "-R50:1"});
  EXPECT_EQ(moved.Exit, ExitStatus(MQRC_OPTIONS_ERROR)) << moved.Err;
  EXPECT_EQ(queues.Depth("Q1"), 20);
}

TEST_F(Pacing, ARateThatCannotBeReachedSaysSo) {
  Queues("QM1").PutNumbered("Q1", 4);
  const auto outcome = Copy({"-R2", "-D600"});
  EXPECT_EQ(Occurrences(outcome.Out, "Can not achieve 2 msgs/second, took "), 2) << outcome.Out;
}

TEST_F(Pacing, AWaitLastsItsSecondsToTheMillisecond) {
  for (const std::vector<std::string>& inputs : {std::vector<std::string>{"-IQ1"}, {"-IQ1", "-IQ2"}}) {
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(Tarvo(Joined({"-mQM1", "-fnull", "-w1"}, inputs)).Exit, 0);
    EXPECT_GE(SecondsOf(start), 1.0);
  }
}

TEST_F(Pacing, AnAdaptiveRateTellsWhatTheTargetsConsumerTakes) {
  Queues("QM1").PutNumbered("Q1", 1500);
  const auto outcome = Copy({"-R*", "-vr"});
  EXPECT_EQ(outcome.Exit, 0) << outcome.Err;
  const auto lines = Lines(outcome.Out);
  ASSERT_GE(lines.size(), 4U) << outcome.Out;
  EXPECT_TRUE(lines[0].starts_with("  Period:") &&
              lines[0].ends_with(" Guess:1000 Rate:1000 Remain:0 Depth:1000 Processed:0"))
      << lines[0];
  EXPECT_EQ(lines[1], "Target Queue does not appear to be being processed.");
  EXPECT_TRUE(lines[2].starts_with("  Adjust:")) << lines[2];
  EXPECT_TRUE(lines[3].starts_with("  Sleeping for ") || lines[3] == "  Sleep skipped") << lines[3];
  EXPECT_EQ(Queues("QM1").Depth("Q2"), 1500);
}

TEST_F(Pacing, StatusLinesComeByMessagesAndBySeconds) {
  Queues("QM1").PutNumbered("Q1", 250);
  const auto byMessages = Copy({"-vs100"});
  std::vector<std::string> status;
  for (const std::string& line : Lines(byMessages.Err)) {
    if (line.find("> Status - ") != std::string::npos) status.push_back(line);
  }
  ASSERT_EQ(status.size(), 2U) << byMessages.Err;
  EXPECT_EQ(status[0].substr(8).find("> Status - Read:       100 Written:       100 Thruput:"), 0U) << status[0];
  EXPECT_EQ(status[1].substr(8).find("> Status - Read:       200 Written:       200 Thruput:"), 0U) << status[1];
  EXPECT_TRUE(status[1].ends_with(" msg/sec"));
  // Every message takes 0.7 seconds: a line follows each time that more than a second has passed.
  const auto start = std::chrono::steady_clock::now();
  const auto bySeconds = Copy({"-vt1", "-D700", "-r#6"});
  EXPECT_GE(Occurrences(bySeconds.Err, "> Status - "), 1) << bySeconds.Err;
  EXPECT_LE(Occurrences(bySeconds.Err, "> Status - "), SecondsOf(start)) << bySeconds.Err;
  EXPECT_EQ(Occurrences(Copy({}).Err, "Status"), 0);
}

TEST_F(Pacing, NoProgressIsDrawnWhereStandardInputIsNoTerminal) {
  WriteText("in", std::string(200000, 'x') + "\n" + std::string(200000, 'y') + "\n");
  const auto outcome = Tarvo({"-mQM1", "-oQ1", "-fin", "-n!", "-Cd", "-D1100"}, "n\n");
  EXPECT_EQ(outcome.Exit, 0);
  EXPECT_EQ(outcome.Err.find_first_of("\b%"), std::string::npos) << outcome.Err;
  EXPECT_EQ(outcome.Err.find("Loading"), std::string::npos) << outcome.Err;
  EXPECT_EQ(Queues("QM1").Depth("Q1"), 2);
}

}  // namespace
