#include "files/naming.h"

#include <ctime>

#include "cmdline/parameters.h"
#include "files/progress.h"
#include "platform/test_folder.h"

namespace {

InsertValues At(int year, int month, int day, int hour) {
  InsertValues values;
  values.Local.tm_year = year - 1900;
  values.Local.tm_mon = month - 1;
  values.Local.tm_mday = day;
  values.Local.tm_hour = hour;
  values.Local.tm_min = 5;
  values.Local.tm_sec = 9;
  values.Local.tm_isdst = -1;
  std::mktime(&values.Local);  // the day of the week and of the year
  values.MessageOrdinal = 12;
  values.FileNumber = 3;
  values.SelectedOrdinal = 7;
  return values;
}

struct TemplateCase {
  InsertValues Values;
  const char* Template;
  const char* Name;
};

TEST(Template, ExpandsItsInserts) {
  const InsertValues evening = At(2025, 11, 18, 22), noon = At(2026, 1, 1, 12), midnight = At(2024, 12, 31, 0);
  const TemplateCase cases[] = {
      {evening, "%C %c %y %yy", "20251118 251118 2025 25"},
      {evening, "%m %mm %mmm %mmmm", "Nov 11 November Novemberm"},
      {evening, "%d %D %DD", "18 Tue Tuesday"},
      {evening, "%H %HH %h %hh %P %p", "22 22 10 10 PM pm"},
      {evening, "%M %S %t", "05 09 220509"},
      {evening, "%I %i %N %n %O %o", "00012 12 00003 3 00007 7"},
      {noon, "%J %j %h %hh %HH %P %dd", "001 000 00 0 12 PM 1st"},
      {midnight, "%J %j %H %HH %p %dd", "366 365 00 0 am 31st"},
      {At(2025, 6, 2, 1), "%dd%HH", "2nd1"},
      {At(2025, 6, 3, 1), "%dd", "3rd"},
      {At(2025, 6, 11, 1), "%dd", "11th"},
      {At(2025, 6, 22, 1), "%dd", "22nd"},
      {evening, "a%xb%", "ab"},
      {evening, "100%%n%%%n%", "100%n%3"},
      {evening, "", ""},
  };
  for (const TemplateCase& c : cases) EXPECT_EQ(ExpandTemplate(c.Template, c.Values), c.Name) << c.Template;
}

// A run that unloads to `name` in a folder of its own.
class OutputFiles : public testing::Test {
 protected:
  void UnloadTo(const std::string& name) {
    run.OutputFileName.Assign(folder.Path(name));
    run.Flags |= FLAG_OUTPUT_INSERTS | FLAG_QUIET;
    run.Flags2 |= FLAG2_RAW | FLAG2_NO_MQMD | FLAG2_NO_FILE_HEADER;  // a message is its data and a line end
  }
  // Sends one message through the checks around the writer.
  MQLONG Send(std::string text) {
    ++run.MessageIndex;
    if (run.MessageIndex <= 0) run.MessageIndex = 1;
    run.Message.Data = reinterpret_cast<MQBYTE*>(text.data());
    run.Message.Length = run.Message.Delivered = static_cast<MQLONG>(text.size());
    if (const MQLONG reason = CheckFileLimits(run, run.Message.Length, nullptr, true); reason != 0) return reason;
    ++run.SelectedCount;
    if (const MQLONG reason = WriteFileMessage(run); reason != 0) return reason;
    return RollOverAfterMessage(run);
  }
  MQLONG OpenOutput(bool mayAsk) { return OpenFiles(run, {.MayAsk = mayAsk, .Output = true}); }

  TestFolder folder;
  Parameters run;
};

TEST_F(OutputFiles, MessageLimitRollsOver) {
  UnloadTo("out%n.txt");
  run.LimitMsgs = 2;
  for (const char* text : {"a", "b", "c", "d", "e"}) ASSERT_EQ(Send(text), 0) << run.MessageText.c_str();
  EXPECT_EQ(run.Writer.MsgsSinceFlush, 1);  // what the closed files held is on the disk
  ASSERT_EQ(CloseOutputFile(run), 0);
  EXPECT_EQ(folder.ReadText("out1.txt"), "a\nb\n");
  EXPECT_EQ(folder.ReadText("out2.txt"), "c\nd\n");
  EXPECT_EQ(folder.ReadText("out3.txt"), "e\n");
  EXPECT_EQ(run.FilesWritten, 3);
}

TEST_F(OutputFiles, FirstFileIsNamedAfterTheFirstMessage) {
  UnloadTo("msg%I-%o.tvo");
  ASSERT_EQ(OpenOutput(false), 0);  // as the driver does, before a message is read
  for (const char* text : {"a", "b"}) ASSERT_EQ(Send(text), 0) << run.MessageText.c_str();
  EXPECT_EQ(folder.ReadText("msg00001-1.tvo"), "a\n");
  EXPECT_EQ(folder.ReadText("msg00002-2.tvo"), "b\n");
}

TEST_F(OutputFiles, OutputNumbersItselfBesideAnInputFile) {
  UnloadTo("out%n.txt");
  run.FilesRead = 5;
  for (const char* text : {"a", "b"}) ASSERT_EQ(Send(text), 0) << run.MessageText.c_str();
  EXPECT_EQ(folder.ReadText("out1.txt") + folder.ReadText("out2.txt"), "a\nb\n");
}

TEST_F(OutputFiles, SizeLimitLeavesRoomForTheWorstCase) {
  UnloadTo("out%n.txt");
  run.LimitMsgs = 0;
  run.LimitSize = 10000;
  ASSERT_EQ(Send(std::string(1499, 'x')), 0);  // 1500 bytes with its line end
  ASSERT_EQ(Send(std::string(4500, 'x')), 0);  // may take 2 * 4500 + 1024 bytes, which 8500 cannot hold
  ASSERT_EQ(CloseOutputFile(run), 0);
  EXPECT_EQ(folder.ReadText("out1.txt").size(), 1500U);
  EXPECT_EQ(folder.ReadText("out2.txt").size(), 4501U);
}

TEST_F(OutputFiles, FileTooSmallForAnyMessageGetsOne) {
  UnloadTo("out%n.txt");
  run.LimitMsgs = 0;
  run.LimitSize = 10;
  for (const char* text : {"a", "b"}) ASSERT_EQ(Send(text), 0) << run.MessageText.c_str();
  ASSERT_EQ(CloseOutputFile(run), 0);
  EXPECT_EQ(folder.ReadText("out1.txt"), "a\n");
  EXPECT_EQ(folder.ReadText("out2.txt"), "b\n");
}

TEST_F(OutputFiles, AgeLimitRollsOver) {
  UnloadTo("out%n.txt");
  run.LimitMsgs = 0;
  run.LimitAge = 60;
  ASSERT_EQ(Send("a"), 0);
  EXPECT_TRUE(run.Writer.Out.is_open());
  run.Naming.OpenTime -= 60;
  ASSERT_EQ(Send("b"), 0);
  EXPECT_FALSE(run.Writer.Out.is_open());
}

TEST_F(OutputFiles, RollOverNeverOpensAWrittenFile) {
  UnloadTo("out%%n.txt");
  run.Flags |= FLAG_FORCE;
  ASSERT_EQ(Send("a"), 0);
  EXPECT_EQ(Send("b"), MQRC_FILE_SYSTEM_ERROR);
  EXPECT_EQ(run.MessageText, "File '" + folder.Path("out%n.txt") + "' already exists.\n");
  EXPECT_EQ(folder.ReadText("out%n.txt"), "a\n");
}

TEST_F(OutputFiles, GenericNamesNumberTheFirstFileLater) {
  UnloadTo("Q1.tvo");
  run.Flags2 |= FLAG2_GENERIC;
  run.LimitMsgs = 1;
  run.Naming.Directory = folder.Path("");
  run.Naming.BaseName = "Q1";
  run.Naming.FileType = ".tvo";
  run.Writer.FileName.Assign(folder.Path("Q1.tvo"));
  ASSERT_EQ(run.Writer.Out.Open(run.Writer.FileName.c_str(), "w"), 0);
  ASSERT_EQ(Send("a"), 0);
  EXPECT_EQ(folder.ReadText("Q1.tvo"), "a\n");
  for (const char* text : {"b", "c"}) ASSERT_EQ(Send(text), 0) << run.MessageText.c_str();
  EXPECT_FALSE(folder.Has("Q1.tvo"));
  EXPECT_EQ(folder.ReadText("Q1$1.tvo") + folder.ReadText("Q1$2.tvo") + folder.ReadText("Q1$3.tvo"), "a\nb\nc\n");
}

TEST_F(OutputFiles, RenamingNeverReplaces) {
  UnloadTo("Q1.tvo");
  run.Flags2 |= FLAG2_GENERIC;
  run.Naming.Directory = folder.Path("");
  run.Naming.BaseName = "Q1";
  run.Naming.FileType = ".tvo";
  run.Writer.FileName.Assign(folder.Write("Q1.tvo", "new"));
  folder.Write("Q1$1.tvo", "old");
  EXPECT_EQ(OpenOutput(true), MQRC_FILE_SYSTEM_ERROR);
  EXPECT_EQ(run.MessageText.view().substr(0, 20), "Can not rename file ");
  EXPECT_EQ(folder.ReadText("Q1.tvo") + folder.ReadText("Q1$1.tvo"), "newold");
}

struct OverwriteCase {
  const char* Answers;
  bool MayAsk;
  bool Overwritten;
  bool All;
};

TEST_F(OutputFiles, OverwriteQuestion) {
  const OverwriteCase cases[] = {{"y\n", true, true, false},           {"a\n", true, true, true},
                                 {"n\n", true, false, false},          {"", true, false, false},
                                 {"Y\n\nmaybe\n", true, false, false}, {"what?\nyes\n", true, true, false},
                                 {"y\n", false, false, false}};
  for (const OverwriteCase& c : cases) {
    SCOPED_TRACE(c.Answers);
    Parameters one;
    one.OutputFileName.Assign(folder.Write("out.txt", "old"));
    AnswerWith(folder, c.Answers);
    testing::internal::CaptureStderr();
    const MQLONG reason = OpenFiles(one, {.MayAsk = c.MayAsk, .Output = true});
    const std::string asked = testing::internal::GetCapturedStderr();
    EXPECT_EQ(reason, c.Overwritten ? 0 : MQRC_FILE_SYSTEM_ERROR);
    EXPECT_EQ(folder.ReadText("out.txt"), c.Overwritten ? "" : "old");
    EXPECT_EQ(one.Has(FLAG_FORCE), c.All);
    EXPECT_EQ(asked.find("exists - overwrite (y)es/(n)o/(a)ll ?\n") != std::string::npos, c.MayAsk);
    EXPECT_EQ(one.MessageText, c.Overwritten ? "" : "File '" + folder.Path("out.txt") + "' already exists.\n");
  }
}

TEST_F(OutputFiles, NothingIsTouchedBeforeTheCountIsAgreedTo) {
  run.OutputFileName.Assign(folder.Write("out.txt", "old"));
  run.Flags2 |= FLAG2_COUNT_FIRST;
  AnswerWith(folder, "y\n");
  testing::internal::CaptureStderr();
  EXPECT_EQ(OpenOutput(true), 0);
  EXPECT_FALSE(run.Writer.Out.is_open());
  EXPECT_EQ(folder.ReadText("out.txt"), "old");
  run.Flags2 &= ~FLAG2_COUNT_FIRST;
  EXPECT_EQ(OpenOutput(false), 0);  // the one question has been answered
  EXPECT_TRUE(run.Writer.Out.is_open());
  testing::internal::GetCapturedStderr();
}

TEST_F(OutputFiles, AppendKeepsWhatIsThere) {
  UnloadTo("out.txt");
  folder.Write("out.txt", "old\n");
  run.FileAccessMode = "a";
  ASSERT_EQ(Send("new"), 0) << run.MessageText.c_str();
  ASSERT_EQ(CloseOutputFile(run), 0);
  EXPECT_EQ(folder.ReadText("out.txt"), "old\nnew\n");
}

TEST_F(OutputFiles, NullWritesNothingButCounts) {
  UnloadTo("null");
  run.OutputFileName.Assign("null");
  ASSERT_EQ(Send("a"), 0);
  EXPECT_TRUE(run.NullOutput);
  EXPECT_EQ(run.FilesWritten, 0);
  EXPECT_EQ(run.MsgsWritten, 1);
}

TEST_F(OutputFiles, NeverTheFileBeingRead) {
  run.InputFileName.Assign(folder.Write("in.txt", "data"));
  std::filesystem::create_hard_link(folder.Path("in.txt"), folder.Path("other.txt"));
  run.OutputFileName.Assign(folder.Path("other.txt"));
  run.Flags |= FLAG_FORCE;
  EXPECT_EQ(OpenFiles(run, {.Input = true, .Output = true}), MQRC_FILE_SYSTEM_ERROR);
  EXPECT_FALSE(run.MessageText.empty());
  EXPECT_EQ(folder.ReadText("in.txt"), "data");
}

TEST_F(OutputFiles, NamesAreRefusedNotCut) {
  const std::string path = folder.Path("");
  const std::string fitting = path + std::string(255 - path.size() - 8, 'x') + "%C";  // the date takes 8
  run.OutputFileName.Assign(path + "y" + fitting.substr(path.size()));
  EXPECT_EQ(OpenOutput(false), MQRC_FILE_SYSTEM_ERROR);
  EXPECT_TRUE(std::filesystem::is_empty(path));
  run.OutputFileName.Assign(fitting);
  EXPECT_EQ(OpenOutput(false), 0) << run.MessageText.c_str();
}

class InputFiles : public testing::Test {
 protected:
  MQLONG OpenNext() { return OpenFiles(run, {.Input = true}); }
  TestFolder folder;
  Parameters run;
};

TEST_F(InputFiles, SetEndsAtTheFirstMissingFile) {
  run.InputFileName.Assign(folder.Path("in%n.txt"));
  folder.Write("in1.txt", "a");
  folder.Write("in2.txt", "b");
  for (int i = 0; i < 2; ++i) {
    ASSERT_EQ(OpenNext(), 0);
    CloseInputFile(run);
  }
  EXPECT_EQ(OpenNext(), MQRC_FILE_SYSTEM_ERROR);
  EXPECT_TRUE(run.MessageText.empty());
  EXPECT_EQ(run.FilesRead, 2);
}

TEST_F(InputFiles, WhatCannotBeOpenedIsNamed) {
  folder.Write("in1.txt", "a");
  std::filesystem::create_directory(folder.Path("in2.txt"));
  std::filesystem::create_directory(folder.Path("dir"));
  struct Case {
    const char* Template;
    const char* Mode;
    std::string Text;
  };
  const Case cases[] = {
      {"none.txt", nullptr, "Can not open input file '" + folder.Path("none.txt") + "'\n"},
      {"none.txt", "b", "Can not open input file '" + folder.Path("none.txt") + "'(rb)\n"},
      {"dir", nullptr, "Can not open input file '" + folder.Path("dir") + "'\n"},
      {"in%n.txt", nullptr, "Can not open input file '" + folder.Path("in2.txt") + "'\n"},  // exists, so not the end
      {"in1.txt", nullptr, "Duplicate input file '" + folder.Path("in1.txt") + "'\n"},
  };
  for (const Case& c : cases) {
    Parameters one;
    one.InputFileName.Assign(folder.Path(c.Template));
    one.FileAccessMode = c.Mode;
    if (OpenFiles(one, {.Input = true}) == 0) {
      CloseInputFile(one);
      EXPECT_EQ(OpenFiles(one, {.Input = true}), MQRC_FILE_SYSTEM_ERROR);
    }
    EXPECT_EQ(one.MessageText, c.Text);
  }
}

TEST_F(InputFiles, FirstFileOpensAgainAfterACount) {
  run.InputFileName.Assign(folder.Write("in.txt", "a"));
  ASSERT_EQ(OpenNext(), 0);
  CloseInputFile(run);
  run.FilesRead = 0;
  EXPECT_EQ(OpenNext(), 0);
}

TEST(Progress, LineOnATerminal) {
  Parameters run;
  run.Screen.StdinIsTerminal = true;
  run.InputFileName.Assign("in.txt");
  testing::internal::CaptureStderr();
  StartProgressLine(run, 1000, "in.txt");
  run.Reader.FileBytes = 250;
  ShowProgress(run, true);  // drawn once a second at most
  run.Progress.StartTime -= 10;
  run.Progress.LastTime -= 10;
  ShowProgress(run, true);
  run.Reader.FileBytes = 5000;
  run.Progress.LastTime -= 1;
  ShowProgress(run, true);
  EndProgressLine(run, true);
  const std::string shown = testing::internal::GetCapturedStderr();
  EXPECT_EQ(shown.substr(0, 25), "\nLoading 'in.txt' :  0%\b\b");
  EXPECT_NE(shown.find(": 25%  ETA:3"), std::string::npos) << shown;
  EXPECT_NE(shown.find(": 99%  ETA:0 secs"), std::string::npos) << shown;
  EXPECT_EQ(shown.back(), '\n');
  EXPECT_FALSE(run.Progress.Active);
}

TEST(Progress, NothingIsDividedByAnEmptyFileOrAStart) {
  Parameters run;
  run.Screen.StdinIsTerminal = true;
  run.InputFileName.Assign("in.txt");
  testing::internal::CaptureStderr();
  StartProgressLine(run, 0, "in.txt");
  run.Progress.LastPercent = 50;
  run.Progress.LastTime -= 1;
  ShowProgress(run, true);
  StartProgressLine(run, 1000, "in.txt");
  run.Progress.LastPercent = 50;
  run.Progress.LastTime -= 1;
  ShowProgress(run, true);  // back at 0 %: no time left can be told
  const std::string shown = testing::internal::GetCapturedStderr();
  EXPECT_TRUE(shown.ends_with(":  0%")) << shown;
}

}  // namespace
