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
  void SetUp() override {
    QueueManagerTest::SetUp();
    TestConnection app;
    app.Put(app.Opened("Q1", MQOO_OUTPUT), "held");
  }

  // Starts a process that does `work` and then holds what it has; returns when it is so far. Stores that this process
  // has open must not be there when it forks.
  template <typename Work>
  void StartHolding(Work work) {
    Admin.reset();
    int done[2];
    ASSERT_EQ(pipe(done), 0);
    child_ = fork();
    ASSERT_GE(child_, 0);
    if (child_ == 0) {
      TestConnection app;
      work(app);
      if (write(done[1], "x", 1) == 1) pause();
      _exit(1);
    }
    close(done[1]);
    char byte = 0;
    EXPECT_EQ(read(done[0], &byte, 1), 1);
    close(done[0]);
  }
  void Kill() const {
    kill(child_, SIGKILL);
    int status = 0;
    waitpid(child_, &status, 0);
  }

 private:
  pid_t child_ = -1;
};

TEST_F(KillTest, TheNextOneBacksOutWhatADeadProcessHeld) {
  StartHolding([](TestConnection& app) {
    app.Get(app.Opened("Q1", MQOO_INPUT_EXCLUSIVE), MQGMO_SYNCPOINT);
    app.Put(app.Opened("Q2", MQOO_OUTPUT), "never", MQPMO_SYNCPOINT);
  });
  Kill();
  TestConnection app;
  const MQHOBJ in = app.Opened("Q1", MQOO_INPUT_EXCLUSIVE);
  EXPECT_EQ(app.Get(in), MQRC_NONE);
  EXPECT_EQ(app.Text, "held");
  EXPECT_EQ(app.Descriptor.BackoutCount, 1);
  EXPECT_EQ(app.Browse("Q2"), "");
}

TEST_F(KillTest, AWaitingGetIsGivenWhatADeadProcessHeld) {
  StartHolding([](TestConnection& app) { app.Get(app.Opened("Q1", MQOO_INPUT_SHARED), MQGMO_SYNCPOINT); });
  TestConnection app;
  const MQHOBJ in = app.Opened("Q1", MQOO_INPUT_SHARED);
  EXPECT_EQ(app.Get(in), MQRC_NO_MSG_AVAILABLE) << "the child does not hold the message";
  std::thread killer([this] {
    std::this_thread::sleep_for(std::chrono::milliseconds(300));  // so that the get waits already
    Kill();
  });
  EXPECT_EQ(app.Get(in, MQGMO_NO_SYNCPOINT | MQGMO_WAIT, MQMD(), 120000), MQRC_NONE);
  EXPECT_EQ(app.Text, "held");
  killer.join();
}

}  // namespace
}  // namespace localmq
