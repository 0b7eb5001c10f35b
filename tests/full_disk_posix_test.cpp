// Outputs that take no more: a full disk, a limit on the file's size, a closed pipe; and standard streams that are
// files of the run. A failed write never ends with success, nor with the queue emptied.

#include "preload_posix.h"

namespace {

const int kResourceProblem = ExitStatus(MQRC_RESOURCE_PROBLEM);

class FullDisk : public Sandbox {
 protected:
  void SetUp() override { CreateQueueManager("QM1", {"Q1", "Q2"}); }
};

TEST_F(FullDisk, AFullDiskNeverEmptiesTheQueue) {
  Queues queues("QM1");
  queues.PutNumbered("Q1", 1000, std::string(1000, 'x'));
  queues.PutText("Q2", std::string(300000, 'x'));
  const std::string flushing = "Error flushing data to file '/dev/full'RC(28): No space left on device\n";
  const std::string writing = "Can not write to file '/dev/full'";
  const struct {
    const char* Queue;
    const char* Option;
    std::string Told;
  } cases[] = {{"Q1", "-b4", writing + ": No space left on device\n"},
               {"Q1", "-t1", flushing},
               {"Q1", "-dA", writing},
               {"Q1", "-drN", flushing},
               {"Q1", "-dp", writing},
               {"Q2", "-dA", writing + " RC(28): No space left on device\n"},
               {"Q2", "-dr", writing + " RC(28): No space left on device\n"},
               {"Q2", "-dp", writing + " RC(28): No space left on device\n"}};
  for (const auto& c : cases) {
    const auto outcome = Tarvo({"-mQM1", std::string("-I") + c.Queue, "-F/dev/full", c.Option});
    EXPECT_EQ(outcome.Exit, kResourceProblem) << outcome.Err;
    EXPECT_NE(outcome.Err.find(c.Told), std::string::npos) << c.Option << outcome.Err;
    EXPECT_EQ(queues.Depth("Q1") + queues.Depth("Q2"), 1001);
  }
}

TEST_F(FullDisk, WholeUnitsThatReachedTheDiskMayHaveLeftTheQueueAndNothingElse) {
  // The limit lies above what the queue manager's own files need and below what the output needs.
  Queues queues("QM1");
  queues.PutNumbered("Q1", 1000, std::string(8000, 'x'));
  const auto limited = Shell("ulimit -f 12000; trap '' XFSZ; tarvo -mQM1 -IQ1 -Fsmall.tvo -t10");
  EXPECT_EQ(limited.Exit, kResourceProblem) << limited.Err;
  const int gone = 1000 - queues.Depth("Q1");
  EXPECT_EQ(gone % 10, 0);
  EXPECT_GT(gone, 0);
  EXPECT_GE(Occurrences(ReadText("small.tvo"), "A RPT"), gone);
}

TEST_F(FullDisk, AQueueThatDoesNotFitFailsAloneInAGenericUnload) {
  ASSERT_EQ(LocalMq({"QM1"}, "DEFINE QLOCAL(Q3)\n").Exit, 0);
  {
    Queues queues("QM1");
    for (const char* queue : {"Q1", "Q3"}) queues.PutNumbered(queue, 5, "small");
    queues.PutNumbered("Q2", 1000, std::string(8000, 'x'));
  }
  const auto limited = Shell("ulimit -f 12000; trap '' XFSZ; tarvo -mQM1 '-i*' '-f./*'");
  EXPECT_EQ(limited.Exit, kResourceProblem) << limited.Err;
  EXPECT_EQ(Occurrences(limited.Out, "  Done.\n"), 2) << limited.Out;
  EXPECT_EQ(Occurrences(limited.Out, "  1000  RC(2102) Resource problem\n"), 1) << limited.Out;
  EXPECT_NE(limited.Err.find("Q2.tvo"), std::string::npos) << limited.Err;
  EXPECT_NE(limited.Out.find("\nTotal : 3 Queues, "), std::string::npos) << limited.Out;
  for (const char* file : {"Q1.tvo", "Q3.tvo"}) EXPECT_EQ(Occurrences(ReadText(file), "A RPT"), 5) << file;
}

TEST_F(FullDisk, AFileThatALimitClosesInTheMiddleOfAUnitIsPartOfIt) {
  Queues queues("QM1");
  queues.PutNumbered("Q1", 6, std::string(1000, 'x'));
  std::filesystem::create_symlink("/dev/full", Path("part2"));
  const auto outcome = Tarvo({"-mQM1", "-IQ1", "-Fpart%n", "-Lm2"});
  EXPECT_EQ(outcome.Exit, kResourceProblem) << outcome.Err;
  EXPECT_NE(outcome.Err.find("part2"), std::string::npos) << outcome.Err;
  EXPECT_EQ(queues.Depth("Q1"), 6);
}

TEST_F(FullDisk, NothingLeavesTheQueueBeforeItsFileIsOnTheDisk) {
  // The n-th time that the file is forced onto the disk fails: the units that were committed before it are gone.
  harness::Preload(environment(), harness::LibraryFolder("failing_sync") / "libfailing_sync.so");
  const struct {
    std::vector<std::string> Options;
    const char* Sync;
    const char* File;
    int Left;
  } cases[] = {
      {{"-IQ1", "-Fall.tvo", "-t10"}, "1", "all.tvo", 40},       {{"-IQ1", "-Fall.tvo", "-t10"}, "3", "all.tvo", 20},
      {{"-IQ1", "-Fall.tvo", "-t-1"}, "1", "all.tvo", 40},       {{"-IQ1", "-Fall.tvo", "-r#5"}, "1", "all.tvo", 40},
      {{"-IQ1", "-Fp%n.tvo", "-Lm25"}, "1", "p1.tvo", 40},       {{"-IQ1", "-Fp%n.tvo", "-Lm25"}, "2", "p2.tvo", 40},
      {{"-IQ1", "-Fall.tvo", "-sm", "-t7"}, "2", "all.tvo", 33}, {{"-iQ1", "-Fall.tvo"}, "1", "all.tvo", 40},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::PrintToString(c.Options) + " " + c.Sync);
    Queues queues("QM1");
    queues.PutNumbered("Q1", 40 - queues.Depth("Q1"));
    environment()["FAILING_SYNC"] = c.Sync;
    const auto outcome = Tarvo(Joined({"-mQM1"}, c.Options));
    EXPECT_EQ(outcome.Exit, kResourceProblem);
    const std::string told = std::string("Error flushing data to file '") + c.File + "'RC(5): Input/output error\n";
    EXPECT_NE(outcome.Err.find(told), std::string::npos) << outcome.Err;
    EXPECT_EQ(queues.Depth("Q1"), c.Left);
  }
  // The file of the one queue that is not empty, then the directory.
  Queues("QM1").PutText("Q1", "one");
  for (const auto& [sync, done] : {std::pair{"1", 0}, {"2", 1}}) {
    std::filesystem::create_directory(Path("dir.tvo"));
    environment()["FAILING_SYNC"] = sync;
    const auto generic = Tarvo({"-mQM1", "-i*", "-Fdir.tvo/*"});
    EXPECT_EQ(generic.Exit, kResourceProblem) << generic.Err;
    EXPECT_EQ(Occurrences(generic.Out, "Done."), done) << generic.Out;
  }
}

TEST_F(FullDisk, StandardOutputThatTakesNothingIsAFailureAndKeepsTheQueue) {
  Queues queues("QM1");
  queues.PutNumbered("Q1", 2000, std::string(1000, 'x'));
  std::filesystem::create_directory(Path("all"));
  for (const char* command :
       {"-IQ1 -fstdout | head -n 1; exit ${PIPESTATUS[0]}", "-IQ1 -fstdout >&-", "-IQ1 -fstdout <&- >&- 2>&-",
        "-IQ1 -F/dev/stdout >&-", "-IQ1 -F/dev/fd/1 -aa >&-", "-IQ1 -F/proc/self/fd/1 >&-", "-IQ1 -F/dev/stderr 2>&-",
        "-f/dev/stdin -oQ1 <&-", "-IQ1 -r1 -fstdout >/dev/full", "-iQ1 -dK >/dev/full", "-iQ1 -dK >&-",
        "-i* -Fall/* >/dev/full"}) {
    SCOPED_TRACE(command);
    const auto outcome = Shell(std::string("tarvo -q -mQM1 ") + command);
    EXPECT_EQ(outcome.Exit, ExitStatus(MQRC_FILE_SYSTEM_ERROR)) << outcome.Err;
    EXPECT_EQ(queues.Depth("Q1"), 2000);
  }
}

// Standard input and output may be files too, which then have one more name.
TEST_F(FullDisk, AStandardStreamIsNoOtherFileThanItsOwn) {
  Queues queues("QM1");
  queues.PutNumbered("Q1", 5);
  ASSERT_EQ(Tarvo({"-q", "-mQM1", "-iQ1", "-fin"}).Exit, 0);
  std::filesystem::create_hard_link(Path("in"), Path("link"));
  const std::string before = ReadText("in");
  const std::vector<std::string> cases[] = {
      {"-fin -fstdout >>in", "Output file 'stdout' is an input file of this run\n"},
      {"-mQM1 -iQ1 -Flink <in", "Output file 'link' is an input file of this run\n"},
      {"-mQM1 -iQ1 -Flink -aa >>in", "File 'link' already exists.\n"}};
  for (const auto& c : cases) {
    const auto outcome = Shell("tarvo " + c[0]);
    EXPECT_EQ(outcome.Exit, ExitStatus(MQRC_FILE_SYSTEM_ERROR)) << c[0];
    EXPECT_NE(outcome.Err.find(c[1]), std::string::npos) << c[0] << outcome.Err;
    EXPECT_EQ(ReadText("in"), before);
  }
  EXPECT_EQ(queues.Depth("Q1"), 5);
}

}  // namespace
