// What becomes of output files when a run fails: old ones stay until new ones can take their place, and what is not
// committed is not in the file.

#include <cstdlib>

#include "harness.h"

namespace {

constexpr int kMessages = 6;

// How many messages a run says it has written, at last.
int WrittenBy(const Outcome& outcome) {
  const std::size_t line = outcome.Err.rfind("Written - Files:");
  if (line == std::string::npos) return -1;
  return std::atoi(outcome.Err.c_str() + outcome.Err.find("Messages:", line) + 9);
}

class OutputFiles : public Sandbox {
 protected:
  void SetUp() override { CreateQueueManager("QM1", {"Q1", "Q2"}); }
  void Refill() {
    ASSERT_EQ(LocalMq({"QM1"}, "CLEAR QLOCAL(Q1)\n").Exit, 0);
    Queues("QM1").PutNumbered("Q1", kMessages, "m");
  }
  // The files of a folder with the messages in each, or what else it holds: "a.tvo(m1 m2) b(old)".
  std::string FilesIn(const std::string& folder) const {
    std::map<std::string, std::string> files;
    for (const auto& entry : std::filesystem::directory_iterator(Path(folder))) {
      const std::string name = entry.path().filename().string();
      std::string& held = files[name];
      for (const auto& line : Lines(ReadText(folder + "/" + name))) {
        if (line.starts_with("S \"")) held += (held.empty() ? "" : " ") + line.substr(3, line.size() - 4);
        if (line == "old") held = line;
      }
    }
    std::string all;
    for (const auto& [name, held] : files) all += (all.empty() ? "" : " ") + name + "(" + held + ")";
    return all;
  }
};

TEST_F(OutputFiles, HoldWhatIsCommittedAndNothingElse) {
  const std::string message = "* TARVO\n\nN\nS \"m0\"\n\n";
  const struct {
    std::map<std::string, std::string> Before;
    const char* Script;
    std::vector<std::string> Options;
    const char* After;
    int Left;
  } cases[] = {
      // An old file stays until the first commit of a move.
      {{{"o", "old\n"}}, "MQGET:3=2016", {"-I", "-Fd/o"}, "o(old)", 6},
      {{{"o", "old\n"}}, "MQCMIT:1=2003", {"-I", "-Fd/o"}, "o(old)", 6},
      {{{"o", "old\n"}}, "MQGET:6=2016", {"-I", "-Fd/o", "-t2"}, "o(m1 m2 m3 m4)", 2},
      {{{"o", "old\n"}}, "MQCMIT:1=after:2009", {"-I", "-Fd/o"}, "o(m1 m2 m3 m4 m5 m6)", 0},
      {{{"o", "old\n"}}, "MQGET:3=kill", {"-I", "-Fd/o", "-t0"}, "o(m1 m2)", 4},
      // And until the good end of a copy.
      {{{"o", "old\n"}}, "MQGET:6=2016", {"-i", "-Fd/o"}, "o(old)", 6},
      {{{"o", "old\n"}}, "", {"-i", "-Fd/o"}, "o(m1 m2 m3 m4 m5 m6)", 6},
      {{{"o1", "old\n"}, {"o3", "old\n"}}, "MQGET:6=2016", {"-i", "-Fd/o%n", "-Lm2"}, "o1(old) o3(old)", 6},
      // New files, and a set of them.
      {{}, "MQGET:6=2016", {"-I", "-fd/o"}, "", 6},
      {{}, "MQGET:6=2016", {"-I", "-fd/o", "-t3"}, "o(m1 m2 m3)", 3},
      {{}, "MQGET:6=2016", {"-I", "-fd/o%n", "-t3", "-Lm1"}, "o1(m1) o2(m2) o3(m3)", 3},
      {{}, "MQGET:6=2016", {"-I", "-fd/o%n", "-t3", "-Lm2"}, "o1(m1 m2) o2(m3)", 3},
      {{{"o2", "old\n"}}, "MQGET:6=2016", {"-I", "-Fd/o%n", "-t5", "-Lm2"}, "o1(m1 m2) o2(m3 m4) o3(m5)", 1},
      {{{"o2", "old\n"}}, "MQCMIT:1=2003", {"-I", "-Fd/o%n", "-t5", "-Lm2"}, "o2(old)", 6},
      // A file that is appended to.
      {{{"o", message}}, "MQGET:6=2016", {"-I", "-fd/o", "-aa"}, "o(m0)", 6},
      {{{"o", message}}, "MQGET:6=2016", {"-I", "-fd/o", "-aa", "-t4"}, "o(m0 m1 m2 m3 m4)", 2},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.Script) + " " + testing::PrintToString(c.Options));
    std::filesystem::remove_all(Path("d"));
    std::filesystem::create_directory(Path("d"));
    for (const auto& [name, content] : c.Before) WriteText("d/" + name, content);
    Refill();
    std::vector<std::string> arguments = Joined({"-mQM1", "-dp"}, c.Options);
    arguments[2] += "Q1";
    const auto outcome = TarvoWithFaults(c.Script, arguments);
    EXPECT_EQ(outcome.Exit == 0, *c.Script == '\0') << outcome.Err;
    EXPECT_EQ(FilesIn("d"), c.After) << outcome.Err;
    EXPECT_EQ(Queues("QM1").Depth("Q1"), c.Left);
    // What the run says of its messages is what its files hold.
    if (std::string_view(c.Script).find("kill") != std::string_view::npos) continue;
    const int held = Occurrences(c.After, "m") - Occurrences(c.After, "m0");
    EXPECT_EQ(WrittenBy(outcome), held) << outcome.Err;
  }
}

TEST_F(OutputFiles, ALinkAndItsPermissionsStay) {
  Refill();
  std::filesystem::create_directory(Path("d"));
  WriteText("d/real", "old\n");
  using std::filesystem::perms;
  const perms wanted = perms::owner_read | perms::owner_write | perms::group_read;
  std::filesystem::permissions(Path("d/real"), wanted);
  const perms before = std::filesystem::status(Path("d/real")).permissions();
  std::error_code noLinks;
  std::filesystem::create_symlink("d/real", Path("link"), noLinks);
  EXPECT_EQ(Tarvo({"-mQM1", "-iQ1", noLinks ? "-Fd/real" : "-Flink", "-dp"}).Exit, 0);
  EXPECT_EQ(FilesIn("d"), "real(m1 m2 m3 m4 m5 m6)");
  EXPECT_EQ(std::filesystem::status(Path("d/real")).permissions(), before);
  if (noLinks) return;
  // A link to nothing makes its file, which goes again with the unit; the link stays.
  std::filesystem::create_symlink("d/next", Path("first"));
  std::filesystem::create_symlink("new", Path("d/next"));
  EXPECT_NE(TarvoWithFaults("MQGET:3=2016", {"-mQM1", "-IQ1", "-ffirst", "-dp"}).Exit, 0);
  EXPECT_FALSE(std::filesystem::exists(Path("d/new")));
  EXPECT_TRUE(std::filesystem::is_symlink(Path("first")));
  std::filesystem::create_symlink("2", Path("1"));
  EXPECT_NE(Tarvo({"-mQM1", "-IQ1", "-F%n", "-Lm1"}).Exit, 0);
  EXPECT_TRUE(std::filesystem::is_symlink(Path("1")) && !std::filesystem::exists(Path("2")));
  EXPECT_EQ(Queues("QM1").Depth("Q1"), 6);
  EXPECT_EQ(Tarvo({"-mQM1", "-IQ1", "-ffirst", "-dp"}).Exit, 0);
  EXPECT_EQ(FilesIn("d"), "new(m1 m2 m3 m4 m5 m6) next(m1 m2 m3 m4 m5 m6) real(m1 m2 m3 m4 m5 m6)");
}

TEST_F(OutputFiles, AQueuesOldSetGoesWhenItsNewOneIsComplete) {
  const struct {
    std::vector<std::string> Before;
    const char* Script;
    const char* Limit;
    const char* After;
  } cases[] = {
      {{"Q1.tvo", "Q2.tvo"}, "MQGET@Q1:4=2016", "-Lm9", "Q1.tvo(old) Q2.tvo(n1)"},
      {{"Q1$1.tvo", "Q1$2.tvo"}, "MQGET@Q1:4=2016", "-Lm2", "Q1$1.tvo(old) Q1$2.tvo(old) Q2.tvo(n1)"},
      {{"Q1$1.tvo", "Q1$2.tvo"}, "", "-Lm9", "Q1.tvo(m1 m2 m3 m4 m5 m6) Q2.tvo(n1)"},
      {{"Q1$2.tvo", "Q1$4.tvo"}, "", "-Lm3", "Q1$1.tvo(m1 m2 m3) Q1$2.tvo(m4 m5 m6) Q2.tvo(n1)"},
      {{"Q1.tvo"}, "", "-Lm3", "Q1$1.tvo(m1 m2 m3) Q1$2.tvo(m4 m5 m6) Q2.tvo(n1)"},
  };
  Queues("QM1").PutNumbered("Q2", 1, "n");
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.After) + c.Script);
    std::filesystem::remove_all(Path("d"));
    std::filesystem::create_directory(Path("d"));
    for (const auto& name : c.Before) WriteText("d/" + name, "old\n");
    Refill();
    const auto outcome = TarvoWithFaults(c.Script, {"-mQM1", "-iQ?", "-Fd/*", "-dp", c.Limit});
    EXPECT_EQ(outcome.Exit == 0, *c.Script == '\0') << outcome.Err;
    EXPECT_EQ(FilesIn("d"), c.After) << outcome.Err;
  }
}

TEST_F(OutputFiles, WithoutUnitsTheMessageInHandIsNamed) {
  Refill();
  const std::string first = Hex(Queues("QM1").Browse("Q1").front().Descriptor.MsgId);
  for (const char* name : {"none/o", "same%%n"}) {
    std::filesystem::create_directory(Path("same%n"));
    const auto outcome = Tarvo({"-mQM1", "-IQ1", std::string("-F") + name, "-t0"});
    EXPECT_EQ(outcome.Exit, ExitStatus(MQRC_FILE_SYSTEM_ERROR));
    EXPECT_EQ(Queues("QM1").Depth("Q1"), kMessages) << "the file was not even there";
  }
  // The second file of the set cannot be made: its first message is the one in hand.
  std::filesystem::create_directory(Path("o2"));
  const auto outcome = Tarvo({"-mQM1", "-IQ1", "-Fo%n", "-Lm1", "-t0", "-dp"});
  EXPECT_EQ(outcome.Exit, ExitStatus(MQRC_FILE_SYSTEM_ERROR));
  EXPECT_NE(outcome.Err.find("'o2'"), std::string::npos) << outcome.Err;
  EXPECT_EQ(Occurrences(outcome.Err, "; the message with MsgId "), 1) << outcome.Err;
  EXPECT_EQ(outcome.Err.find(first), std::string::npos) << "that one is in o1";
  EXPECT_EQ(Occurrences(ReadText("o1"), "S \"m1\""), 1);
  EXPECT_EQ(Queues("QM1").Depth("Q1"), kMessages - 2);
}

TEST_F(OutputFiles, NoMessageLeavesItsQueueForATextThatIsNotTheSame) {
  Queues queues("QM1");
  queues.PutText("Q1", "fine\n");
  queues.PutText("Q1", "no line feed at its end");
  const auto outcome = Tarvo({"-mQM1", "-IQ1", "-fo", "-dt"});
  EXPECT_EQ(outcome.Exit, ExitStatus(MQRC_FILE_SYSTEM_ERROR));
  EXPECT_NE(outcome.Err.find(") can not be written as text without loss\n"), std::string::npos) << outcome.Err;
  EXPECT_EQ(queues.Depth("Q1"), 2);
  EXPECT_NE(Tarvo({"-mQM1", "-IQ1", "-fo", "-dt", "-t0"}).Exit, 0);
  EXPECT_EQ(queues.Depth("Q1"), 2);
  EXPECT_EQ(Tarvo({"-mQM1", "-iQ1", "-Fo", "-dt"}).Exit, 0);
}

}  // namespace
