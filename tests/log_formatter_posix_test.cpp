// The log formatter as a child process; a script stands in for it.

#include "harness.h"
#include "logmode/dump_text_test.h"

namespace {

class LogFormatter : public Sandbox {
 protected:
  // The formatter writes down its arguments, then does `commands`.
  void Install(const std::string& commands) {
    std::filesystem::create_directories(Path("mq inst/bin"));
    WriteText("mq inst/bin/dmpmqlog",
              "#!/bin/sh\nfor a in \"$0\" \"$@\"; do echo \"<$a>\"; done >arguments\n" + commands);
    std::filesystem::permissions(Path("mq inst/bin/dmpmqlog"), std::filesystem::perms::owner_all);
    environment()["MQ_INSTALLATION_PATH"] = Path("mq inst").string();
  }
  std::string Dump() {
    DumpText dump;
    LoggedMessage message;
    message.Data = "from the log";
    dump.Whole(1, "Q1", message);
    return dump.Text;
  }
};

TEST_F(LogFormatter, IsStartedAndItsOutputIsRead) {
  CreateQueueManager("QM1", {});
  CreateQueueManager("QM2", {"BACK"});
  WriteText("formatted", Dump());
  Install("cat formatted\necho 'AMQ8101: told on stderr' >&2\n");
  const std::string program = Path("mq inst/bin/dmpmqlog").string();
  const struct {
    std::vector<std::string> Log;
    const char* Shown;
    std::vector<std::string> Arguments;
  } cases[] = {
      {{"-mQM1", "-j*(0:0:4:100-0:0:9:0)"},
       "-m QM1 -s 0:0:4:100 -e 0:0:9:0 ",
       {"<-m>", "<QM1>", "<-s>", "<0:0:4:100>", "<-e>", "<0:0:9:0>"}},
      {{"-mQM1", "-j/logs of mq/QM1"},
       "-m QM1 -f \"/logs of mq/QM1\" -b ",
       {"<-m>", "<QM1>", "<-f>", "</logs of mq/QM1>", "<-b>"}},
  };
  for (const auto& c : cases) {
    const auto outcome = Tarvo(Joined(c.Log, {"-iq1", "-mQM2", "-oBACK"}));
    EXPECT_EQ(outcome.Exit, 0) << outcome.Err;
    EXPECT_NE(outcome.Err.find("Issuing command " + program + " " + c.Shown + "\n"), std::string::npos) << outcome.Err;
    EXPECT_NE(outcome.Err.find("\nAMQ8101: told on stderr\n"), std::string::npos) << outcome.Err;
    auto given = Lines(ReadText("arguments"));
    given.erase(given.begin());
    EXPECT_EQ(given, c.Arguments);
  }
  EXPECT_EQ(Queues("QM2").Texts("BACK"), (std::vector<std::string>{"from the log", "from the log"}));
}

TEST_F(LogFormatter, LinesAreReadAsTheyAreProduced) {
  WriteText("formatted", Dump());
  Install("cat formatted\nuntil grep -q A first1; do sleep 0.01; done\ncat formatted\n");
  // The formatter goes on only when the first message has come out.
  const auto outcome = Tarvo({"-mQM1", "-j*", "-iQ1", "-Ffirst%n", "-Lm1"});
  EXPECT_EQ(outcome.Exit, 0) << outcome.Err;
  EXPECT_FALSE(outcome.TimedOut);
}

TEST_F(LogFormatter, TellsThatItDidNotEndWell) {
  WriteText("formatted", Dump());
  for (const auto& [end, code] : {std::pair{"exit 0\n", ""}, {"exit 36\n", "36"}, {"kill -9 $$\n", "137"}}) {
    Install(std::string("cat formatted\n") + end);
    const auto outcome = Tarvo({"-j/log", "-iQ1", "-Fout"});
    EXPECT_EQ(outcome.Exit, 0) << outcome.Err;
    const std::string told = std::string("\nThe log formatter ended with code ") + code;
    EXPECT_EQ(outcome.Err.find(told) != std::string::npos, *code != '\0') << outcome.Err;
  }
}

TEST_F(LogFormatter, SaysWhatIsWrong) {
  Install("echo 'AMQ7708: no such log'\nexit 36\n");
  const auto wrong = Tarvo({"-j/no/log", "-iQ1", "-Fout"});
  EXPECT_EQ(wrong.Exit, ExitStatus(MQRC_HEADER_ERROR));
  EXPECT_NE(wrong.Err.find("AMQ7708: no such log\nNo MQ log records found.\n"), std::string::npos) << wrong.Err;
  EXPECT_EQ(wrong.Err.find("Are you sure"), std::string::npos);
  environment()["MQ_INSTALLATION_PATH"] = Path("nowhere").string();
  const auto missing = Tarvo({"-j/no/log", "-iQ1", "-Fout"});
  EXPECT_EQ(missing.Exit, ExitStatus(MQRC_UNEXPECTED_ERROR));
  EXPECT_NE(missing.Err.find("Create Process failed RC(2) No such file or directory\n"), std::string::npos)
      << missing.Err;
}

// A formatter that would write for ever is left alone when the run has what it wants.
TEST_F(LogFormatter, IsNotWaitedFor) {
  WriteText("formatted", Dump());
  Install("while cat formatted; do :; done\n");
  const auto outcome = Tarvo({"-j/log", "-iQ1", "-Fout", "-r1..3"});
  EXPECT_EQ(outcome.Exit, 0) << outcome.Err;
  EXPECT_FALSE(outcome.TimedOut);
  EXPECT_NE(outcome.Err.find("Written - Files:   1  Messages:      3  "), std::string::npos) << outcome.Err;
}

}  // namespace
