// Several input queues at once, delivered by the queue manager's consumers.

#include <algorithm>
#include <map>
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
  harness::Process moving({harness::ProgramFolder() / "tarvo",
                           {"-mQM1", "-IA", "-IB", "-oOUT", "-w60", "-r#3"},
                           Path("."),
                           environment(),
                           {},
                           {}});
  std::this_thread::sleep_for(std::chrono::milliseconds(800));
  Queues("QM1").PutText("B", "late");
  const auto outcome = moving.Wait();
  EXPECT_EQ(outcome.Exit, 0) << outcome.Err;
  EXPECT_EQ(Queues("QM1").Depth("OUT"), 3);
}

TEST_F(SeveralInputs, IntoAFileAreCommittedBeforeTheWaitEnds) {
  Fill(2, 2);
  ASSERT_EQ(TarvoWithFaults("", {"-mQM1", "-IA", "-IB", "-Fout", "-w1"}).Exit, 0);
  const auto trace = Trace();
  const auto starts = [&trace](const char* call) {
    return std::find_if(trace.rbegin(), trace.rend(), [call](const auto& line) { return line.starts_with(call); });
  };
  EXPECT_LT(starts("MQCTL"), starts("MQCMIT"));  // counted from the end
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

// Every call of the road, one after the other, fails before it or after it was carried out, or kills the process.
TEST_F(SeveralInputs, AFailureOfAnyCallLosesNothing) {
  const std::vector<std::string> arguments = {"-mQM1", "-IA", "-IB", "-oOUT", "-t3"};
  Fill(4, 4);
  ASSERT_EQ(TarvoWithFaults("", arguments).Exit, 0);
  std::map<std::string, int> calls;
  for (const auto& line : Trace()) ++calls[line.substr(0, line.find(' '))];
  for (const char* call : {"MQCB", "MQCTL", "CALLBACK", "MQPUT", "MQCMIT", "MQDISC"}) {
    ASSERT_GT(calls[call], 0) << call;
    for (int n = 1; n <= calls[call]; ++n) {
      const bool callback = std::string_view(call) == "CALLBACK";
      for (const char* action : {callback ? "event:2009" : "2009", "after:2009", "kill", "after:kill"}) {
        if (callback && std::string_view(action) == "after:2009") continue;
        const std::string script = std::string(call) + ":" + std::to_string(n) + "=" + action;
        SCOPED_TRACE(script);
        Fill(4, 4);
        const auto outcome = TarvoWithFaults(script, arguments);
        EXPECT_FALSE(outcome.TimedOut);
        ExpectAllThereOnce(8);
        const bool complete = Queues("QM1").Depth("OUT") == 8;
        EXPECT_TRUE(complete || outcome.Exit != 0) << outcome.Err;
        if (callback && *action == 'e') {
          EXPECT_EQ(outcome.Exit, ExitStatus(MQRC_CONNECTION_BROKEN)) << outcome.Err;
          EXPECT_EQ(Occurrences(outcome.Err, "MQCB(CALLBACK)(QM1/"), 1) << outcome.Err;
        }
        if (HasFailure()) return;
      }
    }
  }
}

TEST_F(SeveralInputs, FailuresOnTopOfOthersLoseNothing) {
  const struct {
    const char* Script;
    MQLONG Reason;  // the run's result; 0: any failure
  } cases[] = {
      {"MQPUT:3=2053;MQBACK:*=2009", MQRC_Q_FULL},
      {"MQPUT:3=2053;MQCTL:2-=2009", MQRC_Q_FULL},
      {"MQPUT:3=2053;MQBACK:*=2009;MQCTL:2-=2009", MQRC_Q_FULL},
      {"MQCMIT:1=2003;MQBACK:*=2009", MQRC_BACKED_OUT},
      {"MQCTL:1=2009;CALLBACK:2=event:2009", MQRC_CONNECTION_BROKEN},
      {"MQCTL:1=after:2009", MQRC_CONNECTION_BROKEN},
      {"MQCTL:1=after:2009;MQCTL:2-=2009", MQRC_CONNECTION_BROKEN},
      {"CALLBACK:3=event:2009;MQBACK:*=2009", MQRC_CONNECTION_BROKEN},
      {"MQCB:3-=2009", MQRC_CONNECTION_BROKEN},
      {"MQCB:3=2009;MQCTL:2-=2009", MQRC_CONNECTION_BROKEN},
      {"MQPUT:3=2053;MQCB:3-=2009;MQCTL:2-=2009", MQRC_Q_FULL},
  };
  for (const auto& c : cases) {
    for (const char* way : {"", "caller", "wait"}) {
      const bool waits = std::string_view(way) == "wait";
      const bool deregisters = std::string_view(c.Script).starts_with("MQCB");
      if (deregisters && waits) continue;  // that run has nothing to deregister
      SCOPED_TRACE(std::string(c.Script) + " " + way);
      environment()["LOCALMQ_CALLBACK_THREAD"] = waits ? "" : way;
      Fill(4, 4);
      const auto start = std::chrono::steady_clock::now();
      const auto outcome = TarvoWithFaults(c.Script, {"-mQM1", "-IA", "-IB", "-oOUT", "-t3", waits ? "-w1" : "-w0"});
      EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(8));  // 5 and what starting takes
      // Consumers that go on: a disconnect would commit what they have got meanwhile.
      const bool abandoned = Occurrences(c.Script, "MQCTL:2-") == 1 && (waits || Occurrences(c.Script, "MQCB:3-") == 1);
      EXPECT_EQ(Occurrences(outcome.Err, "could not be stopped delivering messages"), abandoned) << outcome.Err;
      for (const auto& line : Trace()) EXPECT_FALSE(abandoned && line.starts_with("MQDISC"));
      EXPECT_EQ(outcome.Exit, ExitStatus(c.Reason)) << outcome.Err;
      ExpectAllThereOnce(8);
    }
  }
}

TEST_F(SeveralInputs, BetweenTwoQueueManagersAtMostOneUnitIsOnBoth) {
  CreateQueueManager("QM2", {"OUT"});
  const auto run = [&](const std::string& script) {
    Fill(4, 4);
    EXPECT_EQ(LocalMq({"QM2"}, "CLEAR QLOCAL(OUT)\n").Exit, 0);
    return TarvoWithFaults(script, {"-mQM1", "-IA", "-IB", "-mQM2", "-oOUT", "-t3"});
  };
  EXPECT_EQ(run("").Exit, 0);
  EXPECT_EQ(Queues("QM2").Depth("OUT"), 8);
  for (const char* script : {"MQPUT:5=2053", "MQPUT:5=2053;MQBACK@QM2:*=2009", "MQPUT:5=2053;MQBACK@QM1:*=2009",
                             "MQPUT:5=2053;MQBACK:*=2009", "MQCMIT@QM2:2=2003", "MQCMIT@QM1:1=2009",
                             "MQCMIT@QM1:2=after:2009", "MQCMIT@QM2:1=after:kill", "MQCMIT@QM1:2=kill",
                             "CALLBACK:5=event:2009", "CALLBACK:6=kill", "MQPUT:6=after:kill"}) {
    SCOPED_TRACE(script);
    const auto outcome = run(script);
    EXPECT_NE(outcome.Exit, 0);
    EXPECT_FALSE(outcome.TimedOut);
    const auto moved = Queues("QM2").Texts("OUT");
    std::map<std::string, int> counts;
    for (const auto& text : moved) ++counts[text];
    for (const char* queue : {"A", "B"}) {
      for (const auto& text : Queues("QM1").Texts(queue)) ++counts[text];
    }
    EXPECT_EQ(counts.size(), 8U) << outcome.Err;
    int doubled = 0;
    for (const auto& [text, n] : counts) doubled += n - 1;
    const bool betweenCommits =
        std::string_view(script).starts_with("MQCMIT@QM1") || std::string_view(script) == "MQCMIT@QM2:1=after:kill";
    EXPECT_LE(doubled, betweenCommits ? 3 : 0) << outcome.Err;
    EXPECT_EQ(moved.size() % 3, 0U);
  }
}

TEST_F(SeveralInputs, AnOutputFileOfAnAgeIsClosedInBetween) {
  Fill(1, 1);
  const auto outcome = Tarvo({"-mQM1", "-iA", "-iB", "-fpart%n", "-La3s", "-w4"});
  EXPECT_EQ(outcome.Exit, 0) << outcome.Err;
  EXPECT_EQ(Occurrences(ReadText("part1"), "A RPT"), 2);
}

}  // namespace
