// Several input queues at once, delivered by the queue manager's consumers.

#include <algorithm>
#include <thread>

#include "harness.h"

namespace {

class SeveralInputs : public Sandbox {
 protected:
  void SetUp() override { CreateQueueManager("QM1", {"A", "B", "OUT"}); }

  void Fill(int a, int b) {
    ASSERT_EQ(LocalMq({"QM1"}, "CLEAR QLOCAL(A)\nCLEAR QLOCAL(B)\nCLEAR QLOCAL(OUT)\n").Exit, 0);
    Queues queues("QM1");
    queues.PutNumbered("A", a, "a");
    queues.PutNumbered("B", b, "b");
  }

  // Every message of Fill is in exactly one place.
  void ExpectAllThereOnce(int total) {
    Queues queues("QM1");
    std::vector<std::string> all;
    for (const char* queue : {"A", "B", "OUT"}) {
      const auto texts = queues.Texts(queue);
      all.insert(all.end(), texts.begin(), texts.end());
    }
    std::sort(all.begin(), all.end());
    EXPECT_EQ(all.size(), static_cast<std::size_t>(total));
    EXPECT_EQ(std::unique(all.begin(), all.end()), all.end());
  }
};

TEST_F(SeveralInputs, AreMovedWhicheverThreadDelivers) {
  for (const char* thread : {"", "caller"}) {
    environment()["LOCALMQ_CALLBACK_THREAD"] = thread;
    Fill(5, 3);
    const auto outcome = Tarvo({"-mQM1", "-IA", "-IB", "-oOUT", "-t3"});
    EXPECT_EQ(outcome.Exit, 0) << outcome.Err;
    EXPECT_NE(outcome.Err.find("Messages:      8"), std::string::npos) << outcome.Err;
    auto texts = Queues("QM1").Texts("OUT");
    EXPECT_EQ(texts.size(), 8U);
    // The order of each queue is kept.
    texts.erase(std::remove_if(texts.begin(), texts.end(), [](const std::string& t) { return t[0] == 'b'; }),
                texts.end());
    EXPECT_EQ(texts, (std::vector<std::string>{"a1", "a2", "a3", "a4", "a5"}));
    EXPECT_EQ(Queues("QM1").Depth("A") + Queues("QM1").Depth("B"), 0);
  }
}

TEST_F(SeveralInputs, SelectAndCountOverAllOfThem) {
  Fill(4, 4);
  ASSERT_EQ(Tarvo({"-mQM1", "-IA", "-IB", "-oOUT", "-s2"}).Exit, 0);
  auto texts = Queues("QM1").Texts("OUT");
  std::sort(texts.begin(), texts.end());
  EXPECT_EQ(texts, (std::vector<std::string>{"a2", "b2"}));
  ExpectAllThereOnce(8);
  Fill(4, 4);
  ASSERT_EQ(Tarvo({"-mQM1", "-iA", "-iB", "-oOUT", "-r2..5"}).Exit, 0);
  EXPECT_EQ(Queues("QM1").Depth("OUT"), 4);
}

TEST_F(SeveralInputs, WaitForMessagesOfEither) {
  Fill(1, 1);
  harness::Process moving(
      {harness::ProgramFolder() / "tarvo", {"-mQM1", "-IA", "-IB", "-oOUT", "-w2"}, Path("."), environment(), {}, {}});
  std::this_thread::sleep_for(std::chrono::milliseconds(800));
  Queues("QM1").PutText("B", "late");
  const auto outcome = moving.Wait();
  EXPECT_EQ(outcome.Exit, 0) << outcome.Err;
  EXPECT_EQ(Queues("QM1").Depth("OUT"), 3);
}

TEST_F(SeveralInputs, AFailureInsideTheCallbackIsTheRunsResult) {
  ASSERT_EQ(LocalMq({"QM1"}, "ALTER QLOCAL(OUT) MAXDEPTH(5)\n").Exit, 0);
  for (const char* wait : {"-w0", "-w5"}) {
    Fill(4, 4);
    const auto outcome = Tarvo({"-mQM1", "-IA", "-IB", "-oOUT", wait});
    EXPECT_EQ(outcome.Exit, ExitStatus(MQRC_Q_FULL)) << outcome.Err;
    EXPECT_NE(outcome.Err.find("MQPUT(OUT) failed RC(2053) Queue full"), std::string::npos) << outcome.Err;
    EXPECT_NE(outcome.Err.find("Operation rolled back"), std::string::npos);
    EXPECT_FALSE(outcome.TimedOut);
    ExpectAllThereOnce(8);
    EXPECT_EQ(Queues("QM1").Depth("OUT"), 0);
  }
}

TEST_F(SeveralInputs, AFailureOfAnyCallLosesNothing) {
  for (const char* wait : {"-w0", "-w1"}) {
    for (const char* script :
         {"MQCB:1=2035", "MQCB:2=2035", "MQCB:3=2009", "MQCB:4=2009", "MQCTL:1=2009", "MQCTL:2=2009", "MQCTL:3=2009",
          "MQPUT:3=2053", "MQPUT:8=after:2009", "MQCMIT:1=2003", "MQCMIT:2=2009", "MQPUT:3=2053;MQBACK:*=2009",
          "CALLBACK:2=event:2009", "CALLBACK:1=event:2161", "MQCTL:2-=2009", "MQPUT:4=kill", "MQCMIT:1=after:kill"}) {
      SCOPED_TRACE(std::string(script) + " " + wait);
      Fill(4, 4);
      const auto outcome = TarvoWithFaults(script, {"-mQM1", "-IA", "-IB", "-oOUT", "-t3", wait});
      EXPECT_FALSE(outcome.TimedOut);
      ExpectAllThereOnce(8);
      const auto depth = Queues("QM1").Depth("OUT");
      EXPECT_TRUE(depth == 8 || outcome.Exit != 0) << outcome.Err;
    }
  }
}

TEST_F(SeveralInputs, AnOutputFileOfAnAgeIsClosedInBetween) {
  Fill(1, 1);
  const auto outcome = Tarvo({"-mQM1", "-iA", "-iB", "-fpart%n", "-La1s", "-w2"});
  EXPECT_EQ(outcome.Exit, 0) << outcome.Err;
  EXPECT_EQ(Occurrences(ReadText("part1"), "A RPT"), 2);
}

}  // namespace
