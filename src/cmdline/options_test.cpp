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

struct Refused {
  std::vector<std::string> Arguments;
  std::string Message;  // all of standard error; with a trailing "..." its beginning
};

void ExpectRefused(const std::vector<Refused>& cases) {
  for (const Refused& one : cases) {
    SCOPED_TRACE(Joined(one.Arguments));
    const Parsed parsed = Parse(one.Arguments);
    EXPECT_FALSE(parsed.Outcome.GoOn);
    EXPECT_EQ(parsed.Outcome.ExitCode, MQRC_OPTIONS_ERROR);
    if (one.Message.ends_with("...")) {
      EXPECT_EQ(parsed.Errors.substr(0, one.Message.size() - 3), one.Message.substr(0, one.Message.size() - 3));
    } else {
      EXPECT_EQ(parsed.Errors, one.Message);
    }
  }
}

std::string_view Queue(const QueueList& list, std::size_t index) {
  return NameInField(list.Entries[index].ObjectName, sizeof(MQCHAR48));
}
std::string_view QMgr(const QueueList& list, std::size_t index) {
  return NameInField(list.Entries[index].ObjectQMgrName, sizeof(MQCHAR48));
}
std::string_view Bytes(const SearchString& string) { return {string.Text, static_cast<std::size_t>(string.Length)}; }
std::string Bytes(const MQBYTE24& identifier) {
  return std::string(reinterpret_cast<const char*>(identifier), sizeof identifier);
}

}  // namespace

TEST(Scanner, FindsLettersAndTheirArguments) {
  ExpectAccepted({
      {{"-iQ1"}, [](const Parameters& run) { return Queue(*run.InputList, 0) == "Q1"; }},
      {{"-i", "Q1"}, [](const Parameters& run) { return Queue(*run.InputList, 0) == "Q1"; }},
      {{"/iQ1"}, [](const Parameters& run) { return Queue(*run.InputList, 0) == "Q1"; }},
      {{"-m:QM1"}, [](const Parameters& run) { return run.QMgrs[0].QMgrName == "QM1"; }},
      {{"-m", ":QM1"}, [](const Parameters& run) { return run.QMgrs[0].QMgrName == "QM1"; }},
      {{"-m::QM1"}, [](const Parameters& run) { return run.QMgrs[0].QMgrName == ":QM1"; }},
      {{"-qp"}, [](const Parameters& run) { return run.Has(FLAG_QUIET) && run.Has(FLAG_PURGE) && run.Screen.Quiet; }},
      {{"-pq"}, [](const Parameters& run) { return run.Has(FLAG_QUIET) && run.Has(FLAG_PURGE); }},
      {{"-hpiQ1"}, [](const Parameters& run) { return run.Has(FLAG_STRIP_HEADERS) && run.HasInputQueues(); }},
      {{"-t", "-5"}, [](const Parameters& run) { return run.TransactionLimit == -5; }},
      {{"-A:c:1208"}, [](const Parameters& run) { return run.OverrideMd.CodedCharSetId == 1208; }},
  });
}

TEST(Scanner, StopsAtWhatItDoesNotKnow) {
  ExpectRefused({
      {{"-y"}, "-y is not a valid parameter.\n\nUsage: TARVO <Optional flags as below>\n..."},
      {{"-q:"}, "-: is not a valid parameter.\n\nUsage: ..."},
      {{"-iQ1", "-m"}, "-m is not a valid parameter.\n\nUsage: ..."},
      {{"-?"}, "Usage: TARVO <Optional flags as below>\n..."},
      {{"-m", "?"}, "        [-m <Queue Manager name>]\n"},
      {{"-p?"}, "        [-p Purge source queue]\n"},
  });
}

TEST(Scanner, ShowsTheShortUsageWithoutOptions) {
  for (const std::vector<std::string>& arguments :
       {std::vector<std::string>{}, {"stray"}, {"-iQ1", "stray"}, {""}, {"-"}, {"-iQ1", "--", "x"}}) {
    SCOPED_TRACE(Joined(arguments));
    const Parsed parsed = Parse(arguments);
    const bool isOption = arguments.size() > 1 && arguments[1] == "--";
    EXPECT_FALSE(parsed.Outcome.GoOn);
    EXPECT_EQ(parsed.Outcome.ExitCode, isOption ? MQRC_OPTIONS_ERROR : 0);
  }
}

TEST(QueueOptions, FillTheLists) {
  ExpectAccepted({
      {{"-IQ1", "-I", "QM/Q2"},
       [](const Parameters& run) {
         return run.Has(FLAG_GET) && run.InputList->Count() == 2 && Queue(*run.InputList, 1) == "Q2" &&
                QMgr(*run.InputList, 1) == "QM";
       }},
      {{"-oQM2/Q2"},
       [](const Parameters& run) {
         return run.OutputQMgrName == "QM2" && run.OutputQueueName == "Q2" && run.OutputList == nullptr;
       }},
      {{"-oQ2", "-oQ3"},
       [](const Parameters& run) {
         return run.OutputQueueName == "Q2" && Queue(*run.OutputList, 0) == "Q2" && Queue(*run.OutputList, 1) == "Q3";
       }},
      {{"-$+", "-oQM+A/B"},
       [](const Parameters& run) { return run.OutputQMgrName == "QM" && run.OutputQueueName == "A/B"; }},
  });
  ExpectRefused({
      {{"-iQ1", "-IQ2"}, "Sorry, you can not specify both -i and -I in the same command\n"},
      {{"-IQ1", "-iQ2"}, "Sorry, you can not specify both -i and -I in the same command\n"},
      {{"-i", ""}, "The Queue name part of destination '' is missing.\n"},
      {{"-o", ""}, "The Queue name part of destination '' is missing.\n"},
      {{"-oQM2/"}, "The Queue name part of destination 'QM2/' is missing.\n"},
  });
}

TEST(QueueOptions, NameTwoQueueManagers) {
  ExpectAccepted({
      {{"-mQM1", "-iQ1", "-mQM2", "-oQ2"},
       [](const Parameters& run) {
         return run.InputQMgr == 0 && run.OutputQMgr == 1 && run.QMgrs[1].QMgrName == "QM2";
       }},
      {{"-mQM1", "-oQ2", "-mQM2", "-iQ1"},
       [](const Parameters& run) { return run.InputQMgr == 1 && run.OutputQMgr == 0; }},
  });
  Parsed parsed = Parse({"-mQM1", "-oQ2", "-uusr", "-mQM2", "-lmqm", "-Upw", "-iQ1"});
  EXPECT_STREQ(parsed->QMgrs[0].UserId, "usr");
  EXPECT_STREQ(parsed->QMgrs[1].LibraryName, "mqm");
  EXPECT_STREQ(parsed->QMgrs[1].Password, "pw");
  EXPECT_EQ(parsed->QMgrs[0].Password, nullptr);
  ExpectRefused({
      {{"-iQ1", "-mQM1", "-mQM2", "-oQ2"},
       "Sorry, if you are using two Queue Managers then -m must be the first parameter.\n"},
      {{"-mQM1", "-iQ1", "-mQM1"}, "Sorry, the Queue Manager names must be different.\n"},
      {{"-mQM1", "-mQM2"},
       "Sorry, you must at least specify an input or output queue before the second -m parameter.\n"},
      {{"-mQM1", "-iQ1", "-oQ2", "-mQM2"},
       "Sorry, you can not specify both input and output queues before the second -m parameter.\n"},
      {{"-mQM1", "-iQ1", "-mQM2", "-oQ2", "-mQM3"}, "Sorry, you can only specify at most two Queue Managers\n"},
      {{"-la", "-lb"}, "-l parameter specifified more than once for the same Queue Manaager\n"},
      {{"-mQM1", "-ua", "-ub"}, "-u parameter specifified more than once for the same Queue Manaager\n"},
      {{"-mQM1", "-j*", "-mQM2"},
       "Please specify the name of the queue to search the log for using the -i parameter.\n"},
  });
}

TEST(FileOptions, AreStored) {
  ExpectAccepted({
      {{"-fa", "-Fb"},
       [](const Parameters& run) {
         return run.InputFileName == "a" && run.OutputFileName == "b" && run.Has(FLAG_FORCE);
       }},
      {{"-f" + std::string(256, 'x')},
       [](const Parameters& run) { return run.InputFileName == std::string(255, 'x'); }},
      {{"-dAC", "-dMw40T"},
       [](const Parameters& run) {
         return run.DataWidth == 40 && run.Has(FLAG_ASCII_LINES) && run.Has(FLAG_SHOW_CORRELID) &&
                run.Has(FLAG_SHOW_MSGID) && run.Has(FLAG_SHOW_TIME_ON_QUEUE);
       }},
      {{"-dwaciHNr"},
       [](const Parameters& run) {
         return run.DataWidth == 0 && run.Has(FLAG_ASCII_COLUMNS) && run.Has(FLAG_APPLDATA_CHAR) &&
                run.Has(FLAG_WRITE_INDEX) && run.Has2(FLAG2_NO_FILE_HEADER) && run.Has2(FLAG2_NO_MQMD) &&
                run.Has2(FLAG2_RAW);
       }},
      {{"-dsk"}, [](const Parameters& run) { return run.Has(FLAG_SUMMARY) && !run.Has2(FLAG2_NO_QSTATUS); }},
      {{"-ds-K"},
       [](const Parameters& run) {
         return run.Has2(FLAG2_NO_QSTATUS) && run.Has2(FLAG2_COUNT) && run.Has(FLAG_QUIET) && run.Screen.Quiet;
       }},
      {{"-dp"}, [](const Parameters& run) { return run.Has2(FLAG2_PRINTABLE); }},
      {{"-dt"}, [](const Parameters& run) { return run.Has2(FLAG2_TEXT_LINES); }},
      {{"-jdump.txt", "-iQ1"}, [](const Parameters& run) { return run.LogMode; }},
      {{"-n1"}, [](const Parameters& run) { return run.Has2(FLAG2_NON_TARVO | FLAG2_WHOLE_FILE); }},
  });
  ExpectRefused({
      {{"-fa", "-fb", "-fc"}, "Sorry, you can only specify one input and one output file\n"},
      {{"-f", ""}, "No file was named in parameter '-f '\n"},
      {{"-dAt"}, "Please enter only one display option, 'A', 'p' or 't'\n"},
      {{"-dz"}, "I did not understand your display parameter 'z'\n\n        [-d <Display Options>]\n..."},
      {{"-dxtext"}, "I did not understand display parameter\n\n        [-d <Display Options>]\n..."},
      {{"-dw99999999999"}, "Invalid -d parameter 'w99999999999'\n"},
      {{"-nz"}, "Unrecognised -nz parameter.\n\n        [-n <Non-TARVO file options]\n..."},
  });
}

TEST(SelectionOptions, SearchStrings) {
  ExpectAccepted({
      {{"-sABC", "-SDEF"},
       [](const Parameters& run) {
         return Bytes(run.AsciiSearch[0]) == "ABC" && Bytes(run.AsciiNotSearch[0]) == "DEF" && run.Has(FLAG_SELECTING);
       }},
      {{"-s" + std::string(99, 'x')}, [](const Parameters& run) { return run.AsciiSearch[0].Length == 99; }},
      {{"-ea~", "-e\x80"},
       [](const Parameters& run) {
         return Bytes(run.EbcdicSearch[0]) == "\x81\xA1" && Bytes(run.EbcdicSearch[1]) == "\x4B";
       }},
      {{"-x4142F"}, [](const Parameters& run) { return Bytes(run.HexSearch[0]) == "AB"; }},
      {{"-X4a4B"}, [](const Parameters& run) { return Bytes(run.HexNotSearch[0]) == "JK"; }},
  });
  const std::string text100(100, 'x'), digits199(199, '4');
  ExpectRefused({
      {{"-sa", "-sb", "-sc", "-sd"}, "Sorry, you can only specify 3 ASCII search strings\n"},
      {{"-Ea", "-Eb", "-Ec", "-Ed"}, "Sorry, you can only specify 3 Ebcdic 'not' search strings\n"},
      {{"-X41", "-X42", "-X43", "-X44"}, "Sorry, you can only specify 3 Hex 'not' search strings\n"},
      {{"-s" + text100}, "Sorry the search string is limited to 99 characters\n"},
      {{"-x" + digits199}, "Sorry the hex search string is limited to 198 characters\n"},
      {{"-X" + digits199}, "Sorry the search string is limited to 198 characters\n"},
      {{"-x41G2"}, "Sorry the hex search string does not appear to be hex\n"},
      {{"-X41G"}, "Sorry the negative hex search string does not appear to be hex\n"},
      {{"-s", ""}, "Sorry the search string must not be empty\n"},
      {{"-x4"}, "Sorry the search string must not be empty\n"},
  });
}

TEST(SelectionOptions, Identifiers) {
  ExpectAccepted({
      {{"-gmABC"},
       [](const Parameters& run) {
         return Bytes(run.SelMsgId) == "ABC" + std::string(21, ' ') && run.Has(FLAG_BY_MSGID) &&
                !run.Has(FLAG_BY_CORRELID);
       }},
      {{"-gxc41424"},
       [](const Parameters& run) {
         return Bytes(run.SelCorrelId) == "AB" + std::string(22, '\0') && run.Has(FLAG_BY_CORRELID);
       }},
      {{"-gg" + std::string(30, 'g')},
       [](const Parameters& run) { return Bytes(run.SelGroupId) == std::string(24, 'g'); }},
      {{"-gxg" + std::string(60, '4')},
       [](const Parameters& run) { return Bytes(run.SelGroupId) == std::string(24, 'D'); }},
  });
  ExpectRefused({
      {{"-gz"}, "Unrecognised 'g' flag 'z', please specify 'm',c','g' or 'x'\n"},
      {{"-gxz"}, "Unrecognised 'g' flag 'z', please specify 'm','c' or 'g'\n"},
      {{"-gxm"}, "Sorry the hex identifier does not appear to be hex\n"},
      {{"-gxm4"}, "Sorry the hex identifier does not appear to be hex\n"},
      {{"-gxm41G0"}, "Sorry the hex identifier does not appear to be hex\n"},
      {{"-gxm0000"}, "Sorry the hex identifier must not be all zeros\n"},
  });
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
    EXPECT_EQ(parsed->RangeStart, one.Start);
    EXPECT_EQ(parsed->RangeEnd, one.End);
    EXPECT_TRUE(parsed->Has(FLAG_SELECTING));
  }
  for (const char* text : {"x", "", "#", "#0", "5#0", "0", "..", "..0", "0..0", "5.", "5..x", "5..9x", "5-9",
                           "2147483648", "2147483647#2"}) {
    ExpectRefused({{{"-r", text}, "Invalid message range parameter '" + std::string(text) + "'\n"}});
  }
}

TEST(SelectionOptions, FiltersAndBounds) {
  ExpectAccepted({
      {{"-Gi:", "-Gr:2053"},
       [](const Parameters& run) {
         return run.Has2(FLAG2_INVERT) && run.DlqReason == 2053 && run.Has2(FLAG2_BY_DLQ_REASON);
       }},
      {{"-Gt:QM*/Q?"},
       [](const Parameters& run) {
         return run.TargetQMgrMask == "QM*" && run.TargetQueueMask == "Q?" && run.Has2(FLAG2_BY_TARGET);
       }},
      {{"-P3,5"}, [](const Parameters& run) { return run.PriorityAtLeast == 3 && run.PriorityAtMost == 5; }},
      {{"-P,5"}, [](const Parameters& run) { return run.PriorityAtLeast == -1 && run.PriorityAtMost == 5; }},
      {{"-P3"}, [](const Parameters& run) { return run.PriorityAtLeast == 3 && run.PriorityAtMost == -1; }},
      {{"-Ha = 1"}, [](const Parameters& run) { return *run.Selector == "a = 1" && run.Has(FLAG_SELECTING); }},
  });
  const Parsed unknown = Parse({"-Gz:1", "-iQ1"});
  EXPECT_TRUE(unknown.Outcome.GoOn);
  EXPECT_EQ(unknown.Errors, "Unrecognised 'G' flag 'z'\n");
  ExpectRefused({
      {{"-Gr2085"}, "':' missing as second character in parameter '-G r2085'\n"},
      {{"-Gr:99999999999"}, "Invalid -G parameter 'r:99999999999'\n"},
      {{"-P", ""}, "Invalid -P parameter ''\n"},
      {{"-H", ""}, "Invalid -H parameter ''\n"},
  });
}

TEST(MessageOptions, AreStored) {
  ExpectAccepted({
      {{"-Af:MQSTR", "-Ap:7", "-Ae:100"},
       [](const Parameters& run) {
         return IsFormat(run.OverrideMd.Format, "MQSTR   ") && run.OverrideMd.Priority == 7 &&
                run.OverrideMd.Expiry == 100 &&
                run.OverrideMask == (OVERRIDE_FORMAT | OVERRIDE_PRIORITY | OVERRIDE_EXPIRY);
       }},
      {{"-Ar:QM/RQ"},
       [](const Parameters& run) {
         return NameInField(run.OverrideMd.ReplyToQ, 48) == "RQ" &&
                NameInField(run.OverrideMd.ReplyToQMgr, 48) == "QM" && run.OverrideMd.MsgType == MQMT_REQUEST &&
                run.OverrideMask == (OVERRIDE_REPLY_QUEUE | OVERRIDE_MSG_TYPE);
       }},
      {{"-At:reply"}, [](const Parameters& run) { return run.OverrideMd.MsgType == MQMT_REPLY; }},
      {{"-c1208:111"},
       [](const Parameters& run) {
         return run.ConvertCcsid == 1208 && run.ConvertEncoding == 0x111 && run.Has(FLAG_CONVERT);
       }},
      {{"-c437"}, [](const Parameters& run) { return run.ConvertCcsid == 437 && run.ConvertEncoding == 546; }},
      {{"-Ca", "-Ct"}, [](const Parameters& run) { return (run.Flags & kContextFlags) == FLAG_CTX_SET_ALL_TIMES; }},
      {{"-D-50"}, [](const Parameters& run) { return run.Delay == -50 && !run.Has(FLAG_DELAY_RELATIVE); }},
      {{"-Dr"}, [](const Parameters& run) { return run.Delay == 100 && run.Has(FLAG_DELAY_RELATIVE); }},
      {{"-Dr50%"}, [](const Parameters& run) { return run.Delay == 50; }},
      {{"-R*:60"}, [](const Parameters& run) { return run.Rate == -1 && run.RateDuration == 60; }},
      {{"-R100"}, [](const Parameters& run) { return run.Rate == 100 && run.RateDuration == 0; }},
      {{"-w-7"}, [](const Parameters& run) { return run.WaitInterval == -1; }},
      {{"-b4"}, [](const Parameters& run) { return run.InitialBufferSize == 4096; }},
  });
  ExpectRefused({
      {{"-Ac1208"}, "':' missing as second character in parameter '-A c1208'\n"},
      {{"-Az:1"}, "Unrecognised 'A' flag 'z'\n"},
      {{"-At:x"}, "Unrecognised -At: parameter 'x'\n"},
      {{"-CAt"}, "The context parameter can only be a single letter\n\n        [-C [A][I][a][i][d][n] Context]\n..."},
      {{"-Cx"}, "I did not understand your context parameter\n\n        [-C ..."},
      {{"-t3000000000"}, "Invalid -t parameter '3000000000'\n"},
      {{"-b3000000"}, "Invalid -b parameter '3000000'\n"},
      {{"-R-5"}, "Invalid -R parameter '-5'\n"},
      {{"-c1208:FFFFFFFFFFFFFFFFFF"}, "Invalid -c parameter '1208:FFFFFFFFFFFFFFFFFF'\n"},
  });
}

TEST(RunOptions, AreStored) {
  ExpectAccepted({
      {{"-OBFIaerT"},
       [](const Parameters& run) {
         const std::uint32_t all = FLAG2_NO_BACKOUT | FLAG2_NO_FORCE_RFH2 | FLAG2_INDIVIDUAL_QUEUES | FLAG2_ASYNC_PUT |
                                   FLAG2_EXCLUSIVE_INPUT | FLAG2_READ_AHEAD | FLAG2_FULL_GET;
         return (run.Flags2 & all) == all;
       }},
      {{"-OS(cfh3)a"}, [](const Parameters& run) { return run.PcfFlags == 0 && run.Has2(FLAG2_ASYNC_PUT); }},
      {{"-OS(ea"}, [](const Parameters& run) { return !run.Has2(FLAG2_EXCLUSIVE_INPUT) && run.Has2(FLAG2_ASYNC_PUT); }},
      {{"-OSae"}, [](const Parameters& run) { return !run.Has2(FLAG2_ASYNC_PUT) && run.Has2(FLAG2_EXCLUSIVE_INPUT); }},
      {{"-vadr"},
       [](const Parameters& run) { return run.Verbose == (VERBOSE_APIS | VERBOSE_DESTINATIONS | VERBOSE_RATE); }},
      {{"-vs10t"},
       [](const Parameters& run) {
         return run.Verbose == VERBOSE_STATUS && run.StatusEveryMsgs == 10 && run.StatusEverySecs == 300;
       }},
      {{"-Vmt"}, [](const Parameters& run) { return run.Debug == (DEBUG_MEMORY | DEBUG_TIME); }},
  });
  ExpectRefused({
      {{"-Oz"}, "I did not understand your options parameter 'z'\n\n        [-O <General Options>]\n..."},
      {{"-vz"}, "Unrecognised verbose option 'z'\n        [-v <Verbose options>]\n..."},
  });
  const Parsed feature = Parse({"-OS(CFH3)"});
  EXPECT_EQ(feature.Output, "CFH3 Processing Active\n");
  EXPECT_EQ(feature.Run->PcfFlags, PCF_CFH3);
  const Parsed machine = Parse({"-Oi"});
  EXPECT_EQ(machine.Outcome.ExitCode, MQRC_OPTIONS_ERROR);
  EXPECT_EQ(machine.Output.rfind("  User Identifier:", 0), 0U);
  EXPECT_EQ(Parse({"-Vv"}).Errors, "64Bit LittleEndian\n");
}
