// Plain files onto queues: how they are cut, what is refused, what of them is left out.

#include "harness.h"

namespace {

using Texts = std::vector<std::string>;

class PlainFiles : public Sandbox {
 protected:
  void SetUp() override { CreateQueueManager("QM1", {"Q1"}); }

  Outcome Load(Texts options, const std::string& file = "in") {
    options.insert(options.begin(), {"-mQM1", "-oQ1", "-f" + file});
    return Tarvo(options);
  }
  // What stands on the queue, which is empty afterwards.
  Texts Taken() {
    Texts texts = Queues("QM1").Texts("Q1");
    EXPECT_EQ(LocalMq({"QM1"}, "CLEAR QLOCAL(Q1)\n").Exit, 0);
    return texts;
  }
};

TEST_F(PlainFiles, AreCutAsTheDelimitersSay) {
  const struct {
    Texts Options;
    std::string File;
    Texts Messages;
    const char* Told = nullptr;  // of a tail that was not taken
  } cases[] = {
      {{"-n!"}, "one\n\ntwo\nlast", {"one", "", "two", "last"}},
      {{"-nis:<msg>", "-n", "e:</msg>"}, "x<msg>a</msg>y\n<msg>b</msg>", {"<msg>a</msg>", "<msg>b</msg>"}},
      {{"-n!"}, "{\"a\": [1,\n2]\n}\n{}\n", {"{\"a\": [1,\n2]\n}", "{}"}},
      {{"-nB"}, "{\n}\n", {"{", "}"}},
      {{"-nBs:{", "-ne:}"}, "{a}{b}", {"a", "b"}},
      {{"-ne:\\13\\10", "-ab"}, "a\nb\r\nc\r\n", {"a\nb", "c"}},
      {{"-n!d:%%"}, "%a%%b%", {"a", "b"}},
      {{"-n1"}, "all\nof\nit\n", {"all\nof\nit\n"}},
      {{"-ns:<m>", "-ne:</m>"},
       "<m>a</m>\n\n<m>lost",
       {"a"},
       "7 bytes at the end of file 'in', from line 3 on, not taken: no end of message found\n"},
      {{"-n!"},
       "a\n{\n",
       {"a"},
       "2 bytes at the end of file 'in', from line 2 on, not taken: no end of message found\n"},
      {{"-ne:;"}, "a;b;\n\n", {"a", "b"}},
  };
  for (const auto& c : cases) {
    WriteText("in", c.File);
    Texts options = c.Options;
    options.emplace_back("-Cd");
    const auto outcome = Load(options);
    EXPECT_EQ(outcome.Exit, c.Told != nullptr ? ExitStatus(MQRC_FILE_SYSTEM_ERROR) : 0) << c.File << outcome.Err;
    EXPECT_EQ(Taken(), c.Messages) << c.File;
    EXPECT_EQ(outcome.Err.find("not taken") != std::string::npos, c.Told != nullptr) << outcome.Err;
    if (c.Told == nullptr) continue;
    EXPECT_NE(outcome.Err.find(c.Told), std::string::npos) << outcome.Err;
    options.emplace_back("-q");
    EXPECT_EQ(Load(options).Err, c.Told);
    EXPECT_EQ(Taken(), c.Messages);
  }
}

TEST_F(PlainFiles, RefusalsPutNothing) {
  WriteText("in", "a\nb\n");
  const int kOptions = ExitStatus(MQRC_OPTIONS_ERROR);
  const int kDelimiters = ExitStatus(MQRCCF_PARM_VALUE_ERROR);
  const std::string context = "A non-TARVO file should be loaded with either DEFAULT or NO context.\n";
  const struct {
    Texts Options;
    int Exit;
    std::string Text;
  } cases[] = {
      {{"-n!"}, kDelimiters, context},
      {{"-n!", "-CA"}, kDelimiters, context},
      {{"-nx", "-Cd"}, kOptions, "Unrecognised -nx parameter.\n\n"},
      {{"-nie", "-Cd"}, kOptions, "Expected ':' after parameter -nie\n"},
      {{"-nd:abc", "-Cd"}, kOptions, "Message delimiter parameter must be even in length.\n"},
      {{"-ns:", "-Cd"}, kOptions, "Start message delimiter must be between 1 and 99 characters in length.\n"},
      {{"-ne:a", "-ne:b", "-Cd"}, kOptions, "End message delimiter only be specified once.\n"},
      {{"-ne:\\256", "-Cd"}, kDelimiters, "Message delimiter character code must be between 0 and 255.\n"},
      {{"-ne:\\x", "-Cd"}, kDelimiters, "Unrecognised Message delimiter character code.\n"},
      {{"-nd:%%", "-Cd"}, kDelimiters, "Message delimiters are the same.\n"},
      {{"-n1", "-ne:x", "-Cn"}, kDelimiters, "Reading entire file does not require message delimiters.\n"},
      {{"-np:x", "-Cd"}, kDelimiters, "Can't use single line Message delimiters with a Property delimiter.\n"},
      {{"-ns:(", "-ne:]", "-Cd"}, kDelimiters, "Unmatched delimiter ')' bracket.\n"},
      {{"-nis:a", "-nne:b", "-Cd"},
       kDelimiters,
       "You can not specify both 'include' and 'dont include' message/property delimiters.\n"},
  };
  for (const auto& c : cases) {
    const auto outcome = Load(c.Options);
    EXPECT_EQ(outcome.Exit, c.Exit) << c.Text << outcome.Err;
    EXPECT_NE(outcome.Err.find(c.Text), std::string::npos) << c.Text << outcome.Err;
    EXPECT_EQ(Taken(), Texts{}) << c.Text;
  }
}

TEST_F(PlainFiles, PropertiesGoInFrontOfTheirMessageAsAHeader) {
  WriteText("in", "P:  <usr>\n  <a>1</a>\n</usr>  :Q<m>data</m> <m>bare</m>");
  const Texts options = {"-ns:<m>", "-ne:</m>", "-np:P:", "-nq::Q"};
  Texts onto = options;
  onto.emplace_back("-Cd");
  ASSERT_EQ(Load(onto).Exit, 0);
  const auto put = Queues("QM1").Browse("Q1");
  ASSERT_EQ(put.size(), 2U);
  EXPECT_EQ(put[1].Data, "bare");
  Texts into = {"-fin", "-Fheader", "-drNH", "-Cd", "-r1"};
  into.insert(into.end(), options.begin(), options.end());
  ASSERT_EQ(Tarvo(into).Exit, 0);
  const std::string message = ReadText("header");
  EXPECT_EQ(message.substr(0, 4), "RFH ");
  EXPECT_NE(message.find("<usr><a>1</a></usr> data"), std::string::npos) << message;
}

TEST_F(PlainFiles, CommittedMessagesStayWhenAPropertyBlockHasNoEnd) {
  WriteText("in", "<m>1</m><m>2</m><m>3</m>P:<m>4</m>");
  const auto outcome = Load({"-ns:<m>", "-ne:</m>", "-np:P:", "-nq::Q", "-Cd", "-t2"});
  EXPECT_EQ(outcome.Exit, ExitStatus(MQRC_FILE_SYSTEM_ERROR));
  EXPECT_NE(outcome.Err.find("Missing end property delimiter ':Q' .\n"), std::string::npos) << outcome.Err;
  EXPECT_EQ(Taken(), (Texts{"1", "2"}));
}

TEST_F(PlainFiles, SetsAreReadThroughAndTheirFilesCounted) {
  WriteText("in1", "a\nb");
  WriteText("in2", "");
  WriteText("in3", "c\n");
  const auto outcome = Load({"-n!", "-Cd"}, "in%n");
  EXPECT_NE(outcome.Err.find("Read    - Files:   3  Messages:      3  Bytes:           3\n"), std::string::npos)
      << outcome.Err;
  EXPECT_EQ(Taken(), (Texts{"a", "b", "c"}));
  ASSERT_EQ(Load({"-n1", "-Cd"}, "in%n").Exit, 0);
  EXPECT_EQ(Taken(), (Texts{"a\nb", "", "c\n"}));
}

TEST_F(PlainFiles, AMessageMayBeLongerThanEveryBlock) {
  std::string big(3'000'000, 'x');
  for (std::size_t i = 0; i < big.size(); i += 1000) big[i] = i % 2000 == 0 ? '[' : ']';
  WriteText("in", big + "\nsmall\n");
  ASSERT_EQ(Load({"-n!", "-Cd"}).Exit, 0);
  EXPECT_EQ(Taken(), (Texts{big, "small"}));
}

}  // namespace
