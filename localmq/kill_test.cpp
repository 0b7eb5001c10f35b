// What the promise "a process killed at any instant leaves exactly the committed messages" is worth: a child process
// moves messages between queues, dies at a random moment, and everything is accounted for.

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <random>
#include <set>
#include <sstream>
#include <thread>

#include "localmq/test_support.h"

namespace localmq {
namespace {

constexpr int kMessages = 60;
constexpr int kRounds = 25;

class KillTest : public QueueManagerTest {
 protected:
  // Runs `work` in a process of its own and kills it after some milliseconds. Stores that this process has open must
  // not be there when it forks.
  template <typename Work>
  void RunAndKill(std::chrono::microseconds after, Work work) {
    Admin.reset();
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
      work();
      _exit(0);
    }
    std::this_thread::sleep_for(after);
    kill(child, SIGKILL);
    int status = 0;
    waitpid(child, &status, 0);
  }
};

std::multiset<std::string> Split(const std::string& list) {
  std::multiset<std::string> parts;
  std::istringstream stream(list);
  for (std::string part; std::getline(stream, part, ',');) parts.insert(part);
  return parts;
}

// Moves messages to and fro for ever, a few in each unit of work.
void MoveForEver() {
  TestConnection app;
  const MQHOBJ queues[] = {app.Opened("Q1", MQOO_INPUT_SHARED | MQOO_OUTPUT),
                           app.Opened("Q2", MQOO_INPUT_SHARED | MQOO_OUTPUT)};
  for (unsigned from = 0;; from ^= 1) {
    for (int unit = 0; app.Get(queues[from], MQGMO_SYNCPOINT) == MQRC_NONE; ++unit) {
      MQMD descriptor = app.Descriptor;
      app.Put(queues[from ^ 1], app.Text, MQPMO_SYNCPOINT, descriptor);
      if (unit % 7 == 6) app.Commit();
    }
    app.Commit();
  }
}

TEST_F(KillTest, MovesLoseAndDoubleNothing) {
  {
    TestConnection app;
    const MQHOBJ out = app.Opened("Q1", MQOO_OUTPUT);
    for (int i = 0; i < kMessages; ++i) ASSERT_EQ(app.Put(out, std::to_string(i)), MQRC_NONE);
  }
  std::mt19937 random(20240229);
  int moved = 0;
  for (int round = 0; round < kRounds; ++round) {
    RunAndKill(std::chrono::microseconds(5000 + random() % 60000), MoveForEver);
    TestConnection app;
    const std::string second = app.Browse("Q2");
    std::multiset<std::string> all = Split(app.Browse("Q1"));
    all.merge(Split(second));
    ASSERT_EQ(all.size(), static_cast<std::size_t>(kMessages)) << "round " << round;
    ASSERT_EQ(std::set<std::string>(all.begin(), all.end()).size(), all.size()) << "round " << round;
    if (!second.empty()) ++moved;
  }
  EXPECT_GT(moved, 0) << "no round got as far as a commit, so nothing was proven";
}

TEST_F(KillTest, TheNextOneBacksOutWhatADeadProcessHeld) {
  {
    TestConnection app;
    app.Put(app.Opened("Q1", MQOO_OUTPUT), "held");
  }
  RunAndKill(std::chrono::seconds(1), [] {
    TestConnection app;
    app.Get(app.Opened("Q1", MQOO_INPUT_EXCLUSIVE), MQGMO_SYNCPOINT);
    app.Put(app.Opened("Q2", MQOO_OUTPUT), "never", MQPMO_SYNCPOINT);
    pause();
  });
  TestConnection app;
  const MQHOBJ in = app.Opened("Q1", MQOO_INPUT_EXCLUSIVE);
  EXPECT_EQ(app.Get(in), MQRC_NONE);
  EXPECT_EQ(app.Text, "held");
  EXPECT_EQ(app.Descriptor.BackoutCount, 1);
  EXPECT_EQ(app.Browse("Q2"), "");
}

TEST_F(KillTest, AWaitingGetIsGivenWhatADeadProcessHeld) {
  {
    TestConnection app;
    app.Put(app.Opened("Q1", MQOO_OUTPUT), "held");
  }
  Admin.reset();
  const pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    TestConnection app;
    app.Get(app.Opened("Q1", MQOO_INPUT_SHARED), MQGMO_SYNCPOINT);
    pause();
  }
  std::this_thread::sleep_for(std::chrono::milliseconds(300));
  std::thread killer([child] {
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    kill(child, SIGKILL);
    int status = 0;
    waitpid(child, &status, 0);
  });
  TestConnection app;
  const MQHOBJ in = app.Opened("Q1", MQOO_INPUT_SHARED);
  EXPECT_EQ(app.Get(in), MQRC_NO_MSG_AVAILABLE) << "the child does not hold the message";
  EXPECT_EQ(app.Get(in, MQGMO_NO_SYNCPOINT | MQGMO_WAIT, MQMD(), 10000), MQRC_NONE);
  EXPECT_EQ(app.Text, "held");
  killer.join();
}

}  // namespace
}  // namespace localmq
