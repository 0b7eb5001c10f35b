// Many destinations for every message: distribution lists, queues put to one by one, and files of destinations.

#include <algorithm>

#include "harness.h"

namespace {

class ManyDestinations : public Sandbox {
 protected:
  void SetUp() override {
    CreateQueueManager("QM1", {"IN", "A", "B", "C"},
                       "DEFINE QALIAS(ALIAS) TARGET(B)\nDEFINE QREMOTE(AWAY) RNAME(X) RQMNAME(NOWHERE)\n");
  }

  void Fill(int count) {
    ASSERT_EQ(LocalMq({"QM1"}, "CLEAR QLOCAL(IN)\nCLEAR QLOCAL(A)\nCLEAR QLOCAL(B)\nCLEAR QLOCAL(C)\n").Exit, 0);
    Queues("QM1").PutNumbered("IN", count, "m");
  }
  std::vector<int> Depths() {
    Queues queues("QM1");
    return {queues.Depth("A"), queues.Depth("B"), queues.Depth("C"), queues.Depth("IN")};
  }
};

using Arguments = std::vector<std::string>;

TEST_F(ManyDestinations, AllGetEveryMessage) {
  for (const char* form : {"-t2", "-t0", "-OI"}) {
    SCOPED_TRACE(form);
    Fill(5);
    const auto outcome = Tarvo({"-mQM1", "-IIN", "-oA", "-oQM1/ALIAS", "-oC", form, "-vd"});
    EXPECT_EQ(outcome.Exit, 0) << outcome.Err;
    EXPECT_EQ(Depths(), (std::vector<int>{5, 5, 5, 0}));
    EXPECT_NE(outcome.Err.find("Output Destinations : A\n                    : QM1/ALIAS\n"
                               "                    : C\n\n"),
              std::string::npos)
        << outcome.Err;
    EXPECT_NE(outcome.Err.find("Written - Files:   0  Messages:     15  Bytes:          30\n"), std::string::npos)
        << outcome.Err;
  }
}

TEST_F(ManyDestinations, EveryOneThatCannotBeOpenedIsNamed) {
  const struct {
    Arguments Destinations;
    std::vector<std::string> Lines;  // on standard error
    MQLONG Reason;
  } cases[] = {
      {{"-oA", "-oNONE", "-oC", "-oAWAY"},
       {"MQOPEN on object 'QM1/NONE' returned 2085 Unknown object name.",
        "MQOPEN on object 'QM1/AWAY' returned 2087 Unknown remote queue manager."},
       MQRC_UNKNOWN_REMOTE_Q_MGR},
      {{"-oNOWHERE/Q", "-oA", "-oNONE"},
       {"MQOPEN on object 'QM1/NOWHERE/Q' returned 2087 Unknown remote queue manager.",
        "MQOPEN on object 'QM1/NONE' returned 2085 Unknown object name."},
       MQRC_UNKNOWN_OBJECT_NAME},
  };
  for (const auto& c : cases) {
    for (const char* form : {"-t200", "-OI"}) {
      Fill(2);
      const auto outcome = Tarvo(Joined({"-mQM1", "-IIN", form}, c.Destinations));
      EXPECT_EQ(outcome.Exit, ExitStatus(c.Reason)) << outcome.Err;
      for (const auto& line : c.Lines) EXPECT_EQ(Occurrences(outcome.Err, line + "\n"), 1) << outcome.Err;
      EXPECT_EQ(Occurrences(outcome.Err, "MQOPEN on"), 2) << outcome.Err;
      EXPECT_EQ(Depths(), (std::vector<int>{0, 0, 0, 2}));
    }
  }
}

TEST_F(ManyDestinations, OneThatFailsLaterFailsTheMessage) {
  ASSERT_EQ(LocalMq({"QM1"}, "ALTER QLOCAL(B) MAXDEPTH(3)\n").Exit, 0);
  const struct {
    Arguments Options;
    std::vector<int> Depths;  // of A, B, C, IN
    const char* Written;
    const char* Completed;  // the second report, of what was committed
  } cases[] = {
      // The unit of the fourth message is backed out everywhere.
      {{"-t2"}, {2, 2, 2, 3}, "Messages:      9  Bytes:          18", "Messages:      6  Bytes:          12"},
      {{"-t2", "-OI"}, {2, 2, 2, 3}, "Messages:      9  Bytes:          18", "Messages:      6  Bytes:          12"},
      // Without units of work the others keep it, and it counts for them.
      {{"-t0"}, {4, 3, 4, 1}, "Messages:     11  Bytes:          22", nullptr},
      {{"-t0", "-OI"}, {4, 3, 4, 1}, "Messages:     11  Bytes:          22", nullptr},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.Options.front() + " " + c.Options.back());
    Fill(5);
    const auto outcome = Tarvo(Joined({"-mQM1", "-IIN", "-oA", "-oB", "-oC"}, c.Options));
    EXPECT_EQ(outcome.Exit, ExitStatus(MQRC_Q_FULL)) << outcome.Err;
    EXPECT_EQ(Occurrences(outcome.Err, "MQPUT(B) failed RC(2053) Queue full"), 1) << outcome.Err;
    EXPECT_EQ(Depths(), c.Depths);
    EXPECT_NE(outcome.Err.find(std::string("Written - Files:   0  ") + c.Written), std::string::npos) << outcome.Err;
    EXPECT_EQ(Occurrences(outcome.Err, "Operation rolled back"), c.Completed != nullptr ? 1 : 0);
    EXPECT_TRUE(c.Completed == nullptr || Occurrences(outcome.Err, c.Completed) == 1) << outcome.Err;
  }
}

TEST_F(ManyDestinations, TheFirstOfSeveralFailuresIsTheOneThatIsTold) {
  ASSERT_EQ(LocalMq({"QM1"}, "ALTER QLOCAL(B) PUT(DISABLED)\nALTER QLOCAL(C) MAXDEPTH(1)\n").Exit, 0);
  for (const char* form : {"-Or", "-OI"}) {
    Fill(2);
    const auto outcome = Tarvo({"-mQM1", "-iIN", "-oA", "-oQM1/B", "-oC", "-t0", form});
    EXPECT_EQ(outcome.Exit, ExitStatus(MQRC_PUT_INHIBITED)) << outcome.Err;
    EXPECT_EQ(Occurrences(outcome.Err, "MQPUT("), 1) << outcome.Err;
    EXPECT_EQ(Occurrences(outcome.Err, "MQPUT(QM1/B) failed RC(2051) Put inhibited\n"), 1) << outcome.Err;
    EXPECT_EQ(Depths(), (std::vector<int>{1, 0, 1, 2}));
  }
}

TEST_F(ManyDestinations, AreReadFromFiles) {
  std::filesystem::create_directory(Path("sub"));
  WriteText("list.txt", "* a comment\n\n  QM1/A  \r\nFILE: sub/more.txt\n");
  // A long line is taken in pieces of 499 characters: behind a full piece of blanks stands one more name.
  WriteText("sub/more.txt", "\tB\n*file:none.txt\n" + std::string(499, ' ') + "C\nfile:../empty.txt");
  WriteText("empty.txt", "* nothing yet\n");
  Fill(3);
  const auto copied = Tarvo({"-mQM1", "-iIN", "-ofile:list.txt", "-vd"});
  EXPECT_EQ(copied.Exit, 0) << copied.Err;
  EXPECT_EQ(
      Occurrences(copied.Err, "Output Destinations : QM1/A\n                    : B\n                    : C\n\n"), 1)
      << copied.Err;
  EXPECT_EQ(Depths(), (std::vector<int>{3, 3, 3, 3}));
  // The same file names the inputs, and one that names a single queue is a list of one.
  WriteText("inputs.txt", "A\nB\nC\n");
  WriteText("one.txt", "IN");
  const auto back = Tarvo({"-mQM1", "-Ifile:inputs.txt", "-ofile:one.txt", "-vd"});
  EXPECT_EQ(back.Exit, 0) << back.Err;
  EXPECT_EQ(Occurrences(back.Err, "Output Destination : IN\n\n"), 1) << back.Err;
  EXPECT_EQ(Depths(), (std::vector<int>{0, 0, 0, 12}));
}

TEST_F(ManyDestinations, FilesThatCannotServeStopTheRun) {
  WriteText("a.txt", "A\n* \nfile:b.txt\n");
  WriteText("b.txt", "file:./a.txt\n");
  WriteText("comment.txt", "* A\n");
  WriteText("long.txt", "A\nB\n" + std::string(49, 'Q') + "\n");
  const struct {
    const char* Option;
    std::string Shown;
  } cases[] = {
      {"-ofile:a.txt",
       "Recursive use of file './a.txt'.\n  File 'a.txt' includes file 'b.txt' on line 3.\n"
       "  File 'b.txt' includes file './a.txt' on line 1.\n"},
      {"-ofile:none.txt", "Can not open file 'none.txt'. No such file or directory\n"},
      {"-Ifile:none.txt", "Can not open file 'none.txt'. No such file or directory\n"},
      {"-ofile:comment.txt", "There are no destinations in file 'comment.txt'.\n"},
      {"-ofile:long.txt", "The Queue name '" + std::string(49, 'Q') + "' is too long.\n"},
      {"-oQM1/", "The Queue name part of destination 'QM1/' is missing.\n"},
  };
  Fill(1);
  for (const auto& c : cases) {
    SCOPED_TRACE(c.Option);
    const auto outcome = Tarvo({"-mQM1", "-IIN", "-oA", c.Option});
    EXPECT_EQ(outcome.Exit, ExitStatus(MQRC_OPTIONS_ERROR)) << outcome.Err;
    EXPECT_NE(outcome.Err.find(c.Shown), std::string::npos) << outcome.Err;
  }
  EXPECT_EQ(Depths(), (std::vector<int>{0, 0, 0, 1}));
}

// Two seconds where the cost is linear.
TEST_F(ManyDestinations, TenThousandOfThem) {
  constexpr int kMany = 10000;
  std::string names;
  std::string commands;
  for (int i = 1; i <= kMany; ++i) {
    names += "MANY." + std::to_string(i) + "\n";
    commands += "DEFINE QLOCAL(MANY." + std::to_string(i) + ")\n";
  }
  WriteText("many.txt", names);
  ASSERT_EQ(LocalMq({"QM1"}, commands).Exit, 0);
  Fill(2);
  for (const char* form : {"-Or", "-OI"}) {
    const auto outcome = Tarvo({"-mQM1", "-iIN", "-ofile:many.txt", form});
    EXPECT_EQ(outcome.Exit, 0) << outcome.Err;
    EXPECT_NE(outcome.Err.find("Messages: 20,000"), std::string::npos) << outcome.Err;
  }
  EXPECT_EQ(Queues("QM1").Depth("MANY.1"), 4);
  EXPECT_EQ(Queues("QM1").Depth("MANY.10000"), 4);
}

}  // namespace
