#include "cmdline/validate.h"

#include "cmdline/command_line_test.h"
#include "cmdline/queue_checks.h"

namespace {

struct Checked {
  Parsed Line;
  bool Ok = false;
  std::string Errors;
};

Checked Check(const std::vector<std::string>& arguments) {
  Checked checked{Parse(arguments), false, ""};
  EXPECT_TRUE(checked.Line.Outcome.GoOn) << checked.Line.Errors;
  checked.Errors = CaptureOf([&] { checked.Ok = ValidateOptions(checked.Line.Fresh->Line); }).Errors;
  return checked;
}

}  // namespace

TEST(Validation, CompletesTheOptions) {
  struct Case {
    std::vector<std::string> Arguments;
    bool (*Expected)(const CommandLine& line);
  };
  for (const Case& one : std::vector<Case>{
           {{"-iQ1", "-T60,30"},
            [](const CommandLine& line) {
              return line.Asked.Selection.PutAfter == kStart - 3600 && line.Asked.Selection.PutBefore == kStart - 1800;
            }},
           {{"-iQ1", "-T30,60"},
            [](const CommandLine& line) {
              return line.Asked.Selection.PutAfter == kStart - 3600 && line.Asked.Selection.PutBefore == kStart - 1800;
            }},
           {{"-iQ1", "-Tfu01/01/2020", "-T60"},
            [](const CommandLine& line) {
              return line.Asked.Selection.PutAfter == 1577836800 && line.Asked.Selection.PutBefore == kStart - 3600;
            }},
           {{"-i*", "-f*"},
            [](const CommandLine& line) {
              return line.Asked.Limits.Active && line.Asked.Limits.Size == 524288000 && line.Asked.Limits.Msgs == 0 &&
                     line.Asked.Output.Generic && line.Asked.Output.FileInserts;
            }},
           {{"-i*", "-f*", "-Lm5"},
            [](const CommandLine& line) { return line.Asked.Limits.Size == 0 && line.Asked.Limits.Msgs == 5; }},
       }) {
    SCOPED_TRACE(Joined(one.Arguments));
    const Checked checked = Check(one.Arguments);
    EXPECT_TRUE(checked.Ok);
    EXPECT_TRUE(one.Expected(checked.Line.Fresh->Line));
  }
  const Checked load = Check({"-f*", "-oQ1", "-Ls1m"});
  EXPECT_TRUE(load.Ok);
  EXPECT_EQ(load.Errors, "-L parameters are ignored in generic load\n\n");
  EXPECT_FALSE(load.Line.Fresh->Line.Asked.Limits.Active);
}

TEST(Validation, LetsQueuesOfOneNameOnTwoQueueManagersPass) {
  for (const std::vector<std::string>& arguments : {std::vector<std::string>{"-mQM1", "-IQ1", "-mQM2", "-oQ1"},
                                                    {"-mQM1", "-IQ1", "-oQM2/Q1"},
                                                    {"-IQ1", "-oQ1", "-r#5"}}) {
    SCOPED_TRACE(Joined(arguments));
    EXPECT_TRUE(Check(arguments).Ok);
  }
}

TEST(Validation, KnowsTheQueueManagerOnceItIsConnected) {
  Checked checked = Check({"-IQ1", "-oQM1/Q1"});
  EXPECT_TRUE(checked.Ok);
  CaptureOf([&] { EXPECT_FALSE(CheckNotOntoItself(checked.Line->Asked, {"QM1", "QM1"}, checked.Line->Screen)); });
}
