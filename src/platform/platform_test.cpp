#include <gtest/gtest.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

#include "platform/child_process.h"
#include "platform/dynamic_library.h"
#include "platform/files.h"
#include "platform/system.h"
#include "platform/test_folder.h"

namespace {

namespace fs = std::filesystem;

// A folder of this test, gone with it.
class PlatformFiles : public testing::Test {
 protected:
  std::string Path(const char* name) const { return folder_.Path(name); }
  static void Write(const std::string& path, const char* text) { std::ofstream(path) << text; }
  static std::string Content(const std::string& path) {
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
  }

 private:
  TestFolder folder_;
};

TEST_F(PlatformFiles, AFileTakesThePlaceOfAnotherWhileItIsWritten) {
  Write(Path("old"), "old");
  fs::create_hard_link(Path("old"), Path("link"));
  EXPECT_EQ(IdentityOf(Path("old")), IdentityOf(Path("link")));
  std::FILE* const file = CreateLike(Path("new"), Path("old"), true);
  ASSERT_NE(file, nullptr);
  EXPECT_EQ(CreateLike(Path("new"), Path("old"), true), nullptr);
  EXPECT_EQ(errno, EEXIST);
  EXPECT_EQ(RenameReplacing(Path("new"), Path("old")), 0);
  EXPECT_EQ(IdentityOf(file)->File, IdentityOf(Path("old"))->File);  // Wine forgets the volume of a renamed open file
  EXPECT_NE(IdentityOf(file)->File, IdentityOf(Path("link"))->File);
  std::fputs("new content", file);
  std::fflush(file);
  EXPECT_EQ(SetFileSize(file, 3), 0);
  std::fclose(file);
  EXPECT_EQ(Content(Path("old")) + Content(Path("link")), "newold");
  EXPECT_EQ(RenameReplacing(Path("none"), Path("old")), ENOENT);
}

TEST(Arguments, CloseUpBehindOneThatHasBecomeShorter) {
  if (Platform() == PlatformKind::Windows) GTEST_SKIP() << "the system keeps its own copy of them";
  char memory[] = "tarvo\0-U*\0\0\0\0\0-iQ1";
  char* argv[] = {memory, memory + 6, memory + 14};
  ShowArguments(3, argv);
  EXPECT_EQ(std::string(memory, sizeof memory), std::string("tarvo\0-U*\0-iQ1\0\0\0\0\0", sizeof memory));
  EXPECT_STREQ(argv[2], "-iQ1");
}

TEST_F(PlatformFiles, TemporaryFileIsNeverOpenedThroughALink) {
  Write(Path("victim"), "precious");
  std::error_code error;
  fs::create_symlink(Path("victim"), Path("soft"), error);
  if (!error) {
    EXPECT_EQ(OpenTemporaryForWrite(Path("soft")), nullptr);
  }
  fs::create_hard_link(Path("victim"), Path("hard"));
  EXPECT_EQ(OpenTemporaryForWrite(Path("hard")), nullptr);
  EXPECT_EQ(Content(Path("victim")), "precious");

  Write(Path("own"), "old content");
  std::FILE* file = OpenTemporaryForWrite(Path("own"));
  ASSERT_NE(file, nullptr);
  std::fputs("new\n", file);
  std::fclose(file);
  EXPECT_EQ(Content(Path("own")), "new\n");
}

TEST_F(PlatformFiles, PositionsAndSizesGoBeyond32Bits) {
  std::FILE* file = std::fopen(Path("big").c_str(), "wb+");
  ASSERT_NE(file, nullptr);
  constexpr std::int64_t kFar = std::int64_t{5} << 30;
  EXPECT_EQ(SeekFile(file, kFar), 0);
  EXPECT_EQ(FilePosition(file), kFar);
  std::fputc('x', file);
  std::fflush(file);
  EXPECT_EQ(FileSize(file), kFar + 1);
  EXPECT_EQ(SyncToDisk(file), 0);
  std::fclose(file);
}

TEST(DynamicLibraryTest, TellsWhyALibraryCannotBeLoaded) {
  DynamicLibrary library;
  std::string text;
  EXPECT_NE(library.Load("tarvo-there-is-no-such-library", text), 0);
  EXPECT_FALSE(text.empty());
  EXPECT_EQ(library.Entry("MQCONN"), nullptr);
}

TEST(ChildProcessTest, BothOutputsComeBackAndTheInputIsEmpty) {
  const bool windows = Platform() == PlatformKind::Windows;
  const std::string program = windows ? "c:\\windows\\system32\\cmd.exe" : "/bin/sh";
  const std::string line = windows ? "cmd /c \"echo out& echo err 1>&2\"" : "sh -c \"cat; echo out; echo err >&2\"";
  ChildProcess child;
  ASSERT_EQ(child.Start(program, line).step, ChildProcess::Step::None);
  std::string output;
  char block[64];
  while (const std::size_t n = child.Read(block, sizeof block)) output.append(block, n);
  EXPECT_NE(output.find("out"), std::string::npos) << output;
  EXPECT_NE(output.find("err"), std::string::npos) << output;

  ChildProcess none;
  const ChildProcess::Failure failure = none.Start("/no/such/program", "program");
  EXPECT_EQ(failure.step, ChildProcess::Step::Create);
  EXPECT_NE(failure.error, 0);
  EXPECT_FALSE(failure.text.empty());
}

TEST(SystemTest, ExitStatusIsNeverZeroForAFailure) {
  EXPECT_EQ(ExitStatus(0), 0);
  if (Platform() == PlatformKind::Windows) {
    EXPECT_EQ(ExitStatus(2046), 2046);
    return;
  }
  EXPECT_EQ(ExitStatus(2046), 2046 & 0xFF);
  EXPECT_EQ(ExitStatus(2048), 255);
  EXPECT_EQ(ExitStatus(-256), 255);
}

}  // namespace
