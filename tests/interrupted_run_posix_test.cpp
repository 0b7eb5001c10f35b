// SIGINT, SIGTERM and SIGHUP: the first ends a run in order wherever it waits, the second ends it at once. (Signals at
// random moments: killed_run_posix_test.cpp.)

#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <optional>
#include <thread>

#include "harness.h"
#include "logmode/dump_text_test.h"

namespace {

using Texts = std::vector<std::string>;
using Clock = std::chrono::steady_clock;

class Interrupted : public Sandbox {
 protected:
  void SetUp() override {
    CreateQueueManager("QM1", {"A", "B", "T"});
    CreateQueueManager("QM2", {"T"});
    for (const char* queue : {"A", "B"}) Queues("QM1").PutNumbered(queue, 5, queue);
  }

  // Gives the run time to come to where it waits, sends the signal, and wants the run to end soon.
  Outcome Interrupt(const Texts& arguments, int signal, const std::string& faults = {}) {
    harness::Process process({harness::ProgramFolder() / "tarvo", arguments, Path("."), WithFaults(faults), {}, {}});
    while (process.Running() && process.Errors().find("Version") == std::string::npos) Pause(20);
    Pause(400);
    EXPECT_TRUE(process.Running()) << process.Errors();
    const auto sent = Clock::now();
    process.Signal(signal);
    Outcome outcome = process.Wait();
    EXPECT_LT(Clock::now() - sent, std::chrono::seconds(2));
    EXPECT_EQ(Occurrences(outcome.Err, "Interrupted\n"), 1) << outcome.Err;
    return outcome;
  }
  static void Pause(int milliseconds) { std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds)); }

  Texts FileTexts(const std::string& name) {
    Texts texts;
    if (!std::filesystem::exists(Path(name))) return texts;
    for (const auto& line : Lines(ReadText(name))) {
      if (line.starts_with("S \"")) texts.push_back(line.substr(3, line.size() - 4));
    }
    return texts;
  }
};

TEST_F(Interrupted, EndsWhereverARunWaitsAndLosesNothing) {
  const struct {
    Texts Arguments;
    int Signal;
    int Moved;
    std::string Faults = {};
    MQLONG Reason = 0;  // of a failure on the way, which tells more than the signal
  } cases[] = {
      {{"-mQM1", "-IA", "-Fout", "-dp", "-w-1"}, SIGINT, 5},
      {{"-mQM1", "-IA", "-mQM2", "-oT", "-w60", "-t2"}, SIGTERM, 5},
      {{"-mQM1", "-IA", "-IB", "-oT", "-w-1"}, SIGHUP, 10},
      {{"-mQM1", "-IA", "-Fout", "-dp", "-D60000"}, SIGINT, 1},
      {{"-mQM1", "-IA", "-IB", "-oT", "-D60000"}, SIGINT, 1},
      {{"-mQM1", "-IA", "-oT", "-D300"}, SIGTERM, 2},
      {{"-mQM1", "-IA", "-oT", "-R1", "-t-1"}, SIGINT, 2},
      {{"-mQM1", "-IA", "-oT", "-D60000"}, SIGINT, 0, "MQCMIT:1=2003", MQRC_BACKED_OUT},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::PrintToString(c.Arguments));
    const auto outcome = Interrupt(c.Arguments, c.Signal, c.Faults);
    EXPECT_EQ(outcome.Exit, c.Reason != 0 ? ExitStatus(c.Reason) : 128 + c.Signal) << outcome.Err;
    Queues queues("QM1");
    Texts moved = queues.Texts("T");
    for (const auto& texts : {Queues("QM2").Texts("T"), FileTexts("out")}) {
      moved.insert(moved.end(), texts.begin(), texts.end());
    }
    // How many come to pass within a time is not said exactly.
    EXPECT_NEAR(static_cast<int>(moved.size()), c.Moved, c.Moved == 2 ? 1 : 0) << outcome.Err;
    if (c.Reason == 0) {
      EXPECT_NE(outcome.Err.find("Messages:" + std::string(c.Moved > 9 ? 5 : 6, ' ') + std::to_string(moved.size())),
                std::string::npos)
          << outcome.Err;
    }
    for (const char* queue : {"A", "B"}) {
      const Texts left = queues.Texts(queue);
      moved.insert(moved.end(), left.begin(), left.end());
    }
    std::sort(moved.begin(), moved.end());
    EXPECT_EQ(moved, (Texts{"A1", "A2", "A3", "A4", "A5", "B1", "B2", "B3", "B4", "B5"}));
    // As before, for the next case.
    std::filesystem::remove(Path("out"));
    for (const char* qmgr : {"QM1", "QM2"}) ASSERT_EQ(LocalMq({qmgr}, "CLEAR QLOCAL(T)\n").Exit, 0);
    ASSERT_EQ(LocalMq({"QM1"}, "CLEAR QLOCAL(A)\nCLEAR QLOCAL(B)\n").Exit, 0);
    for (const char* queue : {"A", "B"}) queues.PutNumbered(queue, 5, queue);
  }
}

TEST_F(Interrupted, TakesNoPartOfAMessageFromAPipe) {
  ASSERT_EQ(Tarvo({"-mQM1", "-iA", "-Fmessages"}).Exit, 0);
  const std::string text = ReadText("messages");
  ASSERT_EQ(mkfifo(Path("pipe").c_str(), 0600), 0);
  DumpText dump;
  LoggedMessage message;
  message.Data = "A1";
  dump.Whole(1, "A", message);
  const struct {
    Texts Arguments;
    std::string Written;
    Texts Loaded;
  } cases[] = {
      {{"-mQM1", "-oT", "-fpipe"}, text.substr(0, text.find("\nX 4133") + 4), {"A1", "A2"}},
      {{"-mQM1", "-oT", "-fpipe"}, text.substr(0, 10), {}},
      {{"-mQM1", "-oT", "-fpipe", "-n!", "-Cd"}, "A1\nA2\nA", {"A1", "A2"}},
      {{"-mQM1", "-oT", "-iA", "-j./pipe"}, dump.Text + dump.Text.substr(0, dump.Text.size() - 40), {"A1"}},
  };
  for (const Texts& alone : {Texts{"-mQM1", "-oT", "-fpipe"}, {"-mQM1", "-IA", "-Fpipe"}, {"-fpipe", "-Fmessages"}}) {
    const auto outcome = Interrupt(alone, SIGTERM);  // the pipe has no other end
    EXPECT_EQ(outcome.Exit, 128 + SIGTERM) << outcome.Err;
    EXPECT_EQ(Queues("QM1").Depth("A"), 5);
    EXPECT_EQ(ReadText("messages"), text);
  }
  const int pipe = open(Path("pipe").c_str(), O_RDWR | O_CLOEXEC);  // never at its end
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::PrintToString(c.Arguments));
    ASSERT_EQ(write(pipe, c.Written.data(), c.Written.size()), static_cast<ssize_t>(c.Written.size()));
    const auto outcome = Interrupt(c.Arguments, SIGINT);
    EXPECT_EQ(outcome.Exit, 128 + SIGINT) << outcome.Err;
    for (const char* complaint : {"rror", "cut", "not taken", "broken", "inside"}) {
      EXPECT_EQ(outcome.Err.find(complaint), std::string::npos) << outcome.Err;
    }
    EXPECT_EQ(Queues("QM1").Texts("T"), c.Loaded) << outcome.Err;
    ASSERT_EQ(LocalMq({"QM1"}, "CLEAR QLOCAL(T)\n").Exit, 0);
  }
  close(pipe);
}

TEST_F(Interrupted, GenericRunsNameWhatIsNotDone) {
  std::filesystem::create_directory(Path("files"));
  const auto unloaded = Interrupt({"-mQM1", "-i*", "-ffiles/*", "-D60000"}, SIGINT);
  EXPECT_EQ(unloaded.Exit, 128 + SIGINT);
  EXPECT_NE(unloaded.Out.find(" 5  Cut short.\n\nTotal : 1 Queues, 1 Messages\n"), std::string::npos) << unloaded.Out;
  EXPECT_NE(unloaded.Err.find("\nThe queues from 'B' on are not unloaded.\n"), std::string::npos) << unloaded.Err;
  EXPECT_EQ(Occurrences(ReadText("files/A.tvo"), "\nX "), 1);
  ASSERT_EQ(Tarvo({"-mQM1", "-i*", "-Ffiles/*"}).Exit, 0);
  // A part never takes the place of a whole set, and leaves nothing behind.
  const std::string whole = ReadText("files/A.tvo");
  const auto again = Interrupt({"-mQM1", "-i*", "-Ffiles/*", "-D60000", "-Lm1"}, SIGINT);
  EXPECT_NE(again.Out.find(" 5  Cut short.\n\nTotal : 1 Queues, 0 Messages\n"), std::string::npos) << again.Out;
  EXPECT_EQ(ReadText("files/A.tvo"), whole);
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(Path("files")), {}), 2);
  ASSERT_EQ(LocalMq({"QM1"}, "CLEAR QLOCAL(A)\nCLEAR QLOCAL(B)\n").Exit, 0);
  const auto loaded = Interrupt({"-mQM1", "-o*", "-ffiles/*", "-D60000"}, SIGTERM);
  EXPECT_EQ(loaded.Exit, 128 + SIGTERM);
  EXPECT_NE(loaded.Out.find(" 1      Cut short.\n\nTotal : 1 Queues, 1 Messages\n"), std::string::npos) << loaded.Out;
  EXPECT_NE(loaded.Err.find("\nThe queues from 'B' on are not loaded.\n"), std::string::npos) << loaded.Err;
  EXPECT_EQ(Queues("QM1").Texts("A"), Texts{"A1"});
}

TEST_F(Interrupted, ASecondSignalEndsAtOnceAndAnIgnoredOneNever) {
  const auto move = [&](const char* faults) -> harness::Command {
    return {harness::ProgramFolder() / "tarvo", {"-mQM1", "-IA", "-oT"}, Path("."), WithFaults(faults), {}, {}};
  };
  {
    harness::Process process(move("MQPUT:1=until:go"));
    Pause(1000);
    process.Signal(SIGINT);
    Pause(200);
    EXPECT_TRUE(process.Running()) << process.Errors();
    process.Signal(SIGTERM);
    const auto sent = Clock::now();
    const Outcome outcome = process.Wait();
    EXPECT_LT(Clock::now() - sent, std::chrono::seconds(1));
    EXPECT_EQ(outcome.Exit, 128 + SIGTERM);
    EXPECT_EQ(Occurrences(outcome.Err, "Interrupted"), 0) << outcome.Err;
  }
  EXPECT_EQ(Queues("QM1").Depth("A"), 5);
  signal(SIGHUP, SIG_IGN);
  harness::Process process(move("MQPUT:1=until:go"));
  signal(SIGHUP, SIG_DFL);
  Pause(500);
  process.Signal(SIGHUP);
  WriteText("go", "");
  EXPECT_EQ(process.Wait().Exit, 0);
  EXPECT_EQ(Queues("QM1").Depth("T"), 5);
}

}  // namespace
