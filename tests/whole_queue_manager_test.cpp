// Whole queue managers by wildcard: every queue into a file of its own, and back.

#include <cctype>
#include <cstring>
#include <thread>

#include "harness.h"

namespace {

class WholeQueueManager : public Sandbox {
 protected:
  const std::vector<std::string> names_ = {
      "APP.ONE", "APP.TWO", "app.two", "A/B", "P%n", "U_1", "LONG.QUEUE.NAME.OF.FORTY.EIGHT.CHARACTERS.123456"};

  void SetUp() override {
    CreateQueueManager("QM1", names_, "DEFINE QLOCAL(EMPTY)\nDEFINE QALIAS(AN.ALIAS) TARGET(APP.ONE)\n");
    CreateQueueManager("QM2", names_);
    std::filesystem::create_directory(Path("out"));
    Queues queues("QM1");
    int count = 3;
    for (const auto& name : names_) {
      for (int i = 0; i < count; ++i) {
        MQMD descriptor = harness::RichDescriptor(i % 8);
        descriptor.Priority = 5;
        queues.Put(name, descriptor, name + std::string(static_cast<std::size_t>(i * 7), 'x'));
      }
      count += 4;
    }
  }
};

TEST_F(WholeQueueManager, ComesBackMessageByMessage) {
  const auto unloaded = Tarvo({"-mQM1", "-i*", "-fout/*", "-Lm5"});
  EXPECT_EQ(unloaded.Exit, 0) << unloaded.Err;
  EXPECT_EQ(Occurrences(unloaded.Out, "  Done.\n"), static_cast<int>(names_.size())) << unloaded.Out;
  EXPECT_NE(unloaded.Out.find("\nTotal : 7 Queues, 105 Messages\n"), std::string::npos) << unloaded.Out;
  EXPECT_TRUE(std::filesystem::exists(Path("out/A!B$3.tvo")));
  EXPECT_TRUE(std::filesystem::exists(Path("out/APP.ONE.tvo")));
  EXPECT_EQ(unloaded.Out.find("EMPTY"), std::string::npos);
  const auto loaded = Tarvo({"-mQM2", "-o*", "-fout/*"});
  EXPECT_EQ(loaded.Exit, 0) << loaded.Err;
  EXPECT_NE(loaded.Out.find("\nTotal : 7 Queues, 105 Messages\n"), std::string::npos) << loaded.Out;
  Queues one("QM1");
  Queues two("QM2");
  for (const auto& name : names_) EXPECT_TRUE(SameMessages(one.Browse(name), two.Browse(name))) << name;
}

TEST_F(WholeQueueManager, PatternsChooseQueues) {
  const auto some = Tarvo({"-mQM1", "-iapp.?wo", "-fout/*"});
  EXPECT_EQ(some.Exit, 0) << some.Err;
  EXPECT_NE(some.Out.find("Total : 2 Queues"), std::string::npos) << some.Out;
  const auto quoted = Tarvo({"-mQM1", "-i'app.*'", "-Fout/*.msg"});
  EXPECT_NE(quoted.Out.find("Total : 1 Queues"), std::string::npos) << quoted.Out;
  const auto none = Tarvo({"-mQM1", "-iX*", "-iY*", "-iZ*", "-fout/*"});
  EXPECT_EQ(none.Exit, 0);
  EXPECT_NE(none.Err.find("No non-empty queues found matching 'X*','Y*' or 'Z*'.\n"), std::string::npos) << none.Err;
  const auto removing = Tarvo({"-mQM1", "-I*", "-fout/*"});
  EXPECT_EQ(removing.Exit, ExitStatus(MQRC_OPTIONS_ERROR));
  EXPECT_NE(removing.Err.find("You can not do a destructive generic unload.\n"), std::string::npos);
  const auto badType = Tarvo({"-mQM1", "-i*", "-fout/*.m-1"});
  EXPECT_EQ(badType.Exit, ExitStatus(MQRC_OPTIONS_ERROR));
  EXPECT_NE(badType.Err.find("Invalid generic file type.\n"), std::string::npos);
}

constexpr char kDeclined[] = "Are you sure you want to continue? No, because standard input is no terminal.\n";

TEST_F(WholeQueueManager, WithoutATerminalEveryAnswerIsNoUnlessForced) {
  WriteText("out/APP.ONE.tvo", "precious");
  WriteText("out/OTHER.tvo", "foreign");
  const auto declined = Tarvo({"-mQM1", "-iAPP.*", "-fout/*"}, "y\nd\n");
  EXPECT_EQ(declined.Exit, ExitStatus(MQRC_OBJECT_ALREADY_EXISTS));
  EXPECT_NE(
      declined.Err.find("out/APP.ONE.tvo\n\nThese files already exist and will be deleted.\n" + std::string(kDeclined)),
      std::string::npos)
      << declined.Err;
  EXPECT_EQ(ReadText("out/APP.ONE.tvo"), "precious");
  EXPECT_EQ(Tarvo({"-mQM1", "-iU_1", "-fout/*"}, "c\n").Exit, ExitStatus(MQRC_OBJECT_ALREADY_EXISTS));
  EXPECT_FALSE(std::filesystem::exists(Path("out/U_1.tvo")));
  const auto forced = Tarvo({"-mQM1", "-iAPP.*", "-Fout/*"});
  EXPECT_EQ(forced.Exit, 0) << forced.Err;
  EXPECT_NE(forced.Err.find("out/OTHER.tvo\n\nThese files already exist and will not be affected by the download.\n"
                            "However, they could affect and contaminate a future upload.\n"),
            std::string::npos)
      << forced.Err;
  EXPECT_EQ(forced.Err.find('?'), std::string::npos);
  EXPECT_EQ(Occurrences(ReadText("out/APP.ONE.tvo"), "A RPT"), 3);
  EXPECT_EQ(ReadText("out/OTHER.tvo"), "foreign");
}

TEST_F(WholeQueueManager, TellsWhatItMeetsBeforeItGoesOn) {
  // Queues that cannot be opened for browsing: told before anything is deleted.
  WriteText("out/APP.ONE.tvo", "precious");
  const std::string script = "MQOPEN@APP.TWO:*=2035";
  const std::string noAccess = "APP.TWO                                          RC(2035) Not authorized\n";
  const auto declined = TarvoWithFaults(script, {"-mQM1", "-i'APP.TWO'", "-fout/*.new"});
  EXPECT_EQ(declined.Exit, ExitStatus(MQRC_OBJECT_ALREADY_EXISTS)) << declined.Err;
  EXPECT_NE(declined.Err.find(noAccess + "\nError accessing these queues.\n" + kDeclined), std::string::npos)
      << declined.Err;
  EXPECT_EQ(declined.Out, "");
  const auto forced = TarvoWithFaults(script, {"-mQM1", "-i'APP.*'", "-Fout/*", "-Lm2"});
  EXPECT_EQ(forced.Exit, ExitStatus(MQRC_NOT_AUTHORIZED)) << forced.Err;
  EXPECT_NE(forced.Err.find(noAccess), std::string::npos) << forced.Err;
  EXPECT_EQ(Occurrences(forced.Out, "RC(2035) Not authorized\n"), 1) << forced.Out;
  // A set of files is listed by its first and its last.
  const auto listed = Tarvo({"-mQM1", "-i'APP.*'", "-fout/*"});
  EXPECT_NE(listed.Err.find("out/APP.ONE$1.tvo[-> $2]\n\nThese files already exist"), std::string::npos) << listed.Err;
  // Files that cannot be read (a link to nowhere, where there are links), queues that are not there.
  std::error_code noLinks;
  std::filesystem::create_symlink("nowhere", Path("out/GONE.tvo"), noLinks);
  if (noLinks) {
    WriteText("out/GONE.tvo", "* TARVO\n");
  } else {
    const auto unreadable = Tarvo({"-mQM2", "-o*", "-fout/*"});
    EXPECT_EQ(unreadable.Exit, ExitStatus(MQRC_OBJECT_ALREADY_EXISTS)) << unreadable.Err;
    EXPECT_NE(unreadable.Err.find("out/GONE.tvo\n\nThese files can not be read.\nAre you sure"), std::string::npos);
    std::filesystem::remove(Path("out/GONE.tvo"));
    WriteText("out/GONE.tvo", "* TARVO\n");
  }
  const auto unknown = Tarvo({"-mQM2", "-o*", "-fout/*"});
  EXPECT_EQ(unknown.Exit, ExitStatus(MQRC_UNKNOWN_OBJECT_NAME)) << unknown.Err;
  EXPECT_EQ(Queues("QM2").Depth("APP.ONE"), 0);
  // The user goes on all the same: what can be loaded is loaded, what cannot is told.
  const auto loaded = Tarvo({"-mQM2", "-o*", "-Fout/*"});
  EXPECT_EQ(loaded.Exit, ExitStatus(MQRC_UNKNOWN_OBJECT_NAME)) << loaded.Err;
  EXPECT_EQ(loaded.Out,
            "APP.ONE                                          3      Done.\n"
            "GONE                                             RC(2085) Unknown object name\n"
            "\nTotal : 1 Queues, 3 Messages\n");
  EXPECT_EQ(Queues("QM2").Depth("APP.ONE"), 3);
}

TEST_F(WholeQueueManager, NamesThatCanNotBeWrittenAreToldBeforeAFileIsTouched) {
  WriteText("out/APP.ONE.tvo", "precious");
  const std::string folder = std::string(200, 'd');
  std::filesystem::create_directory(Path(folder));
  std::filesystem::create_directory(Path("out/U_1.tvo"));
  struct Case {
    std::vector<std::string> Arguments;
    int Exit;
    std::string Told;
  };
  // 48 characters of queue, "$" and the two digits of a file for each of its 27 messages.
  const std::string longName = folder + "/" + names_.back();
  const Case cases[] = {
      {{"-i*", "-F" + folder + "/*"},
       MQRC_FILE_SYSTEM_ERROR,
       "File name '" + longName + "$27.tvo' is longer than 255 characters\n"},
      {{"-i*", "-Fout/*"}, MQRC_OBJECT_ALREADY_EXISTS, "File 'out/U_1.tvo' already exists.\n"},
      {{"-i*", "-Fout/*", "-ds"}, MQRC_OPTIONS_ERROR, "write no messages"},
      {{"-i*", "-Fout/*", "-dT"}, MQRC_OPTIONS_ERROR, "write no messages"},
      {{"-i*", "-Fout/*", "-dk"}, MQRC_OPTIONS_ERROR, "Sorry, you can't specify an output queue/file"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.Told);
    const auto refused = Tarvo(Joined({"-mQM1"}, c.Arguments));
    EXPECT_EQ(refused.Exit, ExitStatus(c.Exit)) << refused.Err;
    EXPECT_NE(refused.Err.find(c.Told), std::string::npos) << refused.Err;
    EXPECT_EQ(refused.Out, "");
    EXPECT_EQ(ReadText("out/APP.ONE.tvo"), "precious");
    EXPECT_TRUE(std::filesystem::is_empty(Path(folder)));
  }
}

TEST_F(WholeQueueManager, SystemQueuesAreCountedApartAndLoadedByNameOnly) {
  const std::string defaultQueue = "SYSTEM.DEFAULT.LOCAL.QUEUE";
  Queues("QM1").PutNumbered(defaultQueue, 2);
  Queues("QM1").PutNumbered("SYSTEM.DEAD.LETTER.QUEUE", 1);
  const auto unloaded = Tarvo({"-mQM1", "-iSYSTEM.*", "-fout/*"});
  EXPECT_NE(unloaded.Out.find("\nTotal : 1 Queues, 1 Messages\n plus : 1 System Queues, 2 Messages\n"),
            std::string::npos)
      << unloaded.Out;
  EXPECT_NE(Tarvo({"-mQM2", "-o*", "-fout/*"}).Out.find("\nTotal : 1 Queues, 1 Messages\n"), std::string::npos);
  EXPECT_NE(Tarvo({"-mQM2", "-o" + defaultQueue, "-fout/*"}).Out.find("\nTotal : 1 Queues, 2 Messages\n"),
            std::string::npos);
  EXPECT_EQ(Queues("QM2").Depth(defaultQueue), 2);
}

TEST_F(WholeQueueManager, QueuesThatAreFilteredOrChangeAreTold) {
  const auto filtered = Tarvo({"-mQM1", "-iAPP.ONE", "-fout/*", "-r2"});
  EXPECT_NE(filtered.Out.find("     3  Filtered.\n"), std::string::npos) << filtered.Out;
  // Between the command server's answer and the first message, the queue grows.
  environment()["MQM_DLL_PATH"] = harness::LibraryFolder("faultmq").string();
  environment()["FAULTMQ_LIBRARY"] = harness::LibraryFile("localmq").string();
  environment()["FAULTMQ_SCRIPT"] = "MQOPEN@APP.ONE:1=until:go";
  environment()["FAULTMQ_TRACE"] = Path("trace.txt").string();
  harness::Process unloading(
      {harness::ProgramFolder() / "tarvo", {"-mQM1", "-iAPP.ONE", "-Fout/*"}, Path("."), environment(), {}, {}});
  Await("trace.txt", "fault=until");
  Queues("QM1").PutNumbered("APP.ONE", 2);
  WriteText("go", "");
  const auto changing = unloading.Wait();
  EXPECT_NE(changing.Out.find("     3  Changing.\n\nTotal : 1 Queues, 5 Messages\n"), std::string::npos)
      << changing.Out << changing.Err;
}

TEST_F(WholeQueueManager, OneFailingQueueDoesNotTouchTheOthers) {
  const auto unloaded = TarvoWithFaults("MQGET@APP.TWO:3=2016", {"-mQM1", "-iAPP.*", "-fout/*"});
  EXPECT_EQ(unloaded.Exit, ExitStatus(MQRC_GET_INHIBITED));
  EXPECT_NE(unloaded.Out.find("RC(2016) Get inhibited\n"), std::string::npos) << unloaded.Out;
  EXPECT_NE(unloaded.Out.find("\nTotal : 2 Queues, "), std::string::npos) << unloaded.Out;
  EXPECT_EQ(Occurrences(ReadText("out/APP.ONE.tvo"), "A RPT"), 3);
  ASSERT_EQ(Tarvo({"-mQM1", "-i'APP.*'", "-Fout/*"}).Exit, 0);
  for (const char* script : {"MQPUT@APP.ONE:2=2053", "MQCMIT:1=2003", "MQPUT@APP.ONE:2=2053;MQBACK:1=2009"}) {
    SCOPED_TRACE(script);
    ASSERT_EQ(LocalMq({"QM2"}, "CLEAR QLOCAL(APP.ONE)\nCLEAR QLOCAL(APP.TWO)\n").Exit, 0);
    const auto loaded = TarvoWithFaults(script, {"-mQM2", "-oAPP.*", "-fout/*"});
    EXPECT_NE(loaded.Exit, 0);
    EXPECT_NE(loaded.Out.find("Total : "), std::string::npos) << loaded.Out;
    EXPECT_EQ(Queues("QM2").Depth("APP.ONE"), 0);
    const bool backedOut = std::string(script).find("MQBACK") == std::string::npos;
    EXPECT_EQ(Queues("QM2").Depth("APP.TWO"), backedOut ? 7 : 0) << loaded.Out << loaded.Err;
  }
}

TEST_F(WholeQueueManager, ProblemsAreToldBeforeAnythingIsLoaded) {
  ASSERT_EQ(Tarvo({"-mQM1", "-i'APP.*'", "-fout/*", "-Lm2"}).Exit, 0);
  std::filesystem::remove(Path("out/APP.TWO$3.tvo"));
  const auto gap = Tarvo({"-mQM2", "-o*", "-fout/*"});
  EXPECT_EQ(gap.Exit, ExitStatus(MQRC_OBJECT_ALREADY_EXISTS));
  EXPECT_NE(gap.Err.find("Indexed File 'out/APP.TWO$3.tvo' appears to be missing\n"), std::string::npos) << gap.Err;
  std::filesystem::remove(Path("out/APP.TWO$1.tvo"));
  EXPECT_NE(Tarvo({"-mQM2", "-o*", "-fout/*"}).Err.find("Indexed File 'out/APP.TWO$2.tvo' should start at index 1\n"),
            std::string::npos);
  WriteText("out/APP.ONE.tvo", "* TARVO\n");
  EXPECT_NE(Tarvo({"-mQM2", "-oAPP.ONE", "-fout/*"}).Exit, 0);
  EXPECT_EQ(Queues("QM2").Depth("APP.ONE"), 0);
  std::filesystem::remove(Path("out/APP.ONE.tvo"));
  Queues("QM2").PutText("APP.ONE", "already here");
  const auto notEmpty = Tarvo({"-mQM2", "-oAPP.ONE", "-fout/*"}, "y\n");
  EXPECT_EQ(notEmpty.Exit, ExitStatus(MQRC_Q_NOT_EMPTY));
  EXPECT_NE(notEmpty.Err.find("Not empty.\n"), std::string::npos);
  EXPECT_EQ(Tarvo({"-mQM2", "-oAPP.ONE", "-Fout/*"}).Exit, 0);
  EXPECT_EQ(Queues("QM2").Depth("APP.ONE"), 4);
  const auto nothing = Tarvo({"-mQM2", "-oNO.*", "-fout/*"});
  EXPECT_EQ(nothing.Exit, 0);
  EXPECT_NE(nothing.Err.find("No matching TARVO files found.\n"), std::string::npos);
}

TEST_F(WholeQueueManager, ASetIsReadFromTheFilesThatAreThere) {
  // Whatever zeros stand before the numbers, and more than nine of them.
  const auto write = [&](const std::string& name, int text) {
    WriteText("out/" + name, "* TARVO\nA PRI 1\nS \"" + std::to_string(text) + "\"\n\n");
  };
  std::vector<std::string> texts;
  for (int i = 1; i <= 12; ++i) {
    write("U_1$" + std::string(static_cast<std::size_t>(i % 4), '0') + std::to_string(i) + ".tvo", i);
    texts.push_back(std::to_string(i));
  }
  const auto loaded = Tarvo({"-mQM2", "-oU*", "-fout/*", "-t0"});
  EXPECT_EQ(loaded.Exit, 0) << loaded.Err;
  EXPECT_NE(loaded.Out.find("\nTotal : 1 Queues, 12 Messages\n"), std::string::npos) << loaded.Out;
  EXPECT_EQ(Queues("QM2").Texts("U_1"), texts);
  // What is put one by one stays when a later file fails, and is counted.
  WriteText("out/APP.ONE$1.tvo", "* TARVO\nA PRI 1\nS \"one\"\n\nA PRI 1\nno line\n");
  const auto failed = Tarvo({"-mQM2", "-oAPP.*", "-fout/*", "-t0"});
  EXPECT_EQ(failed.Exit, ExitStatus(MQRC_FILE_SYSTEM_ERROR));
  EXPECT_NE(failed.Out.find("\nTotal : 1 Queues, 1 Messages\n"), std::string::npos) << failed.Out;
  EXPECT_EQ(Queues("QM2").Depth("APP.ONE"), 1);
  // In units of work the one that is backed out is not.
  ASSERT_EQ(LocalMq({"QM2"}, "CLEAR QLOCAL(U_1)\n").Exit, 0);
  const auto backedOut = TarvoWithFaults("MQPUT@U_1:6=2053", {"-mQM2", "-oU*", "-fout/*", "-t2"});
  EXPECT_EQ(backedOut.Exit, ExitStatus(MQRC_Q_FULL));
  EXPECT_NE(backedOut.Out.find("\nTotal : 1 Queues, 4 Messages\n"), std::string::npos) << backedOut.Out;
  // A file of a wanted queue that is left out is named, and so is one that has the number of another.
  write("P%n.tvo", 1);
  write("P%n#old.tvo", 2);
  write("SYSTEM.X.tvo", 3);
  const auto leftOut = Tarvo({"-mQM2", "-oP*", "-oS*", "-fout/*"});
  EXPECT_EQ(leftOut.Exit, ExitStatus(MQRC_FILE_SYSTEM_ERROR)) << leftOut.Err;
  EXPECT_NE(leftOut.Err.find("File 'out/P%n#old.tvo' is left out: what follows the '#' is no number\n"
                             "File 'out/SYSTEM.X.tvo' is left out: a system queue is loaded only when it is named\n"),
            std::string::npos)
      << leftOut.Err;
  EXPECT_EQ(Queues("QM2").Texts("P%n"), std::vector<std::string>{"1"});
  write("U_1$012.tvo", 13);
  const auto twice = Tarvo({"-mQM2", "-oU_1", "-fout/*"});
  EXPECT_EQ(twice.Exit, ExitStatus(MQRC_OBJECT_ALREADY_EXISTS));
  EXPECT_NE(twice.Err.find("Indexed File 'out/U_1$12.tvo' has the same index as another file\n"), std::string::npos)
      << twice.Err;
}

// ---- A large one
// -------------------------------------------------------------------------------------------------------

// Names whose files need care: '/' and '%', twins that differ only in case (three and four of them), all 48 characters,
// and names of devices and that begin like them.
std::vector<std::string> AwkwardNames(int count) {
  std::vector<std::string> names;
  for (int i = 0; static_cast<int>(names.size()) < count; ++i) {
    const std::string number = std::to_string(i);
    std::string name = "App/" + number + "%_x." + std::string(static_cast<std::size_t>(i % 3), '/');
    if (i % 5 == 0) name.resize(48, i % 2 == 0 ? '_' : 'z');
    std::string upper = name;
    std::string lower = name;
    for (char& c : upper) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    for (char& c : lower) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    for (const auto& twin : {name, upper, lower, "COM" + number}) names.push_back(twin);
  }
  return names;
}

// Data of every length and byte, that looks like the lines of a file now and then.
StoredMessage AwkwardMessage(int i) {
  StoredMessage message{harness::RichDescriptor(i % 16), {}};
  const int length = i % 11 == 0 ? 0 : (i * 37) % 400;
  for (int k = 0; k < length; ++k) message.Data += static_cast<char>(i + k * (i % 7));
  if (i % 13 == 0) message.Data += "\nA RPT 0\r\n* TARVO\n";
  if (i % 3 == 0) std::memset(message.Descriptor.Format, ' ', sizeof message.Descriptor.Format);
  return message;
}

class LargeQueueManager : public Sandbox {};

TEST_F(LargeQueueManager, ComesBackFieldByFieldInOrder) {
  const auto names = AwkwardNames(200);
  for (const char* qmgr : {"QM1", "QM2"}) CreateQueueManager(qmgr, names);
  std::filesystem::create_directory(Path("out"));
  Queues one("QM1");
  int total = 0;
  for (std::size_t n = 0; n < names.size(); ++n) {
    const int count = n % 50 == 7 ? 5000 : 1 + static_cast<int>(n * 7 % 40);
    std::vector<StoredMessage> messages;
    for (int i = 0; i < count; ++i) messages.push_back(AwkwardMessage(static_cast<int>(n) + i));
    one.PutAll(names[n], messages);
    total += count;
  }
  const std::string totals = "\nTotal : 200 Queues, " + std::to_string(total) + " Messages\n";
  const auto unloaded = Tarvo({"-mQM1", "-i*", "-fout/*", "-Lm300", "-Ls100k"});
  EXPECT_EQ(unloaded.Exit, 0) << unloaded.Err;
  EXPECT_EQ(Occurrences(unloaded.Out, "  Done.\n"), 200) << unloaded.Out;
  EXPECT_NE(unloaded.Out.find(totals), std::string::npos) << unloaded.Out;
  const auto loaded = Tarvo({"-mQM2", "-o*", "-fout/*"});
  EXPECT_EQ(loaded.Exit, 0) << loaded.Err;
  EXPECT_NE(loaded.Out.find(totals), std::string::npos) << loaded.Out;
  Queues two("QM2");
  for (const auto& name : names) EXPECT_TRUE(SameMessages(one.Browse(name), two.Browse(name))) << name;
}

}  // namespace
