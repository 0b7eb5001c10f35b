#include "files/writer.h"

#include "files/message_files_test.h"

namespace {

using namespace std::string_literals;

constexpr char kNulText[] = {0, 1, 2};

TestMessage DocumentedMessage() {
  TestMessage message{DefaultDescriptor(), "Order 17: \"A4\" paper~x2\r\nQty=3" + std::string(kNulText, 3)};
  MQMD& md = message.Descriptor;
  md.CodedCharSetId = 1208;
  md.Priority = 4;
  md.Persistence = 1;
  md.PutApplType = 11;
  for (MQBYTE i = 0; i < sizeof md.MsgId; ++i) md.MsgId[i] = i;
  FillField(md.Format, sizeof md.Format, "MQSTR");
  FillField(md.ReplyToQ, sizeof md.ReplyToQ, "");
  FillField(md.ReplyToQMgr, sizeof md.ReplyToQMgr, "QM1");
  FillField(md.UserIdentifier, sizeof md.UserIdentifier, "app1");
  FillField(md.ApplIdentityData, sizeof md.ApplIdentityData, "");
  FillField(md.PutApplName, sizeof md.PutApplName, "tarvo.exe");
  FillField(md.PutDate, sizeof md.PutDate, "20251118");
  FillField(md.PutTime, sizeof md.PutTime, "10301250");
  FillField(md.ApplOriginData, sizeof md.ApplOriginData, "");
  return message;
}

std::string Repeated(int count, std::string_view text) {
  std::string all;
  while (count-- > 0) all += text;
  return all;
}

const std::string kDescriptorLines =
    "A VER 2\nA RPT 0\nA MST 8\nA EXP -1\nA FDB 0\nA ENC 546\nA CCS 1208\nA FMT MQSTR   \nA PRI 4\nA PER 1\n"
    "A MSI 000102030405060708090A0B0C0D0E0F1011121314151617\nA COI " +
    std::string(48, '0') + "\nA BOC 0\nA RTQ " + std::string(48, ' ') + "\nA RTM QM1" + std::string(45, ' ') +
    "\nA USR app1        \nA ACC " + std::string(64, '0') + "\nA AIX " + Repeated(32, "20") +
    "\nA PAT 11\nA PAN tarvo.exe" + std::string(19, ' ') + "\nA PTD 20251118\nA PTT 10301250\nA AOX 20202020\nA GRP " +
    std::string(48, '0') + "\nA MSQ 1\nA OFF 0\nA MSF 0\nA ORL -1\n";

// The data lines that a layout makes of some data.
class Writer : public MessageFiles {
 protected:
  std::string Lines(Layout layout, const std::string& data) {
    layout.Form.NoDescriptor = true;
    const std::string file = FileOf(layout.Form, {DefaultDescriptor(), data});
    return file.substr(2, file.size() - 3);  // without the "N" line and the empty line
  }
};

TEST_F(Writer, DocumentedExample) {
  const std::pair<Layout, std::string> cases[] = {
      {{"hex"}, "X 4F726465722031373A20224134222070617065727E78320D0A\nX 5174793D33000102\n"},
      {{"columns", {.AsciiColumns = true}},
       "X 4F726465722031373A20224134222070617065727E78320D0A  <Order 17: \"A4\" paper~x2..>\n"
       "X 5174793D33000102" +
           std::string(36, ' ') + "<Qty=3...>\n"},
      {{"ascii", {.AsciiLines = true}},
       "S \"Order 17: \"\nX 22\nS \"A4\"\nX 22\nS \" paper\"\nX 7E\nS \"x2\"\nX 0D0A\nS \"Qty=3\"\nX 000102\n"},
      {{"printable", {.Printable = true}}, "S \"Order 17: ~\"A4~\" paper~~x2\"\nX 0D0A\nS \"Qty=3\"\nX 000102\n"},
      {{"text", {.TextLines = true}}, "T Order 17: \"A4\" paper~x2\nT Qty=3\nX 000102\n"},
      {{"raw", {.Raw = true}}, DocumentedMessage().Data},
      {{"raw first", {.AsciiLines = true, .Printable = true, .Raw = true}}, DocumentedMessage().Data},
      {{"narrow columns", {.AsciiColumns = true, .DataWidth = 10}},
       "X 4F726465722031373A20  <Order 17: >\nX 22413422207061706572  <\"A4\" paper>\n"
       "X 7E78320D0A5174793D33  <~x2..Qty=3>\nX 000102" +
           std::string(16, ' ') + "<...>\n"}};
  for (const auto& [layout, lines] : cases) {
    EXPECT_EQ(FileOf(layout.Form, DocumentedMessage()), kDescriptorLines + lines + "\n") << layout.Name;
  }
}

TEST_F(Writer, DataLinesAtTheEdges) {
  const Layout hex{"hex"}, ascii{"A", {.AsciiLines = true}}, printable{"p", {.Printable = true}},
      text{"t", {.TextLines = true}};
  const Layout both{"Aa", {.AsciiLines = true, .AsciiColumns = true, .DataWidth = 10}},
      columns{"a", {.AsciiColumns = true, .DataWidth = 10}};
  const std::string digits(100'000, 'F');
  const std::tuple<Layout, std::string, std::string> cases[] = {
      {hex, "", "X \n"},
      {columns, "", "X \n"},
      {ascii, "", "S \n"},
      {printable, "", "S \n"},
      {text, "", "T \n"},
      {ascii, std::string(48, 'x'), "S \"" + std::string(48, 'x') + "\"\n"},
      {ascii, std::string(49, 'x'), "S \"" + std::string(48, 'x') + "\"\nS \"x\"\n"},
      {printable, std::string(48, '~'), "S \"" + std::string(96, '~') + "\"\n"},
      {ascii, "\x80"s, "S \nX 80\n"},
      {both, "\x80"s + "a", "S \nX 80" + std::string(20, ' ') + "<.>\nS \"a\"\n"},
      {ascii, "a\0b"s, "S \"a\"\nX 00\nS \"b\"\n"},
      {ascii, " *'()<>+,-./:=?_a", "S \" *'()<>+,-./:=?_a\"\n"},
      {text, "abc\n", "T abc\n"},
      {text, "\n", "T \n"},
      {text, "a\n\nb", "T a\nT \nT b\n"},
      {text, "a\n\r\r\nb", "T a\nT \nT b\n"},
      {text, "\x01\nab", "T \nX 010A\nT ab\n"},
      {text, "a\x02", "T a\nX 02\n"},
      {{"wide", {.DataWidth = 100'000}}, std::string(50'000, '\xFF'), "X " + digits + "\n"},
      {{"wide columns", {.AsciiColumns = true, .DataWidth = 50'001}},
       std::string(50'000, '\xFF'),
       "X " + digits + "    <" + std::string(50'000, '.') + ">\n"},
      {{"wide strings", {.Printable = true, .DataWidth = 100'000}},
       std::string(100'000, '"'),
       "S \"" + Repeated(100'000, "~\"") + "\"\n"}};
  for (const auto& [layout, data, lines] : cases) {
    SCOPED_TRACE(std::string(layout.Name) + " " + data.substr(0, 60));
    EXPECT_TRUE(Lines(layout, data) == lines) << Lines(layout, data).substr(0, 200);
  }
}

TEST_F(Writer, DescriptorOptions) {
  TestMessage message = DocumentedMessage();
  const auto file = [&](const LayoutOptions& form) { return FileOf(form, message); };
  const std::string characters = file({.ApplDataAsText = true});
  EXPECT_NE(characters.find("\nA AID " + std::string(32, ' ') + "\nA PAT"), std::string::npos);
  EXPECT_NE(characters.find("\nA AOD     \nA GRP"), std::string::npos);
  EXPECT_EQ(characters.find("A AIX") + 1, characters.find("A AOX") + 1);  // neither
  EXPECT_EQ(file({.Index = true, .NoDescriptor = true}).substr(0, 12), "* Index 7\nN\n");
  EXPECT_EQ(file({.Raw = true, .NoDescriptor = true}), message.Data + "\n");
  message.Descriptor.Version = 1;
  const std::string first = file({});
  EXPECT_EQ(first.substr(0, 8), "A RPT 0\n");
  EXPECT_NE(first.find("A AOX 20202020\nX "), std::string::npos);
}

// A bound that is too small lets a file pass its size limit.
TEST_F(Writer, WorstCaseIsNeverPassed) {
  std::string mixed;
  for (int i = 0; i < 999; ++i) mixed += i % 2 == 0 ? '\x01' : '~';
  TestMessage worst{DefaultDescriptor(), ""};
  std::memset(static_cast<void*>(&worst.Descriptor), 0xFF, sizeof worst.Descriptor);  // long numbers
  worst.Descriptor.Version = 2;
  worst.Descriptor.ReplyToQ[47] = '\n';
  LayoutOptions layouts[5]{{}, {.AsciiLines = true}, {.Printable = true}, {.TextLines = true}, {.Raw = true}};
  for (LayoutOptions& form : layouts) {
    form.Index = true;
    form.DataWidth = 10;
    for (const bool columns : {false, true}) {
      form.AsciiColumns = columns;
      for (const std::string& data : {""s, "~"s, "\x01"s, mixed, std::string(999, '~'), std::string(999, '\n')}) {
        worst.Data = data;
        EXPECT_LE(static_cast<std::int64_t>(FileOf(form, worst).size()),
                  WorstCaseSize(form, static_cast<MQLONG>(data.size())));
      }
    }
  }
  const LayoutOptions widest{.AsciiLines = true, .AsciiColumns = true, .DataWidth = kWidestLine};
  EXPECT_GT(WorstCaseSize(widest, INT32_MAX), std::int64_t{INT32_MAX} * kWidestLine);
}

}  // namespace
