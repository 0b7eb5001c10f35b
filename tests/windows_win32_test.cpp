// What is Windows' own: names with drives and backslashes, the folders of an installation, the log formatter's program.

#define WIN32_LEAN_AND_MEAN  // windows.h would define a type "byte"
#include <windows.h>

#include <cwchar>

#include "harness.h"
#include "logmode/dump_text_test.h"

namespace {

namespace fs = std::filesystem;

class Windows : public Sandbox {
 protected:
  void SetUp() override {
    CreateQueueManager("QM1", {"Q1", "Q2", "Q3"});
    Queues("QM1").PutText("Q1", "hello");
  }
  std::string Native(const std::string& name) const { return Path(name).make_preferred().string(); }
};

TEST_F(Windows, QueueFilesStandInFoldersWithDrives) {
  fs::create_directory(Path("out"));
  ASSERT_EQ(Native("out")[1], ':');
  ASSERT_EQ(Tarvo({"-mQM1", "-iQ1", "-f" + Native("out") + "\\*"}).Exit, 0);
  EXPECT_TRUE(fs::exists(Path("out/Q1.tvo")));
  ASSERT_EQ(Tarvo({"-mQM1", "-iQ1", "-f*.msg"}).Exit, 0);
  const auto again = Tarvo({"-mQM1", "-iQ1", "-fout/..\\*.msg"}, "n\n");
  EXPECT_EQ(again.Exit, ExitStatus(MQRC_OBJECT_ALREADY_EXISTS));
  EXPECT_NE(again.Err.find("out/..\\Q1.msg\n"), std::string::npos) << again.Err;
  ASSERT_EQ(LocalMq({"QM1"}, "CLEAR QLOCAL(Q1)\n").Exit, 0);
  const auto loaded = Tarvo({"-mQM1", "-oQ*", "-f.\\*.msg"});
  EXPECT_EQ(loaded.Exit, 0) << loaded.Err;
  EXPECT_EQ(Queues("QM1").Texts("Q1"), std::vector<std::string>{"hello"});
}

TEST_F(Windows, IncludedFilesAreFoundBesideTheIncludingOne) {
  fs::create_directory(Path("sub"));
  WriteText("main.txt", "file:sub\\more.txt\r\n");
  WriteText("sub/more.txt", "* beside it\r\nfile:last.txt\r\nQ2\r\n");
  WriteText("sub/last.txt", "Q3\r\n");
  // The current folder of the drive, and an absolute name.
  for (const std::string& name : {Native("main.txt").substr(0, 2) + "main.txt", Native("main.txt")}) {
    const auto outcome = Tarvo({"-mQM1", "-iQ1", "-ofile:" + name});
    EXPECT_EQ(outcome.Exit, 0) << name << outcome.Err;
  }
  EXPECT_EQ(Queues("QM1").Depth("Q2"), 2);
  EXPECT_EQ(Queues("QM1").Depth("Q3"), 2);
}

TEST_F(Windows, LibrariesAreFoundWhereTheInstallationIs) {
  fs::create_directories(Path("mq/bin64"));
  for (const char* name : {"mqm.dll", "mymqic.dll"}) {
    fs::copy_file(harness::LibraryFile("localmq"), Path("mq/bin64") / name);
  }
  environment()["MQM_DLL_PATH"] = environment()["MQIC_DLL_PATH"] = "";
  environment()["MQ_INSTALLATION_PATH"] = Native("mq");
  environment()["MQACCESS_DEBUG"] = "1";
  const std::string folder = Native("mq") + "\\bin64\\";
  const std::pair<const char*, std::string> cases[] = {{"-lmqm", folder + "mqm.dll"},
                                                       {"-lmymqic.dll", folder + "mymqic.dll"},
                                                       {"-l.\\mq\\bin64\\mqm.dll", ".\\mq\\bin64\\mqm.dll"}};
  for (const auto& [option, path] : cases) {
    const auto outcome = Tarvo({"-mQM1", option, "-iQ1", "-dK"});
    EXPECT_EQ(outcome.Exit, 0) << outcome.Err;
    EXPECT_EQ(outcome.Out, "Loading '" + path + "'\n1");
  }
}

TEST_F(Windows, ThePasswordLeavesTheCommandLine) {
  char program[] = "tarvo";
  char password[] = "-U*";
  char blank[] = "a b";
  char* argv[] = {program, password, blank};
  const std::size_t before = std::wcslen(GetCommandLineW());
  ShowArguments(3, argv);
  const std::wstring shown = GetCommandLineW();
  EXPECT_EQ(shown, std::wstring(L"tarvo -U* \"a b\"").substr(0, before));
  WriteText("secret", "Kingfisher\n");
  const auto refused = Tarvo({"-uapp", "-U@none", "-iQ1", "-fnull"});
  EXPECT_NE(refused.Err.find("Can not open password file 'none': "), std::string::npos) << refused.Err;
}

TEST_F(Windows, LogFormatterIsStarted) {
  CreateQueueManager("OWNER", {});
  fs::create_directories(Path("mq inst/bin64"));
  fs::copy_file(harness::ProgramFolder() / "log_formatter_stub.exe", Path("mq inst/bin64/dmpmqlog.exe"));
  environment()["MQ_INSTALLATION_PATH"] = Native("mq inst");
  DumpText dump;
  LoggedMessage message;
  message.Data = "from the log";
  dump.Whole(1, "Q1", message);
  WriteText("formatted", dump.Text);
  const auto outcome = Tarvo({"-mOWNER", "-jC:\\logs of mq\\QM1", "-iQ1", "-mQM1", "-oQ2"});
  EXPECT_EQ(outcome.Exit, 0) << outcome.Err;
  EXPECT_NE(outcome.Err.find("Issuing command " + Native("mq inst") +
                             "\\bin64\\dmpmqlog.exe -m OWNER -f \"C:\\logs of mq\\QM1\" -b \n"),
            std::string::npos)
      << outcome.Err;
  EXPECT_EQ(Lines(ReadText("arguments")),
            (std::vector<std::string>{"<-m>", "<OWNER>", "<-f>", "<C:\\logs of mq\\QM1>", "<-b>"}));
  EXPECT_NE(outcome.Err.find("\nAMQ8101: told on stderr\n"), std::string::npos) << outcome.Err;
  EXPECT_NE(outcome.Err.find("\nThe log formatter ended with code 36"), std::string::npos) << outcome.Err;
  EXPECT_EQ(Queues("QM1").Texts("Q2"), std::vector<std::string>{"from the log"});

  environment()["MQ_INSTALLATION_PATH"] = Native("nowhere");
  const auto missing = Tarvo({"-jC:\\no\\log", "-iQ1", "-Fout"});
  EXPECT_EQ(missing.Exit, MQRC_UNEXPECTED_ERROR);
  EXPECT_NE(missing.Err.find("Create Process failed RC("), std::string::npos) << missing.Err;
}

}  // namespace
