// What is written in any layout is read back to the same bytes.

#include <random>

#include "files/descriptor_fields.h"
#include "files/format_check.h"
#include "files/message_files_test.h"

namespace {

constexpr Layout kLayouts[] = {{"hex"},
                               {"columns", {.AsciiColumns = true, .Index = true}},
                               {"ascii", {.AsciiLines = true, .ApplDataAsText = true}},
                               {"ascii columns", {.AsciiLines = true, .AsciiColumns = true, .DataWidth = 10}},
                               {"printable", {.Printable = true, .ApplDataAsText = true}},
                               {"printable columns", {.AsciiColumns = true, .Printable = true, .DataWidth = 100}},
                               {"wide", {.DataWidth = 5000}}};

class Generator {
 public:
  explicit Generator(unsigned seed) : random_(seed) {}
  std::size_t Below(std::size_t bound) { return random_() % bound; }

  std::string Data() {
    static constexpr std::size_t kBounds[] = {1, 3, 60, 6000};
    std::string data(Below(kBounds[Below(4)]), '\0');
    const std::size_t kind = Below(3);
    for (char& c : data)
      c = static_cast<char>(kind == 0 ? Below(256) : kind == 1 ? 0x20 + Below(0x60) : "\"~ \r\nx"[Below(6)]);
    return data;
  }

  // Fields as programs leave them: padded with blanks or NULs, or holding any bytes.
  MQMD Descriptor() {
    MQMD descriptor = DefaultDescriptor();
    for (const DescriptorField* field = DescriptorFields; field->Kind != FieldKind::End; ++field) {
      auto* const bytes = reinterpret_cast<char*>(&descriptor) + field->Offset;
      if (field->Tag[0] == '\0') continue;
      const std::size_t kind = Below(4);
      const std::size_t text = Below(field->Length + 1);
      for (std::size_t i = 0; i < field->Length; ++i) {
        bytes[i] = static_cast<char>(kind == 3 ? Below(256) : i < text ? 'A' + Below(26) : kind == 0 ? 0 : ' ');
      }
    }
    descriptor.Version = MQMD_VERSION_2;
    return descriptor;
  }

 private:
  std::mt19937 random_;
};

class RoundTrip : public MessageFiles {
 protected:
  void Check(const Layout& layout, const std::vector<TestMessage>& messages, bool carriageReturns = false) {
    WrittenFile out(folder.Path("messages"), layout.Form);
    ASSERT_FALSE(out.Writer.WriteHeader("\n", {}).failed());
    for (const TestMessage& message : messages) ASSERT_FALSE(out.Write(message).failed());
    ASSERT_EQ(out.Out.Close(false), 0);
    std::string file = folder.Read("messages");
    if (carriageReturns) {
      std::string crlf;
      for (const char c : file) {
        if (c == '\n') crlf += '\r';
        crlf += c;
      }
      file = crlf;
    }
    const std::vector<TestMessage> back = MessagesOf(file);
    ASSERT_EQ(back.size(), messages.size());
    for (std::size_t i = 0; i < back.size(); ++i) {
      EXPECT_TRUE(back[i].Data == messages[i].Data) << i;
      EXPECT_TRUE(SameDescriptor(back[i].Descriptor, messages[i].Descriptor)) << i;
    }
  }
};

TEST_F(RoundTrip, AnyMessageInAnyLayout) {
  for (const Layout& layout : kLayouts) {
    for (unsigned seed = 0; seed < 8; ++seed) {
      SCOPED_TRACE(testing::Message() << layout.Name << " " << seed);
      Generator generator(seed);
      std::vector<TestMessage> messages(1 + generator.Below(30));
      for (TestMessage& message : messages) message = {generator.Descriptor(), generator.Data()};
      Check(layout, messages, seed % 2 == 1);
    }
  }
}

// What a string field may hold, and the lines that bring it back.
TEST_F(RoundTrip, StringFields) {
  const std::string blanks(42, ' ');
  const std::pair<std::string, std::string> cases[] = {
      {std::string(48, ' '), "A RTQ " + std::string(48, ' ') + "\n"},
      {std::string(48, '\0'), "A RTQ \n"},
      {"REPLY\x80" + blanks, "A RTQ REPLY\x80" + blanks + "\n"},
      {"REPLY" + std::string(43, '\0'), "A RTQ REPLY\nA RQX 5245504C59" + std::string(86, '0') + "\n"},
      {std::string(1, '\0') + std::string(47, 'x'), "A RTQ \nA RQX 00"},
      {"a\nX 00\r\n" + std::string(40, ' '), "A RTQ a\nA RQX 610A582030300D0A20"},
      {std::string(47, 'q') + "\r", "A RTQ " + std::string(47, 'q') + "\nA RQX 71"},
      {std::string(46, 'q') + "\x1A\x7F", "A RTQ " + std::string(46, 'q') + "\nA RQX 71"}};
  for (const auto& [value, lines] : cases) {
    TestMessage message{DefaultDescriptor(), "data"};
    std::memcpy(message.Descriptor.ReplyToQ, value.data(), value.size());
    EXPECT_NE(FileOf({}, message).find(lines), std::string::npos) << lines;
    Check({"hex"}, {message});
  }
  TestMessage message{DefaultDescriptor(), "data"};
  std::memset(message.Descriptor.Format, 0, 8);  // the default is blank here
  message.Descriptor.ApplOriginData[1] = '\n';
  const std::string file = FileOf({.ApplDataAsText = true}, message);
  EXPECT_NE(file.find("A FMT \nA FMX 0000000000000000\n"), std::string::npos);
  EXPECT_NE(file.find("A AOD \nA AOX 000A0000\n"), std::string::npos);
  Check({"hex", {.ApplDataAsText = true}}, {message});
}

// As text a message leaves its queue only if it comes back as it was: every data of a few bytes is tried.
TEST_F(RoundTrip, TextIsExactOrRefused) {
  const std::string_view bytes("a\n\r\x01", 4);
  for (int number = 0; number < 5 * 5 * 5; ++number) {
    TestMessage message{DefaultDescriptor(), {}};
    for (int left = number; left != 0; left /= 5) {
      if (left % 5 != 0) message.Data += bytes[static_cast<std::size_t>(left % 5 - 1)];
    }
    const LayoutOptions text{.TextLines = true};
    const auto back = MessagesOf("* TARVO\n\n" + FileOf(text, message));
    ASSERT_EQ(back.size(), 1U);
    const bool refused = WrittenFile(folder.Path("out"), text).Write(message, true).failed();
    EXPECT_NE(refused, back[0].Data == message.Data) << testing::PrintToString(message.Data);
  }
}

}  // namespace
