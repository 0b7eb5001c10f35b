#include "files/plain_file.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <vector>

#include "platform/test_folder.h"

namespace {

using Texts = std::vector<std::string>;
using namespace std::string_literals;

// How a file is cut. Flags: 'm' and 'p' include the delimiters of messages and of properties, 'x' excludes both, the
// others are the letters of -n.
struct Cutting {
  std::string Flags{}, Start{}, End{}, StartProperty{}, EndProperty{};

  PlainFileOptions Options() const {
    const auto has = [this](char flag) { return Flags.find(flag) != std::string::npos; };
    PlainFileOptions asked;
    asked.WholeFile = has('1');
    asked.IncludeMsgDelims = has('m');
    asked.IncludePropDelims = has('p');
    asked.ExcludeMsgDelims = asked.ExcludePropDelims = has('x');
    asked.SameDelims = has('!');
    asked.NoBrackets = has('B');
    asked.KeepPropWhitespace = has('W');
    asked.StartMessage = Start;
    asked.EndMessage = End;
    asked.StartProperty = StartProperty;
    asked.EndProperty = EndProperty;
    return asked;
  }
};

// A plain file, or a set of them, that is read.
struct PlainRead {
  PlainRead(const Cutting& cutting, const std::string& path) : Asked(cutting.Options()), In(path) { Start(); }
  PlainRead(const Cutting& cutting, InputFiles::Plan plan) : Asked(cutting.Options()), In(std::move(plan)) { Start(); }

  // Every message up to the end of the input or a failure.
  Texts Messages() {
    Texts messages;
    testing::internal::CaptureStderr();
    for (Failure = Reader.Read(Message); !Failure.failed() && !Reader.at_end(); Failure = Reader.Read(Message)) {
      messages.emplace_back(reinterpret_cast<const char*>(Message.Data), static_cast<std::size_t>(Message.Length));
    }
    Shown = testing::internal::GetCapturedStderr();
    return messages;
  }

  PlainFileOptions Asked;
  Console Screen;
  InputFiles In;
  PlainFileReader Reader{In, Asked, Screen};
  CurrentMessage Message;
  Result Failure;
  std::string Shown;

 private:
  void Start() {
    EXPECT_FALSE(In.OpenNext().failed());
    EXPECT_EQ(Reader.Prepare().text(), "");
  }
};

struct DelimiterCase {
  Cutting Asked;
  const char* Text;  // empty: accepted
};

TEST(PlainDelimiters, Refusals) {
  const char* across = "Message and Property delimiters are the same.\n";
  const DelimiterCase cases[] = {
      {{""}, ""},
      {{"", "", "\\13\\10"}, ""},
      {{"!", "%", "%"}, ""},
      {{"", "{", "}"}, ""},
      {{"", "\\0", "\\255"}, ""},
      {{"", "a", "", "b"}, ""},  // both lines end with LF
      {{"", "", "\\256"}, "Message delimiter character code must be between 0 and 255.\n"},
      {{"", "", "\\99999999999999999999"}, "Message delimiter character code must be between 0 and 255.\n"},
      {{"", "", "\\x"}, "Unrecognised Message delimiter character code.\n"},
      {{"", "", "a\\"}, "Unrecognised Message delimiter character code.\n"},
      {{"", "%", "%"}, "Message delimiters are the same.\n"},
      {{"", "\\n"}, "Message delimiters are the same.\n"},
      {{"", "a", "b", "c", "c"}, "Property delimiters are the same.\n"},
      {{"", "a", "b", "a"}, across},
      {{"", "a", "b", "c", "b"}, across},
      {{"", "a", "b", "c", "a"}, across},
      {{"", "a", "b", "b"}, across},
      {{"", "", "b", "c"}, "Can't use single line Message delimiters with a Property delimiter.\n"},
      {{"1", "", "b"}, "Reading entire file does not require message delimiters.\n"},
      {{"mx", "a", "b"}, "You can not specify both 'include' and 'dont include' message/property delimiters.\n"},
      {{"", "(", "]"}, "Unmatched delimiter ')' bracket.\n"},
      {{"", "a", ">"}, "Unmatched delimiter '>' bracket.\n"},
      {{"", "(", "x"}, "Unmatched delimiter brackets.\n"},
      {{"B", "(", "x"}, ""},
  };
  for (const DelimiterCase& c : cases) {
    PlainDelimiters delimiters;
    const Result result = MakePlainDelimiters(c.Asked.Options(), delimiters);
    EXPECT_EQ(result.reason(), *c.Text == '\0' ? 0 : MQRCCF_PARM_VALUE_ERROR) << c.Asked.End;
    EXPECT_EQ(result.text(), c.Text) << c.Asked.End;
  }
}

struct CutCase {
  Cutting Asked;
  std::string File;
  Texts Messages;
  const char* Tail = "";  // "bytes,line" not taken
};

class PlainFiles : public testing::Test {
 protected:
  std::string In(const std::string& bytes) { return folder.Write("in.txt", bytes); }
  TestFolder folder;
};

TEST_F(PlainFiles, AreCutAtTheirDelimiters) {
  const CutCase cases[] = {
      {{""}, "", {}},
      {{""}, "one\n\ntwo\nlast", {"one", "", "two", "last"}},
      {{"mp"}, "one\nlast", {"one\n", "last"}},
      {{""}, "{\"a\":\n[1,\n2]}\n{}\n", {"{\"a\":\n[1,\n2]}", "{}"}},
      {{"B"}, "{\n}\n", {"{", "}"}},
      {{""}, "ok\n{\n\n", {"ok"}, "3,2"},       // a brace that never closes keeps every line end
      {{""}, "ok\n{)\nmore\n", {"ok"}, "8,2"},  // a bracket out of place too
      {{""}, "ok\n(]", {"ok"}, "2,2"},
      {{"m", "<msg>", "</msg>"}, "x<msg>a</msg> y <msg>b\n</msg>z\n", {"<msg>a</msg>", "<msg>b\n</msg>"}, "2,2"},
      {{"", "<msg>", "</msg>"}, "<msg>a</msg>\n\n<msg>b", {"a"}, "6,3"},
      {{"", "<msg>", "</msg>"}, "(<msg>a</msg>)<msg>b</msg>", {"b"}},  // the first start stands inside a bracket
      {{"", "<msg>", "</msg>"}, "<msg>a</msg>\n(\n<msg>b</msg>", {"a"}, "14,2"},
      {{"", "<msg>", "</msg>"}, "<msg>a</msg>\n)\n<msg>b</msg>", {"a"}, "14,2"},
      {{"", "<msg>", "</msg>"}, "<msg>a</msg>\n<ms", {"a"}, "3,2"},
      {{"", "<msg>", "</msg>"}, "<msg>a</msg> \t\r\n", {"a"}},
      {{"", "{", "}"}, "{a}{b}", {}, "6,1"},  // what is looked at begins behind the start delimiter
      {{"B", "{", "}"}, "{a}{b}", {"a", "b"}},
      {{"", "", "END"}, "aENENDbEND", {"aEN", "b"}},
      {{"", "", "END"}, "aENDbEN", {"a"}, "3,1"},
      {{"", "", "END"}, "aEND\n \n", {"a"}},
      {{"", "", "\\13\\9"}, "a\nb\r\tc\r\t", {"a\nb", "c"}},
      {{"", "", "\\0"}, "a\0b\0"s, {"a", "b"}},
      {{"!", "%", "%"}, "%a%%b%", {"a", "b"}},
      {{"", "({", "})"}, "({x({a})({({b})", {"x({a", "({b"}},  // closes what the message has opened
      {{"B1"}, "a\nb\n", {"a\nb\n"}},
      {{"1"}, "", {""}},
  };
  for (const CutCase& c : cases) {
    SCOPED_TRACE(c.File);
    PlainRead plain(c.Asked, In(c.File));
    EXPECT_EQ(plain.Messages(), c.Messages);
    EXPECT_EQ(plain.Failure.text(), "");
    std::string tail;
    if (!plain.Shown.empty()) {
      const std::string line = plain.Shown.substr(plain.Shown.find("from line ") + 10);
      tail = plain.Shown.substr(0, plain.Shown.find(' ')) + "," + line.substr(0, line.find(' '));
      EXPECT_NE(plain.Shown.find(folder.Path("in.txt")), std::string::npos);
    }
    EXPECT_EQ(tail, c.Tail) << plain.Shown;
    EXPECT_EQ(plain.Reader.loss(), tail.empty() ? 0 : MQRC_FILE_SYSTEM_ERROR);
  }
}

TEST_F(PlainFiles, DescriptorIsTheDefaultWithTheFormat) {
  PlainRead plain({}, In("a\n"));
  plain.Messages();
  EXPECT_EQ(plain.Message.Descriptor.Version, 1);
  EXPECT_TRUE(IsFormat(plain.Message.Descriptor.Format, MQFMT_STRING));
  EXPECT_EQ(plain.In.BytesRead(), 2);  // what was taken counts for the progress
}

// The properties text of a message with an MQRFH2 header, after looking at the header; "?" when there is none.
std::string PropertiesIn(const std::string& message) {
  if (message.size() < 40 || message.compare(0, 4, "RFH ") != 0) return "?";
  MQRFH2 header;
  MQLONG length;
  std::memcpy(&header, message.data(), sizeof header);
  std::memcpy(&length, message.data() + sizeof header, sizeof length);
  EXPECT_EQ(header.Version, 2);
  EXPECT_EQ(header.StrucLength, 40 + length);
  EXPECT_EQ(header.CodedCharSetId, MQCCSI_INHERIT);
  EXPECT_TRUE(IsFormat(header.Format, MQFMT_STRING));
  EXPECT_EQ(header.NameValueCCSID, 1208);
  EXPECT_EQ(length % 4, 0);
  return message.substr(40, static_cast<std::size_t>(length)) + "|" +
         message.substr(40 + static_cast<std::size_t>(length));
}

TEST_F(PlainFiles, PropertiesBecomeAHeader) {
  const CutCase cases[] = {
      {{}, "P:  <usr>\n  <a>1</a>\n</usr>  :Q<m>data</m>", {"<usr><a>1</a></usr> |data"}},
      {{"W"}, "P: <a>1</a> :Q<m>data</m>", {" <a>1</a>   |data"}},
      {{"mp"}, "P:<a>:Q<m>data</m>", {"P:<a>:Q |<m>data</m>"}},
      {{"B"}, "P:<a b=\"1  2\">x  y </a> \"q  <\" <b/>:Q<m></m>", {"<a b=\"1  2\">x  y</a>\"q  <\"<b/>  |"}},
      {{}, "P::Q<m>1</m><m>2</m> P:ab:Q <m>3</m>", {"|1", "?", "ab  |3"}},  // properties are one message's
  };
  for (const CutCase& c : cases) {
    SCOPED_TRACE(c.File);
    PlainRead plain({c.Asked.Flags, "<m>", "</m>", "P:", ":Q"}, In(c.File));
    Texts messages = plain.Messages();
    EXPECT_EQ(plain.Failure.text(), "");
    for (std::string& message : messages) message = PropertiesIn(message);
    EXPECT_EQ(messages, c.Messages);
  }
}

TEST_F(PlainFiles, MessagesOfEverySizeSurviveTheBlocks) {
  Texts expected;
  std::string file;
  std::size_t size = 1;
  for (int i = 0; i < 300; ++i) {
    size = (size * 7919 + 13) % (i % 50 == 0 ? 1'000'003 : 30'011);
    std::string text = "(" + std::string(size, static_cast<char>('a' + i % 26)) + "\n" + std::to_string(i) + ")";
    file += "p" + std::to_string(i) + ";" + text + "END\n";
    expected.push_back(std::move(text));
  }
  EXPECT_EQ(PlainRead({"", ";", "END", "", ";;"}, In(file)).Messages(), expected);
}

TEST_F(PlainFiles, LaterFileThatCannotBeReadIsAFailure) {
  folder.Write("in1.txt", "a\n");
  folder.Write("in2.txt", "b\n");
  std::filesystem::create_directory(folder.Path("in3.txt"));
  InputFiles::Plan plan;
  plan.NameOf = [this](int number) { return folder.Path("in" + std::to_string(number) + ".txt"); };
  plan.Set = true;
  PlainRead plain({}, plan);
  EXPECT_EQ(plain.Messages(), (Texts{"a", "b"}));
  EXPECT_EQ(plain.Failure.reason(), MQRC_FILE_SYSTEM_ERROR);
}

TEST_F(PlainFiles, CountedFirstTellsItsLossOnce) {
  PlainRead plain({"", "<m>", "</m>", "P", "Q"}, In("PaQ<m>1</m><m>2</m><m>"));
  PlainFileReader again(plain.In, plain.Asked, plain.Screen, {}, true);
  testing::internal::CaptureStderr();
  for (const bool properties : {true, false, false}) {
    bool has = false;
    ASSERT_FALSE(plain.Reader.Skip(has).failed());
    EXPECT_EQ(has, properties);
  }
  EXPECT_TRUE(plain.Reader.at_end());
  EXPECT_EQ(testing::internal::GetCapturedStderr().substr(0, 7), "3 bytes");
  plain.In.File().Rewind();
  ASSERT_FALSE(again.Prepare().failed());
  testing::internal::CaptureStderr();
  while (!again.at_end()) ASSERT_FALSE(again.Read(plain.Message).failed());
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  EXPECT_EQ(again.loss(), MQRC_FILE_SYSTEM_ERROR);
}

// A scan that looks at the same bytes again for each candidate, or calls itself for each bracket, takes hours or
// overflows the stack here.
TEST_F(PlainFiles, HugeNestingAndManyCandidates) {
  constexpr std::size_t kDeep = 1'000'000;
  std::string deep;
  for (std::size_t i = 0; i < kDeep; ++i) deep += "[\n";
  const std::string closed = deep + std::string(kDeep, ']');
  EXPECT_EQ(PlainRead({}, In(closed + "\nx\n")).Messages(), (Texts{closed, "x"}));
  PlainRead open({}, In(deep));
  EXPECT_EQ(open.Messages(), Texts{});
  EXPECT_EQ(open.Shown.substr(0, 8), "2000000 ");
  PlainRead misplaced({}, In("]" + deep));
  EXPECT_EQ(misplaced.Messages(), Texts{});
  EXPECT_EQ(misplaced.Shown.substr(0, 8), "2000001 ");
}

}  // namespace
