#include "files/streams.h"

#include <cerrno>

#include "platform/system.h"
#include "platform/test_folder.h"

namespace {

TEST(Streams, LinesAcrossBlocks) {
  const TestFolder folder;
  const std::size_t sizes[] = {1, kStreamBlock - 2, 1, 5, 3 * kStreamBlock, kStreamBlock, 0, 7};
  std::string content;
  for (const std::size_t size : sizes) content += std::string(size, 'x') + '\n';
  content += "no line end";
  InputFile in;
  ASSERT_EQ(in.Open(folder.Write("in", content).c_str(), "rb"), 0);
  EXPECT_EQ(in.Size(), static_cast<std::int64_t>(content.size()));
  for (int pass = 0; pass < 2; ++pass) {
    for (const std::size_t size : sizes) {
      const std::string_view line = in.NextLine();
      EXPECT_EQ(line.size(), size + 1);
      EXPECT_EQ(line.find('\n'), size);
    }
    char rest[20];
    EXPECT_EQ(in.Read(rest, 3), 3U);
    EXPECT_EQ(in.NextLine(), "line end");
    EXPECT_EQ(in.NextLine(), "");
    EXPECT_EQ(in.error(), 0);
    EXPECT_EQ(in.consumed(), static_cast<std::int64_t>(content.size()));
    ASSERT_EQ(in.Rewind(), 0);
  }
}

TEST(Streams, TextModeOfWindowsEndsAtNothingButTheEnd) {
  const TestFolder folder;
  const std::string filler(kStreamBlock - 10, 'x');
  const std::string content = "a\r\n\r\rb\x1a\n" + filler + "\r\r\n\rc\r\r\nd\r";
  for (const char* mode : {"r", "rb"}) {
    InputFile in;
    ASSERT_EQ(in.Open(folder.Write("in", content).c_str(), mode), 0);
    std::string lines;
    for (std::string_view line; !(line = in.NextLine()).empty();) lines += line;
    const bool text = Platform() == PlatformKind::Windows && std::string_view(mode) == "r";
    EXPECT_TRUE(lines == (text ? "a\n\r\rb\x1a\n" + filler + "\r\n\rc\r\nd\r" : content)) << mode;
  }
}

TEST(Streams, WhatCannotBeOpened) {
  const TestFolder folder;
  InputFile in;
  OutputFile out;
  EXPECT_EQ(in.Open(folder.Path("").c_str(), "r"), EISDIR);
  EXPECT_EQ(out.Open(folder.Path("").c_str(), "w"), EISDIR);
  EXPECT_EQ(in.Open(folder.Path("none").c_str(), "r"), ENOENT);
  EXPECT_FALSE(in.is_open());
  EXPECT_EQ(in.NextLine(), "");
  EXPECT_FALSE(out.Append("lost"));
  EXPECT_NE(out.error(), 0);
}

TEST(Streams, OutputOfAnySize) {
  const TestFolder folder;
  const std::string name = folder.Write("out", "before");
  std::string expected = "before";
  OutputFile out;
  ASSERT_EQ(out.Open(name.c_str(), "ab"), 0);
  for (std::size_t size : {std::size_t{1}, kStreamBlock - 1, std::size_t{2}, kStreamBlock, 2 * kStreamBlock + 1}) {
    const std::string piece(size, static_cast<char>('a' + size % 26));
    EXPECT_TRUE(out.Append(piece));
    expected += piece;
    EXPECT_EQ(out.position(), static_cast<std::int64_t>(expected.size()));
  }
  EXPECT_EQ(out.Flush(true), 0);
  EXPECT_TRUE(folder.Read("out") == expected);
  EXPECT_EQ(out.Close(true), 0);
  EXPECT_EQ(out.Close(true), 0);
}

}  // namespace
