// Finding the MQ library, connecting, and what a run needs of an older or stricter queue manager.

#include <algorithm>
#include <cerrno>

#include "harness.h"

namespace {

class Connecting : public Sandbox {
 protected:
  void SetUp() override {
    CreateQueueManager("QM1", {"Q1", "Q2"});
    Queues("QM1").PutNumbered("Q1", 3);
  }

  Outcome TarvoWithLibrary(const std::string& folder, const std::vector<std::string>& arguments) {
    auto variables = environment();
    variables["MQM_DLL_PATH"] = harness::LibraryFolder(folder).string();
    variables["FAULTMQ_LIBRARY"] = harness::LibraryFile("localmq").string();
    return harness::RunProcess({harness::ProgramFolder() / "tarvo", arguments, Path("."), variables, {}, {}});
  }
};

TEST_F(Connecting, ALibraryThatCannotBeLoadedIsNamed) {
  auto variables = environment();
  variables["MQM_DLL_PATH"] = Path("nowhere").string();
  variables["MQIC_DLL_PATH"] = Path("nowhere").string();
  variables["MQACCESS_DEBUG"] = "1";
  const auto outcome =
      harness::RunProcess({harness::ProgramFolder() / "tarvo", {"-mQM1", "-iQ1", "-dk"}, Path("."), variables, {}, {}});
  EXPECT_EQ(outcome.Exit, ExitStatus(MQRC_ENVIRONMENT_ERROR));
  EXPECT_NE(outcome.Err.find("Error loading MQAPI DLL  RC("), std::string::npos) << outcome.Err;
  EXPECT_EQ(Occurrences(outcome.Err, "  Tried '" + (Path("nowhere") / "").string()), 2) << outcome.Err;
  EXPECT_NE(outcome.Err.find("\nSet MQM_DLL_PATH (client library: MQIC_DLL_PATH) "), std::string::npos) << outcome.Err;
  EXPECT_NE(outcome.Err.find(" MQ. Option -l names another library.\n"), std::string::npos) << outcome.Err;
  EXPECT_EQ(Occurrences(outcome.Out, "Loading '"), 2) << outcome.Out;
  EXPECT_EQ(Occurrences(outcome.Out, "Load failed RC("), 2) << outcome.Out;
  const bool windows = Platform() == PlatformKind::Windows;
  const std::string notFound =
      "Error loading MQAPI DLL nothing.so RC(" + std::to_string(windows ? 126 : ENOENT) + ")\n";
  const auto named = Tarvo({"-mQM1", "-lnothing.so", "-iQ1", "-dk"});
  EXPECT_EQ(named.Exit, ExitStatus(MQRC_ENVIRONMENT_ERROR));
  EXPECT_NE(named.Err.find(notFound), std::string::npos) << named.Err;
  EXPECT_NE(named.Err.find(" IBM MQ.\n"), std::string::npos) << named.Err;
  const std::string path = Path("no.so").string();
  const auto atPath = Tarvo({"-mQM1", "-l" + path, "-iQ1", "-dk"});
  EXPECT_NE(atPath.Err.find("\n  Tried '" + path + "': "), std::string::npos) << atPath.Err;
  EXPECT_EQ(Occurrences(atPath.Err, path), 2) << atPath.Err;
  EXPECT_NE(atPath.Err.find("\nOption -l names the library.\n"), std::string::npos) << atPath.Err;
}

TEST_F(Connecting, LibrariesWithFewerEntriesServeAsFarAsTheyGo) {
  const auto withoutSet = TarvoWithLibrary("faultmq-without-MQSET", {"-mQM1", "-iQ1", "-dk"});
  EXPECT_EQ(withoutSet.Exit, ExitStatus(MQRC_ENVIRONMENT_ERROR));
  EXPECT_NE(withoutSet.Err.find("Error loading MQAPI DLL  RC(11)\n  Tried '"), std::string::npos) << withoutSet.Err;
  EXPECT_NE(withoutSet.Err.find("': this library has no MQSET\n"), std::string::npos) << withoutSet.Err;
  EXPECT_EQ(TarvoWithLibrary("faultmq-without-MQCB", {"-mQM1", "-iQ1", "-dk"}).Exit, 0);
  const auto several = TarvoWithLibrary("faultmq-without-MQCB", {"-mQM1", "-iQ1", "-iQ2", "-fnull"});
  EXPECT_EQ(several.Exit, ExitStatus(MQRC_FUNCTION_NOT_SUPPORTED));
  EXPECT_NE(several.Err.find("MQCB(REGISTER)(QM1/Q1) failed RC(2298) Function not supported\n"), std::string::npos)
      << several.Err;
}

TEST_F(Connecting, RefusedConnectOptionsAreTriedOnceMoreInTheirOldestForm) {
  const struct {
    std::vector<std::string> Credentials;
    const char* Second;
  } cases[] = {{{}, " cno=1 "}, {{"-uuser", "-Usecret"}, " cno=5 "}};
  for (const auto& c : cases) {
    const auto arguments = Joined({"-mQM1", "-iQ1", "-dk"}, c.Credentials);
    const auto outcome = TarvoWithFaults("MQCONNX:1=2139", arguments);
    EXPECT_EQ(outcome.Exit, 0) << outcome.Err;
    const auto trace = Trace();
    EXPECT_NE(trace.at(0).find(" cno=7 "), std::string::npos) << trace.at(0);
    EXPECT_NE(trace.at(0).find("Orvex_Software_TARVO"), std::string::npos) << trace.at(0);
    EXPECT_NE(trace.at(1).find(c.Second), std::string::npos) << trace.at(1);
    const auto twice = TarvoWithFaults("MQCONNX:*=2139", arguments);
    EXPECT_EQ(twice.Exit, ExitStatus(MQRC_CNO_ERROR));
    EXPECT_NE(twice.Err.find("MQCONN on qmgr 'QM1' returned 2139 MQCNO Error.\n"), std::string::npos) << twice.Err;
    EXPECT_EQ(Occurrences(ReadText("trace.txt"), "MQCONNX #"), 2);
  }
  const auto warned = TarvoWithFaults("MQCONNX:1=warn:2129", {"-q", "-mQM1", "-iQ1", "-fnull"});
  EXPECT_EQ(warned.Exit, ExitStatus(MQRC_ADAPTER_CONN_LOAD_ERROR));
  EXPECT_EQ(warned.Err, "MQCONN on qmgr 'QM1' returned 2129 Adapter connection load error.\n");
}

TEST_F(Connecting, CredentialsAreCheckedAndAPasswordIsNotAskedOfAFile) {
  ASSERT_EQ(LocalMq({"QM1"}, "ALTER QMGR USER('app') PASSWORD('secret')\n").Exit, 0);
  EXPECT_EQ(Tarvo({"-mQM1", "-uapp", "-Usecret", "-iQ1", "-dk"}).Exit, 0);
  EXPECT_EQ(Tarvo({"-mQM1", "-ubob", "-Usecret", "-iQ1", "-dk"}).Exit, ExitStatus(MQRC_NOT_AUTHORIZED));
  EXPECT_EQ(Tarvo({"-mQM1", "-iQ1", "-dk"}).Exit, ExitStatus(MQRC_NOT_AUTHORIZED));
  const auto wrong = Tarvo({"-mQM1", "-uapp", "-Uwrong", "-iQ1", "-dk"});
  EXPECT_EQ(wrong.Exit, ExitStatus(MQRC_NOT_AUTHORIZED));
  EXPECT_NE(wrong.Err.find("MQCONN on qmgr 'QM1' returned 2035 Not authorized.\n"), std::string::npos) << wrong.Err;
  const auto unasked = TarvoWithFaults("", {"-q", "-mQM1", "-uapp", "-IQ1"});
  EXPECT_EQ(unasked.Exit, ExitStatus(MQRC_OPTIONS_ERROR));
  EXPECT_EQ(unasked.Err, "Password prompt not supported for non-stdin file\n");
  EXPECT_FALSE(std::filesystem::exists(Path("trace.txt"))) << ReadText("trace.txt");
}

TEST_F(Connecting, AQueueThatMayNotBeInquiredGoesOnWithoutBackoutProcessing) {
  const auto outcome = TarvoWithFaults("MQOPEN@Q1:1=2035", {"-mQM1", "-iQ1", "-iQ2", "-fnull"});
  EXPECT_EQ(outcome.Exit, 0) << outcome.Err;
  EXPECT_NE(outcome.Err.find("Cannot open queue 'Q1' for inquire. Backout requeue processing is disabled, "
                             "TARVO will continue.\n"),
            std::string::npos)
      << outcome.Err;
  const std::string trace = ReadText("trace.txt");
  EXPECT_EQ(Occurrences(trace, " options=40 "), 1) << trace;  // browse and inquire, once
  EXPECT_EQ(Occurrences(trace, " options=8 "), 2) << trace;   // browse only, for both queues
  const auto refused = TarvoWithFaults("MQOPEN@Q1:*=2035", {"-mQM1", "-iQ1", "-fnull"});
  EXPECT_EQ(refused.Exit, ExitStatus(MQRC_NOT_AUTHORIZED));
  EXPECT_NE(refused.Err.find("MQOPEN on object 'QM1/Q1' returned 2035 Not authorized.\n"), std::string::npos);
}

TEST_F(Connecting, InputQueuesAreOpenedForWhatTheRunDoes) {
  const struct {
    std::vector<std::string> Arguments;
    MQLONG Options;
  } cases[] = {
      {{"-iQ1", "-fnull"}, MQOO_BROWSE | MQOO_INQUIRE},
      {{"-iQ1", "-fnull", "-Oe"}, MQOO_BROWSE | MQOO_INPUT_EXCLUSIVE | MQOO_INQUIRE},
      {{"-iQ1", "-fnull", "-OB"}, MQOO_BROWSE},
      {{"-IQ1", "-fnull", "-snothing"}, MQOO_INPUT_SHARED | MQOO_BROWSE | MQOO_INQUIRE},
      {{"-IQ1", "-fnull", "-snothing", "-Oe"}, MQOO_INPUT_EXCLUSIVE | MQOO_BROWSE | MQOO_INQUIRE},
      {{"-IQ1", "-oQ2", "-Ca", "-r1"}, MQOO_INPUT_SHARED | MQOO_BROWSE | MQOO_INQUIRE | MQOO_SAVE_ALL_CONTEXT},
      {{"-IQ1", "-fnull", "-snothing", "-p"}, MQOO_INPUT_SHARED | MQOO_INQUIRE},
      {{"-IQ1", "-fnull", "-Gi:"}, MQOO_INPUT_SHARED | MQOO_BROWSE | MQOO_INQUIRE},
      {{"-IQ1", "-fnull", "-gcnothing"}, MQOO_INPUT_SHARED | MQOO_BROWSE | MQOO_INQUIRE},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(TarvoWithFaults("", Joined({"-mQM1"}, c.Arguments)).Exit, 0);
    const auto trace = Trace();
    const auto opened = std::find_if(trace.begin(), trace.end(), [](const std::string& line) {
      return line.starts_with("MQOPEN") && line.find("object=Q1 ") != std::string::npos;
    });
    ASSERT_NE(opened, trace.end());
    EXPECT_NE(opened->find(" options=" + std::to_string(c.Options) + " "), std::string::npos) << *opened;
  }
}

TEST_F(Connecting, OnlyTheDescriptorIsFetchedWhereNothingLooksAtTheData) {
  ASSERT_EQ(LocalMq({"QM1"}, "ALTER QLOCAL(Q2) BOTHRESH(1) BOQNAME(Q1)\n").Exit, 0);
  const struct {
    std::vector<std::string> Arguments;
    bool DescriptorOnly;
  } cases[] = {
      {{"-iQ1", "-fnull"}, true},          {{"-iQ1", "-ds-"}, true},
      {{"-iQ1", "-fnull", "-r2.."}, true}, {{"-iQ1", "-fnull", "-OT"}, false},
      {{"-iQ1", "-fout", "-q"}, false},    {{"-iQ1", "-fnull", "-smessage"}, false},
      {{"-iQ1", "-ds-", "-Xff"}, false},   {{"-iQ1", "-ds-", "-emessage"}, false},
      {{"-iQ1", "-fnull", "-h"}, false},   {{"-iQ1", "-fnull", "-Gr:2085"}, false},
      {{"-iQ1", "-ds-", "-Gt:Q*"}, false}, {{"-IQ1", "-fnull", "-snone"}, false},
      {{"-IQ2", "-fnull"}, false},         {{"-IQ2", "-fnull", "-OB"}, true},
      {{"-iQ2", "-fnull"}, true},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(TarvoWithFaults("", Joined({"-mQM1"}, c.Arguments)).Exit, 0);
    const std::string trace = ReadText("trace.txt");
    EXPECT_EQ(Occurrences(trace, " buffer=0 ") > 0, c.DescriptorOnly) << c.Arguments[0] << c.Arguments[1] << trace;
  }
}

TEST_F(Connecting, AFailedCallIsNamedAndAWarningIsNone) {
  const struct {
    const char* Script;
    std::vector<std::string> Arguments;
    MQLONG Reason;
    const char* Shown;
  } cases[] = {
      {"MQCMIT:1=warn:2003", {"-IQ1", "-oQ2", "-r1"}, MQRC_BACKED_OUT, "\nMQCMIT(QM1) failed RC(2003) "},
      {"MQGET:2=2016", {"-iQ1", "-fnull"}, MQRC_GET_INHIBITED, "\nMQGET(Q1) failed RC(2016) Get inhibited\n"},
      {"MQPUT:1=2053;MQBACK:*=2009",
       {"-IQ1", "-oQ2"},
       MQRC_Q_FULL,
       "MQBACK on qmgr 'QM1' returned 2009 Connection broken.\nThe open unit of work on queue manager 'QM1' could not "
       "be "
       "backed out. It is not disconnected"},
      {"MQGET:1=warn:2119;MQGET:2=warn:2110", {"-IQ1", "-oQ2"}, 0, "Written - Files:   0  Messages:      2 "},
      {"MQCB:1=2009", {"-iQ1", "-iQ2", "-fnull"}, MQRC_CONNECTION_BROKEN, "\nMQCB(REGISTER)(QM1/Q1) failed RC(2009) "},
      {"MQCTL:1=2009", {"-iQ1", "-iQ2", "-fnull"}, MQRC_CONNECTION_BROKEN, "\nMQCTL(START_WAIT)(QM1) failed RC(2009) "},
      {"MQCB:3=2009", {"-iQ1", "-iQ2", "-fnull"}, MQRC_CONNECTION_BROKEN, "\nMQCB(DEREGISTER)(QM1/Q"},
      {"", {"-iQ1", "-oQ2", "-oQM1/Q2", "-va"}, 0, "\nMQOPEN on object 'QM1/<Distribution' returned 0 OK.\n"},
      {"", {"-iQ1", "-oA1", "-R*", "-r1"}, 0, "Monitoring depth of queue 'Q1'\n\n"},
      {"MQOPEN@Q2:2=2035",
       {"-iQ1", "-oQ2", "-R*", "-r1"},
       MQRC_NOT_AUTHORIZED,
       "MQOPEN(INQUIRE) on object 'QM1/Q2' returned 2035 "},
  };
  ASSERT_EQ(LocalMq({"QM1"}, "DEFINE QALIAS(A1) TARGET(Q1)\n").Exit, 0);
  for (const auto& c : cases) {
    const auto outcome = TarvoWithFaults(c.Script, Joined({"-mQM1"}, c.Arguments));
    EXPECT_EQ(outcome.Exit, ExitStatus(c.Reason)) << c.Script << outcome.Err;
    EXPECT_EQ(Occurrences(outcome.Err, c.Shown), 1) << c.Script << outcome.Err;
  }
  EXPECT_EQ(Queues("QM1").Texts("Q2"), (std::vector<std::string>{"message 1", "message 2", "message 3"}));
}

TEST_F(Connecting, TheOptionBehindAFailureIsNamed) {
  const struct {
    const char* Script;
    std::vector<std::string> Arguments;
    const char* Shown;  // null: no option is
  } cases[] = {
      {"MQCONNX:1=2035", {"-uapp", "-Ux", "-iQ1", "-fnull"}, "Not authorized.\nOption -u "},
      {"MQCONNX:1=2035", {"-iQ1", "-fnull"}, nullptr},
      {"", {"-iQ1", "-fnull", "-Hcolour ="}, "Selector syntax error.\nOption -H "},
      {"MQOPEN@Q1:1=2042", {"-iQ1", "-fnull", "-Oe"}, "Object in use.\nOption -Oe "},
      {"MQOPEN@Q1:1=2042", {"-iQ1", "-fnull"}, nullptr},
      {"MQOPEN@Q2:1=2035", {"-iQ1", "-oQ2"}, "Not authorized.\nThe context "},
      {"MQOPEN@Q2:1=2035", {"-iQ1", "-oQ2", "-Cd"}, nullptr},
      {"MQOPEN@Q2:1=2035", {"-iQ1", "-oQ2", "-oQ1", "-OI", "-r1"}, "Not authorized.\nThe context "},
      {"MQCB:1=2298", {"-iQ1", "-iQ2", "-fnull"}, "Function not supported\nOption -i "},
      {"MQGET:2=2024", {"-IQ1", "-fnull"}, "Syncpoint limit reached\nOption -t "},
      {"MQGET:2=2024", {"-IQ1", "-fnull", "-t0"}, nullptr},
      {"MQPUT:2=2024", {"-iQ1", "-oQ2"}, "Syncpoint limit reached\nOption -t "},
      {"MQPUT:1=2050", {"-iQ1", "-oQ2", "-Ap:7"}, "Priority error\nOption -Ap "},
      {"MQPUT:1=2050", {"-iQ1", "-oQ2"}, nullptr},
      {"", {"-iQ1", "-oQ2", "-Ae:0"}, "Expiry error\nOption -Ae "},
      {"", {"-iQ1", "-oQ2", "-At:REQUEST"}, "Missing reply to queue\nOption -At "},
      {"MQPUT:1=2097", {"-IQ1", "-oQ2", "-Ca"}, "Context handle error\nOption -C "},
  };
  for (const auto& c : cases) {
    const auto outcome = TarvoWithFaults(c.Script, Joined({"-mQM1"}, c.Arguments));
    EXPECT_NE(outcome.Exit, 0) << c.Script;
    const int shown = Occurrences(outcome.Err, "\nOption -") + Occurrences(outcome.Err, "\nThe context ");
    EXPECT_EQ(shown, c.Shown != nullptr ? 1 : 0) << c.Script << outcome.Err;
    EXPECT_NE(outcome.Err.find(c.Shown != nullptr ? c.Shown : ""), std::string::npos) << c.Script << outcome.Err;
  }
}

TEST_F(Connecting, ACountIsPrintedAloneWhateverHappens) {
  const struct {
    std::vector<std::string> Arguments;
    const char* Count;
  } cases[] = {{{"-iQ1"}, "3"}, {{"-iQ1", "-r2.."}, "2"}, {{"-iQ2"}, "0"}, {{"-iNONE"}, "0"}};
  for (const auto& c : cases) {
    const auto outcome = Tarvo(Joined({"-mQM1", "-dK"}, c.Arguments));
    EXPECT_EQ(outcome.Out, c.Count) << c.Arguments[0];
    EXPECT_EQ(outcome.Err.empty(), outcome.Exit == 0) << outcome.Err;
  }
}

}  // namespace
