#include "cmdline/validate.h"

#include "cmdline/command_line_test.h"

namespace {

struct Checked {
  Parsed Line;
  bool Ok = false;
  std::string Errors;
};

Checked Check(const std::vector<std::string>& arguments) {
  Checked checked{Parse(arguments), false, ""};
  EXPECT_TRUE(checked.Line.Outcome.GoOn) << checked.Line.Errors;
  checked.Errors = CaptureOf([&] { checked.Ok = ValidateOptions(*checked.Line.Run); }).Errors;
  return checked;
}

}  // namespace

TEST(Validation, RefusesWhatDoesNotGoTogether) {
  struct Case {
    std::vector<std::string> Arguments;
    const char* Message;
  };
  for (const Case& one : std::vector<Case>{
           {{"-iQ1", "-fout", "-R10"}, "'Required rate' processing requires that the target is a Queue.\n"},
           {{"-fin", "-oQ2", "-R10:60"}, "Repeated 'Required rate' processing requires that the input is a queue.\n"},
           {{"-IQ1", "-oQ2", "-R*:*"},
            "Repeated 'Required rate' processing requires that you browse the input queue.\n"},
           {{"-iQ1", "-ds", "-oQ2"}, "Sorry, you can't specify an output queue with summary display.\n"},
           {{"-iQ1", "-ds", "-dk"}, "Sorry, you can't specify an output queue/file with the count display.\n"},
           {{"-iQ1", "-dk", "-oQ2"}, "Sorry, you can't specify an output queue/file with the count display.\n"},
           {{"-iQ1", "-fa", "-fb"}, "Please don't specify both an input queue and an input file.\n"},
           {{"-oQ1"}, "Please enter either an input queue or an input file.\n"},
           {{"-fa", "-fb", "-oQ1"}, "Please enter either an output queue or an output file, not both.\n"},
           {{"-iQ1", "-p"}, "Purge is not valid when you are browsing the Input Queue\n"},
           {{"-fin", "-oQ1", "-Ha=1"}, "SQL92 Selection is only supported when the input is a queue\n"},
           {{"-IQ1", "-oQ2", "-Ha=1", "-p"}, "The purge option is not supported when using the SQL92 selector\n"},
           {{"-iQ1", "-fout", "-Lm100"}, "The use of -L parameters requires the use of file index inserts\n"},
           {{"-fin", "-fout", "-Lm100"}, "The use of -L parameters requires the use of file index inserts\n"},
           {{"-IQ1", "-ds"}, "Sumary option is not valid with move, use browse\n"},
           {{"-IQ1", "-dk"}, "Count option is not valid with move, use browse\n"},
           {{"-IQ1", "-fout", "-dT"}, "Time on queue option is not valid with move, use browse\n"},
           {{"-fa", "-f*"}, "Please enter an input queue for the generic unload.\n"},
           {{"-f*"}, "Please enter an output queue for the generic load.\n"},
           {{"-iQ1", "-oQ1"}, "Sorry, copying or moving queue 'Q1' onto itself would never end, specify a range end\n"},
           {{"-IQ2", "-IQ1", "-oQ3", "-oQ1", "-r5.."},
            "Sorry, copying or moving queue 'Q1' onto itself would never end, specify a range end\n"},
           {{"-mQM1", "-IQ1", "-oQM1/Q1"},
            "Sorry, copying or moving queue 'Q1' onto itself would never end, specify a range end\n"},
           {{"-mQM1", "-iQ1", "-mQM2", "-oQM1/Q1"},
            "Sorry, copying or moving queue 'Q1' onto itself would never end, specify a range end\n"},
           // These go together.
           {{"-IQ1"}, nullptr},
           {{"-IQ1", "-p"}, nullptr},
           {{"-iQ1", "-oQ2", "-R10"}, nullptr},
           {{"-mQM1", "-IQ1", "-mQM2", "-oQ1"}, nullptr},
           {{"-mQM1", "-IQ1", "-oQM2/Q1"}, nullptr},
           {{"-IQ1", "-oQ1", "-r#5"}, nullptr},
           {{"-iQ1", "-fq1", "-dT"}, nullptr},
       }) {
    SCOPED_TRACE(Joined(one.Arguments));
    const Checked checked = Check(one.Arguments);
    EXPECT_EQ(checked.Ok, one.Message == nullptr);
    EXPECT_EQ(checked.Errors, one.Message == nullptr ? "" : one.Message);
  }
}

TEST(Validation, CompletesTheOptions) {
  struct Case {
    std::vector<std::string> Arguments;
    bool (*Expected)(const Parameters& run);
  };
  for (const Case& one : std::vector<Case>{
           {{"-iQ1", "-fmyfile"},
            [](const Parameters& run) { return run.InputFileName.empty() && run.OutputFileName == "myfile"; }},
           {{"-fmyfile", "-oQ1"},
            [](const Parameters& run) { return run.InputFileName == "myfile" && run.OutputFileName.empty(); }},
           {{"-iQ1", "-ds"}, [](const Parameters& run) { return run.OutputFileName == "stdout"; }},
           {{"-iQ1", "-T60,30"},
            [](const Parameters& run) { return run.PutAfter == kStart - 3600 && run.PutBefore == kStart - 1800; }},
           {{"-iQ1", "-T30,60"},
            [](const Parameters& run) { return run.PutAfter == kStart - 3600 && run.PutBefore == kStart - 1800; }},
           {{"-iQ1", "-Tfu01/01/2020", "-T60"},
            [](const Parameters& run) { return run.PutAfter == 1577836800 && run.PutBefore == kStart - 3600; }},
           {{"-iQ1", "-fmsg%i"},
            [](const Parameters& run) {
              return run.LimitsActive && run.LimitMsgs == 1 && run.Has(FLAG_OUTPUT_INSERTS) && !run.Has2(FLAG2_GENERIC);
            }},
           {{"-iQ1", "-fmsg%i", "-Lm100"}, [](const Parameters& run) { return run.LimitMsgs == 100; }},
           {{"-fin%n", "-oQ1"},
            [](const Parameters& run) { return run.Has(FLAG_INPUT_INSERTS) && !run.Has(FLAG_OUTPUT_INSERTS); }},
           {{"-i*", "-f*"},
            [](const Parameters& run) {
              return run.LimitsActive && run.LimitSize == 524288000 && run.LimitMsgs == 0 && run.Has2(FLAG2_GENERIC) &&
                     run.Has(FLAG_OUTPUT_INSERTS);
            }},
           {{"-i*", "-f*", "-Lm5"}, [](const Parameters& run) { return run.LimitSize == 0 && run.LimitMsgs == 5; }},
       }) {
    SCOPED_TRACE(Joined(one.Arguments));
    const Checked checked = Check(one.Arguments);
    EXPECT_TRUE(checked.Ok);
    EXPECT_TRUE(one.Expected(*checked.Line.Run));
  }
  const Checked load = Check({"-f*", "-oQ1", "-Ls1m"});
  EXPECT_TRUE(load.Ok);
  EXPECT_EQ(load.Errors, "-L parameters are ignored in generic load\n\n");
  EXPECT_FALSE(load.Line.Run->LimitsActive);
}

TEST(Validation, KnowsTheQueueManagerOnceItIsConnected) {
  Checked checked = Check({"-IQ1", "-oQM1/Q1"});
  EXPECT_TRUE(checked.Ok);
  checked.Line->QMgrs[0].QMgrName.Assign("QM1");
  CaptureOf([&] { EXPECT_FALSE(CheckNotOntoItself(*checked.Line.Run)); });
}
