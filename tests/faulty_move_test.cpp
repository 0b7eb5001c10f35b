// A failure or a sudden death at any single call of a move: on one queue manager every message ends in exactly one
// place; between two, only a failure between the two commits may leave the messages of that one unit on both, never on
// neither.

#include <algorithm>
#include <map>

#include "harness.h"

namespace {

constexpr int kMessages = 7;
constexpr int kUnit = 3;
const char* const kUnitOption = "-t3";

using Counts = std::map<std::string, int>;

Counts CountTexts(const std::vector<std::vector<std::string>>& places) {
  Counts counts;
  for (const auto& place : places) {
    for (const auto& text : place) ++counts[text];
  }
  return counts;
}

class FaultyMove : public Sandbox {
 protected:
  void SetUp() override {
    CreateQueueManager("QM1", {"Q1", "Q2"});
    CreateQueueManager("QM2", {"Q2"});
  }

  void Fill() {
    ASSERT_EQ(LocalMq({"QM1"}, "CLEAR QLOCAL(Q1)\nCLEAR QLOCAL(Q2)\n").Exit, 0);
    ASSERT_EQ(LocalMq({"QM2"}, "CLEAR QLOCAL(Q2)\n").Exit, 0);
    Queues("QM1").PutNumbered("Q1", kMessages, "m");
  }

  std::filesystem::path FileOf(int number) const { return Path("out" + std::to_string(number) + ".tvo"); }

  // How often the clean run makes each call.
  std::map<std::string, int> CallsOfCleanRun(const std::vector<std::string>& arguments) {
    Fill();
    const Outcome outcome = TarvoWithFaults("", arguments);
    EXPECT_EQ(outcome.Exit, 0) << outcome.Err;
    std::map<std::string, int> calls;
    for (const auto& line : Trace()) ++calls[line.substr(0, line.find(' '))];
    return calls;
  }

  // Runs the command once for every call and every kind of fault, and looks at the outcome of each.
  template <typename Check>
  void ForEveryFault(const std::vector<std::string>& arguments, Check check) {
    const auto calls = CallsOfCleanRun(arguments);
    for (const char* call : {"MQCONNX", "MQOPEN", "MQINQ", "MQGET", "MQPUT", "MQCMIT", "MQDISC"}) {
      const auto found = calls.find(call);
      ASSERT_NE(found, calls.end()) << call;
      for (int n = 1; n <= found->second; ++n) {
        for (const char* action : {"2009", "after:2009", "kill", "after:kill"}) {
          const std::string script = std::string(call) + ":" + std::to_string(n) + "=" + action;
          SCOPED_TRACE(script);
          Fill();
          check(script, TarvoWithFaults(script, arguments));
          if (HasFatalFailure()) return;
        }
      }
    }
  }
};

TEST_F(FaultyMove, OnOneQueueManagerEveryMessageIsInExactlyOnePlace) {
  ForEveryFault({"-mQM1", "-IQ1", "-oQ2", kUnitOption}, [&](const std::string& script, const Outcome& outcome) {
    Queues queues("QM1");
    const Counts counts = CountTexts({queues.Texts("Q1"), queues.Texts("Q2")});
    EXPECT_EQ(counts.size(), static_cast<std::size_t>(kMessages)) << outcome.Err;
    for (const auto& [text, n] : counts) EXPECT_EQ(n, 1) << text << "\n" << outcome.Err;
    const bool harmless = script.starts_with("MQINQ") || script.starts_with("MQDISC") ||
                          script.starts_with("MQOPEN:1=");  // what the program can do without
    EXPECT_TRUE(harmless || outcome.Exit != 0);
  });
}

TEST_F(FaultyMove, BetweenTwoQueueManagersAtMostOneUnitIsOnBoth) {
  ForEveryFault({"-mQM1", "-IQ1", "-mQM2", "-oQ2", kUnitOption},
                [&](const std::string& script, const Outcome& outcome) {
                  const auto there = Queues("QM2").Texts("Q2");
                  const Counts counts = CountTexts({Queues("QM1").Texts("Q1"), there});
                  EXPECT_EQ(counts.size(), static_cast<std::size_t>(kMessages)) << outcome.Err;
                  const auto doubled =
                      std::count_if(counts.begin(), counts.end(), [](const auto& entry) { return entry.second > 1; });
                  const bool betweenCommits = script.starts_with("MQCMIT");
                  EXPECT_LE(doubled, betweenCommits ? kUnit : 0) << outcome.Err;
                  EXPECT_EQ(there.size() % kUnit == 0 || there.size() == kMessages, true) << there.size();
                });
}

TEST_F(FaultyMove, IntoAFileNothingLeavesTheQueueThatIsNotInTheFile) {
  // Commits by count, when the queue is empty, at a range's end, and behind files that a limit has closed.
  for (const std::vector<std::string>& more :
       {std::vector<std::string>{kUnitOption}, {"-r1..5"}, {kUnitOption, "-Lm2"}}) {
    const auto arguments = Joined({"-mQM1", "-IQ1", "-Fout%n.tvo", "-dp", "-Lm100"}, more);
    const auto calls = CallsOfCleanRun(arguments);
    for (const char* call : {"MQGET", "MQCMIT", "MQDISC"}) {
      for (int n = 1; n <= calls.at(call); ++n) {
        for (const char* action : {"2009", "after:2009", "kill", "after:kill"}) {
          const std::string script = std::string(call) + ":" + std::to_string(n) + "=" + action;
          SCOPED_TRACE(script + " " + more.back());
          Fill();
          for (int file = 1; file <= kMessages; ++file) std::filesystem::remove(FileOf(file));
          TarvoWithFaults(script, arguments);
          std::vector<std::string> written;
          for (int file = 1; std::filesystem::exists(FileOf(file)); ++file) {
            for (const auto& line : Lines(ReadText(FileOf(file).filename().string()))) {
              if (line.starts_with("S \"")) written.push_back(line.substr(3, line.size() - 4));
            }
          }
          EXPECT_EQ(CountTexts({Queues("QM1").Texts("Q1"), written}).size(), static_cast<std::size_t>(kMessages));
        }
      }
    }
  }
}

TEST_F(FaultyMove, FailingBackoutsLeaveTheUnitToTheQueueManager) {
  for (const char* script :
       {"MQPUT:5=2053;MQBACK:*=2009", "MQPUT:5=2053;MQBACK@QM2:*=2009", "MQPUT:5=2053;MQBACK@QM1:*=2009",
        "MQCMIT@QM2:1=2003;MQBACK:*=2009", "MQCMIT@QM1:2=2009;MQBACK:*=2009"}) {
    SCOPED_TRACE(script);
    Fill();
    const auto outcome = TarvoWithFaults(script, {"-mQM1", "-IQ1", "-mQM2", "-oQ2", kUnitOption});
    EXPECT_NE(outcome.Exit, 0);
    EXPECT_NE(outcome.Err.find("could not be backed out. It is not disconnected"), std::string::npos);
    const auto trace = Trace();
    const bool secondCommitFailed = std::string(script).find("MQCMIT@QM1") != std::string::npos;
    // The target first, then the source whatever became of that, before anything is disconnected.
    std::string ends;
    for (const auto& line : trace) {
      if (line.starts_with("MQBACK") || line.starts_with("MQDISC")) ends += line.substr(line.find("qmgr=") + 7, 1);
    }
    EXPECT_TRUE(ends.starts_with(secondCommitFailed ? "1" : "21")) << ends;
    for (const char* qmgr : {"QM1", "QM2"}) {
      // Where the last backout of a connection failed, no disconnect may follow: it would commit.
      std::string last;
      for (const auto& line : trace) {
        if (line.find(std::string("qmgr=") + qmgr) == std::string::npos) continue;
        const bool backoutFailed = last.starts_with("MQBACK") && last.find("cc=2") != std::string::npos;
        EXPECT_FALSE(line.starts_with("MQDISC") && backoutFailed) << line;
        last = line;
      }
    }
    const Counts counts = CountTexts({Queues("QM1").Texts("Q1"), Queues("QM2").Texts("Q2")});
    EXPECT_EQ(counts.size(), static_cast<std::size_t>(kMessages)) << outcome.Err;
    for (const auto& [text, n] : counts) EXPECT_LE(n, secondCommitFailed ? 2 : 1) << text;
  }
}

TEST_F(FaultyMove, EveryCallHasTheOptionsItsContextNeeds) {
  const struct {
    const char* Context;
    MQLONG Open;
    MQLONG Put;
  } cases[] = {
      {"-CA", MQOO_SET_ALL_CONTEXT, MQPMO_SET_ALL_CONTEXT},
      {"-CI", MQOO_SET_IDENTITY_CONTEXT, MQPMO_SET_IDENTITY_CONTEXT},
      {"-Ca", MQOO_PASS_ALL_CONTEXT, MQPMO_PASS_ALL_CONTEXT},
      {"-Ci", MQOO_PASS_IDENTITY_CONTEXT, MQPMO_PASS_IDENTITY_CONTEXT},
      {"-Cd", 0, MQPMO_DEFAULT_CONTEXT},
      {"-Cn", 0, MQPMO_NO_CONTEXT},
      {"-Ct", MQOO_SET_ALL_CONTEXT, MQPMO_SET_ALL_CONTEXT},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.Context);
    Fill();
    ASSERT_EQ(TarvoWithFaults("", {"-mQM1", "-IQ1", "-oQ2", c.Context}).Exit, 0);
    const auto trace = Trace();
    const auto calls = [&](const std::string& call, MQLONG options) {
      return std::count_if(trace.begin(), trace.end(), [&](const std::string& line) {
        return line.starts_with(call + " #") &&
               line.find(" options=" + std::to_string(options) + " ") != std::string::npos;
      });
    };
    EXPECT_EQ(calls("MQOPEN", MQOO_OUTPUT | c.Open), 1);
    EXPECT_EQ(calls("MQPUT", MQPMO_SYNCPOINT | c.Put), kMessages);
    EXPECT_EQ(calls("MQGET", MQGMO_SYNCPOINT | MQGMO_PROPERTIES_FORCE_MQRFH2), kMessages + 1);
  }
}

TEST_F(FaultyMove, OlderQueueManagersAreServedWithOlderStructures) {
  Fill();
  const auto retried = TarvoWithFaults("MQCONNX:1=2139", {"-mQM1", "-IQ1", "-oQ2"});
  EXPECT_EQ(retried.Exit, 0) << retried.Err;
  EXPECT_EQ(Occurrences(ReadText("trace.txt"), "MQCONNX #2"), 1);
}

TEST_F(FaultyMove, AsynchronousPutsAreAskedFor) {
  const char* const none = "";
  const struct {
    std::string Options;
    const char* Script;
    const char* Target;  // what is altered of Q2
    MQLONG Reason;
    int Moved, Left;
  } cases[] = {
      {"-I", none, none, 0, 7, 0},
      {"-I", none, "MAXDEPTH(4)", MQRC_Q_FULL, 3, 4},
      {"-i", none, "MAXDEPTH(4)", MQRC_Q_FULL, 3, 7},
      {"-i -t0", none, "MAXDEPTH(4)", MQRC_Q_FULL, 4, 7},
      {"-I -t-1", none, "PUT(DISABLED)", MQRC_PUT_INHIBITED, 0, 7},
      {"-I", "MQSTAT:3=async:2053", none, MQRC_Q_FULL, 3, 4},
      {"-I", "MQSTAT:2=2009", none, MQRC_CONNECTION_BROKEN, 0, 7},
      // Nobody tells what became of them, or the queue manager knows no such puts.
      {"-I", "MQSTAT:*=2298", "MAXDEPTH(4)", MQRC_Q_FULL, 3, 4},
      {"-I", "LOCALMQ_NO_ASYNC", none, 0, 7, 0},
      // The source would be empty before a failure shows.
      {"-I -t0", none, "MAXDEPTH(4)", MQRC_Q_FULL, 4, 2},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.Options + " " + c.Script + " " + c.Target);
    Fill();
    LocalMq({"QM1"}, std::string("ALTER QLOCAL(Q2) MAXDEPTH(5000) PUT(ENABLED) ") + c.Target + "\n");
    const bool refused = c.Script[0] == 'L';
    environment()["LOCALMQ_NO_ASYNC"] = refused ? "1" : "0";
    const std::string unit = c.Options.size() > 2 ? c.Options.substr(3) : kUnitOption;
    const auto outcome = TarvoWithFaults(refused ? none : c.Script,
                                         {"-mQM1", c.Options.substr(0, 2) + "Q1", "-oQ2", "-Oa", unit, "-vd"});
    EXPECT_EQ(outcome.Exit, ExitStatus(c.Reason)) << outcome.Err;
    EXPECT_EQ(Queues("QM1").Depth("Q2"), c.Moved);
    EXPECT_EQ(Queues("QM1").Depth("Q1"), c.Left);
    const std::string queue = *c.Target == '\0' ? "FAULTMQ" : "Q2";
    const std::string told = "MQPUT(" + queue + ") failed RC(" + std::to_string(c.Reason) + ") ";
    EXPECT_EQ(Occurrences(outcome.Err, told), c.Reason != 0 && c.Reason != MQRC_CONNECTION_BROKEN) << outcome.Err;
    EXPECT_EQ(Occurrences(outcome.Err, "Written - Files:   0  Messages:      " + std::to_string(c.Moved)), 1)
        << outcome.Err;
    const bool normal = c.Options == "-I -t0" || std::string_view(c.Script) == "MQSTAT:*=2298";
    EXPECT_EQ(Occurrences(outcome.Err, "Messages are not put asynchronously"), normal);
    EXPECT_TRUE(!refused || Occurrences(ReadText("trace.txt"), "MQPUT #") == kMessages + 1);
  }
}

}  // namespace
