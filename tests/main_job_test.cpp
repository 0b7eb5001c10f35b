// The main job as a user does it: files onto queues, queues into files, queue to queue.

#include <random>
#include <thread>

#include "harness.h"

namespace {

// Messages that between them need every rule of the file format.
std::vector<StoredMessage> AwkwardMessages() {
  std::vector<std::string> data = {"",
                                   "a",
                                   "Order 17: \"A4\" paper~x2\r\nQty=3",
                                   std::string("\0\0", 2),
                                   std::string(48, 'x'),
                                   std::string(49, 'x'),
                                   "\n",
                                   "~~\"\"",
                                   "X 00",
                                   "* comment?",
                                   "\n\nT x\nA VER 1\n",
                                   "trailing blanks   "};
  std::string all;
  for (int i = 0; i < 256; ++i) all += static_cast<char>(i);
  data.push_back(all);
  std::mt19937 random(7);
  for (const std::size_t size : {24U, 25U, 26U, 1000U, 5000000U}) {
    std::string bytes(size, '\0');
    for (auto& c : bytes) c = static_cast<char>(random());
    data.push_back(bytes);
  }
  std::vector<StoredMessage> messages;
  for (const auto& d : data) {
    messages.push_back({harness::RichDescriptor(static_cast<int>(messages.size()) % 8 * 4), d});
    messages.back().Descriptor.Priority = 5;
  }
  return messages;
}

class MainJob : public Sandbox {
 protected:
  void SetUp() override { CreateQueueManager("QM1", {"Q1", "Q2", "Q3"}); }
};

TEST_F(MainJob, EveryLayoutBringsMessagesBackAsTheyWere) {
  Queues queues("QM1");
  for (const auto& message : AwkwardMessages()) queues.Put("Q1", message.Descriptor, message.Data);
  const auto before = queues.Browse("Q1");
  for (const char* layout : {"", "-da", "-dA", "-dp", "-dAa", "-dpa", "-dci", "-dw1000", "-dpw13", "-dAcw10"}) {
    std::vector<std::string> unload = {"-mQM1", "-iQ1", "-Ffile.tvo"};
    if (*layout != '\0') unload.emplace_back(layout);
    const auto unloaded = Tarvo(unload);
    ASSERT_EQ(unloaded.Exit, 0) << layout << unloaded.Err;
    const auto loaded = Tarvo({"-mQM1", "-ffile.tvo", "-oQ2"});
    ASSERT_EQ(loaded.Exit, 0) << layout << loaded.Err;
    EXPECT_TRUE(SameMessages(before, queues.Browse("Q2"))) << layout;
    ASSERT_EQ(LocalMq({"QM1"}, "CLEAR QLOCAL(Q2)\n").Exit, 0);
  }
}

// A file written on one system is read on the other.
TEST_F(MainJob, EitherLineEndBringsMessagesBack) {
  Queues queues("QM1");
  for (const auto& message : AwkwardMessages()) queues.Put("Q1", message.Descriptor, message.Data);
  const auto before = queues.Browse("Q1");
  for (const char* mode : {"-dA", "-ab"}) {
    ASSERT_EQ(Tarvo({"-mQM1", "-iQ1", "-Ffile.tvo", mode}).Exit, 0);
    const std::string written = ReadBytes("file.tvo");
    const bool native = Platform() == PlatformKind::Windows && std::string_view(mode) != "-ab";
    EXPECT_EQ(Occurrences(written, "\r\n"), native ? Occurrences(written, "\n") : 0);
    std::string other;
    for (const char c : written) {
      if (c == '\n' && !native) other += '\r';
      if (c != '\r') other += c;
    }
    WriteText("other.tvo", other);
    for (const char* load : {"-q", "-ab"}) {
      const auto loaded = Tarvo({"-mQM1", "-fother.tvo", "-oQ2", load});
      ASSERT_EQ(loaded.Exit, 0) << load << loaded.Err;
      EXPECT_TRUE(SameMessages(before, queues.Browse("Q2"))) << mode << load;
      ASSERT_EQ(LocalMq({"QM1"}, "CLEAR QLOCAL(Q2)\n").Exit, 0);
    }
  }
}

TEST_F(MainJob, ReportsWhatWasReadAndWritten) {
  Queues("QM1").PutNumbered("Q1", 3, "0123456789");
  const auto unloaded = Tarvo({"-mQM1", "-iQ1", "-fout"});
  EXPECT_EQ(unloaded.Exit, 0);
  EXPECT_NE(unloaded.Err.find("Read    - Files:   0  Messages:      3  Bytes:          33\n"
                              "Written - Files:   1  Messages:      3  Bytes:          33\n"),
            std::string::npos)
      << unloaded.Err;
  EXPECT_EQ(unloaded.Out, "");
  EXPECT_EQ(Occurrences(unloaded.Err, "Queue Load/Unload Utility for IBM MQ\n"), 1);
  const auto quiet = Tarvo({"-q", "-mQM1", "-iQ1", "-Fout"});
  EXPECT_EQ(quiet.Exit, 0);
  EXPECT_EQ(quiet.Err + quiet.Out, "");
  const auto nothing = Tarvo({"-mQM1", "-iQ1", "-fnull"});
  EXPECT_NE(nothing.Err.find("Read    - Files:   0"), std::string::npos);
  EXPECT_EQ(nothing.Err.find("Written"), std::string::npos);
  const auto counted = Tarvo({"-mQM1", "-iQ1", "-dK"});
  EXPECT_EQ(counted.Out, "3");
  EXPECT_EQ(counted.Err, "");
  const auto shown = Tarvo({"-mQM1", "-iQ1", "-dk"});
  EXPECT_NE(shown.Err.find("Counted -             Messages:      3  Bytes:          33\n"), std::string::npos)
      << shown.Err;
}

TEST_F(MainJob, CopiesAndMovesOnOneQueueManager) {
  Queues queues("QM1");
  queues.PutNumbered("Q1", 450);
  const auto before = queues.Browse("Q1");
  EXPECT_EQ(Tarvo({"-mQM1", "-iQ1", "-oQ2"}).Exit, 0);
  EXPECT_TRUE(SameMessages(before, queues.Browse("Q1")));
  EXPECT_TRUE(SameMessages(before, queues.Browse("Q2")));
  EXPECT_EQ(Tarvo({"-mQM1", "-IQ1", "-oQ3"}).Exit, 0);
  EXPECT_EQ(queues.Depth("Q1"), 0);
  EXPECT_TRUE(SameMessages(before, queues.Browse("Q3")));
}

TEST_F(MainJob, MovesBetweenTwoQueueManagersInEitherOrderOfOptions) {
  CreateQueueManager("QM2", {"Q1", "Q2"});
  Queues one("QM1");
  Queues two("QM2");
  one.PutNumbered("Q1", 250);
  const auto before = one.Browse("Q1");
  const auto there = Tarvo({"-mQM1", "-IQ1", "-mQM2", "-oQ2"});
  EXPECT_EQ(there.Exit, 0) << there.Err;
  EXPECT_EQ(one.Depth("Q1"), 0);
  EXPECT_TRUE(SameMessages(before, two.Browse("Q2")));
  const auto back = Tarvo({"-mQM1", "-oQ3", "-mQM2", "-IQ2"});
  EXPECT_EQ(back.Exit, 0) << back.Err;
  EXPECT_EQ(two.Depth("Q2"), 0);
  EXPECT_TRUE(SameMessages(before, one.Browse("Q3")));
}

TEST_F(MainJob, OverridesAndContext) {
  Queues queues("QM1");
  MQMD md = harness::RichDescriptor(3);
  queues.Put("Q1", md, "payload");
  ASSERT_EQ(Tarvo({"-mQM1", "-iQ1", "-oQ2", "-Ap:9", "-Af:MYFMT", "-Ac:819", "-Ae:6000", "-Ar:QM9/R.Q"}).Exit, 0);
  const auto changed = queues.Browse("Q2").at(0).Descriptor;
  EXPECT_EQ(changed.Priority, 9);
  EXPECT_EQ(std::string(changed.Format, 8), "MYFMT   ");
  EXPECT_EQ(changed.CodedCharSetId, 819);
  EXPECT_LE(changed.Expiry, 6000);
  EXPECT_GT(changed.Expiry, 0);
  EXPECT_EQ(changed.MsgType, MQMT_REQUEST);
  EXPECT_EQ(std::string(changed.ReplyToQ, 3), "R.Q");
  EXPECT_EQ(std::string(changed.ReplyToQMgr, 3), "QM9");
  EXPECT_EQ(std::string(changed.PutApplName, 13), "application 3");
  ASSERT_EQ(Tarvo({"-mQM1", "-iQ1", "-oQ3", "-Cn"}).Exit, 0);
  EXPECT_EQ(queues.Browse("Q3").at(0).Descriptor.PutApplType, MQAT_NO_CONTEXT);
  const auto pass = Tarvo({"-mQM1", "-iQ1", "-oQ2", "-Ca"});
  EXPECT_EQ(pass.Exit, ExitStatus(MQRC_CONTEXT_NOT_AVAILABLE));
  EXPECT_NE(pass.Err.find("To pass context you must GET the source message not browse\n"), std::string::npos);
  ASSERT_EQ(Tarvo({"-mQM1", "-IQ1", "-oQ3", "-Ca"}).Exit, 0);
  EXPECT_TRUE(SameDescriptor(md, queues.Browse("Q3").at(1).Descriptor));
}

TEST_F(MainJob, WithoutATargetMessagesAreRemovedAndOptionsOfAFileRefused) {
  Queues queues("QM1");
  queues.PutNumbered("Q1", 5);
  for (const char* option : {"-dA", "-da", "-di", "-dp"}) {
    const auto outcome = Tarvo({"-mQM1", "-IQ1", "-oQ2", option});
    EXPECT_EQ(outcome.Exit, ExitStatus(MQRC_OPTIONS_ERROR));
    EXPECT_NE(outcome.Err.find("Display options require an output file\n"), std::string::npos) << outcome.Err;
  }
  EXPECT_EQ(queues.Depth("Q1"), 5);
  EXPECT_EQ(TarvoWithFaults("", {"-mQM1", "-IQ1", "-t2"}).Exit, 0);
  EXPECT_EQ(queues.Depth("Q1"), 0);
  EXPECT_EQ(Occurrences(ReadText("trace.txt"), "MQCMIT #"), 3);
  const auto replay = Tarvo({"-mQM1", "-iQ1", "-oQ2", "-R10:5"});
  EXPECT_NE(replay.Err.find("'Required rate' processing not possible since the source queue is empty.\n"),
            std::string::npos)
      << replay.Err;
  WriteText("in.tvo", "* TARVO\nN\nS x\n");
  const auto pass = Tarvo({"-mQM1", "-fin.tvo", "-oQ2", "-Ca"});
  EXPECT_EQ(pass.Exit, ExitStatus(MQRC_CONTEXT_NOT_AVAILABLE));
  EXPECT_NE(pass.Err.find("An input queue must be supplied to pass context\n"), std::string::npos) << pass.Err;
}

TEST_F(MainJob, RangeStopsTheRunAndSelectionLeavesTheRest) {
  Queues queues("QM1");
  queues.PutNumbered("Q1", 10, "m");
  ASSERT_EQ(Tarvo({"-mQM1", "-IQ1", "-oQ2", "-r3..4"}).Exit, 0);
  EXPECT_EQ(queues.Texts("Q2"), (std::vector<std::string>{"m3", "m4"}));
  EXPECT_EQ(queues.Depth("Q1"), 8);
  ASSERT_EQ(Tarvo({"-mQM1", "-IQ1", "-oQ3", "-sm1"}).Exit, 0);
  EXPECT_EQ(queues.Texts("Q3"), (std::vector<std::string>{"m1", "m10"}));
  EXPECT_EQ(queues.Depth("Q1"), 6);
  ASSERT_EQ(Tarvo({"-mQM1", "-IQ1", "-Fkept", "-sm9", "-p"}).Exit, 0);
  EXPECT_EQ(queues.Depth("Q1"), 0);
  EXPECT_EQ(Occurrences(ReadText("kept"), "A RPT"), 1);
}

TEST_F(MainJob, ABrowsedMessageThatSomebodyElseTookIsPassedOver) {
  Queues queues("QM1");
  queues.PutNumbered("Q1", 3, "m");
  // The second get is the one under the browse cursor.
  const auto outcome = TarvoWithFaults("MQGET:2=2034", {"-mQM1", "-IQ1", "-oQ2", "-sm"});
  EXPECT_EQ(outcome.Exit, 0) << outcome.Err;
  EXPECT_EQ(queues.Texts("Q2"), (std::vector<std::string>{"m2", "m3"}));
  EXPECT_NE(outcome.Err.find("Written - Files:   0  Messages:      2  "), std::string::npos) << outcome.Err;
}

TEST_F(MainJob, InvertedSelectionAndIdentifiersRemoveOnlyWhatIsSelected) {
  Queues queues("QM1");
  MQMD wanted = harness::RichDescriptor(1);
  MQMD other = harness::RichDescriptor(2);
  queues.Put("Q1", other, "other");
  queues.Put("Q1", wanted, "wanted");
  ASSERT_EQ(Tarvo({"-mQM1", "-IQ1", "-oQ2", "-Gi:", "-swanted"}).Exit, 0);
  EXPECT_EQ(queues.Texts("Q2"), std::vector<std::string>{"other"});
  EXPECT_EQ(queues.Texts("Q1"), std::vector<std::string>{"wanted"});
  queues.Put("Q1", other, "other again");
  ASSERT_EQ(Tarvo({"-mQM1", "-IQ1", "-oQ3", "-gxm" + Hex(wanted.MsgId)}).Exit, 0);
  EXPECT_EQ(queues.Texts("Q3"), std::vector<std::string>{"wanted"});
  EXPECT_EQ(queues.Texts("Q1"), std::vector<std::string>{"other again"});
}

TEST_F(MainJob, BackedOutTooOftenGoesToTheBackoutQueueOnlyWhenRemoved) {
  ASSERT_EQ(LocalMq({"QM1"}, "ALTER QLOCAL(Q1) BOTHRESH(3) BOQNAME(Q3)\n").Exit, 0);
  Queues queues("QM1");
  queues.PutText("Q1", "poison");
  queues.RaiseBackoutCount("Q1", 3);
  MQMD urgent = harness::RichDescriptor(9);
  queues.Put("Q1", urgent, "worse");
  queues.RaiseBackoutCount("Q1", 3);
  queues.PutText("Q1", "fine");
  ASSERT_EQ(Tarvo({"-mQM1", "-iQ1", "-oQ2"}).Exit, 0);
  EXPECT_EQ(queues.Texts("Q2"), (std::vector<std::string>{"worse", "poison", "fine"}));
  EXPECT_EQ(queues.Depth("Q3"), 0);
  ASSERT_EQ(LocalMq({"QM1"}, "CLEAR QLOCAL(Q2)\n").Exit, 0);
  const auto moved = TarvoWithFaults("", {"-mQM1", "-IQ1", "-oQ2"});
  ASSERT_EQ(moved.Exit, 0) << moved.Err;
  EXPECT_EQ(queues.Texts("Q2"), std::vector<std::string>{"fine"});
  EXPECT_EQ(queues.Texts("Q3"), (std::vector<std::string>{"worse", "poison"}));
  EXPECT_EQ(Occurrences(ReadText("trace.txt"), " object=Q3 od="), 1);  // opened once
  EXPECT_EQ(queues.Depth("Q1"), 0);
}

TEST_F(MainJob, WaitsForMessagesOfAnotherProcess) {
  harness::Process waiting({harness::ProgramFolder() / "tarvo",
                            {"-mQM1", "-IQ1", "-oQ2", "-w60", "-r#1"},
                            Path("."),
                            environment(),
                            {},
                            {}});
  std::this_thread::sleep_for(std::chrono::milliseconds(700));
  Queues queues("QM1");
  queues.PutText("Q1", "late");
  const auto outcome = waiting.Wait();
  EXPECT_EQ(outcome.Exit, 0) << outcome.Err;
  EXPECT_EQ(queues.Texts("Q2"), std::vector<std::string>{"late"});
}

TEST_F(MainJob, HundredMegabytesInOneMessageAndOneLine) {
  Queues queues("QM1");
  std::string big((100 << 20) - 1, 'x');  // one less than the queue manager takes
  queues.Put("Q1", harness::RichDescriptor(1), big);
  ASSERT_EQ(Tarvo({"-mQM1", "-iQ1", "-Fbig.tvo", "-dt"}).Exit, 0);
  ASSERT_EQ(Tarvo({"-mQM1", "-fbig.tvo", "-oQ2"}).Exit, 0);
  const auto back = queues.Browse("Q2");
  ASSERT_EQ(back.size(), 1U);
  EXPECT_TRUE(back[0].Data == big + "\n");
}

}  // namespace
