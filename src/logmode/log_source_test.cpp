#include "logmode/log_source.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "logmode/dump_text_test.h"
#include "platform/test_folder.h"

namespace {

struct Rebuilt {
  MQMD Descriptor;
  std::string Data;
};

struct LogTest : testing::Test {
  TestFolder folder;
  std::vector<Rebuilt> messages;
  std::string printed;  // on standard error
  std::string told;     // of the failure
  bool terminal = false;

  // Reads all messages as a transfer does. Returns the result that ends it.
  MQLONG ReadAll(Console& screen, const std::string& log, const WantedQueue& queue) {
    messages.clear();
    LogOptions asked;
    EXPECT_TRUE(ParseLogParameter(asked, "", screen, log));
    RunFiles files;
    LogSource source(asked, queue, screen, [] { return 0; });
    if (const MQLONG reason = source.Open(files); reason != 0) return reason;
    bool empty = false;
    CurrentMessage message;
    Arrival arrival = Arrival::Message;
    Result result = source.Start(empty);
    while (!result.failed()) {
      result = source.Next(message, 0, arrival);
      if (result.failed() || arrival != Arrival::Message) break;
      result = source.Check(message);
      if (result.failed()) break;
      messages.push_back(
          {message.Descriptor, {reinterpret_cast<char*>(message.Data), static_cast<std::size_t>(message.Length)}});
    }
    told = result.text();
    return result.reason();
  }
  MQLONG ReadDump(const std::string& dump, const std::string& queue = "Q1", bool caseCounts = false) {
    Console screen;
    screen.StderrIsTerminal = terminal;
    testing::internal::CaptureStderr();
    const MQLONG result = ReadAll(screen, folder.Write("dump.txt", dump), {queue, caseCounts});
    printed = testing::internal::GetCapturedStderr();
    return result;
  }
  bool Printed(const std::string& text) const { return printed.find(text) != std::string::npos; }
};

LoggedMessage MakeMessage(std::mt19937& random, std::size_t bytes) {
  LoggedMessage message;
  auto* const all = reinterpret_cast<unsigned char*>(&message.Descriptor);
  for (std::size_t i = 8; i < sizeof message.Descriptor; ++i) all[i] = static_cast<unsigned char>(random());
  message.Descriptor.Version = random() % 2 == 0 ? MQMD_VERSION_1 : MQMD_VERSION_2;
  for (std::size_t i = 0; i < bytes; ++i) message.Data += static_cast<char>(random());
  return message;
}

bool Same(const Rebuilt& rebuilt, const LoggedMessage& message) {
  return std::memcmp(&rebuilt.Descriptor, &message.Descriptor, sizeof(MQMD)) == 0 && rebuilt.Data == message.Data;
}

LoggedMessage Simple(const std::string& data) {
  LoggedMessage message;
  message.Data = data;
  return message;
}

// Up to fifty parts a message, three at a time on two queues, with and without properties and transactions.
TEST_F(LogTest, RebuildsExactlyTheMessagesThatWerePut) {
  std::mt19937 random(4);
  for (const int offsetDigits : {5, 6}) {
    for (int round = 0; round < 40; ++round) {
      DumpText dump(offsetDigits);
      std::vector<LoggedMessage> expected;
      int lsn = 100;
      struct Open {
        LoggedMessage Message;
        std::string Queue;
        std::vector<std::string> Pieces;  // the first one is the put record's
        std::size_t Written = 1;
        int Previous;
      };
      std::vector<Open> open(3);
      int toStart = 12;
      while (!open.empty()) {
        const std::size_t which = random() % open.size();
        Open& one = open[which];
        if (one.Pieces.empty()) {
          one.Message = MakeMessage(random, random() % 3000);
          if (random() % 3 == 0) one.Message.Properties = DumpText::PropertyBlock(12 + random() % 200);
          one.Queue = random() % 2 == 0 ? "Q1" : "Q1.OTHER";
          one.Previous = random() % 2 == 0 ? 0 : ++lsn;  // a transaction's own record in front of it
          if (one.Previous != 0) dump.Other(one.Previous);
          std::string rest = one.Message.Properties + one.Message.Data;
          for (std::size_t parts = random() % 51; parts > 0 && !rest.empty(); --parts) {
            const std::size_t bytes = random() % std::min<std::size_t>(rest.size(), 200) + (one.Pieces.empty() ? 0 : 1);
            one.Pieces.push_back(rest.substr(0, bytes));
            rest.erase(0, bytes);
          }
          if (!rest.empty() || one.Pieces.empty()) one.Pieces.push_back(rest);
        } else if (one.Written < one.Pieces.size()) {
          dump.Part(++lsn, one.Previous, one.Queue, one.Pieces[one.Written++], random() % 4 != 0);
          one.Previous = lsn;
        } else {
          dump.Put(++lsn, one.Previous, one.Queue, one.Message, one.Pieces[0]);
          if (one.Queue == "Q1") expected.push_back(one.Message);
          one = Open{};
          if (--toStart < 3) open.erase(open.begin() + static_cast<std::ptrdiff_t>(which));
        }
      }
      ASSERT_EQ(ReadDump(dump.Text, "q1"), 0) << printed;
      ASSERT_EQ(messages.size(), expected.size());
      for (std::size_t i = 0; i < expected.size(); ++i) ASSERT_TRUE(Same(messages[i], expected[i])) << i;
    }
  }
}

TEST_F(LogTest, AQuotedNameCountsCase) {
  DumpText dump;
  dump.Whole(1, "Orders", Simple("one"));
  ASSERT_EQ(ReadDump(dump.Text, "ORDERS"), 0);
  EXPECT_EQ(messages.size(), 1U);
  ASSERT_EQ(ReadDump(dump.Text, "ORDERS", true), 0);
  EXPECT_TRUE(messages.empty());
}

TEST_F(LogTest, EveryFlawHasItsResultAndText) {
  const LoggedMessage split = Simple("0123456789abcdefghijklmnopqrst");
  const auto piece = [&split](std::size_t i) { return split.Data.substr(i * 10, 10); };
  const std::string good = [] {
    DumpText dump;
    dump.Whole(1, "Q1", Simple("good"));
    return dump.Text;
  }();
  const auto withNumber = [](std::size_t place, MQLONG number) {
    std::string data = DumpText::PutHeader(Simple("x")) + "x";
    std::memcpy(data.data() + place, &number, sizeof number);
    DumpText dump;
    dump.PutData(1, 0, "Q1", data);
    return dump.Text;
  };
  const auto replaced = [&good](const std::string& from, const std::string& to) {
    std::string text = good;
    text.replace(text.find(from), from.size(), to);
    return text;
  };
  const auto built = [](auto fill) {
    DumpText dump;
    fill(dump);
    return dump.Text;
  };
  const std::string full = built([](DumpText& dump) { dump.Whole(1, "Q1", Simple(std::string(16, 'f'))); });

  struct Case {
    const char* Name;
    std::string Dump;
    MQLONG Result;
    std::string Text;
    std::size_t Messages;
  };
  const std::vector<Case> cases = {
      {"empty", "", MQRC_HEADER_ERROR, "No MQ log records found.\nAre you sure file '", 0},
      {"only the formatter's lines", "AMQ7702: done\n", MQRC_HEADER_ERROR, "No MQ log records found.\n", 0},
      {"no record", "some text\n", MQRC_FILE_SYSTEM_ERROR, "No MQ log records found.\nLine No. 1: Are you sure", 0},
      {"no bracket", replaced("<0:0:7:1>", "0:0:7:1"), MQRC_INCOMPLETE_MSG,
       "Line No. 2: Line 2, LSN format unrecognised.\nLine No. 2: No MQ log records found.\n", 0},
      {"nothing in brackets", replaced("<0:0:7:1>", "<>"), MQRC_INCOMPLETE_MSG, "Line 2, LSN missing.\n", 0},
      {"long LSN", replaced("<0:0:7:1>", "<" + std::string(50, '1') + ">"), MQRC_INCOMPLETE_MSG,
       "Line 2, LSN too large.\n", 0},
      {"longest LSN", replaced("<0:0:7:1>", "<" + std::string(49, '1') + ">"), 0, "", 1},
      {"LSN that does not end", replaced("<0:0:7:1>", "<0:0:7:1"), 0, "", 1},
      {"header version", withNumber(4, 5), MQRC_FORMAT_ERROR, "Message Header Version 5 not recognised.\n", 0},
      {"no descriptor", withNumber(160, 0), MQRC_FORMAT_ERROR, "Unrecongnised message format.\n", 0},
      {"descriptor version", withNumber(164, 3), MQRC_FORMAT_ERROR, "Unrecognised MQMD version 3.\n", 0},
      {"length", withNumber(40, 2), MQRC_INCOMPLETE_MSG,
       "Can not construct message 1, message length does not match.\n", 0},
      {"missing middle part", built([&](DumpText& dump) {
         dump.Part(3, 0, "Q1", piece(1));
         dump.Put(5, 4, "Q1", split, piece(0));
       }),
       MQRC_INCOMPLETE_MSG, "Can not construct message 1, message length does not match.\n", 0},
      {"lines too many behind a part", built([&](DumpText& dump) {
         dump.Part(3, 0, "Q1", std::string(16, 'p'), false);
         dump.Text.insert(dump.Text.size() - 1, "00010:  70 70\n");
         dump.Put(4, 3, "Q1", split, piece(0));
       }),
       MQRC_INCOMPLETE_MSG, "", 0},
      {"missing oldest part", built([&](DumpText& dump) {
         dump.Part(4, 3, "Q1", piece(2));
         dump.Put(5, 4, "Q1", split, piece(0));
       }),
       MQRC_INCOMPLETE_MSG, "Can not construct message 1, LSN '0:0:7:3' missing.\n", 0},
      {"parts in a circle", built([&](DumpText& dump) {
         dump.Part(3, 4, "Q1", "12345");
         dump.Part(4, 3, "Q1", "12345");
         dump.Put(5, 4, "Q1", split, piece(0));
       }),
       MQRC_INCOMPLETE_MSG, "Can not construct message 1, LSN '0:0:7:4' missing.\n", 0},
      {"repeated part", built([&](DumpText& dump) {
         dump.Part(3, 0, "Q1", piece(1));
         dump.Part(3, 0, "Q1", piece(1));
         dump.Part(4, 3, "Q1", piece(2));
         dump.Put(5, 4, "Q1", split, piece(0));
       }),
       MQRC_FORMAT_ERROR, "Extra message parts for message 1 unused.\n", 1},
      {"unused part, then a message", built([&](DumpText& dump) {
         dump.Part(3, 0, "Q1", piece(1));
         dump.Whole(4, "Q1", Simple("a"));
         dump.Whole(5, "Q1", Simple("b"));
       }),
       0, "Extra message parts for message 1 unused.\n", 2},
      {"a part that only looks like the end", built([&](DumpText& dump) {
         LoggedMessage message = Simple(std::string(30, 'm'));
         message.Properties = DumpText::PropertyBlock(20);
         const std::string all = message.Properties + message.Data;  // 5 + 20 + 25 bytes
         dump.Part(3, 0, "Q1", all.substr(5, 20));
         dump.Part(4, 3, "Q1", all.substr(25));
         dump.Put(5, 4, "Q1", message, all.substr(0, 5));
       }),
       0, "", 1},
      {"parts of two messages at once", built([&](DumpText& dump) {
         dump.Part(3, 0, "Q1", piece(1));
         dump.Part(4, 0, "Q1", piece(1));
         dump.Part(5, 3, "Q1", piece(2));
         dump.Part(6, 4, "Q1", piece(2));
         dump.Put(7, 6, "Q1", split, piece(0));
         dump.Put(8, 5, "Q1", split, piece(0));
       }),
       0, ".\nDMPMQLOG Records : Line:", 2},
      {"bytes behind the record", replaced(": 452\n", ": 449\n"), MQRC_INCOMPLETE_MSG, "", 0},
      {"lines behind the record", replaced(": 452\n", ": 448\n"), MQRC_INCOMPLETE_MSG, "", 0},
      {"a length below the header's", replaced(": 452\n", ": 447\n"), MQRC_INCOMPLETE_MSG, "", 0},
      {"too few bytes", replaced(": 452\n", ": 453\n"), MQRC_INCOMPLETE_MSG, "", 0},
      {"a length that no dump has", replaced(": 452\n", ": 2147483647\n"), MQRC_INCOMPLETE_MSG, "", 0},
      {"a length out of range", replaced(": 452\n", ": 99999999999999999999\n"), MQRC_INCOMPLETE_MSG, "", 0},
      {"lower-case digits", replaced("50 55 54 4D", "50 55 54 4d"), 0, "", 1},
      {"no digit", replaced("50 55 54 4D", "50 55 54 4G"), MQRC_INCOMPLETE_MSG, "", 0},
      {"a line without colon", replaced("00010:", "00010 "), MQRC_INCOMPLETE_MSG, "", 0},
      {"the file ends in the data", good.substr(0, good.find("00100:") + 20), MQRC_INCOMPLETE_MSG, "", 0},
      {"no colon in front of the length", replaced(": 452", "= 452"), 0, "", 0},
      {"the record ends before its data", good.substr(0, good.find("Data.Locn")) + good.substr(good.find("LOG ")), 0,
       "", 1},
      {"the file ends in front of the data", good + good.substr(0, good.find("Data.Locn")), 0,
       "The dump ends inside a log record.\n", 1},
      {"no PrevLSN either", good.substr(0, good.find("PrevLSN")) + good.substr(good.find("LOG ")), MQRC_FORMAT_ERROR,
       "", 0},
      {"the next record follows at once", full.substr(0, full.size() - 1) + good.substr(good.find("LOG ")), 0, "", 2},
      {"a part follows at once", built([&](DumpText& dump) {
         dump.Text = full.substr(0, full.size() - 1);
         dump.Part(3, 0, "Q1", split.Data.substr(10));
         dump.Put(5, 3, "Q1", split, piece(0));
       }),
       0, "", 2},
      {"the file ends behind a full line", full.substr(0, full.size() - 1), MQRC_INCOMPLETE_MSG, "", 1},
      {"a bad record behind a good one", good + replaced("<0:0:7:1>", "?"), MQRC_INCOMPLETE_MSG,
       "LSN format unrecognised.\n", 1},
      {"a type that only begins alike", replaced("AQM Put Message", "AQM Put Messages"), 0, "", 0},
      {"a type without its number", replaced(" (257)", ""), 0, "", 1},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(ReadDump(c.Dump), c.Result) << c.Name << "\n" << printed;
    EXPECT_TRUE(Printed(c.Text)) << c.Name << "\n" << printed;
    EXPECT_EQ(messages.size(), c.Messages) << c.Name;
    EXPECT_EQ(told.empty(), c.Result == 0 || !c.Text.empty()) << c.Name;  // no failure is silent
  }
}

TEST_F(LogTest, AChainOfManyPartsIsFollowed) {
  constexpr int kParts = 200000;
  LoggedMessage message = Simple("");
  DumpText dump;
  for (int i = 0; i < kParts; ++i) {
    dump.Part(i + 1, i, "Q1", {static_cast<char>('a' + i % 26)}, false);
    message.Data += static_cast<char>('a' + i % 26);
  }
  dump.Put(kParts + 1, kParts, "Q1", message, "");
  ASSERT_EQ(ReadDump(dump.Text), 0) << printed;
  ASSERT_EQ(messages.size(), 1U);
  EXPECT_EQ(messages[0].Data, message.Data);
}

TEST_F(LogTest, WhatTheFormatterSaysIsShownBelowTheProgress) {
  DumpText dump;
  for (int i = 0; i < 30; ++i) dump.Whole(i + 1, "Q1", Simple("message"));
  dump.Text += "AMQ8101: Something %s is wrong.\r\nAMQ7714: dropped\n";
  terminal = true;
  ASSERT_EQ(ReadDump(dump.Text), 0);
  EXPECT_FALSE(Printed("AMQ77"));
  EXPECT_TRUE(Printed(" Records:30 Messages (30, 30, 0)\nLine No. ")) << printed;
  EXPECT_TRUE(Printed(": AMQ8101: Something %s is wrong.\nDMPMQLOG Records : Line:")) << printed;
  EXPECT_TRUE(printed.ends_with(" Records:30 Messages (30, 30, 0)\n")) << printed;
  terminal = false;  // the last figures only
  ASSERT_EQ(ReadDump(dump.Text), 0);
  EXPECT_TRUE(Printed(": AMQ8101: Something %s is wrong.\nDMPMQLOG Records : Line:")) << printed;
  EXPECT_EQ(printed.find("DMPMQLOG"), printed.rfind("DMPMQLOG")) << printed;
  EXPECT_FALSE(Printed("\b"));
}

// Of pieces that another message of the same unit of work has left in the log, or waits for.
TEST_F(LogTest, AMessageTakesNoPieceOfAnother) {
  const std::string block = DumpText::PropertyBlock(20);
  const struct {
    std::string InPut, InPart;  // the message's bytes
  } cases[] = {{"", ""}, {"ZRFP", ""}, {block + "own", ""}, {"ZR", "FP own"}, {"", "own"}};
  const LoggedMessage waiting = Simple("waiting for its end");
  for (const auto& c : cases) {
    const LoggedMessage own = Simple(c.InPut + c.InPart);
    DumpText dump;
    dump.Part(1, 0, "Q1", waiting.Data.substr(5));
    if (!c.InPart.empty()) dump.Part(2, 1, "Q1", c.InPart);
    dump.Put(3, c.InPart.empty() ? 1 : 2, "Q1", own, c.InPut);
    dump.Put(4, 1, "Q1", waiting, waiting.Data.substr(0, 5));
    EXPECT_EQ(ReadDump(dump.Text), 0) << own.Data << printed;
    ASSERT_EQ(messages.size(), 2U) << own.Data;
    EXPECT_TRUE(Same(messages[0], own) && Same(messages[1], waiting)) << own.Data;
  }
}

// Of a dump whose parts have no header, a message may have bytes that look like one.
TEST_F(LogTest, WhatFitsAsItStandsIsNotStripped) {
  const std::string first = "AQPX" + std::string(20, 'a');
  const std::string second = "AQPXZZ";
  const LoggedMessage message = Simple("put" + second + first);
  DumpText dump;
  dump.Part(1, 0, "Q1", second, false);
  dump.Part(2, 1, "Q1", first, false);
  dump.Put(3, 2, "Q1", message, "put");
  EXPECT_EQ(ReadDump(dump.Text), 0) << printed;
  ASSERT_EQ(messages.size(), 1U);
  EXPECT_EQ(messages[0].Data, message.Data);
}

TEST(LogParameter, BecomesTheFormattersCommand) {
  struct Case {
    const char* QMgr;
    const char* Text;
    const char* Command;
    const char* LogFile;
  };
  static constexpr Case kCases[] = {
      {"QM1", "*(0:0:4:100-0:0:9:0)", "dmpmqlog -m QM1 -s 0:0:4:100 -e 0:0:9:0 ", ""},
      {"", "*", "dmpmqlog -b ", ""},
      {"", "C:\\mqm\\log\\QM1", "dmpmqlog -f C:\\mqm\\log\\QM1 -b ", "C:\\mqm\\log\\QM1"},
      {"", "/var/log of mq/(5)", "dmpmqlog -f \"/var/log of mq/\" -s 5 ", "/var/log of mq/"},
      {"", "d.txt(-5)", "dmpmqlog -f d.txt -b -e 5 ", "d.txt"},
  };
  LogOptions asked;
  Console screen;
  for (const Case& c : kCases) {
    EXPECT_TRUE(ParseLogParameter(asked, c.QMgr, screen, c.Text));
    EXPECT_EQ(asked.FormatterCommand, c.Command);
    EXPECT_EQ(asked.File, c.LogFile);
  }
  for (const std::string& text : {std::string("dump.txt(5"), std::string("dump.txt(5-6"), std::string("dump.txt(5)6"),
                                  "x(" + std::string(50, '1') + ")", std::string(256, 'x'), std::string("x()"),
                                  std::string("x(0:0:4 -f y)"), std::string("x(1-2:)")}) {
    testing::internal::CaptureStderr();
    EXPECT_FALSE(ParseLogParameter(asked, "", screen, text)) << text;
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "Unrecognised log file parameter format.\n");
  }
}

TEST_F(LogTest, RefusesWhatItCannotRead) {
  struct Case {
    const char* Log;
    const char* Queue;
    MQLONG Result;
    const char* Text;
  };
  static constexpr Case kCases[] = {
      {"d.txt", "", MQRC_OPTIONS_ERROR,
       "Please specify the name of the queue to search the log for using the -i parameter.\n"},
      {"d.txt", "Q?", MQRC_OPTIONS_ERROR, "Wild cards are not supported in input queue name when in log mode.\n"},
      {"S0000000.LOG", "Q", MQRC_OPTIONS_ERROR,
       "Searching for messages logged on queue 'Q'.\n.LOG file are not supported. Please format using DMPMQLOG.\n"},
      {"/x/x.Log.txt", "Q", MQRC_OPTIONS_ERROR, ".LOG file are not supported."},
      {"  /there/is.no/dump.txt", "Q", MQRC_FILE_SYSTEM_ERROR,
       "Can not access MQ log file. No such file or directory\n"},
      {"a.folder/", "Q", MQRC_OPTIONS_ERROR, "Environment variable MQ_INSTALLATION_PATH not set.\n"},
  };
  const char* const installation = std::getenv("MQ_INSTALLATION_PATH");
  ASSERT_EQ(installation, nullptr) << "this test needs an environment without MQ";
  for (const Case& c : kCases) {
    Console screen;
    testing::internal::CaptureStderr();
    EXPECT_EQ(ReadAll(screen, c.Log, {c.Queue}), c.Result) << c.Log;
    printed = testing::internal::GetCapturedStderr();
    EXPECT_TRUE(Printed(c.Text)) << printed;
  }
}

}  // namespace
