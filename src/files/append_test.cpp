#include "files/append.h"

#include "files/message_files_test.h"

namespace {

class Append : public MessageFiles {};

// Wherever the file ends: either it is refused, and the offset tells where to cut it, or the messages in it and the new
// one are all there, each by itself.
TEST_F(Append, NeverMakesOneMessageOfTwo) {
  const std::string head = "* TARVO\n* Qmgr  = QM1\n\n";
  const std::string one = "A VER 2\nA MST 8\nX 6F6E65\n", two = "N\nS \"two\"\nX 21\n";
  const std::string next = "N\nS \"new\"\n\n";
  for (const bool crLf : {false, true}) {
    std::string whole = head + one + "\n" + two + "\n";
    if (crLf) {
      for (std::size_t at = 0; (at = whole.find('\n', at)) != std::string::npos; at += 2) whole.insert(at, 1, '\r');
    }
    int refused = 0;
    for (std::size_t size = 7; size <= whole.size(); ++size) {
      SCOPED_TRACE(testing::PrintToString(whole.substr(0, size)));
      const std::string file = folder.Write("out", whole.substr(0, size));
      std::string lineEnds;
      if (const Result result = LookAtEnd(file, lineEnds); result.failed()) {
        ++refused;
        const std::string text(result.text());
        const std::size_t end = std::stoul(text.substr(text.rfind(' ')));
        ASSERT_LE(end, size);
        EXPECT_EQ(whole.substr(end - (crLf ? 4 : 2), crLf ? 4 : 2), crLf ? "\r\n\r\n" : "\n\n");
        size_t found = whole.find(crLf ? "\r\n\r\n" : "\n\n", end);
        EXPECT_GE(found + (crLf ? 4 : 2), size) << "a message behind it is whole";
        continue;
      }
      const auto messages = MessagesOf(whole.substr(0, size) + lineEnds + next);
      ASSERT_FALSE(messages.empty());
      EXPECT_EQ(messages.back().Data, "new");
      const std::vector<std::string> known = {"one", "two!"};
      for (std::size_t i = 0; i + 1 < messages.size(); ++i)
        EXPECT_TRUE(messages[i].Data == known[i] || messages[i].Data == "two") << i;
    }
    EXPECT_GT(refused, 0);
  }
}

TEST_F(Append, LooksAtMessageFilesOnlyAndOnlyAtTheirEnd) {
  const std::string body(200000, '0');
  const struct {
    std::string Content;
    const char* LineEnds;  // null: refused
    const char* Offset;
  } cases[] = {
      {"", "", ""},
      {"some text", "", ""},
      {"A VER 2\nX 01", "", ""},
      {"\n \n* KORVANEL\n\nN\nX 01", nullptr, " 15"},
      {"* TARVO", "\n\n", ""},
      {"* TARVO\n", "\n", ""},
      {"* TARVO\n\nN\n", nullptr, " 9"},
      {"* TARVO\n\nN\nX 01\n* cut", "\n\n", ""},
      {"* TARVO\n\nN\nX 01\nN\nX 02\nN", nullptr, " 23"},
      {"* TARVO\n\nN\nX " + body + "\n\n", "", ""},
      {"* TARVO\n\nN\nX " + body + "\n", "\n", ""},
      {"* TARVO\n\nN\nX 01\n\nN\nX " + body, nullptr, " 17"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.Content.substr(0, 40));
    std::string lineEnds;
    const Result result = LookAtEnd(folder.Write("out", c.Content), lineEnds);
    EXPECT_EQ(result.reason(), c.LineEnds == nullptr ? MQRC_FILE_SYSTEM_ERROR : 0);
    EXPECT_TRUE(result.text().ends_with(c.Offset)) << result.text();
    EXPECT_EQ(lineEnds, c.LineEnds != nullptr ? c.LineEnds : "");
  }
}

}  // namespace
