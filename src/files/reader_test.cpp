#include "files/reader.h"

#include "files/field_values.h"
#include "files/message_files_test.h"

namespace {

const std::string kMark = "* TARVO\n";

class Reader : public MessageFiles {
 protected:
  // Reads a file that fails; returns the text with the file's name as "F", behind the number of good messages.
  std::string Failure(std::string_view content, MQLONG expected = MQRC_FILE_SYSTEM_ERROR) {
    ReadFile file(folder.Write("in", content));
    const std::size_t good = file.Messages().size();
    EXPECT_EQ(file.Failure.reason(), expected);
    std::string text(file.Failure.text());
    const std::string name = folder.Path("in");
    if (const std::size_t at = text.find(name); at != std::string::npos) text.replace(at, name.size(), "F");
    return std::to_string(good) + " " + text;
  }
  std::string DataOf(const std::string& lines) {
    const auto messages = MessagesOf(kMark + "N\n" + lines);
    return messages.size() == 1 ? messages[0].Data : "not one message";
  }
};

TEST_F(Reader, RefusedLines) {
  const std::pair<std::string, std::string> cases[] = {
      {"*  TARVO\n", "0 File 'F' does not appear to be a TARVO file"},
      {kMark + "\n* note\nX 00\n", "0 Expected message attribute at line  4 of file 'F'"},
      {kMark + "A PRI 1\nN\n", "0 Expected message at line 3 of file 'F'"},
      {kMark + "A pri 1\nX 00\n", "0 Unrecognised attribute on line 2 of file 'F'"},
      {kMark + std::string("A \0\0\0 x\nX 00\n", 14), "0 Unrecognised attribute on line 2 of file 'F'"},
      {kMark + "N\nX 0\r\n", "0 Badly formed HEX string on line 3 of file 'F'"},
      {kMark + "N\nX " + std::string(63, 'A') + "x\n", "0 Badly formed HEX string on line 3 of file 'F'"},
      {kMark + "N\nS \"\n", "0 Invalid string line - no terminating \" symbol on line 3 of file 'F'"},
      {kMark + "N\nS \"abc~\"\n", "0 Invalid string line - no terminating \" symbol on line 3 of file 'F'"},
      {kMark + "N\nS \"a\"b\"\n", "0 Unexpected text behind the closing \" symbol on line 3 of file 'F'"},
      {kMark + "A PRI high\nX 00\n", "0 Invalid number on line 2 of file 'F'"},
      {kMark + "A PRI 4 5\nX 00\n", "0 Invalid number on line 2 of file 'F'"},
      {kMark + "A PRI +-4\nX 00\n", "0 Invalid number on line 2 of file 'F'"},
      {kMark + "A EXP 2147483648\nX 00\n", "0 Invalid number on line 2 of file 'F'"},
      {kMark + "A COI 01z\nX 00\n", "0 Badly formed HEX string on line 2 of file 'F'"},
      {kMark + "A COI 010\nX 00\n", "0 Badly formed HEX string on line 2 of file 'F'"},
      {kMark + "A AOX 0102030405\nX 00\n", "0 Badly formed HEX string on line 2 of file 'F'"},
      {kMark + "N\nX 00\n\nQ\n", "1 Expected message attribute at line  5 of file 'F'"}};
  for (const auto& [content, text] : cases) EXPECT_EQ(Failure(content), text) << content;
}

TEST_F(Reader, DataLines) {
  const std::pair<const char*, std::string> cases[] = {
      {"S Hello  \n", "Hello"},
      {"S   \n", ""},
      {"S   \"a~~b~\"c\" \t\r\r\n", "a~b\"c"},
      {"X 0A G1\n", "\n"},
      {"X 41424344454647484950  <ABCDEFGHIP>\nX    4b\n", "ABCDEFGHIPK"},
      {"T\n", "\n"},
      {"T  two\nTxone\n* comment\n\nT\n", " two\none\n\n"},
      {"X 4142\r\nS \"C\"\r\nT D\r\n", "ABCD\n"},
      {"X \nS \n", ""}};
  for (const auto& [lines, data] : cases) EXPECT_EQ(DataOf(lines), data) << lines;
}

TEST_F(Reader, AttributeLines) {
  const auto messages = MessagesOf(
      "\n \t\n* KORVANEL\nA PRI\nA PRI \nA MSI 0102\nA FMT ABC\nA ENC   +12 \t\nA EXP 2147483647\n"
      "A FDB -2147483648\nA CCS 037\r\r\nA AID text\nA RTQ first\nA RTQ second, and a text of more "
      "than 48 characters in all\nA COI  01 \nA PER  \nA VER 1\nS a\n\nN\nA PER 1\nS b\n");
  ASSERT_EQ(messages.size(), 2U);
  MQMD md = DefaultDescriptor();
  md.MsgId[0] = 1;
  md.MsgId[1] = 2;
  md.CorrelId[0] = 1;
  md.Encoding = 12;
  md.Expiry = INT32_MAX;
  md.Feedback = INT32_MIN;
  md.CodedCharSetId = 37;
  md.Version = 1;
  FillField(md.Format, 8, "ABC");
  FillField(md.ApplIdentityData, 32, "text");
  FillField(md.ReplyToQ, 48, "second, and a text of more than 48 characters in all");
  EXPECT_TRUE(SameDescriptor(messages[0].Descriptor, md));
  EXPECT_EQ(messages[0].Data, "a");
  md = DefaultDescriptor();
  md.Persistence = 1;
  EXPECT_TRUE(SameDescriptor(messages[1].Descriptor, md));
}

TEST_F(Reader, TheProgressOfASetIsThatOfTheFileInHand) {
  folder.Write("1", kMark + "N\nS " + std::string(500, 'x') + "\n");
  folder.Write("2", kMark + "N\nS A\n\nN\nS B\n");
  InputFiles::Plan plan;
  plan.NameOf = [this](int number) { return folder.Path(std::to_string(number)); };
  plan.Set = true;
  InputFiles files(plan);
  ASSERT_FALSE(files.OpenNext().failed());
  Console screen;
  MessageFileReader reader(files, screen);
  CurrentMessage message;
  testing::internal::CaptureStderr();
  for (int i = 1; i <= 2; ++i) ASSERT_FALSE(reader.Read(message).failed());
  testing::internal::GetCapturedStderr();
  EXPECT_EQ(files.BytesRead(), static_cast<std::int64_t>(kMark.size() + 9));  // up to the first line of "B"
}

#ifdef __linux__
TEST_F(Reader, WholeMessagesAreDeliveredBeforeAReadErrorIs) {
  for (const std::string start : {"N\nS a\n\n", "N\nS a\n", "N\n"}) {
    const bool whole = start.ends_with("\n\n");
    std::string block = kMark + start;
    while (block.size() < kStreamBlock) block += "* comment behind the message\n";
    ReadFile file(folder.Write("in", block.substr(0, kStreamBlock)));
    bool empty = false;
    ASSERT_FALSE(file.Reader.StartFile(empty).failed());
    ASSERT_NE(std::freopen("/proc/self/mem", "r", file.In.File().stream()), nullptr);  // cannot be read at its start
    if (whole) {
      EXPECT_EQ(file.Reader.Read(file.Message).reason(), 0);
      EXPECT_EQ(file.Message.Length, 1);
    }
    const Result failure = file.Reader.Read(file.Message);
    EXPECT_EQ(failure.reason(), MQRC_FILE_SYSTEM_ERROR);
    EXPECT_EQ(failure.text(), "Error reading from file '" + folder.Path("in") + "' RC(5)");
    EXPECT_FALSE(file.Reader.at_end());
  }
}
#endif

TEST_F(Reader, MemoryTrace) {
  ReadFile file(folder.Write("in", kMark + "N\nS \"" + std::string(2040, 'a') + "\"\n"));
  testing::internal::CaptureStderr();
  file.Message.Buffer.Trace(MemoryTrace(&file.Screen));
  ASSERT_FALSE(file.Message.Buffer.Grow(1).failed());
  {
    MessageFileReader reader(file.In, file.Screen, MemoryTrace(&file.Screen));
    ASSERT_FALSE(reader.Allocate().failed());
    bool empty = false;
    ASSERT_FALSE(reader.StartFile(empty).failed());
    ASSERT_FALSE(reader.Read(file.Message).failed());
    EXPECT_EQ(file.Message.Length, 2040);
  }
  file.Message.Buffer.Release();
  const std::string trace = testing::internal::GetCapturedStderr();
  std::string sizes;
  for (std::size_t at = 0; (at = trace.find("Allocating ", at)) != std::string::npos; ++at) {
    sizes += trace.substr(at + 11, trace.find(' ', at + 11) - at - 11) + " ";
  }
  EXPECT_EQ(sizes, "4096 1024 2048 ");
  EXPECT_NE(trace.find("Freeing "), std::string::npos);
}

TEST_F(Reader, RowOfUnknownKind) {
  InputFiles none;
  MQMD descriptor;
  const Result result =
      StoreFieldValue(descriptor, {&DescriptorFields[0], FieldKind::End}, "1", LineReader(none, MemoryTrace()));
  EXPECT_EQ(result.reason(), MQRC_UNEXPECTED_ERROR);
  EXPECT_EQ(result.text(), "Internal Eror:Unrecognised attribute type 0 on line 0 of file ''");
}

TEST_F(Reader, MessagesPastTwoGigabytesAreRefused) {
  CurrentMessage message;
  message.Length = INT32_MAX - 10;
  EXPECT_EQ(MakeRoom(message, 11).text(), "Unable to allocate 2147483647 bytes message storage");
}

TEST_F(Reader, Dump) {
  const std::string dump =
      "\nAMQSBCG0 - starts here\n**********************\n \n MQOPEN - 'Q1'\n \n \n"
      " MQGET of message number 1, CompCode:0 Reason:0\n****Message descriptor****\n\n"
      "  StrucId  : 'MD  '  Version : 2\n  Report   : 0  MsgType : 8\n  Format : 'MQSTR   '\n"
      "  MsgId : X'414D51'\n  ReplyToQ       : ''    \n  ** Identity Context\n"
      "  AccountingToken :\n   X'0102'\n  ApplIdentityData : 'a:b'\n  PutApplType    : '6'\n  Offset         : '0'\n\n"
      "****   Message      ****\n \n length - 5 of 5 bytes\n \n"
      "00000000:  4865 6C6C                               'Hell            '\n00000004:  6F 'o'\n\n\n"
      " MQGET of message number 2, CompCode:0 Reason:0\n****Message descriptor****\n  Priority : 5\n"
      "****   Message      ****\n length - 1 of 1 bytes\n00000000:  41\n\n No more messages \n MQCLOSE\n MQDISC\n";
  const auto messages = MessagesOf(dump);
  ASSERT_EQ(messages.size(), 2U);
  MQMD md = DefaultDescriptor();
  FillField(md.Format, 8, "MQSTR");
  std::memcpy(md.MsgId, "AMQ", 3);
  FillField(md.ReplyToQ, 48, "'");  // the character behind the opening quote belongs to the value
  md.AccountingToken[0] = 1;
  md.AccountingToken[1] = 2;
  FillField(md.ApplIdentityData, 32, "a:b");
  md.PutApplType = 6;
  EXPECT_TRUE(SameDescriptor(messages[0].Descriptor, md));
  EXPECT_EQ(messages[0].Data, "Hello");
  EXPECT_EQ(messages[1].Descriptor.Priority, 5);
  EXPECT_EQ(messages[1].Data, "A");
}

TEST_F(Reader, WhatTheEndOfAFileTells) {
  const std::string start = "* TARVO\n\nA PRI 1\nX 00\n\n";  // 23 bytes
  const std::string dump =
      "AMQSBCG0\n****Message descriptor****\n  Priority : 1\n****\n0: 41\n MQGET\n";  // its message: 62 bytes
  const auto cut = [](int line, int byte, const char* where = "inside") {
    return FormatText("has been cut off %s line %d: its whole messages end at byte %d,", where, line, byte);
  };
  const std::string nearly = "ends without an empty line behind its last message";
  const struct {
    std::string Content;
    std::size_t Messages;
    std::string Told;  // empty: nothing
  } cases[] = {
      {start, 1, ""},
      {start + "A PRI 2\nX 01\n* comment\n\n", 2, ""},
      {start + "A PRI 2\nX 01\n", 2, nearly},
      {start + "A PRI 2\nX 01\n* comment\n", 2, nearly},
      {start + "A PRI 2\nX 01", 1, cut(7, 23)},  // nothing but the line end is lost
      {start + "A PRI 2\nX 01\r", 1, cut(7, 23)},
      {start + "A PRI 2\nX 01\n* comm", 1, cut(8, 23)},
      {start + "A PRI 2\nX 0", 1, cut(7, 23)},
      {start + "A PRI 2\nA MS", 1, cut(7, 23)},
      {start + "A P", 1, cut(6, 23)},
      {start + "* Ind", 1, cut(6, 23)},
      {start + "X 0", 0, cut(6, 0)},  // goes on with the message behind the empty line
      {"* TARVO\nN\nT a\nN\nT b", 1, cut(5, 14)},
      {"* TARVO\r\n\r\nN\r\nS \"a\"\r\n\r\nN", 1, cut(6, 23)},
      {"* TARVO", 0, cut(1, 0)},
      {" \n\t", 0, ""},
      {dump, 1, ""},
      {dump + " MQDI", 1, cut(7, 62)},
      {dump + "****Message descriptor****\n  Prio", 1, cut(8, 62)},
      {dump + "****Message descriptor****\n  Priority : 2\n****\n0: 4", 1, cut(10, 62)},
      {dump + "****Message descriptor****\n  Priority : 2\n****\n length - 1 of 2\n0: 41\n", 1, cut(11, 62, "behind")},
      {dump + "****Message descriptor****\n  Priority : 2\n****\n", 1, cut(9, 62, "behind")},
  };
  for (const auto& c : cases) {
    ReadFile file(folder.Write("in", c.Content));
    testing::internal::CaptureStderr();
    EXPECT_EQ(file.Messages().size(), c.Messages) << c.Content;
    const std::string told = testing::internal::GetCapturedStderr();
    EXPECT_EQ(file.Failure.reason(), 0) << c.Content << file.Failure.text();
    EXPECT_EQ(told.empty(), c.Told.empty()) << c.Content << told;
    EXPECT_NE(told.find(c.Told), std::string::npos) << c.Content << told;
    EXPECT_EQ(file.Reader.loss() != 0, told.find("has been cut off") != std::string::npos) << c.Content;
  }
}

TEST_F(Reader, RefusedDumps) {
  const std::string start = "AMQSBCG0\n****Message descriptor****\n";
  const std::pair<std::string, std::string> cases[] = {
      {"", "0 Unexpected end of file on line 2 of file 'F'"},
      {"Version : 2\n", "0 Unexpected end of file on line 3 of file 'F'"},
      {"Version :\n", "0 Unexpected end of file on line 3 of file 'F'"},
      {"Version :\n****\n", "0 Unexpected end of section on line 4 of file 'F'"},
      {"version : 2\n", "0 Unrecognised attribute 'version' on line 3 of file 'F'"},
      {"MsgId : 414D51\n", "0 Badly formed hex string on line 3 of file 'F'"},
      {"MsgId : X'\n", "0 Badly formed hex string on line 3 of file 'F'"},
      {"MsgId : X'4G'\n", "0 Badly formed HEX string on line 3 of file 'F'"},
      {"Priority : 1\n****\n0: 41 4\n", "0 Badly formed HEX string on line 5 of file 'F'"},
      {"Priority : 1\n****\n length - 1 of 5\n0: 41\n MQGET\n",
       "0 Line 5 of file 'F' announces 5 bytes of message data, but only 1 bytes follow"},
      {"Priority : 1\n****\n0: 41\n MQGET\n****Message descriptor****\nNo\n",
       "1 Unrecognised attribute 'No' on line 8 of file 'F'"}};
  for (const auto& [content, text] : cases) EXPECT_EQ(Failure(start + content), text) << content;
}

}  // namespace
