#include "cmdline/help.h"

#include <algorithm>
#include <cctype>
#include <string>

#include "cmdline/command_line.h"
#include "common/version.h"

namespace {

constexpr std::size_t kPauseAnswer = 99;   // characters of an answer to a pause
constexpr std::size_t kTopicAnswer = 199;  // characters of a topic

// What a pause led to.
enum class Pause { None, GoOn, HelpAsked };

// Waits for the user when a page is full; the last rows of a page stay free for the prompt and the answer.
Pause PauseAtPageEnd(Console& screen) {
  if (screen.LinesShown < screen.PageLength - 3) return Pause::None;
  screen.Print("More <Press Enter>...\n");
  std::string answer;
  screen.ReadAnswer(answer, kPauseAnswer);
  screen.LinesShown = 0;
  return answer.find('?') == std::string::npos ? Pause::GoOn : Pause::HelpAsked;
}

// Returns false when the user asked for help instead of the next line, or has enough.
bool ShowHelpLine(Console& screen, const HelpLine& line) {
  if (PauseAtPageEnd(screen) == Pause::HelpAsked || screen.AnswerInterrupted) return false;
  screen.PrintText(line.Text);
  ++screen.LinesShown;
  return true;
}

// Shows the lines that `wanted` picks by their index, after the banner.
template <typename Wanted>
void ShowHelpLines(Console& screen, Wanted wanted) {
  ShowBanner(screen);
  for (std::size_t i = 0; i < kHelpLineCount; ++i) {
    if (wanted(i) && !ShowHelpLine(screen, HelpLines[i])) return HelpPrompt(screen);
  }
}

bool ContainsIgnoringCase(std::string_view text, std::string_view part) {
  const auto same = [](char a, char b) {
    return std::tolower(static_cast<unsigned char>(a)) == std::tolower(static_cast<unsigned char>(b));
  };
  return std::search(text.begin(), text.end(), part.begin(), part.end(), same) != text.end() || part.empty();
}

bool SameOption(std::size_t a, std::size_t b) { return HelpLines[a].Key != 0 && HelpLines[a].Key == HelpLines[b].Key; }

}  // namespace

void ShowBanner(Console& screen) {
  if (screen.BannerShown || screen.Quiet) return;
  screen.Print("Queue Load/Unload Utility for IBM MQ\n  Version V%s Build date:%s\n\n", kVersion, __DATE__);
  screen.LinesShown += 3;
  screen.BannerShown = true;
}

void ShowShortUsage(Console& screen) {
  ShowHelpLines(screen, [](std::size_t i) { return i == 0 || !SameOption(i, i - 1); });
}

void ShowFullUsage(Console& screen) {
  ShowHelpLines(screen, [](std::size_t) { return true; });
}

void ShowOptionHelp(Console& screen, char letter) {
  ShowHelpLines(screen, [letter](std::size_t i) { return HelpLines[i].Key == letter; });
}

void ShowHelpTopic(Console& screen, std::string_view topic) {
  ShowBanner(screen);
  bool found = false;
  for (std::size_t i = 0; i < kHelpLineCount;) {
    if (!ContainsIgnoringCase(HelpLines[i].Text, topic)) {
      ++i;
      continue;
    }
    found = true;
    std::size_t row = i;
    while (row > 0 && SameOption(row - 1, i)) --row;
    do {
      if (!ShowHelpLine(screen, HelpLines[row])) return;
      ++row;
    } while (row < kHelpLineCount && SameOption(row, i));
    i = row;
  }
  if (!found) {
    screen.Print("Options relating to '%.*s' not found\n", static_cast<int>(topic.size()), topic.data());
    ++screen.LinesShown;
  }
}

void HelpPrompt(Console& screen) {
  ShowBanner(screen);
  std::string topic;
  for (;;) {
    const Pause pause = PauseAtPageEnd(screen);
    if (screen.AnswerInterrupted) return;
    if (pause != Pause::HelpAsked) {
      screen.Print("Help - Enter topic:\n");
      ++screen.LinesShown;
    }
    if (!screen.ReadAnswer(topic, kTopicAnswer) || topic.empty()) return;
    screen.LinesShown = 0;
    ShowHelpTopic(screen, topic);
  }
}
