#include "cmdline/help.h"

#include <algorithm>
#include <set>

#include "cmdline/command_line_test.h"
#include "platform/test_folder.h"

namespace {

long CountOf(const std::string& text, const std::string& part) {
  long count = 0;
  for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++count;
  return count;
}

std::ptrdiff_t LinesOf(const std::string& text) { return std::count(text.begin(), text.end(), '\n'); }

// Help on a terminal of 24 rows, with answers waiting on standard input.
std::string HelpWith(const std::vector<std::string>& arguments, const std::string& answers, int pageLength = 24) {
  const TestFolder folder;
  AnswerWith(folder, answers);
  Parsed parsed;
  parsed->Screen.PageLength = pageLength;
  return ParseWith(std::move(parsed), arguments).Errors;
}

}  // namespace

TEST(Help, ShortUsageShowsOneLineForEveryOption) {
  const std::string usage = Parse({}).Errors;
  EXPECT_EQ(usage.rfind("Usage: TARVO <Optional flags as below>\n        [-a <File", 0), 0U);
  EXPECT_EQ(CountOf(usage, "        [-"), 41);
  EXPECT_EQ(LinesOf(usage), 1 + 41 + 14);
  EXPECT_TRUE(usage.ends_with("Provide Summary of messages            : tarvo -iQ1 -ds\n"));
}

TEST(Help, FullUsageShowsEveryLine) {
  const std::string usage = Parse({"-?"}).Errors;
  EXPECT_EQ(LinesOf(usage), static_cast<std::ptrdiff_t>(kHelpLineCount));
  EXPECT_EQ(CountOf(usage, "r[time%] relative delay"), 1);
}

TEST(Help, EveryOptionButTheHiddenOneIsExplained) {
  std::set<char> letters;
  for (const HelpLine& line : HelpLines) letters.insert(line.Key);
  for (const char letter : std::string("aAbcCdDeEfFgGhHiIjlLmnoOpPqrRsStTuUvwxXz$")) {
    EXPECT_TRUE(letters.contains(letter)) << letter;
  }
}

TEST(Help, BannerStandsInFrontOnceUnlessQuiet) {
  Parsed loud, quiet;
  loud->Screen.BannerShown = quiet->Screen.BannerShown = false;
  const std::string text = ParseWith(std::move(loud), {"-Cx"}).Errors;
  EXPECT_EQ(text.rfind("I did not understand your context parameter\n\nQueue Load/Unload Utility for IBM MQ\n  "
                       "Version V9.1.1 Build date:",
                       0),
            0U);
  EXPECT_EQ(CountOf(text, "Queue Load/Unload"), 1);
  EXPECT_EQ(ParseWith(std::move(quiet), {"-q", "-m?"}).Errors, "        [-m <Queue Manager name>]\n");
}

TEST(Help, PausesWhenThePageIsFull) {
  const std::string goOn = HelpWith({"-?"}, "\n\n\n\n\n\n\n");
  EXPECT_EQ(CountOf(goOn, "More <Press Enter>...\n"), (static_cast<std::ptrdiff_t>(kHelpLineCount) - 1) / 21);
  EXPECT_EQ(LinesOf(goOn.substr(0, goOn.find("More"))), 21);

  const std::string asked = HelpWith({"-?"}, "?\nwait\n\n");
  EXPECT_EQ(LinesOf(asked.substr(0, asked.find("More"))), 21);
  EXPECT_EQ(asked.substr(asked.find("More")),
            "More <Press Enter>...\nHelp - Enter topic:\n        [-w <MQGET Wait interval(seconds)>]\n"
            "Help - Enter topic:\n");
  // The end of input is an empty answer to everything.
  EXPECT_EQ(CountOf(HelpWith({"-?"}, ""), "More <Press Enter>...\n"), 6);
}

TEST(Help, TopicsShowWholeOptionsOnce) {
  const std::string queue = HelpWith({"-?", "queue"}, "", 500);
  EXPECT_EQ(CountOf(queue, "        [-A <parm> Message Attribute Override]\n"), 1);
  EXPECT_EQ(CountOf(queue, "            c:<CCSID>\n"), 1);
  EXPECT_EQ(CountOf(queue, "[-w "), 0);
  EXPECT_EQ(CountOf(queue, "Examples"), 0);
  EXPECT_TRUE(queue.ends_with("Help - Enter topic:\n"));

  EXPECT_EQ(HelpWith({"-?zzz"}, "\n", 500), "Options relating to 'zzz' not found\nHelp - Enter topic:\n");
  EXPECT_EQ(HelpWith({"-?", "?"}, "wait\n", 500),
            "Help - Enter topic:\n        [-w <MQGET Wait interval(seconds)>]\nHelp - Enter topic:\n");
}
