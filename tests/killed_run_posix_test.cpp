// The program killed at random moments: whatever it was doing, every message is accounted for afterwards. A copy, a
// move within one queue manager and a load have done whole units of work and nothing else; a move between two queue
// managers, or into a file, may have the messages of its last unit on both sides, and never misses one on both.
//
// An interrupt (SIGINT) at such a moment ends the run in order: every message is in exactly one place then.
//
// 30 of each kind of run by default. TARVO_KILLS sets another number; a build with a sanitizer makes 3 of each. Each
// test tells how many it made.

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <functional>
#include <iostream>
#include <random>
#include <thread>

#include "harness.h"

namespace {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr int kKillsOfEachKind = 3;
#else
constexpr int kKillsOfEachKind = 30;
#endif
constexpr int kMessages = 200;
constexpr int kUnit = 20;
constexpr unsigned kSeed = 20261123;

using Clock = std::chrono::steady_clock;
using Texts = std::vector<std::string>;

int KillsWanted() {
  const char* text = std::getenv("TARVO_KILLS");
  return text != nullptr ? std::max(1, std::atoi(text)) : kKillsOfEachKind;
}

class Killing : public Sandbox {
 protected:
  static constexpr const char* kUnitOption = "-t20";
  static_assert(kUnit == 20);

  void SetUp() override {
    CreateQueueManager("QM1", {"Q1", "Q2", "A", "B", "C"});
    CreateQueueManager("QM2", {"Q2", "A", "B", "C"});
  }

  void Clear(const std::string& qmgr, const Texts& queues) {
    std::string commands;
    for (const auto& queue : queues) commands += "CLEAR QLOCAL(" + queue + ")\n";
    ASSERT_EQ(LocalMq({qmgr}, commands).Exit, 0);
  }

  // The messages in a file of string lines, as far as it goes; none when there is no file.
  Texts FileTexts(const std::string& name) {
    Texts texts;
    if (!std::filesystem::exists(Path(name))) return texts;
    std::string written = ReadText(name);
    written.resize(written.rfind('\n') + 1);  // a line without its end is no message
    for (const auto& line : Lines(written)) {
      if (line.starts_with("S \"")) texts.push_back(line.substr(3, line.size() - 4));
    }
    return texts;
  }

  // Kills runs of the command at moments spread over the time that a whole run takes, until enough of them have died
  // of it. `fill` puts everything in place before each run, `check` looks at what is there after it and answers how
  // far the run came, in messages of `all`; `resume` does what a user does then.
  void KillManyTimes(const Texts& arguments, int all, const std::function<void()>& fill,
                     const std::function<int()>& check, const std::function<void()>& resume = nullptr,
                     int signal = SIGKILL) {
    fill();
    const auto start = Clock::now();
    const Outcome whole = Tarvo(arguments);
    auto length = std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - start);
    ASSERT_EQ(whole.Exit, 0) << whole.Err;
    ASSERT_EQ(check(), all);
    std::mt19937 random(kSeed);
    const int wanted = KillsWanted();
    int kills = 0;
    int halfWay = 0;
    for (int run = 0; kills < wanted && run < 5 * wanted; ++run) {
      SCOPED_TRACE("run " + std::to_string(run));
      fill();
      harness::Process process(
          {harness::ProgramFolder() / "tarvo", arguments, Path("."), environment(), std::string(), {}});
      std::this_thread::sleep_for(length * static_cast<int>(random() % 1000) / 1000);
      process.Signal(signal);
      const Outcome outcome = process.Wait();
      const int done = check();
      if (outcome.Exit == 128 + signal) {
        ++kills;
        length = length * 17 / 16;
      } else {
        EXPECT_EQ(outcome.Exit, 0) << outcome.Err;
        EXPECT_EQ(done, all);
        length = length * 3 / 4;  // the machine has become faster
      }
      if (done > 0 && done < all) ++halfWay;
      if (resume) resume();
      if (HasFailure()) return;
    }
    std::cout << "[    KILLS ] " << kills << " of " << wanted << '\n';
    RecordProperty("kills", kills);
    EXPECT_EQ(kills, wanted) << "too many runs ended before they were killed";
    // Of very few kills none may have hit that time.
    if (wanted >= 20) {
      EXPECT_GT(halfWay, 0) << "no run was ended between two units of work: little was proven";
    }
  }
};

Texts Numbered(int first, int last) {
  Texts texts;
  for (int i = first; i <= last; ++i) texts.push_back("m" + std::to_string(i));
  return texts;
}

// ---- From one queue
// ---------------------------------------------------------------------------------------------------

struct Kind {
  const char* Name;
  Texts Arguments;
  const char* QMgr;  // of the targets
  Texts Targets;     // empty: the file
  bool Copies = false;
  int MayDouble = 0;             // messages that may be on both sides
  const char* Before = nullptr;  // what stands in the file already
};

std::ostream& operator<<(std::ostream& out, const Kind& kind) { return out << kind.Name; }

class KilledRun : public Killing, public testing::WithParamInterface<Kind> {
 protected:
  Texts Target(const std::string& name) {
    return GetParam().Targets.empty() ? FileTexts("out") : Queues(GetParam().QMgr).Texts(name);
  }
  void EndManyRuns(int signal);
  // A file that is overwritten is the old one or holds new messages; one that is appended to keeps what it had.
  void CheckFile() {
    const std::string before = GetParam().Before;
    const std::string now = ReadText("out");
    const bool appends = GetParam().Arguments.back() == "-aa";
    EXPECT_TRUE(now.starts_with(before) || (!appends && now.starts_with("* TARVO"))) << now.substr(0, 100);
  }
};

// Ends many runs by the signal and looks at what each has left.
void KilledRun::EndManyRuns(int signal) {
  const Kind& kind = GetParam();
  const bool inOrder = signal != SIGKILL;
  const bool intoFile = kind.Targets.empty();
  const auto fill = [&] {
    for (const char* name : {"out", "out.tarvo-new1", "out.tarvo-old1"}) std::filesystem::remove(Path(name));
    if (kind.Before != nullptr) WriteText("out", kind.Before);
    Clear("QM1", {"Q1"});
    if (!intoFile) Clear(kind.QMgr, kind.Targets);
    Queues("QM1").PutNumbered("Q1", kMessages, "m");
  };
  const auto check = [&] {
    const Texts source = Queues("QM1").Texts("Q1");
    const Texts target = Target(intoFile ? "" : kind.Targets.front());
    for (const auto& other : kind.Targets) EXPECT_EQ(Target(other), target) << other;
    const int done = static_cast<int>(target.size());
    if (kind.Before != nullptr) CheckFile();
    EXPECT_EQ(target, Numbered(1, done));
    EXPECT_TRUE(intoFile || inOrder || done % kUnit == 0) << done;
    const int left = static_cast<int>(source.size());
    EXPECT_EQ(source, Numbered(kMessages - left + 1, kMessages));
    if (kind.Copies) {
      EXPECT_EQ(left, kMessages);
    } else {
      EXPECT_TRUE(inOrder || left % kUnit == 0) << left;
      EXPECT_GE(done + left, kMessages) << "messages are lost";
      EXPECT_LE(done + left, kMessages + (inOrder ? 0 : kind.MayDouble)) << "too many messages are on both sides";
    }
    return done;
  };
  // The same command once more moves the rest.
  const auto resume = [&] {
    EXPECT_EQ(Tarvo(kind.Arguments).Exit, 0);
    EXPECT_EQ(Queues("QM1").Depth("Q1"), 0);
    Texts expected = Numbered(1, kMessages);
    std::sort(expected.begin(), expected.end());
    for (const auto& name : kind.Targets) {
      Texts texts = Target(name);
      EXPECT_LE(static_cast<int>(texts.size()), kMessages + kind.MayDouble);
      std::sort(texts.begin(), texts.end());
      texts.erase(std::unique(texts.begin(), texts.end()), texts.end());
      EXPECT_EQ(texts, expected);
    }
  };
  const bool resumes = !kind.Copies && !intoFile;
  KillManyTimes(kind.Arguments, kMessages, fill, check, resumes ? std::function<void()>(resume) : nullptr, signal);
}

TEST_P(KilledRun, LeavesEveryMessageAccountedFor) { EndManyRuns(SIGKILL); }
TEST_P(KilledRun, LeavesEveryMessageInOnePlaceWhenInterrupted) { EndManyRuns(SIGINT); }

INSTANTIATE_TEST_SUITE_P(
    Kinds, KilledRun,
    testing::Values(
        Kind{"Copy", {"-mQM1", "-iQ1", "-oQ2", "-t20"}, "QM1", {"Q2"}, true},
        Kind{"Move", {"-mQM1", "-IQ1", "-oQ2", "-t20"}, "QM1", {"Q2"}},
        Kind{"SelectingMove", {"-mQM1", "-IQ1", "-oQ2", "-t20", "-sm"}, "QM1", {"Q2"}},
        Kind{"MoveBetweenTwo", {"-mQM1", "-IQ1", "-mQM2", "-oQ2", "-t20"}, "QM2", {"Q2"}, false, kUnit},
        Kind{"ListMove", {"-mQM1", "-IQ1", "-oA", "-oB", "-oC", "-t20"}, "QM1", {"A", "B", "C"}},
        Kind{"ListMoveOneByOne", {"-mQM1", "-IQ1", "-oA", "-oB", "-oC", "-OI", "-t20"}, "QM1", {"A", "B", "C"}},
        Kind{"MoveIntoAFile", {"-mQM1", "-IQ1", "-Fout", "-dp", "-t20"}, "QM1", {}, false, kUnit},
        Kind{"MoveOverAFile", {"-mQM1", "-IQ1", "-Fout", "-dp", "-t20"}, "QM1", {}, false, kUnit, "old\n"},
        Kind{"MoveBehindAFile",
             {"-mQM1", "-IQ1", "-fout", "-dp", "-t20", "-aa"},
             "QM1",
             {},
             false,
             kUnit,
             "* TARVO\n\nN\nX 6D30\n"}),
    [](const auto& kind) { return kind.param.Name; });

// ---- From several queues, and from many files
// ----------------------------------------------------------------------------

TEST_F(Killing, MovesFromSeveralQueuesLoseAndDoubleNothing) {
  constexpr int kEach = 60;
  const auto fill = [&] {
    Clear("QM1", {"A", "B", "C", "Q2"});
    Queues queues("QM1");
    for (const char* queue : {"A", "B", "C"}) queues.PutNumbered(queue, kEach, queue);
  };
  const auto check = [&] {
    Queues queues("QM1");
    Texts all = queues.Texts("Q2");
    const int done = static_cast<int>(all.size());
    EXPECT_EQ(done % kUnit, 0);
    for (const char* queue : {"A", "B", "C"}) {
      const Texts left = queues.Texts(queue);
      all.insert(all.end(), left.begin(), left.end());
    }
    // Each queue's messages keep their order, the rest of the queue coming behind what was moved.
    for (const char* queue : {"A", "B", "C"}) {
      Texts own;
      std::copy_if(all.begin(), all.end(), std::back_inserter(own),
                   [queue](const std::string& text) { return text.starts_with(queue); });
      Texts expected;
      for (int i = 1; i <= kEach; ++i) expected.push_back(queue + std::to_string(i));
      EXPECT_EQ(own, expected);
    }
    return done;
  };
  KillManyTimes({"-mQM1", "-IA", "-IB", "-IC", "-oQ2", kUnitOption}, 3 * kEach, fill, check);
}

TEST_F(Killing, GenericLoadsHaveDoneWholeUnitsQueueAfterQueue) {
  const Texts queues = {"A", "B", "C", "Q2"};
  const int each = kMessages / static_cast<int>(queues.size());
  std::filesystem::create_directory(Path("files"));
  for (const auto& queue : queues) Queues("QM1").PutNumbered(queue, each, "m");
  ASSERT_EQ(Tarvo({"-mQM1", "-i*", "-ffiles/*", "-Lm25"}).Exit, 0);
  const auto fill = [&] { Clear("QM2", queues); };
  const auto check = [&] {
    int done = 0;
    bool before = true;  // every queue before this one is complete
    for (const auto& queue : queues) {
      const Texts texts = Queues("QM2").Texts(queue);
      const int count = static_cast<int>(texts.size());
      EXPECT_EQ(texts, Numbered(1, count)) << queue;
      EXPECT_TRUE(count % kUnit == 0 || count == each) << queue << " has " << count;
      EXPECT_TRUE(before || count == 0) << queue;
      before = before && count == each;
      done += count;
    }
    return done;
  };
  KillManyTimes({"-mQM2", "-o*", "-ffiles/*", kUnitOption}, kMessages, fill, check);
}

TEST_F(Killing, GenericUnloadsLeaveTheFilesOfEarlierQueuesComplete) {
  const Texts queues = {"A", "B", "C", "Q1", "Q2"};
  constexpr int kEach = 400;
  for (const auto& queue : queues) Queues("QM1").PutNumbered(queue, kEach, "m");
  const auto fill = [&] {
    std::filesystem::remove_all(Path("files"));
    std::filesystem::create_directory(Path("files"));
  };
  const auto check = [&] {
    int done = 0;
    bool before = true;  // every file before this one is complete
    for (const auto& queue : queues) {
      const Texts texts = FileTexts("files/" + queue + ".tvo");
      const int count = static_cast<int>(texts.size());
      EXPECT_EQ(texts, Numbered(1, count)) << queue;
      EXPECT_TRUE(before || count == 0) << queue;
      EXPECT_EQ(Queues("QM1").Depth(queue), kEach);
      before = before && count == kEach;
      done += count;
    }
    return done;
  };
  KillManyTimes({"-mQM1", "-i*", "-ffiles/*", "-dp"}, 5 * kEach, fill, check);
}

}  // namespace
