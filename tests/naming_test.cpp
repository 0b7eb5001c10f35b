// Files named by templates: sets of output files, reading the sets back, names that must not be used.

#include <iterator>
#include <set>

#include "harness.h"

namespace {

const int kFileError = ExitStatus(MQRC_FILE_SYSTEM_ERROR);

class Naming : public Sandbox {
 protected:
  void SetUp() override {
    CreateQueueManager("QM1", {"Q1", "Q2"});
    Queues("QM1").PutNumbered("Q1", 5, "");
  }
  // The texts of the messages in a file, each between blanks.
  std::string TextsIn(const std::string& name) const {
    std::string texts = " ";
    for (const std::string& line : Lines(ReadText(name))) {
      if (line.starts_with("S \"")) texts += line.substr(3, line.size() - 4) + " ";
    }
    return texts;
  }
  // The files of the sandbox whose name begins so, with their messages: "out1.txt 1 2 out2.txt 3 ".
  std::string FilesLike(const std::string& begin) const {
    std::set<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(Path("."))) {
      const std::string name = entry.path().filename().string();
      if (name.starts_with(begin)) names.insert(name);
    }
    std::string all;
    for (const std::string& name : names) all += name + TextsIn(name);
    return all;
  }
  void ExpectFileError(const std::vector<std::string>& arguments, const std::string& text) {
    const auto outcome = Tarvo(arguments);
    EXPECT_EQ(outcome.Exit, kFileError);
    EXPECT_NE(outcome.Err.find(text), std::string::npos) << outcome.Err;
  }
};

TEST_F(Naming, SetsRollOverAndAreReadBackWhole) {
  const struct {
    const char* Template;
    std::vector<std::string> Options;
    const char* Files;
  } cases[] = {
      {"count%n.txt", {"-Lm2"}, "count1.txt 1 2 count2.txt 3 4 count3.txt 5 "},
      {"each%N", {}, "each00001 1 each00002 2 each00003 3 each00004 4 each00005 5 "},
      {"msg%I-%O", {"-Lm3"}, "msg00001-00001 1 2 3 msg00004-00004 4 5 "},
      {"some%i-%o", {"-r3.."}, "some1-1 3 some4-2 4 some5-3 5 "},
      {"tiny%n", {"-Ls10b"}, "tiny1 1 tiny2 2 tiny3 3 tiny4 4 tiny5 5 "},
      {"large%n", {"-Ls1g"}, "large1 1 2 3 4 5 "},
      {"both%n", {"-Ls1g", "-Lm4"}, "both1 1 2 3 4 both2 5 "},
      {"100%%%x-%n%", {"-Lm3"}, "100%-1 1 2 3 100%-2 4 5 "},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.Template);
    const auto unloaded = Tarvo(Joined({"-q", "-mQM1", "-iQ1", "-dA", std::string("-f") + c.Template}, c.Options));
    EXPECT_EQ(unloaded.Exit, 0) << unloaded.Err;
    const std::string_view name = c.Template;
    EXPECT_EQ(FilesLike(std::string(name.substr(0, name.find('%')))), c.Files);
    if (!c.Options.empty() && c.Options[0] == "-r3..") continue;  // its names tell positions in the queue
    EXPECT_EQ(Tarvo({"-q", "-mQM1", std::string("-f") + c.Template, "-oQ2"}).Exit, 0);
    EXPECT_EQ(Queues("QM1").Texts("Q2"), (std::vector<std::string>{"1", "2", "3", "4", "5"}));
    ASSERT_EQ(LocalMq({"QM1"}, "CLEAR QLOCAL(Q2)\n").Exit, 0);
  }
}

TEST_F(Naming, ASizeLimitIsKept) {
  {
    Queues queues("QM1");
    for (int i = 0; i < 40; ++i) queues.PutText("Q2", std::string(static_cast<std::size_t>(300 + 397 * i % 2700), 'x'));
  }
  int set = 0;  // names that differ only in case are one name on Windows
  for (const char* layout : {"-dp", "-dA", "-da", "-di"}) {
    const std::string prefix = "sized" + std::to_string(++set) + "-";
    const std::string name = prefix + "%n";
    const auto outcome = Tarvo({"-mQM1", "-iQ2", layout, "-f" + name, "-Ls40k"});
    EXPECT_EQ(outcome.Exit, 0) << outcome.Err;
    EXPECT_NE(outcome.Err.find("Output file limits active:\n  Maximum file size         :40 KBs \n\n"),
              std::string::npos)
        << outcome.Err;
    int messages = 0, files = 0;
    for (const auto& entry : std::filesystem::directory_iterator(Path("."))) {
      const std::string file = entry.path().filename().string();
      if (!file.starts_with(prefix)) continue;
      const std::string text = ReadText(file);
      const auto lineEnds = static_cast<std::size_t>(Occurrences(text, "\r\n"));  // Windows adds a byte to each
      EXPECT_LE(text.size() - lineEnds, 40960U) << file;
      messages += Occurrences(text, "A VER 2");
      ++files;
    }
    EXPECT_EQ(messages, 40) << layout;
    EXPECT_TRUE(files > 2 && files < 40) << layout << files;
  }
}

// Room for the hex digits and a descriptor is kept, whatever the layout: 8500 bytes cannot hold 2 * 4500 + 1024.
TEST_F(Naming, ASizeLimitLeavesRoomForTheWorstCase) {
  WriteText("in", "* TARVO\nN\nS " + std::string(1499, 'x') + "\n\nN\nS " + std::string(4500, 'x') + "\n\n");
  EXPECT_EQ(Tarvo({"-q", "-fin", "-fout%n", "-drNH", "-Ls10000b"}).Exit, 0);
  EXPECT_EQ(ReadText("out1").size(), 1500U);
  EXPECT_EQ(ReadText("out2").size(), 4501U);
}

TEST_F(Naming, AnAgedFileIsFollowedByAnother) {
  const auto outcome = Tarvo({"-mQM1", "-iQ1", "-dA", "-fold%n", "-La1s", "-D600"});
  EXPECT_EQ(outcome.Exit, 0) << outcome.Err;
  EXPECT_NE(outcome.Err.find("  Maximum file age          :1 Sec \n"), std::string::npos) << outcome.Err;
  const std::string files = FilesLike("old");
  EXPECT_NE(files.find("old2"), std::string::npos) << files;
  EXPECT_EQ(files.find("old5"), std::string::npos) << files;
  EXPECT_EQ(Tarvo({"-q", "-mQM1", "-fold%n", "-oQ2"}).Exit, 0);
  EXPECT_EQ(Queues("QM1").Texts("Q2").size(), 5U);
}

TEST_F(Naming, OutputFilesNumberThemselves) {
  ASSERT_EQ(Tarvo({"-q", "-mQM1", "-iQ1", "-dA", "-fin%n", "-Lm4"}).Exit, 0);
  EXPECT_EQ(Tarvo({"-q", "-fin%n", "-dA", "-fnew%n", "-Lm2"}).Exit, 0);
  EXPECT_EQ(FilesLike("new"), "new1 1 2 new2 3 4 new3 5 ");
}

// A name that does not change would empty the file just written.
TEST_F(Naming, ARollOverNeverOpensAFileOfThisRun) {
  for (const char* name : {"same%%n", "same%n%%n"}) {
    const bool changes = std::string_view(name).find("%n%%") != std::string_view::npos;
    const auto outcome = Tarvo({"-mQM1", "-IQ1", "-dA", "-t1", std::string("-F") + name, "-Lm2"});
    EXPECT_EQ(outcome.Exit, changes ? 0 : kFileError) << outcome.Err;
    EXPECT_EQ(outcome.Err.find("File 'same%n' already exists.\n") == std::string::npos, changes) << outcome.Err;
  }
  EXPECT_EQ(TextsIn("same%n"), " 1 2 ");
  EXPECT_EQ(FilesLike("same1"), "same1%n 3 4 ");
  EXPECT_EQ(FilesLike("same2"), "same2%n 5 ");
}

TEST_F(Naming, NoFileOfAnInputSetIsWritten) {
  ASSERT_EQ(Tarvo({"-q", "-mQM1", "-iQ1", "-dA", "-fin%n", "-Lm2"}).Exit, 0);
  ASSERT_EQ(Tarvo({"-q", "-mQM1", "-iQ1", "-dA", "-fpos%i", "-Lm2"}).Exit, 0);
  const std::string before = FilesLike("in") + FilesLike("pos");
  const std::vector<std::string> cases[] = {{"-fin%n", "-Fin2"},
                                            {"-fin%n", "-Fhome/../in3"},
                                            {"-fin%n", "-Fin%n"},
                                            {"-fpos%i", "-Fpos3"},
                                            {"-fpos%i", "-fpos5", "-aa"}};
  for (const auto& arguments : cases) ExpectFileError(arguments, " is an input file of this run\n");
  EXPECT_EQ(FilesLike("in") + FilesLike("pos"), before);
  // No set: the name is the same for every number.
  std::filesystem::copy_file(Path("in1"), Path("one%n"));
  WriteText("other", "old");
  ExpectFileError({"-fone%%n", "-dA", "-Fother"}, "Duplicate input file 'one%n'\n");
  ExpectFileError({"-fone%%n", "-Fone%%n"}, " is an input file of this run\n");
}

// Links are other names of a file that is read or that was just written.
TEST_F(Naming, OneFileIsOneFileByWhateverName) {
  ASSERT_EQ(Tarvo({"-q", "-mQM1", "-iQ1", "-dA", "-fin%n", "-Lm2"}).Exit, 0);
  std::filesystem::create_hard_link(Path("in3"), Path("later"));
  std::error_code noLinks;
  std::filesystem::create_symlink("o2", Path("o1"), noLinks);
  std::filesystem::create_hard_link(Path("in1"), Path("l1"));
  std::filesystem::create_hard_link(Path("in1"), Path("l2"));
  WriteText("log.txt", "not touched");
  std::filesystem::create_hard_link(Path("log.txt"), Path("log.link"));
  const std::string before = FilesLike("in2") + FilesLike("in3");
  ExpectFileError({"-fin%n", "-Flater"}, "Output file 'later' is an input file of this run\n");
  ExpectFileError({"-jlog.txt", "-iQ1", "-Flog.link"}, "Output file 'log.link' is an input file of this run\n");
  if (!noLinks) ExpectFileError({"-mQM1", "-IQ1", "-Fo%n"}, "File 'o2' already exists.\n");
  ExpectFileError({"-mQM1", "-IQ1", "-Fl%n", "-aa"}, "File 'l2' already exists.\n");
  EXPECT_EQ(Queues("QM1").Depth("Q1"), 5);
  EXPECT_EQ(ReadText("log.txt"), "not touched");
  EXPECT_EQ(FilesLike("in2") + FilesLike("in3"), before);
}

TEST_F(Naming, ASetEndsAtAMissingFileAndNotAtABrokenOne) {
  ASSERT_EQ(Tarvo({"-q", "-mQM1", "-iQ1", "-dA", "-fin%n"}).Exit, 0);
  std::filesystem::remove(Path("in4"));
  const auto shorter = Tarvo({"-mQM1", "-fin%n", "-oQ2"});
  EXPECT_EQ(shorter.Exit, 0);
  EXPECT_NE(shorter.Err.find("Read    - Files:   3  Messages:      3  "), std::string::npos) << shorter.Err;
  ASSERT_EQ(LocalMq({"QM1"}, "CLEAR QLOCAL(Q2)\n").Exit, 0);
  std::filesystem::remove(Path("in2"));
  std::filesystem::create_directory(Path("in2"));
  ExpectFileError({"-mQM1", "-fin%n", "-oQ2"}, "Can not open input file 'in2': ");
  EXPECT_EQ(Queues("QM1").Depth("Q2"), 0);
  ExpectFileError({"-fnone%n", "-dk"}, "Can not open input file 'none1': ");
  for (const char* mode : {"-ab", "-arb", "-awb"}) {
    ExpectFileError({"-fnone%n", "-dk", mode}, "Can not open input file 'none1'(rb): ");
  }
}

TEST_F(Naming, DumpsAreReadAsASetToo) {
  for (const char* number : {"1", "2", "3"}) {
    const std::string head = "AMQSBCG0 - starts here\n****Message descriptor****\n  Priority : " + std::string(number);
    WriteText("dump" + std::string(number), head +
                                                "\n****   Message      ****\n length - 1 of 1"
                                                " bytes\n00000000:  4" +
                                                number + " 'A'\n");
  }
  const auto outcome = Tarvo({"-mQM1", "-fdump%n", "-oQ2"});
  EXPECT_EQ(outcome.Exit, 0) << outcome.Err;
  EXPECT_EQ(Queues("QM1").Texts("Q2"), (std::vector<std::string>{"C", "B", "A"}));  // the highest priority first
}

TEST_F(Naming, WhatCannotBeOpenedIsNamed) {
  ExpectFileError({"-mQM1", "-iQ1", "-fno/out"}, "Can not open output file 'no/out': ");
  ExpectFileError({"-mQM1", "-iQ1", "-fno/out", "-awb"}, "Can not open output file 'no/out'(wb): ");
  ExpectFileError({"-mQM1", "-iQ1", "-fno/out", "-aa"}, "Can not open output file 'no/out'(a): ");
}

TEST_F(Naming, NamesBeyondTheBoundAreRefusedNotCut) {
  std::string here;  // a long way of saying where we are
  for (int i = 0; i < 123; ++i) here += "./";
  EXPECT_EQ(Tarvo({"-mQM1", "-iQ1", "-f" + here + "nine char"}).Exit, 0);
  EXPECT_EQ(FilesLike("nine").substr(0, 10), "nine char ");
  EXPECT_EQ(Tarvo({"-mQM1", "-iQ1", "-f" + here + "y%C"}).Exit, 0);  // the date takes eight characters
  const std::string fitting = FilesLike("y");
  EXPECT_EQ(fitting.size(), 10U) << fitting;
  ExpectFileError({"-mQM1", "-iQ1", "-f" + here + "yy%C"}, "' is longer than 255 characters\n");
  EXPECT_EQ(FilesLike("y"), fitting);
}

TEST_F(Naming, TheNullOutputWritesNothing) {
  for (const char* option : {"-dA", "-dt", "-dr", "-di"}) {
    const auto outcome = Tarvo({"-mQM1", "-iQ1", "-fnull", option});
    EXPECT_EQ(outcome.Exit, 0) << outcome.Err;
    EXPECT_EQ(outcome.Out, "");
    EXPECT_NE(outcome.Err.find("Messages:      5  "), std::string::npos);
    EXPECT_EQ(outcome.Err.find("Written"), std::string::npos);
  }
  EXPECT_FALSE(std::filesystem::exists(Path("null")));
  const auto shown = Tarvo({"-mQM1", "-iQ1", "-fstdout", "-dA"});
  EXPECT_EQ(Occurrences(shown.Out, "A VER 2"), 5);
  EXPECT_TRUE(shown.Out.starts_with("* TARVO Version:9.1.1 Created:")) << shown.Out;
  EXPECT_EQ(shown.Out.find("\n* Qmgr  = QM1\n* Queue = Q1\n\nA VER"), 54U) << shown.Out;
  WriteText("saved", shown.Out);
  EXPECT_EQ(Tarvo({"-fsaved", "-fstdout", "-dA"}).Out.find("\n\nA VER"), 54U);  // a file is no queue to be named
  EXPECT_EQ(Tarvo({"-mQM1", "-iQ1", "-fstdout", "-dAH"}).Out, shown.Out.substr(shown.Out.find("\n\n") + 2));
  EXPECT_NE(shown.Err.find("Written - Files:   0  Messages:      5  "), std::string::npos) << shown.Err;
}

}  // namespace
