#include "cmdline/options.h"

#include <string_view>

#include "cmdline/command_line_test.h"

namespace {

struct Accepted {
  std::vector<std::string> Arguments;
  bool (*Expected)(const Parameters& run);
};

void ExpectAccepted(const std::vector<Accepted>& cases) {
  for (const Accepted& one : cases) {
    SCOPED_TRACE(Joined(one.Arguments));
    const Parsed parsed = Parse(one.Arguments);
    EXPECT_TRUE(parsed.Outcome.GoOn);
    EXPECT_EQ(parsed.Errors, "");
    EXPECT_TRUE(one.Expected(*parsed.Run));
  }
}

std::string Bytes(const Identifier& identifier) { return {identifier.begin(), identifier.end()}; }

}  // namespace

TEST(Scanner, FindsLettersAndTheirArguments) {
  ExpectAccepted({
      {{"-iQ1"}, [](const Parameters& run) { return run.Asked.Input.Queues[0].Queue == "Q1"; }},
      {{"-i", "Q1"}, [](const Parameters& run) { return run.Asked.Input.Queues[0].Queue == "Q1"; }},
      {{"-iQ1", "--"}, [](const Parameters& run) { return run.Asked.Input.Queues[0].Queue == "Q1"; }},
      {{"-m:QM1"}, [](const Parameters& run) { return run.QMgrs[0].QMgrName == "QM1"; }},
      {{"-m", ":QM1"}, [](const Parameters& run) { return run.QMgrs[0].QMgrName == "QM1"; }},
      {{"-m::QM1"}, [](const Parameters& run) { return run.QMgrs[0].QMgrName == ":QM1"; }},
      {{"-qp"},
       [](const Parameters& run) { return run.Asked.Display.Quiet && run.Asked.Input.Purge && run.Screen.Quiet; }},
      {{"-pq"}, [](const Parameters& run) { return run.Asked.Display.Quiet && run.Asked.Input.Purge; }},
      {{"-hpiQ1"}, [](const Parameters& run) { return run.Asked.Output.StripHeaders && run.Asked.Input.HasQueues(); }},
      {{"-t", "-1"}, [](const Parameters& run) { return run.Asked.Units.MessageLimit == -1; }},
      {{"-$+", "-oQM+A/B"},
       [](const Parameters& run) {
         return run.Asked.Output.Queues[0].QMgr == "QM" && run.Asked.Output.Queues[0].Queue == "A/B";
       }},
      {{"-A:c:1208"}, [](const Parameters& run) { return *run.Asked.Output.Override.CodedCharSetId == 1208; }},
  });
}

TEST(Scanner, KnowsASlashByTheSystem) {
  EXPECT_TRUE(Parse({"/iQ1"}, PathStyle::Windows)->Asked.Input.HasQueues());
  const Parsed path = Parse({"-IQ1", "/backup"}, PathStyle::Posix);
  EXPECT_EQ(path.Outcome.ExitCode, MQRC_OPTIONS_ERROR);
  EXPECT_TRUE(path.Errors.starts_with("Unexpected argument '/backup'\n")) << path.Errors;
}

TEST(SelectionOptions, Ranges) {
  struct Case {
    const char* Text;
    int Start, End;
  };
  for (const Case& one : {Case{"5", 5, 5},
                          {"5..9", 5, 9},
                          {"5#3", 5, 7},
                          {"#3", 0, 3},
                          {"5..", 5, 0},
                          {"..7", 0, 7},
                          {"0..7", 0, 7},
                          {"5..0", 5, 0},
                          {"0#3", 0, 3},
                          {"9..5", 9, 5},
                          {"2147483647", 2147483647, 2147483647}}) {
    SCOPED_TRACE(one.Text);
    Parsed parsed = Parse({"-r", one.Text});
    EXPECT_TRUE(parsed.Outcome.GoOn);
    EXPECT_EQ(parsed->Asked.Selection.RangeStart, one.Start);
    EXPECT_EQ(parsed->Asked.Selection.RangeEnd, one.End);
    EXPECT_TRUE(parsed->Asked.Selection.Active);
  }
  for (const char* text : {"x", "", "#", "#0", "5#0", "0", "..", "..0", "0..0", "5.", "5..x", "5..9x", "5-9",
                           "2147483648", "2147483647#2"}) {
    const Parsed parsed = Parse({"-r", text});
    EXPECT_EQ(parsed.Outcome.ExitCode, MQRC_OPTIONS_ERROR);
    EXPECT_EQ(parsed.Errors, "Invalid message range parameter '" + std::string(text) + "'\n");
  }
}

TEST(Scanner, CredentialsBelongToTheLastQueueManager) {
  Parsed parsed = Parse({"-mQM1", "-oQ2", "-uusr", "-U", ":@@first", "-mQM2", "-qUsecond", "-lmqm", "-iQ1"});
  EXPECT_EQ(parsed->Asked.QMgrs[0].UserId, "usr");
  EXPECT_EQ(parsed->Asked.QMgrs[1].Library, "mqm");
  EXPECT_EQ(parsed->QMgrs[0].Password->view(), "@first");
  EXPECT_EQ(parsed->QMgrs[1].Password->view(), "second");
  EXPECT_FALSE(Parse({"-iQ1"})->QMgrs[0].Password.has_value());
}

TEST(Scanner, TakesThePasswordsOutOfTheArguments) {
  const struct {
    std::vector<std::string> Arguments;
    std::string Left;
  } cases[] = {
      {{"-uapp", "-Usecret", "-iQ1"}, "tarvo -uapp -U* -iQ1"},
      {{"-Usecret", "-U", "", "-U", "@@x"}, "tarvo -U* -U  -U *"},
      {{"-U@file", "-U", "?"}, "tarvo -U@file -U ?"},
      {{"-y", "stray", "--", "x", "-qyUsecret"}, "tarvo -y stray -- x -qyU*"},
      {{"-iQ1", "-U"}, "tarvo -iQ1 -U"},
      {{"-sU", "Usecret"}, "tarvo -sU Usecret"},
  };
  for (const auto& c : cases) {
    const Parsed parsed = Parse(c.Arguments);
    std::string left;
    for (const char* argument : parsed.Argv) left += (left.empty() ? "" : " ") + std::string(argument);
    EXPECT_EQ(left, c.Left);
    const std::string_view memory(parsed.Arguments.data(), parsed.Arguments.size());
    EXPECT_EQ(memory.find("ecret") != std::string_view::npos, c.Left.find("ecret") != std::string::npos) << c.Left;
  }
}

TEST(Options, AreStored) {
  ExpectAccepted({
      {{"-f" + std::string(255, 'x')},
       [](const Parameters& run) { return run.Asked.Input.FileName == std::string(255, 'x'); }},
      {{"-dAC", "-dMw40T"},
       [](const Parameters& run) {
         return run.Asked.Layout.DataWidth == 40 && run.Asked.Layout.AsciiLines && run.Asked.Display.CorrelIds &&
                run.Asked.Display.MsgIds && run.Asked.Layout.TimeOnQueue;
       }},
      {{"-s" + std::string(99, 'x')}, [](const Parameters& run) { return run.Asked.Selection.Ascii[0].size() == 99; }},
      {{"-ea~", "-e\x80"},
       [](const Parameters& run) {
         return run.Asked.Selection.Ebcdic[0] == "\x81\xA1" && run.Asked.Selection.Ebcdic[1] == "\x4B";
       }},
      {{"-gg" + std::string(24, 'g')},
       [](const Parameters& run) { return Bytes(*run.Asked.Selection.GroupId) == std::string(24, 'g'); }},
      {{"-gxg" + std::string(48, '4')},
       [](const Parameters& run) { return Bytes(*run.Asked.Selection.GroupId) == std::string(24, 'D'); }},
      {{"-gxm4142434445", "-gxm46"},
       [](const Parameters& run) { return Bytes(*run.Asked.Selection.MsgId) == "F" + std::string(23, '\0'); }},
      {{"-At:reply"}, [](const Parameters& run) { return *run.Asked.Output.Override.MsgType == MQMT_REPLY; }},
      {{"-c1208:111"},
       [](const Parameters& run) {
         return run.Asked.Input.ConvertCcsid == 1208 && run.Asked.Input.ConvertEncoding == 0x111 &&
                run.Asked.Input.Convert;
       }},
      {{"-c437"},
       [](const Parameters& run) {
         return run.Asked.Input.ConvertCcsid == 437 && run.Asked.Input.ConvertEncoding == 546;
       }},
      {{"-Ca", "-Ct"}, [](const Parameters& run) { return run.Asked.Output.Context == PutContext::SetAllTimes; }},
      {{"-Dr"}, [](const Parameters& run) { return run.Asked.Pace.Delay == 100 && run.Asked.Pace.DelayRelative; }},
      {{"-Dr50%"}, [](const Parameters& run) { return run.Asked.Pace.Delay == 50; }},
      {{"-R*:60"},
       [](const Parameters& run) { return run.Asked.Pace.Rate == -1 && run.Asked.Pace.RateDuration == 60; }},
      {{"-w-7"}, [](const Parameters& run) { return run.Asked.Input.WaitInterval == -1; }},
      {{"-b4"}, [](const Parameters& run) { return run.Asked.Input.InitialBufferSize == 4096; }},
      {{"-OBFIaerT"},
       [](const Parameters& run) {
         const InputOptions& in = run.Asked.Input;
         const OutputOptions& out = run.Asked.Output;
         return in.NoBackoutQueue && in.NoForcedRfh2 && in.Exclusive && in.ReadAhead && in.AlwaysData &&
                out.Individually && out.AsyncPut;
       }},
      {{"-OS(cfh3)a"},
       [](const Parameters& run) { return !run.Asked.Output.RaiseCfhVersion && run.Asked.Output.AsyncPut; }},
      {{"-OS(ea"}, [](const Parameters& run) { return !run.Asked.Input.Exclusive && run.Asked.Output.AsyncPut; }},
      {{"-OSae"}, [](const Parameters& run) { return !run.Asked.Output.AsyncPut && run.Asked.Input.Exclusive; }},
      {{"-OS(CFH3)"}, [](const Parameters& run) { return run.Asked.Output.RaiseCfhVersion; }},
      {{"-vs10t"},
       [](const Parameters& run) {
         return run.Asked.Display.Status && run.Asked.Display.StatusEveryMsgs == 10 &&
                run.Asked.Display.StatusEverySecs == 300;
       }},
      {{"-Vmt"}, [](const Parameters& run) { return run.Asked.Display.TraceMemory && run.Asked.Display.TraceTimes; }},
  });
  EXPECT_EQ(Parse({"-Vv"}).Errors, "64Bit LittleEndian\n");
}
