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

std::string_view Queue(const QueueList& list, std::size_t index) {
  return NameInField(list.Entries[index].ObjectName, sizeof(MQCHAR48));
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
      {{"-iQ1", "--"}, [](const Parameters& run) { return Queue(*run.InputList, 0) == "Q1"; }},
      {{"-m:QM1"}, [](const Parameters& run) { return run.QMgrs[0].QMgrName == "QM1"; }},
      {{"-m", ":QM1"}, [](const Parameters& run) { return run.QMgrs[0].QMgrName == "QM1"; }},
      {{"-m::QM1"}, [](const Parameters& run) { return run.QMgrs[0].QMgrName == ":QM1"; }},
      {{"-qp"}, [](const Parameters& run) { return run.Has(FLAG_QUIET) && run.Has(FLAG_PURGE) && run.Screen.Quiet; }},
      {{"-pq"}, [](const Parameters& run) { return run.Has(FLAG_QUIET) && run.Has(FLAG_PURGE); }},
      {{"-hpiQ1"}, [](const Parameters& run) { return run.Has(FLAG_STRIP_HEADERS) && run.HasInputQueues(); }},
      {{"-t", "-1"}, [](const Parameters& run) { return run.TransactionLimit == -1; }},
      {{"-$+", "-oQM+A/B"},
       [](const Parameters& run) { return run.OutputQMgrName == "QM" && run.OutputQueueName == "A/B"; }},
      {{"-A:c:1208"}, [](const Parameters& run) { return run.OverrideMd.CodedCharSetId == 1208; }},
  });
}

TEST(Scanner, KnowsASlashByTheSystem) {
  EXPECT_TRUE(Parse({"/iQ1"}, PathStyle::Windows)->HasInputQueues());
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
    EXPECT_EQ(parsed->RangeStart, one.Start);
    EXPECT_EQ(parsed->RangeEnd, one.End);
    EXPECT_TRUE(parsed->Has(FLAG_SELECTING));
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
  EXPECT_STREQ(parsed->QMgrs[0].UserId, "usr");
  EXPECT_STREQ(parsed->QMgrs[1].LibraryName, "mqm");
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
      {{"-f" + std::string(256, 'x')},
       [](const Parameters& run) { return run.InputFileName == std::string(255, 'x'); }},
      {{"-dAC", "-dMw40T"},
       [](const Parameters& run) {
         return run.DataWidth == 40 && run.Has(FLAG_ASCII_LINES) && run.Has(FLAG_SHOW_CORRELID) &&
                run.Has(FLAG_SHOW_MSGID) && run.Has(FLAG_SHOW_TIME_ON_QUEUE);
       }},
      {{"-s" + std::string(99, 'x')}, [](const Parameters& run) { return run.AsciiSearch[0].Length == 99; }},
      {{"-ea~", "-e\x80"},
       [](const Parameters& run) {
         return Bytes(run.EbcdicSearch[0]) == "\x81\xA1" && Bytes(run.EbcdicSearch[1]) == "\x4B";
       }},
      {{"-gg" + std::string(30, 'g')},
       [](const Parameters& run) { return Bytes(run.SelGroupId) == std::string(24, 'g'); }},
      {{"-gxg" + std::string(60, '4')},
       [](const Parameters& run) { return Bytes(run.SelGroupId) == std::string(24, 'D'); }},
      {{"-At:reply"}, [](const Parameters& run) { return run.OverrideMd.MsgType == MQMT_REPLY; }},
      {{"-c1208:111"},
       [](const Parameters& run) {
         return run.ConvertCcsid == 1208 && run.ConvertEncoding == 0x111 && run.Has(FLAG_CONVERT);
       }},
      {{"-c437"}, [](const Parameters& run) { return run.ConvertCcsid == 437 && run.ConvertEncoding == 546; }},
      {{"-Ca", "-Ct"}, [](const Parameters& run) { return (run.Flags & kContextFlags) == FLAG_CTX_SET_ALL_TIMES; }},
      {{"-Dr"}, [](const Parameters& run) { return run.Delay == 100 && run.Has(FLAG_DELAY_RELATIVE); }},
      {{"-Dr50%"}, [](const Parameters& run) { return run.Delay == 50; }},
      {{"-R*:60"}, [](const Parameters& run) { return run.Rate == -1 && run.RateDuration == 60; }},
      {{"-w-7"}, [](const Parameters& run) { return run.WaitInterval == -1; }},
      {{"-b4"}, [](const Parameters& run) { return run.InitialBufferSize == 4096; }},
      {{"-OBFIaerT"},
       [](const Parameters& run) {
         const std::uint32_t all = FLAG2_NO_BACKOUT | FLAG2_NO_FORCE_RFH2 | FLAG2_INDIVIDUAL_QUEUES | FLAG2_ASYNC_PUT |
                                   FLAG2_EXCLUSIVE_INPUT | FLAG2_READ_AHEAD | FLAG2_FULL_GET;
         return (run.Flags2 & all) == all;
       }},
      {{"-OS(cfh3)a"}, [](const Parameters& run) { return run.PcfFlags == 0 && run.Has2(FLAG2_ASYNC_PUT); }},
      {{"-OS(ea"}, [](const Parameters& run) { return !run.Has2(FLAG2_EXCLUSIVE_INPUT) && run.Has2(FLAG2_ASYNC_PUT); }},
      {{"-OSae"}, [](const Parameters& run) { return !run.Has2(FLAG2_ASYNC_PUT) && run.Has2(FLAG2_EXCLUSIVE_INPUT); }},
      {{"-OS(CFH3)"}, [](const Parameters& run) { return run.PcfFlags == PCF_CFH3; }},
      {{"-vs10t"},
       [](const Parameters& run) {
         return run.Verbose == VERBOSE_STATUS && run.StatusEveryMsgs == 10 && run.StatusEverySecs == 300;
       }},
      {{"-Vmt"}, [](const Parameters& run) { return run.Debug == (DEBUG_MEMORY | DEBUG_TIME); }},
  });
  EXPECT_EQ(Parse({"-Vv"}).Errors, "64Bit LittleEndian\n");
}
