// What only happens on a terminal: prompts, paging, the progress line.

#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>

#include "harness.h"

namespace {

// Waits for a text on the screen, then types an answer.
struct Exchange {
  std::string Prompt;
  std::string Answer;
};

struct Session {
  int Exit = -1;
  std::string Screen;
};

class OnTerminal : public Sandbox {
 protected:
  // Runs a program with a terminal of `rows` rows as its standard streams; what it writes comes back in one text.
  Session Run(const std::vector<std::string>& arguments, const std::vector<Exchange>& exchanges, int rows = 24,
              const char* program = "tarvo") {
    std::vector<std::string> words = {(harness::ProgramFolder() / program).string()};
    words.insert(words.end(), arguments.begin(), arguments.end());
    std::vector<char*> argv;
    for (auto& word : words) argv.push_back(word.data());
    argv.push_back(nullptr);
    winsize size{};
    size.ws_row = static_cast<unsigned short>(rows);
    size.ws_col = 80;
    int terminal = -1;
    const pid_t child = forkpty(&terminal, nullptr, nullptr, &size);
    if (child == 0) {
      for (const auto& [name, value] : environment()) {
        if (value.empty()) {
          unsetenv(name.c_str());
        } else {
          setenv(name.c_str(), value.c_str(), 1);
        }
      }
      if (chdir(Path(".").c_str()) != 0) _exit(126);
      execv(argv[0], argv.data());
      _exit(127);
    }
    Session session;
    std::size_t seen = 0;
    std::size_t next = 0;
    for (char block[4096];;) {
      pollfd ready{terminal, POLLIN, 0};
      if (poll(&ready, 1, 20000) <= 0) {
        ADD_FAILURE() << "waits for an answer that nobody gives: " << session.Screen;
        kill(child, SIGKILL);
        break;
      }
      const ssize_t got = read(terminal, block, sizeof block);
      if (got <= 0) break;
      session.Screen.append(block, static_cast<std::size_t>(got));
      while (next < exchanges.size()) {
        const std::size_t at = session.Screen.find(exchanges[next].Prompt, seen);
        if (at == std::string::npos) break;
        seen = at + exchanges[next].Prompt.size();
        const std::string& answer = exchanges[next++].Answer;
        if (write(terminal, answer.data(), answer.size()) < 0) break;
      }
    }
    EXPECT_EQ(next, exchanges.size()) << session.Screen;
    int status = 0;
    if (next != exchanges.size()) kill(child, SIGKILL);
    waitpid(child, &status, 0);
    close(terminal);
    session.Exit = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return session;
  }
};

TEST_F(OnTerminal, ThePasswordIsReadWithoutEcho) {
  CreateQueueManager("QM1", {"Q1"}, "ALTER QMGR USER('app') PASSWORD('ac')\n");
  const std::string prompt = "Please enter password for QM(QM1) User(app) >";
  const auto typed = Run({"-mQM1", "-uapp", "-iQ1", "-dk"}, {{prompt, "ab\bc\r"}});
  EXPECT_EQ(typed.Exit, 0) << typed.Screen;
  EXPECT_NE(typed.Screen.find(prompt + "**\b \b*"), std::string::npos) << typed.Screen;
  EXPECT_EQ(typed.Screen.find("ac"), std::string::npos);
  const auto wrong = Run({"-mQM1", "-uapp", "-iQ1", "-dk"}, {{prompt, "\b\babc\r"}});
  EXPECT_EQ(wrong.Exit, ExitStatus(MQRC_NOT_AUTHORIZED)) << wrong.Screen;
}

TEST_F(OnTerminal, HelpPausesAtTheEndOfAPage) {
  const auto paged = Run({"-?"}, {{"More <Press Enter>...", "\n"},
                                  {"More <Press Enter>...", "?\n"},
                                  {"Help - Enter topic:", "rate\n"},
                                  {"Help - Enter topic:", "\n"}});
  EXPECT_EQ(paged.Exit, ExitStatus(MQRC_OPTIONS_ERROR));
  const auto lines = Lines(paged.Screen);
  // The banner's two lines and an empty one count: the pause comes after 21 lines.
  EXPECT_EQ(lines.at(21), "More <Press Enter>...");
  EXPECT_NE(paged.Screen.find("[-R <Message Rate>[:<Duration>]"), std::string::npos);
  const auto tall = Run({"-?"}, {}, 200);
  EXPECT_EQ(tall.Screen.find("More <Press Enter>"), std::string::npos);
  for (const char* line :
       {"\r\n\r\nUsage: TARVO <Optional flags as below>\r\n        [-a <File access mode for fopen()>]\r\n",
        "\r\n          r[time%] relative delay\r\n        [-e <Ebcdic Search String>]\r\n",
        "\r\n            [[[DD:]HH:]MM ][,[[DD:]HH:]MM] Message Age Selection\r\n",
        "\r\n        [-$ <Queue Separator character>]\r\n\r\nExamples \r\n-------- \r\n"}) {
    EXPECT_NE(tall.Screen.find(line), std::string::npos) << line;
  }
  EXPECT_EQ(Lines(tall.Screen).size(), 3U + 135U);
  // A topic brings the whole group of an option, once; an option's own help is its group alone.
  const auto topic = Run({"-?", "MASK"}, {{"Help - Enter topic:", "zzz\n"}, {"Help - Enter topic:", "\n"}});
  EXPECT_EQ(Occurrences(topic.Screen, "        [-G <Get filter options>]\r\n            i:"), 1) << topic.Screen;
  EXPECT_NE(topic.Screen.find("Options relating to 'zzz' not found\r\n"), std::string::npos) << topic.Screen;
  const auto option = Run({"-q", "-P", "?"}, {});
  EXPECT_EQ(option.Screen, "        [-P <Message Priority Selection>\r\n            [>= Priority][,][<= Priority]\r\n");
  const auto noArgument = Run({"-q", "-h?"}, {});
  EXPECT_EQ(noArgument.Screen, "        [-h Strip headers]\r\n");
}

TEST_F(OnTerminal, ManyQueuesAreAskedAboutBeforeAFileIsDeleted) {
  CreateQueueManager("QM1", {"A"});
  Queues("QM1").PutNumbered("A", 2);
  std::filesystem::create_directory(Path("out"));
  const std::string sure = "will be deleted.\r\nAre you sure you want to continue? ";
  const std::string what = "What would you like to do? (c)ontinue, (d)elete the files, (q)uit ";
  const struct {
    std::vector<Exchange> Exchanges;
    bool Unloads, Deletes;
  } cases[] = {{{{sure, "n\n"}}, false, false},
               {{{sure, "y\n"}, {what, "q\n"}}, false, false},
               {{{sure, "y\n"}, {what, "\x04"}}, false, false},
               {{{sure, "Yes\n"}, {what, "x\n"}, {what, "c\n"}}, true, false},
               {{{sure, "y\n"}, {what, "d\n"}}, true, true}};
  for (const auto& c : cases) {
    WriteText("out/A.tvo", "precious");
    WriteText("out/OTHER.tvo", "foreign");
    const auto session = Run({"-q", "-mQM1", "-i*", "-fout/*"}, c.Exchanges);
    EXPECT_EQ(session.Exit, c.Unloads ? 0 : ExitStatus(MQRC_OBJECT_ALREADY_EXISTS)) << session.Screen;
    EXPECT_EQ(ReadText("out/A.tvo") == "precious", !c.Unloads);
    EXPECT_EQ(std::filesystem::exists(Path("out/OTHER.tvo")), !c.Deletes);
  }
  const auto loaded =
      Run({"-q", "-mQM1", "-oA", "-fout/*"}, {{"queues.\r\nAre you sure you want to continue? ", "y\n"}});
  EXPECT_EQ(loaded.Exit, 0) << loaded.Screen;
  EXPECT_EQ(Queues("QM1").Depth("A"), 4);
}

TEST_F(OnTerminal, AnExistingFileIsAskedAbout) {
  CreateQueueManager("QM1", {"Q1"});
  Queues("QM1").PutNumbered("Q1", 2);
  WriteText("out", "precious");
  const std::string question = "File 'out' exists - overwrite (y)es/(n)o/(a)ll ?";
  const auto no = Run({"-mQM1", "-iQ1", "-fout"}, {{question, "what\n"}, {question, "n\n"}});
  EXPECT_EQ(no.Exit, ExitStatus(MQRC_FILE_SYSTEM_ERROR));
  EXPECT_EQ(ReadText("out"), "precious");
  const auto yes = Run({"-mQM1", "-iQ1", "-fout"}, {{question, "y\n"}});
  EXPECT_EQ(yes.Exit, 0) << yes.Screen;
  EXPECT_EQ(ReadText("out").substr(0, 7), "* TARVO");
  WriteText("m1", "x");
  WriteText("m2", "x");
  const auto all = Run({"-mQM1", "-iQ1", "-fm%i"}, {{"File 'm1' exists", "a\n"}});
  EXPECT_EQ(all.Exit, 0) << all.Screen;
  EXPECT_EQ(Occurrences(all.Screen, "overwrite (y)es"), 1);
  EXPECT_NE(ReadText("m2"), "x");

  // The end of input is a no, also behind an answer that is none. Whether a file can be read does not matter.
  WriteText("out", "precious");
  ASSERT_EQ(mkfifo(Path("pipe").c_str(), 0600), 0);
  for (const auto& end : {std::vector<Exchange>{{question, "\x04"}}, {{question, "N\n"}, {question, "\x04"}}}) {
    EXPECT_EQ(Run({"-mQM1", "-iQ1", "-fout"}, end).Exit, ExitStatus(MQRC_FILE_SYSTEM_ERROR));
  }
  EXPECT_EQ(ReadText("out"), "precious");
  EXPECT_EQ(Run({"-mQM1", "-iQ1", "-fpipe"}, {{"File 'pipe' exists", "n\n"}}).Exit, ExitStatus(MQRC_FILE_SYSTEM_ERROR));
}

TEST_F(OnTerminal, EmptyingQueuesIntoNothingIsAskedAbout) {
  CreateQueueManager("QM1", {"Q1", "Q2"});
  Queues queues("QM1");
  queues.PutNumbered("Q1", 2);
  const Exchange no = {"The messages of 'Q1, Q2' will be removed and go nowhere. Continue? (y/n)\r\n", "n\n"};
  const Exchange yes = {"The messages of 'Q1' will be removed and go nowhere. Continue? (y/n)\r\n", "y\n"};
  EXPECT_EQ(Run({"-mQM1", "-IQ1", "-IQ2"}, {no}).Exit, ExitStatus(MQRC_OBJECT_ALREADY_EXISTS));
  // A question that is not expected would wait for its answer.
  EXPECT_EQ(Run({"-mQM1", "-IQ1", "-smessage"}, {}).Exit, 0);
  EXPECT_EQ(queues.Depth("Q1"), 2);
  EXPECT_EQ(Run({"-mQM1", "-IQ1"}, {yes}).Exit, 0);
  EXPECT_EQ(queues.Depth("Q1"), 0);
  for (const std::vector<std::string>& unasked : {std::vector<std::string>{"-p"}, {"-q"}, {"-fnull"}, {"-oQ2"}}) {
    queues.PutNumbered("Q1", 2);
    EXPECT_EQ(Run(Joined({"-mQM1", "-IQ1"}, unasked), {}).Exit, 0);
    EXPECT_EQ(queues.Depth("Q1"), 0);
  }
}

TEST_F(OnTerminal, PlainFilesAreCountedFirst) {
  CreateQueueManager("QM1", {"Q1"});
  WriteText("lines", "one\ntwo\nthree\n");
  WriteText("none", "nothing delimited");
  const std::string question = "Do you want to continue? (y/n)";
  const auto no = Run({"-mQM1", "-oQ1", "-flines", "-n!", "-Cd"}, {{question, "n\n"}});
  EXPECT_EQ(no.Exit, 0);
  EXPECT_NE(no.Screen.find(": 3 messages found"), std::string::npos) << no.Screen;
  EXPECT_EQ(no.Screen.find("Read    -"), std::string::npos);
  EXPECT_EQ(Queues("QM1").Depth("Q1"), 0);
  const auto yes = Run({"-mQM1", "-oQ1", "-flines", "-n!", "-Cd"}, {{question, "y\n"}});
  EXPECT_EQ(yes.Exit, 0);
  EXPECT_NE(yes.Screen.find("Read    - Files:   1  Messages:      3  Bytes:          11"), std::string::npos)
      << yes.Screen;
  EXPECT_EQ(Queues("QM1").Texts("Q1"), (std::vector<std::string>{"one", "two", "three"}));
  WriteText("copy", "precious");
  const auto kept = Run({"-flines", "-Fcopy", "-n!", "-Cd"}, {{question, "n\n"}});
  EXPECT_EQ(ReadText("copy"), "precious") << kept.Screen;
  // An output that exists is asked about before the count, and once.
  const std::string overwrite = "File 'copy' exists - overwrite (y)es/(n)o/(a)ll ?";
  Run({"-flines", "-fcopy", "-n!", "-Cd"}, {{overwrite, "y\n"}, {question, "n\n"}});
  EXPECT_EQ(ReadText("copy"), "precious");
  const auto replaced = Run({"-flines", "-fcopy", "-n!", "-Cd"}, {{overwrite, "y\n"}, {question, "y\n"}});
  EXPECT_EQ(Occurrences(replaced.Screen, "overwrite (y)es"), 1) << replaced.Screen;
  EXPECT_EQ(Occurrences(ReadText("copy"), "\nA RPT 0\n"), 3);
  const auto nothing = Run({"-mQM1", "-oQ1", "-fnone", "-ns:<m>", "-ne:</m>", "-Cd"}, {});
  EXPECT_NE(nothing.Screen.find("No messages were found in the file with those delimiters."), std::string::npos);
}

TEST_F(OnTerminal, LoadingShowsItsProgressInPlace) {
  CreateQueueManager("QM1", {"Q1"});
  Queues("QM1").PutText("Q1", "x");
  ASSERT_EQ(Tarvo({"-q", "-mQM1", "-iQ1", "-Fone.tvo"}).Exit, 0);
  const auto shown = Run({"-mQM1", "-oQ1", "-fone.tvo"}, {});
  EXPECT_NE(shown.Screen.find("Loading 'one.tvo' :  0%"), std::string::npos) << shown.Screen;
  EXPECT_NE(shown.Screen.find("\b\b\b\b\b     \b\b\b\b\b"), std::string::npos) << shown.Screen;
  const auto quiet = Run({"-q", "-mQM1", "-oQ1", "-fone.tvo"}, {});
  EXPECT_EQ(quiet.Screen, "");
  // Of each plain file of a set, the bytes of its messages that were read.
  WriteText("part1", "1234\n");
  WriteText("part2", "1234\n5678\n");
  const auto set = Run({"-mQM1", "-oQ1", "-fpart%n", "-nF!", "-Cd", "-D1100"}, {});
  EXPECT_NE(set.Screen.find("Loading 'part2' :  0%\b\b\b\b\b: 50%  ETA:"), std::string::npos) << set.Screen;
}

TEST_F(OnTerminal, NothingThatIsShownSteersTheTerminal) {
  const std::string data =
      "\x1B]0;title\x07\x9B"
      "2J\r\xC2\x85 \xC3\xA9 \xE2\x82\xAC";
  const std::string shown = ".]0;title..2J... \xC3\xA9 \xE2\x82\xAC";
  CreateQueueManager("QM1", {"Q1"}, "ALTER QLOCAL(Q1) DESCR('" + data + "')\n");
  MQMD descriptor;
  std::copy_n("\x9B\xC3\x9B", 3, descriptor.ReplyToQ);
  Queues("QM1").Put("Q1", descriptor, data);
  environment()["ORVEX_TARVO_PARMS"] = "1";
  environment()["MQACCESS_DEBUG"] = "1";
  const struct {
    const char* Program;
    std::vector<std::string> Arguments;
    std::string Shown;
  } cases[] = {
      {"tarvo", {"-q", "-mQM1", "-iQ1", "-fstdout", "-dr"}, "\n" + shown + "\r\n"},
      {"tarvo", {"-q", "-mQM1", "-iQ1", "-fstdout"}, "A RTQ .\xC3\x9B"},
      {"tarvo", {"-f" + data, "-ocopy"}, "] = '-f" + shown + "'\r\n"},
      {"tarvo", {"-f" + data, "-Fcopy"}, " file '" + shown + "'"},
      {"tarvo", {"-mQM1", "-l" + data, "-iQ1", "-fnull"}, shown + "'\r\nLoad failed"},
      {"localmq", {"QM1", "DISPLAY QLOCAL(Q1) DESCR"}, shown},
      {"localmq", {data}, "queue manager '" + shown + "'"},
  };
  for (const auto& c : cases) {
    const std::string screen = Run(c.Arguments, {}, 24, c.Program).Screen;
    EXPECT_NE(screen.find(c.Shown), std::string::npos) << testing::PrintToString(screen);
    EXPECT_EQ(screen.find_first_of("\x1B\x07"), std::string::npos) << testing::PrintToString(screen);
  }
  // Where nobody looks, bytes are bytes.
  environment().erase("ORVEX_TARVO_PARMS");
  environment().erase("MQACCESS_DEBUG");
  EXPECT_EQ(Tarvo({"-q", "-mQM1", "-iQ1", "-fstdout", "-dr", "-dN", "-dH"}).Out, data + "\n");
}

}  // namespace
