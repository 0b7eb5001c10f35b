#include "engine/transfer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <string>
#include <thread>

#include "engine/fake_mq_test.h"
#include "engine/get.h"
#include "platform/test_folder.h"

namespace {

TEST(WaitClock, CountsFromTheLastMessage) {
  InputOptions input;
  const WaitClock clock(input);
  EXPECT_LE(clock.Left(), 0);
  input.WaitInterval = 2000000000;  // seconds
  EXPECT_GT(clock.Left(), 1999999000000);
  input.WaitInterval = -1;
  EXPECT_GE(clock.Left(), kLongestWait);
}

struct TransferTest : testing::Test, FakeRun {
  ProgressLine progress{screen};
  Outcome Run(Target& to, const GetMode& mode = {}) {
    QueueSource source(asked, mode, conn, queue);
    return Transfer(asked, stations, source, to, &queues, progress).Run();
  }
};

TEST(Transfers, RunSideBySideOnThreadsOfTheirOwn) {
  static constexpr int kMessages = 10000;
  const auto move = [](const char* data, std::string& moved) {
    FakeRun run;
    for (int i = 0; i < kMessages; ++i) run.mq.Add(kSource, data);
    QueueSource source(run.asked, {}, run.conn, run.queue);
    ProgressLine progress(run.screen);
    const Outcome outcome = Transfer(run.asked, run.stations, source, run.target, &run.queues, progress).Run();
    EXPECT_EQ(outcome.Put.Msgs, kMessages);
    moved = run.mq.Content(kTarget);
  };
  std::string moved[2];
  std::thread other(move, "b", std::ref(moved[1]));
  move("a", moved[0]);
  other.join();
  for (const auto& [texts, data] : {std::pair{moved[0], 'a'}, std::pair{moved[1], 'b'}}) {
    EXPECT_EQ(texts.size(), 2U * kMessages - 1);
    EXPECT_EQ(std::count(texts.begin(), texts.end(), data), kMessages);
  }
}

TEST_F(TransferTest, CommitsWhatIsPendingBeforeItWaits) {
  mq.Add(kSource, "x");
  asked.Input.WaitInterval = 1;
  const Outcome outcome = Run(target);
  EXPECT_EQ(outcome.reason(), 0);
  EXPECT_EQ(mq.Content(kTarget), "x");
  ASSERT_GE(mq.Calls.size(), 5U);
  EXPECT_EQ(mq.Calls[2], "MQGET 1");
  EXPECT_EQ(mq.Calls[3], "MQCMIT 1");
  EXPECT_EQ(mq.GetOptions[1].Options & MQGMO_WAIT, 0);
  EXPECT_NE(mq.GetOptions[2].Options & MQGMO_WAIT, 0);
  EXPECT_LE(mq.GetOptions[2].WaitInterval, kLongestWait);
  EXPECT_EQ(mq.Count("MQCMIT"), 1);
}

TEST_F(TransferTest, AFileThatReachesItsAgeIsClosedOnceItWaits) {
  const TestFolder folder;
  asked.Output.Queues.clear();
  asked.Output.FileName = folder.Path("aged.tvo");
  asked.Input.Remove = false;
  asked.Limits.Age = -1;  // passed already
  mq.Add(kSource, "one");
  mq.Add(kSource, "two");
  RunFiles runFiles;
  OutputFiles files(asked.Input, asked.Output, asked.Layout, asked.Limits, asked.Units, runFiles, screen);
  FileTarget file(asked, files, 0, false);
  asked.Input.WaitInterval = 0;
  EXPECT_EQ(Run(file).Read.Msgs, 2);
  EXPECT_TRUE(files.is_open());
  asked.Input.WaitInterval = 1;
  EXPECT_EQ(Run(file).reason(), 0);
  EXPECT_FALSE(files.is_open());
  EXPECT_EQ(files.written().Files, 1);
}

struct BrokenSource : Source {
  Result Start(bool&) override { return MQRC_FILE_SYSTEM_ERROR; }
  Result Next(CurrentMessage&, std::int64_t, Arrival&) override { return {}; }
};

TEST_F(TransferTest, NothingIsBackedOutBeforeTheSourceIsReady) {
  BrokenSource source;
  const Outcome outcome = Transfer(asked, stations, source, target, &queues, progress).Run();
  EXPECT_EQ(outcome.reason(), MQRC_FILE_SYSTEM_ERROR);
  EXPECT_FALSE(outcome.RolledBack || outcome.Began);
}

TEST_F(TransferTest, BytesThatWereNotFetchedAreNeverPut) {
  mq.Add(kSource, "data");
  const Outcome outcome = Run(target, {.DescriptorOnly = true});
  EXPECT_EQ(outcome.reason(), MQRC_UNEXPECTED_ERROR);
  EXPECT_TRUE(outcome.RolledBack);
  EXPECT_EQ(mq.Count("MQPUT"), 0);
  EXPECT_EQ(mq.Content(kSource), "data");
}

}  // namespace
