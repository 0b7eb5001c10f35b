#include "files/plain_file.h"

#include <chrono>
#include <vector>

#include "cmdline/parameters.h"
#include "files/naming.h"
#include "platform/test_folder.h"

namespace {

using Texts = std::vector<std::string>;
using namespace std::string_literals;

// A run that loads plain files with the given -n arguments.
struct PlainRun {
  explicit PlainRun(const Texts& options) {
    run.Asked.Output.Context = PutContext::Default;
    for (const std::string& option : options) {
      EXPECT_EQ(ParseNonTarvoOptions(run, 'n', option), PlainOptionResult::Ok) << option;
    }
  }
  MQLONG Open(const std::string& path) {
    run.Asked.Input.FileName = path;
    reason = OpenFiles(run, {.Input = true});
    return reason != 0 ? reason : PreparePlainFile(run);
  }
  // Every message up to the end of the input or a failure.
  Texts ReadAll() {
    Texts messages;
    testing::internal::CaptureStderr();
    while ((reason = ReadPlainMessage(run)) == 0 && !run.Finished) {
      messages.emplace_back(reinterpret_cast<const char*>(run.Message.Data),
                            static_cast<std::size_t>(run.Message.Length));
    }
    shown = testing::internal::GetCapturedStderr();
    return messages;
  }

  Parameters run;
  MQLONG reason = 0;
  std::string shown;
};

struct OptionCase {
  Texts Options;  // all but the last are taken
  PlainOptionResult Result;
  const char* Shown;
};

TEST(PlainOptions, Refusals) {
  const std::string hundred(100, 'x');
  using enum PlainOptionResult;
  const OptionCase cases[] = {
      {{"1!BFW"}, Ok, ""},
      {{"is:<msg>"}, Ok, ""},
      {{"d:" + hundred + hundred.substr(2)}, Ok, ""},
      {{"e:a:b"}, Ok, ""},
      {{"1x"}, RefusedWithHelp, "Unrecognised -n1x parameter.\n\n"},
      {{"s:a", "is:b"}, Refused, "Start message delimiter must only be specified once.\n"},
      {{"d:ab", "e:b"}, Refused, "End message delimiter only be specified once.\n"},
      {{"s:a", "d:ab"}, Refused, "Start message delimiter must only be specified once.\n"},
      {{"p:a", "p:a"}, Refused, "Start property delimiter must only be specified once.\n"},
      {{"q:a", "q:a"}, Refused, "End property delimiter only be specified once.\n"},
      {{"ip"}, Refused, "Expected ':' after parameter -nip\n"},
      {{"ss:"}, Refused, "Expected ':' after parameter -ns\n"},
      {{"s:"}, Refused, "Start message delimiter must be between 1 and 99 characters in length.\n"},
      {{"q:" + hundred}, Refused, "End property delimiter must be between 1 and 99 characters in length.\n"},
      {{"d:abc"}, Refused, "Message delimiter parameter must be even in length.\n"},
      {{"d:"}, Refused, "Message delimiters must be between 1 and 99 characters in length.\n"},
      {{"d:" + hundred + hundred}, Refused, "Message delimiters must be between 1 and 99 characters in length.\n"},
  };
  for (const OptionCase& c : cases) {
    Parameters run;
    PlainOptionResult result = Ok;
    testing::internal::CaptureStderr();
    for (const std::string& option : c.Options) result = ParseNonTarvoOptions(run, 'n', option);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), c.Shown);
    EXPECT_EQ(result, c.Result) << c.Options.back();
  }
}

TEST(PlainOptions, PendingLettersGoToTheNextDelimiter) {
  const std::pair<const char*, std::string> cases[] = {
      {"is:a", "i   "}, {"nd:ab", " n  "}, {"iq:a", "  i "}, {"i", "i i "}};
  for (const auto& [option, set] : cases) {
    const PlainRun plain({option});
    const PlainFileOptions& asked = plain.run.Asked.Plain;
    EXPECT_EQ(asked.IncludeMsgDelims, set[0] == 'i') << option;
    EXPECT_EQ(asked.ExcludeMsgDelims, set[1] == 'n') << option;
    EXPECT_EQ(asked.IncludePropDelims, set[2] == 'i') << option;
    EXPECT_EQ(asked.ExcludePropDelims, set[3] == 'n') << option;
  }
}

struct DelimiterCase {
  Texts Options;
  const char* Text;  // empty: accepted
};

TEST(PlainDelimiters, Refusals) {
  const char* across = "Message and Property delimiters are the same.\n";
  const DelimiterCase cases[] = {
      {{""}, ""},
      {{"e:\\13\\10"}, ""},
      {{"!d:%%"}, ""},
      {{"s:{", "e:}"}, ""},
      {{"s:\\0", "e:\\255"}, ""},
      {{"s:a", "p:b"}, ""},  // both lines end with LF
      {{"e:\\256"}, "Message delimiter character code must be between 0 and 255.\n"},
      {{"e:\\99999999999999999999"}, "Message delimiter character code must be between 0 and 255.\n"},
      {{"e:\\x"}, "Unrecognised Message delimiter character code.\n"},
      {{"e:a\\"}, "Unrecognised Message delimiter character code.\n"},
      {{"d:%%"}, "Message delimiters are the same.\n"},
      {{"s:\\n"}, "Message delimiters are the same.\n"},
      {{"s:a", "e:b", "p:c", "q:c"}, "Property delimiters are the same.\n"},
      {{"s:a", "e:b", "p:a"}, across},
      {{"s:a", "e:b", "p:c", "q:b"}, across},
      {{"s:a", "e:b", "p:c", "q:a"}, across},
      {{"s:a", "e:b", "p:b"}, across},
      {{"e:b", "p:c"}, "Can't use single line Message delimiters with a Property delimiter.\n"},
      {{"1", "e:b"}, "Reading entire file does not require message delimiters.\n"},
      {{"is:a", "ne:b"}, "You can not specify both 'include' and 'dont include' message/property delimiters.\n"},
      {{"s:(", "e:]"}, "Unmatched delimiter ')' bracket.\n"},
      {{"s:a", "e:>"}, "Unmatched delimiter '>' bracket.\n"},
      {{"s:(", "e:x"}, "Unmatched delimiter brackets.\n"},
      {{"Bs:(", "e:x"}, ""},
  };
  for (const DelimiterCase& c : cases) {
    PlainRun plain(c.Options);
    EXPECT_EQ(PrepareDelimiters(plain.run), *c.Text == '\0' ? 0 : MQRCCF_PARM_VALUE_ERROR);
    EXPECT_EQ(plain.run.MessageText, c.Text) << c.Options.back();
  }
  PlainRun setAll({""});
  setAll.run.Asked.Output.Context = PutContext::SetAll;
  EXPECT_EQ(PrepareDelimiters(setAll.run), MQRCCF_PARM_VALUE_ERROR);
  EXPECT_EQ(setAll.run.MessageText, "A non-TARVO file should be loaded with either DEFAULT or NO context.\n");
}

struct CutCase {
  Texts Options;
  std::string File;
  Texts Messages;
  const char* Tail = "";  // "bytes,line" not taken
};

class PlainFiles : public testing::Test {
 protected:
  Texts Read(PlainRun& plain, const std::string& bytes) {
    EXPECT_EQ(plain.Open(folder.Write("in.txt", bytes)), 0) << plain.run.MessageText.c_str();
    return plain.ReadAll();
  }
  TestFolder folder;
};

TEST_F(PlainFiles, AreCutAtTheirDelimiters) {
  const CutCase cases[] = {
      {{""}, "", {}},
      {{""}, "one\n\ntwo\nlast", {"one", "", "two", "last"}},
      {{"i"}, "one\nlast", {"one\n", "last"}},
      {{""}, "{\"a\":\n[1,\n2]}\n{}\n", {"{\"a\":\n[1,\n2]}", "{}"}},
      {{"B"}, "{\n}\n", {"{", "}"}},
      {{""}, "ok\n{\n\n", {"ok"}, "3,2"},       // a brace that never closes keeps every line end
      {{""}, "ok\n{)\nmore\n", {"ok"}, "8,2"},  // a bracket out of place too
      {{""}, "ok\n(]", {"ok"}, "2,2"},
      {{"is:<msg>", "e:</msg>"}, "x<msg>a</msg> y <msg>b\n</msg>z\n", {"<msg>a</msg>", "<msg>b\n</msg>"}, "2,2"},
      {{"s:<msg>", "e:</msg>"}, "<msg>a</msg>\n\n<msg>b", {"a"}, "6,3"},
      {{"s:<msg>", "e:</msg>"}, "(<msg>a</msg>)<msg>b</msg>", {"b"}},  // the first start stands inside a bracket
      {{"s:<msg>", "e:</msg>"}, "<msg>a</msg>\n(\n<msg>b</msg>", {"a"}, "14,2"},
      {{"s:<msg>", "e:</msg>"}, "<msg>a</msg>\n)\n<msg>b</msg>", {"a"}, "14,2"},
      {{"s:<msg>", "e:</msg>"}, "<msg>a</msg>\n<ms", {"a"}, "3,2"},
      {{"s:<msg>", "e:</msg>"}, "<msg>a</msg> \t\r\n", {"a"}},
      {{"s:{", "e:}"}, "{a}{b}", {}, "6,1"},  // what is looked at begins behind the start delimiter
      {{"Bs:{", "e:}"}, "{a}{b}", {"a", "b"}},
      {{"e:END"}, "aENENDbEND", {"aEN", "b"}},
      {{"e:END"}, "aENDbEN", {"a"}, "3,1"},
      {{"e:END"}, "aEND\n \n", {"a"}},
      {{"e:\\13\\9"}, "a\nb\r\tc\r\t", {"a\nb", "c"}},
      {{"e:\\0"}, "a\0b\0"s, {"a", "b"}},
      {{"!d:%%"}, "%a%%b%", {"a", "b"}},
      {{"s:({", "e:})"}, "({x({a})({({b})", {"x({a", "({b"}},  // closes what the message has opened
      {{"B1"}, "a\nb\n", {"a\nb\n"}},
      {{"1"}, "", {""}},
  };
  for (const CutCase& c : cases) {
    SCOPED_TRACE(c.File);
    PlainRun plain(c.Options);
    EXPECT_EQ(Read(plain, c.File), c.Messages);
    EXPECT_EQ(plain.reason, 0) << plain.run.MessageText.c_str();
    std::string tail;
    if (!plain.shown.empty()) {
      const std::string line = plain.shown.substr(plain.shown.find("from line ") + 10);
      tail = plain.shown.substr(0, plain.shown.find(' ')) + "," + line.substr(0, line.find(' '));
      EXPECT_NE(plain.shown.find(folder.Path("in.txt")), std::string::npos);
    }
    EXPECT_EQ(tail, c.Tail) << plain.shown;
    EXPECT_EQ(plain.run.Reader.Loss, tail.empty() ? 0 : MQRC_FILE_SYSTEM_ERROR);
  }
}

TEST_F(PlainFiles, DescriptorIsTheDefaultWithTheFormat) {
  PlainRun plain({""});
  Read(plain, "a\n");
  const MQMD& descriptor = plain.run.Message.Descriptor;
  EXPECT_EQ(descriptor.Version, 1);
  EXPECT_TRUE(IsFormat(descriptor.Format, MQFMT_STRING));
  EXPECT_EQ(plain.run.Reader.FileBytes, 2);  // what was taken counts for the progress
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
      {{"i"}, "P:<a>:Q<m>data</m>", {"P:<a>:Q |<m>data</m>"}},
      {{"B"}, "P:<a b=\"1  2\">x  y </a> \"q  <\" <b/>:Q<m></m>", {"<a b=\"1  2\">x  y</a>\"q  <\"<b/>  |"}},
      {{}, "P::Q<m>1</m><m>2</m> P:ab:Q <m>3</m>", {"|1", "?", "ab  |3"}},  // properties are one message's
  };
  for (const CutCase& c : cases) {
    SCOPED_TRACE(c.File);
    Texts options = {"s:<m>", "e:</m>", "p:P:", "q::Q"};
    options.insert(options.end(), c.Options.begin(), c.Options.end());
    PlainRun plain(options);
    Texts messages = Read(plain, c.File);
    EXPECT_EQ(plain.reason, 0) << plain.run.MessageText.c_str();
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
  PlainRun plain({"s:;", "e:END", "p:p", "q:;;"});
  plain.run.Asked.Plain.StartProperty.clear();
  EXPECT_EQ(Read(plain, file), expected);
}

TEST_F(PlainFiles, LaterFileThatCannotBeReadIsAFailure) {
  folder.Write("in1.txt", "a\n");
  std::filesystem::create_directory(folder.Path("in2.txt"));
  PlainRun plain({""});
  plain.run.Naming.InputSet = true;
  ASSERT_EQ(plain.Open(folder.Path("in%n.txt")), 0);
  EXPECT_EQ(plain.ReadAll(), Texts{"a"});
  EXPECT_EQ(plain.reason, MQRC_FILE_SYSTEM_ERROR);
}

TEST_F(PlainFiles, CountLeavesTheInputAtItsStart) {
  PlainRun plain({"s:<m>", "e:</m>", "p:P", "q:Q"});
  plain.run.Plain.Pass = CountingPass::Running;
  ASSERT_EQ(plain.Open(folder.Write("in.txt", "PaQ<m>1</m><m>2</m><m>")), 0);
  testing::internal::CaptureStderr();
  EXPECT_EQ(CountPlainFile(plain.run), 0);
  EXPECT_EQ(testing::internal::GetCapturedStderr().substr(0, 7), "3 bytes");
  EXPECT_EQ(plain.run.MsgsRead, 2);
  EXPECT_EQ(plain.run.Plain.MessagesFound, 2);
  EXPECT_EQ(plain.run.Plain.MessagesWithProperties, 1);
  EXPECT_FALSE(plain.run.Finished);
  plain.run.Plain.Pass = CountingPass::Done;
  ASSERT_EQ(PreparePlainFile(plain.run), 0);
  EXPECT_EQ(plain.ReadAll().size(), 2U);
  EXPECT_EQ(plain.shown, "");  // the tail has been reported
}

// A scan that looks at the same bytes again for each candidate, or calls itself for each bracket, takes hours or
// overflows the stack here.
TEST_F(PlainFiles, HugeNestingAndManyCandidates) {
  constexpr std::size_t kDeep = 1'000'000;
  std::string deep;
  for (std::size_t i = 0; i < kDeep; ++i) deep += "[\n";
  const std::string closed = deep + std::string(kDeep, ']');
  PlainRun nested({""});
  EXPECT_EQ(Read(nested, closed + "\nx\n"), (Texts{closed, "x"}));
  PlainRun open({""});
  EXPECT_EQ(Read(open, deep), Texts{});
  EXPECT_EQ(open.shown.substr(0, 8), "2000000 ");
  PlainRun misplaced({""});
  EXPECT_EQ(Read(misplaced, "]" + deep), Texts{});
  EXPECT_EQ(misplaced.shown.substr(0, 8), "2000001 ");
}

}  // namespace
