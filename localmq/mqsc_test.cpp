#include "localmq/mqsc.h"

#include <sstream>

#include "localmq/test_support.h"

namespace localmq {
namespace {

class Mqsc : public QueueManagerTest {
 protected:
  void SetUp() override {
    QueueManagerTest::SetUp();
    for (const char* name : {"Q1", "Q2"}) ASSERT_EQ(Admin->DeleteQueue(name, false), MQRC_NONE);
  }

  std::string Run(const std::string& commands, bool echo = false) {
    std::istringstream input(commands);
    std::ostringstream output;
    totals_ = RunMqsc(*Admin, input, output, echo);
    return output.str();
  }
  // Runs commands that must all succeed.
  std::string RunWell(const std::string& commands) {
    const std::string output = Run(commands);
    EXPECT_EQ(totals_.SyntaxErrors + totals_.Failures, 0) << output;
    return output;
  }
  QueueAttributes Find(const std::string& name) {
    Queue queue;
    EXPECT_EQ(Admin->FindQueue(name, queue), MQRC_NONE) << name;
    return queue.Attributes;
  }
  bool Exists(const std::string& name) {
    Queue queue;
    return Admin->FindQueue(name, queue) == MQRC_NONE;
  }

  MqscTotals totals_;
};

TEST_F(Mqsc, DefinesWhatItIsTold) {
  RunWell(
      "* A comment, then a command over three lines, with a comment and an empty line between.\n"
      "define qlocal(q1) descr('it''s; +') +\r\n"
      "*\n\n"
      "   maxdepth ( 12 ) MAXMSGL(2147483647),BOTHRESH(3) BOQNAME('Back.Q') NOSHARE -\n"
      " DEFSOPT(EXCL) USAGE(XMITQ) PUT(DISABLED) GET(DISABLED) DEFPRTY(9) DEFPSIST(YES)\n"
      "DEF QA('alias') TARGQ(Q1); DEF QR(R) RNAME('r') RQMNAME(QM7)\n"
      "DEF QM(MODEL) DEFTYPE(PERMDYN)\n"
      "DEF QL(LONG.-\nNAME)\n"
      "DEF QL(COPY) LIKE(Q1) DESCR('')");
  QueueAttributes expected;
  expected.Name = "Q1";
  expected.Description = "it's; +";
  expected.MaxDepth = 12;
  expected.MaxMsgLength = 2147483647;
  expected.BackoutThreshold = 3;
  expected.BackoutRequeueName = "Back.Q";
  expected.Shareability = MQQA_NOT_SHAREABLE;
  expected.DefInputOpenOption = MQOO_INPUT_EXCLUSIVE;
  expected.Usage = 1;
  expected.InhibitPut = MQQA_PUT_INHIBITED;
  expected.InhibitGet = MQQA_GET_INHIBITED;
  expected.DefPriority = 9;
  expected.DefPersistence = MQPER_PERSISTENT;
  EXPECT_EQ(Find("Q1"), expected);
  expected.Name = "COPY";
  expected.Description = "";
  EXPECT_EQ(Find("COPY"), expected);
  EXPECT_EQ(Find("alias").BaseName, "Q1");
  EXPECT_EQ(Find("R").RemoteName, "r");
  EXPECT_EQ(Find("MODEL").DefinitionType, MQQDT_PERMANENT_DYNAMIC);
  EXPECT_TRUE(Exists("LONG.NAME"));

  RunWell("DEF QL(Q1) REPLACE MAXDEPTH(7)\nALTER QL(COPY) NOSHARE MAXDEPTH(8)");
  EXPECT_EQ(Find("Q1").MaxDepth, 7);
  EXPECT_EQ(Find("Q1").DefPriority, 0);
  EXPECT_EQ(Find("COPY").MaxDepth, 8);
  EXPECT_EQ(Find("COPY").DefPriority, 9);

  RunWell("DELETE QL(COPY) PURGE\nDELETE QA('alias')\nCLEAR QLOCAL(Q1)\nEND\nDELETE QL(Q1)");
  EXPECT_FALSE(Exists("COPY"));
  EXPECT_FALSE(Exists("alias"));
  EXPECT_TRUE(Exists("Q1"));
}

TEST_F(Mqsc, RefusesMistakesAndChangesNothing) {
  RunWell("DEF QL(Q1) MAXDEPTH(1)\nDEF QA(A1) TARGET(Q1)");
  const std::string syntax[] = {
      "DEFINE",
      "DEF QL",
      "DEF QL()",
      "DEF QL('')",
      "DEF QL(Q2",
      "DEF QL('Q2)",
      "DEF QL(Q2) DESCR('x' y)",
      "DEF Q(Q2)",
      "DEF TOPIC(T)",
      "CREATE QL(Q2)",
      "DEF QL(Q2) COLOUR(RED)",
      "DEF QL(Q2) MAXDEPTH",
      "DEF QL(Q2) MAXDEPTH(-1)",
      "DEF QL(Q2) MAXDEPTH(1x)",
      "DEF QL(Q2) MAXDEPTH(1000000000)",
      "DEF QL(Q2) MAXDEPTH(99999999999)",
      "DEF QL(Q2) PUT(MAYBE)",
      "DEF QL(Q2) SHARE(SHARE)",
      "DEF QL(Q2) DEFTYPE(PERMDYN)",
      "DEF QL(Q2) TARGET(Q1)",
      "DEF QL(Q2) BOQNAME('a b')",
      "DEF QL(Q2) REPLACE NOREPLACE",
      "DEF QA(Q2) MAXDEPTH(5)",
      "DEF QL(Q2) DESCR('" + std::string(65, 'x') + "')",
      "ALTER QL(Q1) MAXDEPTH(5) PUT(MAYBE)",
      "DELETE QL(Q1) NOW",
      "CLEAR QA(A1)",
      "ALTER QMGR QMNAME(QM2)",
      "ALTER QMGR CCSID(0)",
      "DIS QL(*) COLOUR",
      "DIS QL(*) WHERE(MAXDEPTH)",
      "DIS QMGR PASSWORD",
      ") QL(Q1)",
  };
  for (const std::string& command : syntax) {
    Run(command);
    EXPECT_EQ(totals_.SyntaxErrors, 1) << command;
  }
  const std::string impossible[] = {
      "DEF QL(Q1)",
      "DEF QL(A1) REPLACE",
      "DEF QL('Q 2')",
      "DEF QL(Q2) LIKE(NONE)",
      "DEF QL(Q2) LIKE(A1)",
      "ALTER QL(Q2) PUT(DISABLED)",
      "ALTER QL(A1) PUT(DISABLED)",
      "DELETE QL(Q2)",
      "DELETE QL(A1)",
      "CLEAR QL(Q2)",
      "DIS QL(Q2)",
      "DIS QS(A1)",
      "DEF QL(" + std::string(49, 'Q') + ")",
  };
  for (const std::string& command : impossible) {
    Run(command);
    EXPECT_EQ(totals_.Failures, 1) << command;
  }
  EXPECT_FALSE(Exists("Q2"));
  EXPECT_EQ(Find("Q1").MaxDepth, 1);
  EXPECT_EQ(Find("Q1").InhibitPut, MQQA_PUT_ALLOWED);
}

TEST_F(Mqsc, DisplaysQueues) {
  RunWell("DEF QL(Q1) MAXDEPTH(1) DESCR('one')\nDEF QL('q2') MAXDEPTH(20)\nDEF QA(QA1) TARGET(Q1)");
  EXPECT_EQ(RunWell("DIS QUEUE(Q*)"),
            "LMQ0002I: Queue details.\n"
            "   QUEUE(Q1)                               TYPE(QLOCAL)\n"
            "LMQ0002I: Queue details.\n"
            "   QUEUE(QA1)                              TYPE(QALIAS)\n");
  EXPECT_EQ(RunWell("DIS QL(Q*) MAXDEPTH CURDEPTH DESCR"),
            "LMQ0002I: Queue details.\n"
            "   QUEUE(Q1)                               TYPE(QLOCAL)\n"
            "   DESCR(one)                              MAXDEPTH(1)\n"
            "   CURDEPTH(0)\n");
  EXPECT_EQ(RunWell("DIS QA(QA1)"),
            "LMQ0002I: Queue details.\n"
            "   QUEUE(QA1)                              TYPE(QALIAS)\n"
            "   DESCR( )                                PUT(ENABLED)\n"
            "   GET(ENABLED)                            DEFPRTY(0)\n"
            "   DEFPSIST(NO)                            TARGET(Q1)\n");
  const std::string many = RunWell("DIS Q(*) WHERE(MAXDEPTH LT 100)");
  EXPECT_NE(many.find("(q2)"), std::string::npos);
  EXPECT_EQ(many.find("SYSTEM"), std::string::npos);
  EXPECT_NE(RunWell("DIS Q(*) WHERE(TARGET EQ Q1)").find("QUEUE(QA1)"), std::string::npos);
  EXPECT_EQ(RunWell("DIS QL(Z*)"), "LMQ0004W: No queue matches 'Z*'.\n");
  EXPECT_NE(RunWell("DIS QS(Q1) ALL").find("CURMAXFS("), std::string::npos);
}

TEST_F(Mqsc, AltersAndDisplaysTheQueueManager) {
  RunWell("ALTER QMGR CCSID(819) DEADQ('Dead.Q') CMDSERV(NO) USER('ann') PASSWORD('secret')");
  QueueManagerAttributes attributes;
  ASSERT_EQ(Admin->ReadQueueManager(attributes), MQRC_NONE);
  EXPECT_EQ(attributes.CodedCharSetId, 819);
  EXPECT_EQ(attributes.CommandServer, 0);
  EXPECT_EQ(attributes.Password, "secret");
  EXPECT_EQ(RunWell("DIS QMGR DEADQ CMDSERV"),
            "LMQ0003I: Queue manager details.\n"
            "   QMNAME(QM1)                             DEADQ(Dead.Q)\n"
            "   CMDSERV(NO)\n");
  EXPECT_EQ(RunWell("DIS QMGR").find("secret"), std::string::npos);
}

TEST_F(Mqsc, EchoesNumberedLines) {
  EXPECT_EQ(Run("* note\nPING +\nQMGR", true),
            "     1 : * note\n     2 : PING +\n     3 : QMGR\nLMQ0001I: The queue manager answers.\n");
  EXPECT_EQ(totals_.Commands, 1);
}

}  // namespace
}  // namespace localmq
