// What becomes of the open unit of work of a process that died, for those who come next and those who wait.

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <thread>

#include "localmq/test_support.h"

namespace localmq {
namespace {

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
