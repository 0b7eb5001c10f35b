#include "cmdline/options.h"

#include <string_view>

#include "cmdline/command_line_test.h"

namespace {

struct Accepted {
  std::vector<std::string> Arguments;
  bool (*Expected)(const CommandLine& line);
};

void ExpectAccepted(const std::vector<Accepted>& cases) {
  for (const Accepted& one : cases) {
    SCOPED_TRACE(Joined(one.Arguments));
    const Parsed parsed = Parse(one.Arguments);
    EXPECT_TRUE(parsed.Outcome.GoOn);
    EXPECT_EQ(parsed.Errors, "");
    EXPECT_TRUE(one.Expected(parsed.Fresh->Line));
  }
}

std::string Bytes(const Identifier& identifier) { return {identifier.begin(), identifier.end()}; }

}  // namespace

TEST(Scanner, FindsLettersAndTheirArguments) {
  ExpectAccepted({
      {{"-iQ1"}, [](const CommandLine& line) { return line.Asked.Input.Queues[0].Queue == "Q1"; }},
      {{"-i", "Q1"}, [](const CommandLine& line) { return line.Asked.Input.Queues[0].Queue == "Q1"; }},
      {{"-iQ1", "--"}, [](const CommandLine& line) { return line.Asked.Input.Queues[0].Queue == "Q1"; }},
      {{"-m:QM1"}, [](const CommandLine& line) { return line.Asked.QMgrs[0].Name == "QM1"; }},
      {{"-m", ":QM1"}, [](const CommandLine& line) { return line.Asked.QMgrs[0].Name == "QM1"; }},
      {{"-m::QM1"}, [](const CommandLine& line) { return line.Asked.QMgrs[0].Name == ":QM1"; }},
      {{"-qp"},
       [](const CommandLine& line) { return line.Asked.Display.Quiet && line.Asked.Input.Purge && line.Screen.Quiet; }},
      {{"-pq"}, [](const CommandLine& line) { return line.Asked.Display.Quiet && line.Asked.Input.Purge; }},
      {{"-hpiQ1"},
       [](const CommandLine& line) { return line.Asked.Output.StripHeaders && line.Asked.Input.HasQueues(); }},
      {{"-t", "-1"}, [](const CommandLine& line) { return line.Asked.Units.MessageLimit == -1; }},
      {{"-$+", "-oQM+A/B"},
       [](const CommandLine& line) {
         return line.Asked.Output.Queues[0].QMgr == "QM" && line.Asked.Output.Queues[0].Queue == "A/B";
       }},
      {{"-A:c:1208"}, [](const CommandLine& line) { return *line.Asked.Output.Override.CodedCharSetId == 1208; }},
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
  EXPECT_EQ(parsed->Passwords[0]->view(), "@first");
  EXPECT_EQ(parsed->Passwords[1]->view(), "second");
  EXPECT_FALSE(Parse({"-iQ1"})->Passwords[0].has_value());
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
       [](const CommandLine& line) { return line.Asked.Input.FileName == std::string(255, 'x'); }},
      {{"-dAC", "-dMw40T"},
       [](const CommandLine& line) {
         return line.Asked.Layout.DataWidth == 40 && line.Asked.Layout.AsciiLines && line.Asked.Display.CorrelIds &&
                line.Asked.Display.MsgIds && line.Asked.Layout.TimeOnQueue;
       }},
      {{"-s" + std::string(99, 'x')},
       [](const CommandLine& line) { return line.Asked.Selection.Ascii[0].size() == 99; }},
      {{"-ea~", "-e\x80"},
       [](const CommandLine& line) {
         return line.Asked.Selection.Ebcdic[0] == "\x81\xA1" && line.Asked.Selection.Ebcdic[1] == "\x4B";
       }},
      {{"-gg" + std::string(24, 'g')},
       [](const CommandLine& line) { return Bytes(*line.Asked.Selection.GroupId) == std::string(24, 'g'); }},
      {{"-gxg" + std::string(48, '4')},
       [](const CommandLine& line) { return Bytes(*line.Asked.Selection.GroupId) == std::string(24, 'D'); }},
      {{"-gxm4142434445", "-gxm46"},
       [](const CommandLine& line) { return Bytes(*line.Asked.Selection.MsgId) == "F" + std::string(23, '\0'); }},
      {{"-At:reply"}, [](const CommandLine& line) { return *line.Asked.Output.Override.MsgType == MQMT_REPLY; }},
      {{"-c1208:111"},
       [](const CommandLine& line) {
         return line.Asked.Input.ConvertCcsid == 1208 && line.Asked.Input.ConvertEncoding == 0x111 &&
                line.Asked.Input.Convert;
       }},
      {{"-c437"},
       [](const CommandLine& line) {
         return line.Asked.Input.ConvertCcsid == 437 && line.Asked.Input.ConvertEncoding == 546;
       }},
      {{"-Ca", "-Ct"}, [](const CommandLine& line) { return line.Asked.Output.Context == PutContext::SetAllTimes; }},
      {{"-Dr"}, [](const CommandLine& line) { return line.Asked.Pace.Delay == 100 && line.Asked.Pace.DelayRelative; }},
      {{"-Dr50%"}, [](const CommandLine& line) { return line.Asked.Pace.Delay == 50; }},
      {{"-R*:60"},
       [](const CommandLine& line) { return line.Asked.Pace.Rate == -1 && line.Asked.Pace.RateDuration == 60; }},
      {{"-w-7"}, [](const CommandLine& line) { return line.Asked.Input.WaitInterval == -1; }},
      {{"-b4"}, [](const CommandLine& line) { return line.Asked.Input.InitialBufferSize == 4096; }},
      {{"-OBFIaerT"},
       [](const CommandLine& line) {
         const InputOptions& in = line.Asked.Input;
         const OutputOptions& out = line.Asked.Output;
         return in.NoBackoutQueue && in.NoForcedRfh2 && in.Exclusive && in.ReadAhead && in.AlwaysData &&
                out.Individually && out.AsyncPut;
       }},
      {{"-OS(cfh3)a"},
       [](const CommandLine& line) { return !line.Asked.Output.RaiseCfhVersion && line.Asked.Output.AsyncPut; }},
      {{"-OS(ea"}, [](const CommandLine& line) { return !line.Asked.Input.Exclusive && line.Asked.Output.AsyncPut; }},
      {{"-OSae"}, [](const CommandLine& line) { return !line.Asked.Output.AsyncPut && line.Asked.Input.Exclusive; }},
      {{"-OS(CFH3)"}, [](const CommandLine& line) { return line.Asked.Output.RaiseCfhVersion; }},
      {{"-vs10t"},
       [](const CommandLine& line) {
         return line.Asked.Display.Status && line.Asked.Display.StatusEveryMsgs == 10 &&
                line.Asked.Display.StatusEverySecs == 300;
       }},
      {{"-Vmt"},
       [](const CommandLine& line) { return line.Asked.Display.TraceMemory && line.Asked.Display.TraceTimes; }},
  });
  EXPECT_EQ(Parse({"-Vv"}).Errors, "64Bit LittleEndian\n");
}
