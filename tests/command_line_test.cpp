// Command lines as users type them, and mistype them: what is printed where, and the exit code.

#include "harness.h"

namespace {

const int kRefused = ExitStatus(MQRC_OPTIONS_ERROR);

struct Refusal {
  std::vector<std::string> Arguments;
  std::string Text;
};

class CommandLine : public Sandbox {
 protected:
  // Standard error begins with the text, and nothing but help follows, unless the text ends with "...".
  void ExpectRefused(const std::vector<Refusal>& cases) {
    for (const auto& c : cases) {
      std::string line;
      for (const auto& argument : c.Arguments) line += argument + " ";
      SCOPED_TRACE(line);
      const auto outcome = Tarvo(Joined(c.Arguments, {"-q"}));
      EXPECT_EQ(outcome.Exit, kRefused);
      std::string_view text = c.Text;
      const bool beginning = text.ends_with("...");
      if (beginning) text.remove_suffix(3);
      ASSERT_TRUE(outcome.Err.starts_with(text)) << outcome.Err;
      const std::string rest = outcome.Err.substr(text.size());
      EXPECT_TRUE(beginning || rest.empty() || rest.starts_with("Queue Load/Unload Utility") ||
                  rest.starts_with("        [-"))
          << outcome.Err;
      EXPECT_EQ(outcome.Err.find("Read    -"), std::string::npos);
    }
  }
};

TEST_F(CommandLine, NothingOrSomethingStrayShowsTheShortUsage) {
  const struct {
    std::vector<std::string> Arguments;
    std::string LeftOver;
  } cases[] = {{{}, {}},     {{"-iQ1", "stray"}, "stray"},      {{"stray", "-iQ1"}, "stray"}, {{""}, ""},
               {{"-"}, "-"}, {{"-iQ1", "--", "-fout"}, "-fout"}};
  for (const auto& c : cases) {
    const auto outcome = Tarvo(c.Arguments);
    EXPECT_EQ(outcome.Exit, c.Arguments.empty() ? 0 : kRefused);
    EXPECT_EQ(outcome.Err.starts_with("Unexpected argument '" + c.LeftOver + "'\n"), !c.Arguments.empty());
    EXPECT_NE(outcome.Err.find("Usage: TARVO <Optional flags as below>\n"), std::string::npos);
    EXPECT_NE(outcome.Err.find("Provide Summary of messages            : tarvo -iQ1 -ds\n"), std::string::npos);
    EXPECT_EQ(Occurrences(outcome.Err, "\n        [-"), 41);
    EXPECT_EQ(outcome.Out, "");
  }
  const auto missing = Tarvo({"-iQ1", "-m"});
  EXPECT_EQ(missing.Exit, kRefused);
  EXPECT_TRUE(missing.Err.starts_with("-m is not a valid parameter.\n\n")) << missing.Err;
}

TEST_F(CommandLine, EchoesItsArgumentsWhenTheVariableExists) {
  auto variables = environment();
  variables["ORVEX_TARVO_PARMS"] = "x";
  const auto program = (harness::ProgramFolder() / "tarvo").string();
  const auto outcome = harness::RunProcess({program, {"-iQ1", "-qUsecret", "-Gz:1"}, Path("."), variables, {}, {}});
  EXPECT_EQ(outcome.Out, "argv[0] = '" + program + "'\nargv[1] = '-iQ1'\nargv[2] = '-qU*'\nargv[3] = '-Gz:1'\n");
  EXPECT_NE(outcome.Err.find("Unrecognised 'G' flag 'z'\n"), std::string::npos);
}

TEST_F(CommandLine, RefusesWhatItDoesNotUnderstand) {
  ExpectRefused({
      {{"-q:"}, "-: is not a valid parameter.\n\nUsage: TARVO <Optional flags as below>\n..."},
      {{"-q", "-m", "?"}, "        [-m <Queue Manager name>]\n"},
      {{"-iQ1", "--x"}, "-- is not a valid parameter.\n\n"},
      {{"-y"}, "-y is not a valid parameter.\n\n"},
      {{"-Cx"}, "I did not understand your context parameter\n\n"},
      {{"-CAt"}, "The context parameter can only be a single letter\n\n"},
      {{"-dAp"}, "Please enter only one display option, 'A', 'p' or 't'\n"},
      {{"-dq"}, "I did not understand your display parameter 'q'\n\n"},
      {{"-dxtent"}, "I did not understand display parameter\n\n"},
      {{"-Oz"}, "I did not understand your options parameter 'z'\n\n"},
      {{"-vz"}, "Unrecognised verbose option 'z'\n"},
      {{"-gz1"}, "Unrecognised 'g' flag 'z', please specify 'm',c','g' or 'x'\n"},
      {{"-gxz1"}, "Unrecognised 'g' flag 'z', please specify 'm','c' or 'g'\n"},
      {{"-Gr"}, "':' missing as second character in parameter '-G r'\n"},
      {{"-G", ""}, "':' missing as second character in parameter '-G '\n"},
      {{"-IQ1", "-oQ2", "-Gz:1"}, "Unrecognised 'G' flag 'z'\n"},
      {{"-Ap9"}, "':' missing as second character in parameter '-A p9'\n"},
      {{"-Ax:9"}, "Unrecognised 'A' flag 'x'\n"},
      {{"-At:NONE"}, "Unrecognised -At: parameter 'NONE'\n"},
      {{"-rx"}, "Invalid message range parameter 'x'\n"},
      {{"-r5..x"}, "Invalid message range parameter '5..x'\n"},
      {{"-x41G2"}, "Sorry the hex search string does not appear to be hex\n"},
      {{"-X41G2"}, "Sorry the negative hex search string does not appear to be hex\n"},
      {{"-s1", "-s2", "-s3", "-s4"}, "Sorry, you can only specify 3 ASCII search strings\n"},
      {{"-e1", "-e2", "-e3", "-e4"}, "Sorry, you can only specify 3 Ebcdic search strings\n"},
      {{"-s" + std::string(100, 'x')}, "Sorry the search string is limited to 99 characters\n"},
      {{"-x" + std::string(200, '1')}, "Sorry the hex search string is limited to 198 characters\n"},
      {{"-fa", "-fb", "-fc"}, "Sorry, you can only specify one input and one output file\n"},
      {{"-iQ1", "-IQ2"}, "Sorry, you can not specify both -i and -I in the same command\n"},
      {{"-IQ1", "-iQ2"}, "Sorry, you can not specify both -i and -I in the same command\n"},
      {{"-Ea", "-Eb", "-Ec", "-Ed"}, "Sorry, you can only specify 3 Ebcdic 'not' search strings\n"},
      {{"-X41", "-X42", "-X43", "-X44"}, "Sorry, you can only specify 3 Hex 'not' search strings\n"},
      {{"-X" + std::string(200, '4')}, "Sorry the search string is limited to 198 characters\n"},
      {{"-P", ""}, "Invalid -P parameter ''\n"},
      {{"-i" + std::string(49, 'Q')}, "The Queue name '..."},
      {{"-m" + std::string(49, 'Q')}, "The Queue Manager name '..."},
      {{"-Af:" + std::string(9, 'F')}, "Invalid -A parameter 'f:FFFFFFFFF'\n"},
      {{"-gm" + std::string(25, 'I')}, "Sorry the identifier is limited to 24 characters\n"},
      {{"-gxc" + std::string(50, '4')}, "Sorry the identifier is limited to 48 characters\n"},
      {{"-T60", "-T30"}, "You can only specify the 'older than' age once\n"},
      {{"-Tf9:00"}, "Unrecognised time format '9:00'\n"},
      {{"-z1", "-z2"}, "You can only specify the 'larger than' message size once\n"},
      {{"-La30"}, "Please specify the units for -La parameter '30'\n"},
      {{"-Lm0"}, "Invalid -Lm parameter '0'\n"},
      {{"-Lx5"}, "Unrecognised -L parameter 'x5'\n"},
  });
}

// Every one of these moves a queue: let through, it would take messages that nobody named or put them nowhere.
TEST_F(CommandLine, RefusesEmptyAnswersThatWouldSelectOrLoseEverything) {
  CreateQueueManager("QM1", {"Q1", "Q2"});
  Queues("QM1").PutNumbered("Q1", 3);
  WriteText("empty.txt", "* no queue here\n");
  std::vector<Refusal> cases = {
      {{"-IQ1", "-oQ2", "-gxm"}, "Sorry the hex identifier does not appear to be hex\n"},
      {{"-IQ1", "-oQ2", "-gxm4"}, "Sorry the hex identifier does not appear to be hex\n"},
      {{"-IQ1", "-oQ2", "-gxc41XY"}, "Sorry the hex identifier does not appear to be hex\n"},
      {{"-IQ1", "-oQ2", "-gxg0000"}, "Sorry the hex identifier must not be all zeros\n"},
      {{"-IQ1", "-oQ2", "-s", ""}, "Sorry the search string must not be empty\n"},
      {{"-IQ1", "-oQ2", "-E", ""}, "Sorry the search string must not be empty\n"},
      {{"-IQ1", "-oQ2", "-x4"}, "Sorry the search string must not be empty\n"},
      {{"-IQ1", "-oQ2", "-r#0"}, "Invalid message range parameter '#0'\n"},
      {{"-IQ1", "-oQ2", "-r5#0"}, "Invalid message range parameter '5#0'\n"},
      {{"-IQ1", "-oQ2", "-r.."}, "Invalid message range parameter '..'\n"},
      {{"-IQ1", "-oQ2", "-H", ""}, "Invalid -H parameter ''\n"},
      {{"-IQ1", "-o", ""}, "The Queue name part of destination '' is missing.\n"},
      {{"-IQ1", "-oQM2/"}, "The Queue name part of destination 'QM2/' is missing.\n"},
      {{"-IQ1", "-oQ2", "-o", ""}, "The Queue name part of destination '' is missing.\n"},
      {{"-IQ1", "-ofile:empty.txt"}, "There are no destinations in file 'empty.txt'.\n"},
      {{"-IQ1", "-f" + std::string(256, 'o')}, "Sorry the file name of parameter '-f' is limited to 255 characters\n"},
      {{"-IQ1", "-f", ""}, "No file was named in parameter '-f '\n"},
      {{"-IQ1", "-F", ""}, "No file was named in parameter '-F '\n"},
      {{"-I", "", "-fout"}, "The Queue name part of destination '' is missing.\n"},
      {{"-IQ1", "-dT", "-fout"}, "Time on queue option is not valid with move, use browse\n"},
      {{"-IQ1", "-ds"}, "Sumary option is not valid with move, use browse\n"},
      {{"-IQ1", "-dk"}, "Count option is not valid with move, use browse\n"},
      {{"-IQ1", "-dt"}, "Display options require an output file\n"},
      {{"-IQ1", "-dr"}, "Display options require an output file\n"},
      {{"-IQ1", "-oQ2", "-dN"}, "Display options require an output file\n"},
      {{"-IQ1", "-dH"}, "Display options require an output file\n"},
      {{"-IQ2", "-IQM2/Q1", "-fout"}, "Input queue 'QM2/Q1' can not be read, the input queue manager is 'QM1'\n"},
      {{"-iqm1/*", "-f*"}, "Input queue 'qm1/*' can not be read, the input queue manager is 'QM1'\n"},
      {{"-jdump", "-iQM2/Q1", "-fout"}, "Input queue 'QM2/Q1' can not be read, the input queue manager is 'QM1'\n"},
      {{"-fout", "-f*"}, "Please enter an input queue for the generic unload.\n"},
      {{"-jdump", "-IQ1", "-f*"}, "Please enter an input queue for the generic unload.\n"},
  };
  for (auto& c : cases) c.Arguments.emplace_back("-mQM1");
  ExpectRefused(cases);
  EXPECT_EQ(Tarvo({"-mQM1", "-iQM1/Q1", "-dK"}).Out, "3");
  EXPECT_EQ(Queues("QM1").Depth("Q1"), 3);
  EXPECT_FALSE(std::filesystem::exists(Path("out")));
}

// A number that wrapped or that was read up to its first letter would be another number: fewer messages, another size,
// no limit.
TEST_F(CommandLine, RefusesWhatIsNoNumberOrDoesNotFit) {
  std::vector<Refusal> refusals;
  const struct {
    std::string Option;
    std::vector<std::string> Values;
  } wrong[] = {{"-t", {"10x", "-2", "+5"}},
               {"-b", {"4k", "-1"}},
               {"-w", {"5s", "", "+0"}},
               {"-D", {"1.5", "rx", "r-50"}},
               {"-R", {"10/s", "-5", "10:"}},
               {"-P", {"high", "-1", "1,2,3"}},
               {"-c", {"utf8", "1208:", "1208:111x", "1208:FFFFFFFFFFFFFFFFFF"}},
               {"-T", {"1w", "-5", "1:", "1:2:3:4", " 5", "5x"}},
               {"-z", {"5X", "-5", "KB", "1 2", "5 ", "1.5", "1.5b"}},
               {"-Lm", {"10x", "-1"}},
               {"-d", {"w", "w-5"}},
               {"-A", {"p:high", "p:+5", "e:", "c:1208x"}},
               {"-G", {"r:", "r:Q_FULL", "r:2053x", "r:-1", "t:", "t:QM1/", "i:x"}}};
  for (const auto& [option, values] : wrong) {
    for (const auto& value : values) {
      const bool follows = value.empty();
      refusals.push_back({follows ? std::vector<std::string>{option, value} : std::vector<std::string>{option + value},
                          "Invalid " + option + " parameter '" + value + "'\n"});
    }
  }
  for (const char* option : {"-t", "-b", "-w", "-D", "-R", "-P", "-c", "-z", "-T", "-Lm"}) {
    for (const char* number : {"2147483648", "4294967297", "18446744073709551617"}) {
      refusals.push_back({{std::string(option) + number, "-mQM1", "-iQ1", "-oQ2"},
                          std::string("Invalid ") + option + " parameter '" + number + "'\n"});
    }
  }
  ExpectRefused(refusals);
  ExpectRefused({
      {{"-P,4294967297"}, "Invalid -P parameter ',4294967297'\n"},
      {{"-R1:4294967297"}, "Invalid -R parameter '1:4294967297'\n"},
      {{"-Dr4294967297"}, "Invalid -D parameter 'r4294967297'\n"},
      {{"-b2097152"}, "Invalid -b parameter '2097152'\n"},
      {{"-r1..4294967297"}, "Invalid message range parameter '1..4294967297'\n"},
      {{"-r2147483647#2"}, "Invalid message range parameter '2147483647#2'\n"},
      {{"-z1g2g"}, "Invalid -z parameter '1g2g'\n"},
      {{"-z,4294967297"}, "Invalid -z parameter '4294967297'\n"},
      {{"-T24856:00:00"}, "Invalid -T parameter '24856:00:00'\n"},
      {{"-La596524h"}, "Invalid -La parameter '596524h'\n"},
      {{"-Ls8589934592g"}, "Invalid -Ls parameter '8589934592g'\n"},
      {{"-Ap:4294967297"}, "Invalid -A parameter 'p:4294967297'\n"},
      {{"-Gr:4294967297"}, "Invalid -G parameter 'r:4294967297'\n"},
      {{"-vs4294967297"}, "Invalid -v parameter 's4294967297'\n"},
      {{"-Ls9223372036854775808b"}, "Invalid -Ls parameter '9223372036854775808b'\n"},
      {{"-dw4294967297"}, "Invalid -d parameter 'w4294967297'\n"},
      {{"-dw100000000"}, "Invalid -d parameter 'w100000000'\n"},
  });
}

TEST_F(CommandLine, KnowsWhichQueueManagerIsMeant) {
  ExpectRefused({
      {{"-iQ1", "-mQM1", "-mQM2", "-oQ2"},
       "Sorry, if you are using two Queue Managers then -m must be the first parameter.\n"},
      {{"-mQM1", "-iQ1", "-mQM1", "-oQ2"}, "Sorry, the Queue Manager names must be different.\n"},
      {{"-mQM1", "-iQ1", "-mQM2", "-mQM3"}, "Sorry, you can only specify at most two Queue Managers\n"},
      {{"-mQM1", "-iQ1", "-oQ2", "-mQM2"},
       "Sorry, you can not specify both input and output queues before the second -m parameter.\n"},
      {{"-mQM1", "-mQM2", "-iQ1"},
       "Sorry, you must at least specify an input or output queue before the second -m parameter.\n"},
      {{"-mQM1", "-la", "-lb"}, "-l parameter specifified more than once for the same Queue Manaager\n"},
      {{"-mQM1", "-ua", "-ub"}, "-u parameter specifified more than once for the same Queue Manaager\n"},
      {{"-mQM1", "-j*", "-mQM2"},
       "Please specify the name of the queue to search the log for using the -i parameter.\n"},
      {{"-mQM1", "-Ua", "-Ub"}, "-U parameter specifified more than once for the same Queue Manaager\n"},
  });
}

TEST_F(CommandLine, ChecksTheOptionsAgainstEachOther) {
  ExpectRefused({
      {{"-iQ1", "-fout", "-R10"}, "'Required rate' processing requires that the target is a Queue.\n"},
      {{"-fin", "-oQ1", "-R10:60"}, "Repeated 'Required rate' processing requires that the input is a queue.\n"},
      {{"-IQ1", "-oQ2", "-R10:60"}, "Repeated 'Required rate' processing requires that you browse the input queue.\n"},
      {{"-iQ1", "-ds", "-oQ2"}, "Sorry, you can't specify an output queue with summary display.\n"},
      {{"-iQ1", "-dk", "-oQ2"}, "Sorry, you can't specify an output queue/file with the count display.\n"},
      {{"-iQ1", "-ds", "-dk"}, "Sorry, you can't specify an output queue/file with the count display.\n"},
      {{"-iQ1", "-fa", "-fb"}, "Please don't specify both an input queue and an input file.\n"},
      {{"-oQ1"}, "Please enter either an input queue or an input file.\n"},
      {{"-fin", "-fout", "-oQ1"}, "Please enter either an output queue or an output file, not both.\n"},
      {{"-iQ1", "-p"}, "Purge is not valid when you are browsing the Input Queue\n"},
      {{"-fin", "-fout", "-Hx=1"}, "SQL92 Selection is only supported when the input is a queue\n"},
      {{"-IQ1", "-p", "-Hx=1"}, "The purge option is not supported when using the SQL92 selector\n"},
      {{"-f*"}, "Please enter an output queue for the generic load.\n"},
      {{"-IQ2", "-IQ1", "-oQ3", "-oQ1", "-r5.."},
       "Sorry, copying or moving queue 'Q1' onto itself would never end, specify a range end\n"},
      {{"-mQM1", "-iQ1", "-mQM2", "-oQM1/Q1"},
       "Sorry, copying or moving queue 'Q1' onto itself would never end, specify a range end\n"},
      {{"-fin", "-fout", "-Lm100"}, "The use of -L parameters requires the use of file index inserts\n"},
      {{"-iQ1", "-fout", "-Lm100"}, "The use of -L parameters requires the use of file index inserts\n"},
  });
}

TEST_F(CommandLine, TellsOfTheMachineAndOfPendingThings) {
  const auto machine = Tarvo({"-Oi"});
  EXPECT_EQ(machine.Exit, kRefused);
  EXPECT_NE(machine.Out.find("  User Identifier:"), std::string::npos) << machine.Err << machine.Out;
  EXPECT_NE(machine.Out.find("  Machine Name   :"), std::string::npos);
  const auto cfh = Tarvo({"-OS(CFH3)", "-oQ1"});
  EXPECT_NE(cfh.Out.find("CFH3 Processing Active\n"), std::string::npos);
  const auto sizes = Tarvo({"-v!", "-oQ1"});
  EXPECT_NE((sizes.Out + sizes.Err).find("sizeof(MQLONG) '4'\nsizeof(char *) '8'\n"), std::string::npos);
  // The test of the file format, after which the run goes on.
  WriteText("one.tvo", "* TARVO\n\nA PRI 4\nS \"x\"\n");
  const auto tested = Tarvo({"-dxtest", "-fone.tvo", "-dk"});
  EXPECT_EQ(tested.Exit, 0);
  EXPECT_EQ(tested.Out,
            "\nRunning file format tests\n-------------------------\n  Testing Hex file\n  Testing Ascii file\n"
            "  Testing Ascii column file\nAll tests passed\n----------------\n\n");
  EXPECT_NE(tested.Err.find("Counted -             Messages:      1  "), std::string::npos) << tested.Err;
  const auto help = Tarvo({"-?", "rate"}, "zzz\n\n");
  EXPECT_EQ(help.Exit, kRefused);
  EXPECT_NE(help.Err.find("        [-R <Message Rate>[:<Duration>]\n"), std::string::npos);
  EXPECT_NE(help.Err.find("Options relating to 'zzz' not found\n"), std::string::npos);
  EXPECT_EQ(Occurrences(help.Err, "Help - Enter topic:\n"), 2);
}

}  // namespace
