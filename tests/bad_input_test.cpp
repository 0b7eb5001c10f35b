// Message files that are broken, outputs that cannot be written: each ends with its text and its code, and loses
// nothing.

#include <algorithm>

#include "harness.h"

namespace {

const int kFileError = ExitStatus(MQRC_FILE_SYSTEM_ERROR);

class BadInput : public Sandbox {
 protected:
  void SetUp() override { CreateQueueManager("QM1", {"Q1", "Q2"}); }
};

TEST_F(BadInput, BrokenMessageFilesNameTheLineAndPutNothing) {
  const std::string good = "* TARVO Version:9.1.1\n\nA FMT MQSTR   \nS \"first\"\n\n";
  const struct {
    const char* Name;
    std::string Content;
    const char* Text;
  } cases[] = {
      {"no mark", "hello\n", "File 'bad.tvo' does not appear to be a TARVO file\n"},
      {"blank before the mark", " * TARVO\n", "File 'bad.tvo' does not appear to be a TARVO file\n"},
      {"data without descriptor", "* TARVO\n\nX 00\n", "Expected message attribute at line  3 of file 'bad.tvo'\n"},
      {"descriptor without data", good + "A PRI 4\n\n", "Expected message at line 7 of file 'bad.tvo'\n"},
      {"short attribute", good + "A PR\n", "Invalid attribute line on line 6 of file 'bad.tvo'\n"},
      {"unknown attribute", good + "A ZZZ 1\n", "Unrecognised attribute on line 6 of file 'bad.tvo'\n"},
      {"half a byte", good + "A PRI 4\nX 0A0\n", "Badly formed HEX string on line 7 of file 'bad.tvo'\n"},
      {"bad digit", good + "A MSI 0G\n", "Badly formed HEX string on line 6 of file 'bad.tvo'\n"},
      {"lone tilde", good + "A PRI 4\nS \"a~b\"\n", "Unexpected escape sequence on line 7 of file 'bad.tvo'\n"},
      {"no number", good + "A PRI high\nX 00\n", "Invalid number on line 6 of file 'bad.tvo'\n"},
      {"text behind a number", good + "A PRI 4 \"x\"\nX 00\n", "Invalid number on line 6 of file 'bad.tvo'\n"},
      {"text behind a string", good + "A PRI 4\nS \"a\"b\"\n",
       "Unexpected text behind the closing \" symbol on line 7 of file 'bad.tvo'\n"},
      {"open string", good + "A PRI 4\nS \"abc\n",
       "Invalid string line - no terminating \" symbol on line 7 of file 'bad.tvo'\n"},
  };
  for (const auto& c : cases) {
    WriteText("bad.tvo", c.Content);
    const auto outcome = Tarvo({"-mQM1", "-fbad.tvo", "-oQ1"});
    EXPECT_EQ(outcome.Exit, kFileError) << c.Name;
    EXPECT_NE(outcome.Err.find(c.Text), std::string::npos) << c.Name << ": " << outcome.Err;
    EXPECT_EQ(Queues("QM1").Depth("Q1"), 0) << c.Name;
  }
  WriteText("bad.tvo", good + "A PRI\n");
  const auto first = Tarvo({"-mQM1", "-fbad.tvo", "-oQ1", "-t1"});
  EXPECT_EQ(first.Exit, kFileError);
  EXPECT_EQ(Queues("QM1").Texts("Q1"), std::vector<std::string>{"first"});
  EXPECT_NE(first.Err.find("Operation rolled back, completed operations as follows:\n"), std::string::npos);
}

TEST_F(BadInput, EmptyFilesAreNoErrorAndMissingOnesAre) {
  for (const char* content : {"", "\n\n  \n", "* TARVO\n", "* KORVANEL x\n\n"}) {
    WriteText("empty.tvo", content);
    const auto outcome = Tarvo({"-mQM1", "-fempty.tvo", "-oQ1"});
    EXPECT_EQ(outcome.Exit, 0) << outcome.Err;
    EXPECT_NE(outcome.Err.find("Messages:      0"), std::string::npos);
  }
  const auto missing = Tarvo({"-mQM1", "-fnone.tvo", "-oQ1"});
  EXPECT_EQ(missing.Exit, kFileError);
  EXPECT_NE(missing.Err.find("Can not open input file 'none.tvo': "), std::string::npos);
  WriteText("good", "precious");
  EXPECT_NE(Tarvo({"-fnone.tvo", "-Fgood"}).Err.find("Can not open input file 'none.tvo'"), std::string::npos);
  EXPECT_EQ(ReadText("good"), "precious");
  const auto folder = Tarvo({"-mQM1", "-fhome", "-oQ1"});
  EXPECT_EQ(folder.Exit, kFileError);
  EXPECT_NE(folder.Err.find("Can not open input file 'home': "), std::string::npos) << folder.Err;
}

TEST_F(BadInput, AFileThatEndsInsideALinePutsTheWholeMessagesBeforeIt) {
  const std::vector<std::string> all = {"a message of some length", "the last, \"quoted\" message"};
  Queues queues("QM1");
  for (const std::string& text : all) queues.PutText("Q1", text);
  for (const char* layout : {"-dA", "-da", "-dp", "-dt"}) {
    ASSERT_EQ(Tarvo({"-q", "-mQM1", "-iQ1", "-Fwhole.tvo", layout}).Exit, 0);
    const std::string whole = ReadText("whole.tvo");
    std::vector<std::size_t> ends = {0};  // of the messages: the empty lines behind the one that ends the header
    for (std::size_t at = whole.find("\n\n") + 2; (at = whole.find("\n\n", at)) != std::string::npos;) {
      ends.push_back(at += 2);
    }
    ASSERT_EQ(ends.size(), 3U);
    for (std::size_t cut = 1; cut < whole.size(); cut += 97) {
      if (whole[cut - 1] == '\n') ++cut;
      WriteText("cut.tvo", whole.substr(0, cut));
      const std::size_t before = cut < ends[1] ? 0 : 1;
      const auto outcome = Tarvo({"-q", "-mQM1", "-fcut.tvo", "-oQ2"});
      EXPECT_EQ(outcome.Exit, kFileError) << layout << cut << outcome.Err;
      EXPECT_EQ(queues.Depth("Q2"), static_cast<int>(before)) << layout << cut;
      const bool noMark = cut < std::string_view("* TARVO").size();
      const std::string place = "end at byte " + std::to_string(ends[before]) + ", nothing behind is taken\n";
      EXPECT_NE(outcome.Err.find(noMark ? "does not appear" : place), std::string::npos) << outcome.Err;
      ASSERT_EQ(LocalMq({"QM1"}, "CLEAR QLOCAL(Q2)\n").Exit, 0);
    }
  }
}

TEST_F(BadInput, EveryFileOfASetIsReadToItsEndByItsOwnKind) {
  const std::string dump =
      "AMQSBCG0\n****Message descriptor****\n  Priority : 1\n****\n length - 1 of 1\n0: 41\n MQDISC\n";
  const std::string mark = "* TARVO\n", files[] = {"",
                                                   " \n\n\t",
                                                   mark + "N\nS \"B\"\n\nN\nS \"lost",
                                                   dump,
                                                   mark,
                                                   "\n" + mark + "N\nS \"C\"\n\n",
                                                   "N\nS \"D\"\n\n"};
  int number = 0;
  for (const std::string& content : files) WriteText("in" + std::to_string(++number), content);
  const auto outcome = Tarvo({"-mQM1", "-fin%n", "-oQ1"});
  EXPECT_EQ(outcome.Exit, kFileError) << outcome.Err;
  EXPECT_NE(outcome.Err.find("File 'in3' has been cut off inside line 6: its whole messages end at byte 17,"),
            std::string::npos)
      << outcome.Err;
  EXPECT_NE(outcome.Err.find("Read    - Files:   7  Messages:      4"), std::string::npos) << outcome.Err;
  EXPECT_EQ(outcome.Err.find("rolled back"), std::string::npos) << outcome.Err;
  std::vector<std::string> texts = Queues("QM1").Texts("Q1");
  std::sort(texts.begin(), texts.end());
  EXPECT_EQ(texts, (std::vector<std::string>{"A", "B", "C", "D"}));
}

TEST_F(BadInput, ExistingFilesAreKeptUnlessForced) {
  Queues("QM1").PutText("Q1", "new");
  WriteText("out", "precious");
  const auto refused = Tarvo({"-mQM1", "-iQ1", "-fout"});
  EXPECT_EQ(refused.Exit, kFileError);
  EXPECT_NE(refused.Err.find("File 'out' already exists.\n"), std::string::npos) << refused.Err;
  EXPECT_EQ(ReadText("out"), "precious");
  EXPECT_EQ(Tarvo({"-mQM1", "-iQ1", "-fout", "-aa"}).Exit, 0);
  EXPECT_EQ(ReadText("out").substr(0, 8), "precious");
  EXPECT_NE(ReadText("out").find("A RPT"), std::string::npos);
  EXPECT_EQ(Tarvo({"-mQM1", "-iQ1", "-Fout"}).Exit, 0);
  EXPECT_EQ(ReadText("out").substr(0, 7), "* TARVO");
}

TEST_F(BadInput, TheFileBeingReadIsNeverTheOutput) {
  Queues("QM1").PutText("Q1", "kept");
  ASSERT_EQ(Tarvo({"-mQM1", "-iQ1", "-Ffile.tvo"}).Exit, 0);
  const std::string before = ReadText("file.tvo");
  std::filesystem::create_hard_link(Path("file.tvo"), Path("link.tvo"));
  for (const char* name : {"file.tvo", "./file.tvo", "home/../file.tvo", "link.tvo"}) {
    for (const char* mode : {"-aa", "-ab"}) {
      const auto outcome = Tarvo({"-ffile.tvo", std::string("-F") + name, mode});
      EXPECT_EQ(outcome.Exit, kFileError) << name;
      EXPECT_EQ(ReadText("file.tvo"), before) << name;
    }
  }
}

TEST_F(BadInput, AQueueThatFillsUpBacksTheUnitOut) {
  ASSERT_EQ(LocalMq({"QM1"}, "ALTER QLOCAL(Q2) MAXDEPTH(25)\n").Exit, 0);
  Queues queues("QM1");
  queues.PutNumbered("Q1", 100);
  const auto outcome = Tarvo({"-mQM1", "-IQ1", "-oQ2", "-t10"});
  EXPECT_EQ(outcome.Exit, ExitStatus(MQRC_Q_FULL));
  EXPECT_NE(outcome.Err.find("MQPUT(Q2) failed RC(2053) "), std::string::npos) << outcome.Err;
  EXPECT_NE(outcome.Err.find("\nOperation rolled back, completed operations as follows:\n"
                             "Read    - Files:   0  Messages:     20  "),
            std::string::npos)
      << outcome.Err;
  EXPECT_EQ(queues.Depth("Q1"), 80);
  EXPECT_EQ(queues.Depth("Q2"), 20);
}

TEST_F(BadInput, AQueueOntoItselfIsRefused) {
  ASSERT_EQ(LocalMq({"QM1"}, "DEFINE QALIAS(A1) TARGQ(Q1)\n").Exit, 0);
  Queues queues("QM1");
  queues.PutNumbered("Q1", 3);
  const std::vector<std::string> cases[] = {{"-iQ1", "-oQ1"},
                                            {"-IQ1", "-oQ1"},
                                            {"-IQ1", "-oQM1/Q1"},
                                            {"-iQ1", "-oQ2", "-oQ1"},
                                            {"-iQ1", "-oA1"},
                                            {"-IA1", "-oQ1", "-r2.."},
                                            {"-iQ1", "-oQ2", "-oA1", "-OI"},
                                            {"-iQ1", "-oQ2", "-oA1"}};
  for (std::vector<std::string> arguments : cases) {
    arguments.emplace_back("-mQM1");
    const auto outcome = Tarvo(arguments);
    EXPECT_EQ(outcome.Exit, ExitStatus(MQRC_OPTIONS_ERROR));
    EXPECT_NE(outcome.Err.find(arguments[0].substr(2) + "' onto itself would never end, specify a range end\n"),
              std::string::npos)
        << outcome.Err;
    EXPECT_EQ(queues.Depth("Q1"), 3);
  }
  EXPECT_EQ(Tarvo({"-mQM1", "-iQ1", "-oQ1", "-r1..2"}).Exit, 0);
  EXPECT_EQ(Tarvo({"-mQM1", "-iQ1", "-oA1", "-r1"}).Exit, 0);
  EXPECT_EQ(queues.Depth("Q1"), 6);
}

}  // namespace
