// Dumps of the recovery log with known messages: what was put comes back, and what is broken is told.

#include <random>

#include "harness.h"
#include "logmode/dump_text_test.h"

namespace {

const std::string kAgain = "Are you sure file 'dump.txt' is the output from DMPMQLOG ?\n";

LoggedMessage Plain(std::string data) {
  LoggedMessage message;
  message.Data = std::move(data);
  return message;
}

class RecoveryLog : public Sandbox {
 protected:
  Outcome Recover(const std::string& dump, std::vector<std::string> target = {"-Fout.tvo", "-dA"}) {
    WriteText("dump.txt", dump);
    target.insert(target.begin(), {"-jdump.txt", "-iQ1"});
    return Tarvo(target);
  }
  // What the messages of out.tvo look like as text: their data lines.
  std::vector<std::string> Recovered() const {
    std::vector<std::string> data;
    for (const std::string& line : Lines(ReadText("out.tvo"))) {
      if (line.starts_with("S ")) data.push_back(line.substr(3, line.size() - 4));
    }
    return data;
  }
};

// A message on its way through the log: its pieces, the put record's first, then the oldest.
struct Split {
  LoggedMessage Message;
  std::string Queue;
  std::vector<std::string> Pieces;
  std::size_t Written = 1;
  int Previous = 0;
};

TEST_F(RecoveryLog, MessagesInUpToFiftyPartsAmongOthersComeBackAsTheyWerePut) {
  CreateQueueManager("QM1", {"BACK"});
  Queues queues("QM1");
  std::mt19937 random(11);
  for (const int offsetDigits : {5, 6}) {
    DumpText dump(offsetDigits);
    std::vector<StoredMessage> expected;
    std::vector<Split> open;
    int lsn = 10;
    for (int made = 0; made < 60 || !open.empty();) {
      if (made < 60 && open.size() < 5) {
        Split split;
        split.Message.Descriptor = harness::RichDescriptor(made);
        split.Message.Descriptor.Priority = 5;
        if (made % 3 == 0) split.Message.Descriptor.Version = MQMD_VERSION_1;
        const auto parts = made == 0 ? 50 : random() % 51;
        split.Message.Data.resize(parts * 400 + random() % 100);
        for (char& c : split.Message.Data) c = static_cast<char>(random());
        if (made % 4 == 1) split.Message.Properties = DumpText::PropertyBlock(12 + random() % 60);
        split.Queue = made % 3 == 2 ? "Q1.OTHER" : "Q1";
        std::string rest = split.Message.Properties + split.Message.Data;
        split.Pieces.push_back(rest.substr(0, parts == 0 ? rest.size() : random() % 50));
        for (rest.erase(0, split.Pieces[0].size()); !rest.empty(); rest.erase(0, split.Pieces.back().size())) {
          split.Pieces.push_back(rest.substr(0, 380 + random() % 100));
        }
        if (made % 2 == 0) dump.Other(split.Previous = ++lsn);
        open.push_back(std::move(split));
        ++made;
        continue;
      }
      const std::size_t which = random() % open.size();
      Split& split = open[which];
      if (split.Written < split.Pieces.size()) {
        dump.Part(++lsn, split.Previous, split.Queue, split.Pieces[split.Written++], random() % 3 != 0);
        split.Previous = lsn;
      } else {
        dump.Put(++lsn, split.Previous, split.Queue, split.Message, split.Pieces[0]);
        if (split.Queue == "Q1") {
          expected.push_back({split.Message.Descriptor, split.Message.Data});
          expected.back().Descriptor.Version = MQMD_VERSION_2;  // as a queue manager gives it back
        }
        open.erase(open.begin() + static_cast<std::ptrdiff_t>(which));
      }
    }
    const auto put = Recover(dump.Text, {"-mQM1", "-oBACK"});
    ASSERT_EQ(put.Exit, 0) << put.Err;
    EXPECT_TRUE(SameMessages(expected, queues.Browse("BACK")));
    ASSERT_EQ(Recover(dump.Text).Exit, 0);
    ASSERT_EQ(LocalMq({"QM1"}, "CLEAR QLOCAL(BACK)\n").Exit, 0);
    ASSERT_EQ(Tarvo({"-mQM1", "-fout.tvo", "-oBACK"}).Exit, 0);
    EXPECT_TRUE(SameMessages(expected, queues.Browse("BACK")));
    ASSERT_EQ(LocalMq({"QM1"}, "CLEAR QLOCAL(BACK)\n").Exit, 0);
  }
}

TEST_F(RecoveryLog, WhatIsBrokenIsToldWithItsLineAndKeepsWhatStandsBeforeIt) {
  const std::string good = [] {
    DumpText dump;
    dump.Whole(1, "Q1", Plain("good"));
    return dump.Text;
  }();
  const auto lineOf = [&good](const std::string& text) {
    return Occurrences(good.substr(0, good.find(text)), "\n") + 1;
  };
  const auto behindGood = [&good](auto fill) {
    DumpText dump;
    dump.Text = good;
    fill(dump);
    return dump.Text;
  };
  const auto replaced = [&good](const std::string& from, const std::string& to) {
    std::string second = good;
    second.replace(second.find(from), from.size(), to);
    return good + second;
  };
  const int lines = Occurrences(good, "\n");
  const LoggedMessage split = Plain("0123456789abcdefghij");
  const std::string broken = "The log record is broken or cut off at line ";
  const struct {
    const char* Name;
    std::string Dump;
    MQLONG Reason;
    std::string Text;
    std::size_t Messages = 1;
  } cases[] = {
      {"no dump", "* TARVO\nN\nX 00\n\n", MQRC_FILE_SYSTEM_ERROR,
       "Line No. 4: No MQ log records found.\nLine No. 4: " + kAgain, 0},
      {"no digit", replaced("04 00 00 00", "04 00 g0 00"), MQRC_INCOMPLETE_MSG,
       broken + std::to_string(lines + lineOf("00000:")) + " of the dump\n"},
      {"nothing", "", MQRC_HEADER_ERROR, "No MQ log records found.\n" + kAgain, 0},
      {"no bracket", replaced("<0:0:7:1>", "0:0:7:1"), MQRC_INCOMPLETE_MSG,
       "Line No. " + std::to_string(lines + 2) + ": Line " + std::to_string(lines + 2) +
           ", LSN format unrecognised.\n"},
      {"first LSN", "LOG RECORD     - <>\n", MQRC_INCOMPLETE_MSG,
       "Line No. 1: Line 1, LSN missing.\nLine No. 1: No MQ log records found.\nLine No. 1: " + kAgain, 0},
      {"header version", replaced("04 00 00 00", "09 00 00 00"), MQRC_FORMAT_ERROR,
       "Line No. " + std::to_string(lines + lineOf("00000:")) + ": Message Header Version 9 not recognised.\n"},
      {"no descriptor", replaced("4D 44 20 20", "4D 44 20 21"), MQRC_FORMAT_ERROR, "Unrecongnised message format.\n"},
      {"descriptor version", replaced("4D 44 20 20 01", "4D 44 20 20 07"), MQRC_FORMAT_ERROR,
       "Unrecognised MQMD version 7.\n"},
      {"a line of the data is gone", good + good.substr(0, good.find("00100:")) + good.substr(good.find("00110:")),
       MQRC_INCOMPLETE_MSG, broken},
      {"no colon", replaced("00100:", "00100 "), MQRC_INCOMPLETE_MSG,
       broken + std::to_string(lines + lineOf("00100:")) + " of the dump\n"},
      {"cut off", good + good.substr(0, good.find("00100:")), MQRC_INCOMPLETE_MSG, broken},
      {"missing part", behindGood([&](DumpText& dump) {
         dump.Part(4, 3, "Q1", split.Data.substr(15));
         dump.Put(5, 4, "Q1", split, split.Data.substr(0, 5));
       }),
       MQRC_INCOMPLETE_MSG, "Can not construct message 2, LSN '0:0:7:3' missing.\n"},
      {"all parts missing", behindGood([&](DumpText& dump) { dump.Put(5, 4, "Q1", split, split.Data.substr(0, 5)); }),
       MQRC_INCOMPLETE_MSG, "Can not construct message 2, message length does not match.\n"},
      {"repeated part", behindGood([&](DumpText& dump) {
         for (int i = 0; i < 2; ++i) dump.Part(4, 0, "Q1", split.Data.substr(5));
         dump.Put(5, 4, "Q1", split, split.Data.substr(0, 5));
       }),
       MQRC_FORMAT_ERROR, "Extra message parts for message 2 unused.\n", 2},
  };
  for (const auto& c : cases) {
    const auto outcome = Recover(c.Dump);
    EXPECT_EQ(outcome.Exit, ExitStatus(c.Reason)) << c.Name << ": " << outcome.Err;
    EXPECT_NE(outcome.Err.find(c.Text), std::string::npos) << c.Name << ": " << outcome.Err;
    const std::size_t messages = std::filesystem::exists(Path("out.tvo")) ? Recovered().size() : 0;
    EXPECT_EQ(messages, c.Messages) << c.Name;
    std::filesystem::remove(Path("out.tvo"));
  }
}

TEST_F(RecoveryLog, CommittedUnitsStayPutAndTheOpenOneIsBackedOut) {
  CreateQueueManager("QM1", {"BACK"});
  DumpText dump;
  for (int i = 1; i <= 5; ++i) dump.Whole(i, "Q1", Plain("message " + std::to_string(i)));
  const auto outcome = Recover(dump.Text + "LOG RECORD     - ?\n", {"-mQM1", "-oBACK", "-t2"});
  EXPECT_EQ(outcome.Exit, ExitStatus(MQRC_INCOMPLETE_MSG)) << outcome.Err;
  EXPECT_EQ(Queues("QM1").Texts("BACK"),
            (std::vector<std::string>{"message 1", "message 2", "message 3", "message 4"}));
  EXPECT_NE(outcome.Err.find("rolled back"), std::string::npos) << outcome.Err;
}

TEST_F(RecoveryLog, WithoutATerminalOnlyTheLastFiguresAreShown) {
  DumpText dump;
  for (int i = 1; i <= 60; ++i) dump.Whole(i, "Q1", Plain("m"));
  dump.Text += "AMQ7702: not shown\nAMQ8101: shown %s\n";
  const auto outcome = Recover(dump.Text);
  EXPECT_EQ(outcome.Exit, 0);
  EXPECT_EQ(outcome.Err.find("AMQ77"), std::string::npos);
  const std::string figures =
      "Line:" + std::to_string(Occurrences(dump.Text, "\n")) + " Records:60 Messages (60, 60, 60)\n";
  EXPECT_EQ(Occurrences(outcome.Err, "DMPMQLOG"), 1) << outcome.Err;
  EXPECT_NE(outcome.Err.find(": AMQ8101: shown %s\nDMPMQLOG Records : " + figures), std::string::npos) << outcome.Err;
  // Quiet leaves the reader's own lines, and only them.
  const auto quiet = Recover(dump.Text, {"-Fout.tvo", "-q"});
  EXPECT_TRUE(quiet.Err.starts_with("Searching for messages logged on queue 'Q1'.\n")) << quiet.Err;
  EXPECT_TRUE(quiet.Err.ends_with(figures)) << quiet.Err;
}

TEST_F(RecoveryLog, RefusesWhatItCannotSearch) {
  DumpText dump;
  dump.Whole(1, "Q1", Plain("kept"));
  WriteText("dump.txt", dump.Text);
  const struct {
    std::vector<std::string> Arguments;
    MQLONG Reason;
    const char* Text;
  } cases[] = {
      {{"-jdump.txt(5", "-iQ1", "-Fout"}, MQRC_OPTIONS_ERROR, "Unrecognised log file parameter format.\n"},
      {{"-jdump.txt", "-Fout"},
       MQRC_OPTIONS_ERROR,
       "Please specify the name of the queue to search the log for using the -i parameter.\n"},
      {{"-jdump.txt", "-iQ.*", "-Fout"},
       MQRC_OPTIONS_ERROR,
       "Wild cards are not supported in input queue name when in log mode.\n"},
      {{"-jdump.txt", "-iQ1", "-iQ2", "-Fout"}, MQRC_OPTIONS_ERROR, "Only one queue name is allowed in log mode.\n"},
      {{"-jS0000000.LOG", "-iQ1", "-Fout"},
       MQRC_OPTIONS_ERROR,
       ".LOG file are not supported. Please format using DMPMQLOG.\n"},
      {{"-jnone.txt", "-iQ1", "-Fout"},
       MQRC_FILE_SYSTEM_ERROR,
       "Can not access MQ log file. No such file or directory\n"},
      {{"-j*", "-iQ1", "-Fout"}, MQRC_OPTIONS_ERROR, "Environment variable MQ_INSTALLATION_PATH not set.\n"},
      {{"-jdump.txt", "-iQ1", "-Fdump.txt"},
       MQRC_FILE_SYSTEM_ERROR,
       "Output file 'dump.txt' is an input file of this run\n"},
      {{"-j  dump.txt", "-iQ1", "-F./dump.txt"},
       MQRC_FILE_SYSTEM_ERROR,
       "Output file './dump.txt' is an input file of this run\n"},
  };
  for (const auto& c : cases) {
    const auto outcome = Tarvo(c.Arguments);
    EXPECT_EQ(outcome.Exit, ExitStatus(c.Reason)) << c.Text << outcome.Err;
    EXPECT_NE(outcome.Err.find(c.Text), std::string::npos) << c.Text << outcome.Err;
    EXPECT_FALSE(std::filesystem::exists(Path("out"))) << c.Text;
  }
  EXPECT_EQ(ReadText("dump.txt"), dump.Text);
}

}  // namespace
