#include "cmdline/help.h"

#include <algorithm>
#include <cctype>
#include <string>

#include "cmdline/parameters.h"
#include "common/version.h"

namespace {

constexpr std::size_t kPauseAnswer = 99;   // characters of an answer to a pause
constexpr std::size_t kTopicAnswer = 199;  // characters of a topic

// What a pause led to.
enum class Pause { None, GoOn, HelpAsked };

// Waits for the user when a page is full; the last rows of a page stay free for the prompt and the answer.
Pause PauseAtPageEnd(Parameters& run) {
  if (run.Screen.LinesShown < run.Screen.PageLength - 3) return Pause::None;
  run.Screen.Print("More <Press Enter>...\n");
  std::string answer;
  run.Screen.ReadAnswer(answer, kPauseAnswer);
  run.Screen.LinesShown = 0;
  return answer.find('?') == std::string::npos ? Pause::GoOn : Pause::HelpAsked;
}

// Returns false when the user asked for help instead of the next line, or has enough.
bool ShowHelpLine(Parameters& run, const HelpLine& line) {
  if (PauseAtPageEnd(run) == Pause::HelpAsked || run.Screen.AnswerInterrupted) return false;
  run.Screen.PrintText(line.Text);
  ++run.Screen.LinesShown;
  return true;
}

// Shows the lines that `wanted` picks by their index, after the banner.
template <typename Wanted>
void ShowHelpLines(Parameters& run, Wanted wanted) {
  ShowBanner(run);
  for (std::size_t i = 0; i < kHelpLineCount; ++i) {
    if (wanted(i) && !ShowHelpLine(run, HelpLines[i])) return HelpPrompt(run);
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

void ShowBanner(Parameters& run) {
  if (run.Screen.BannerShown || run.Screen.Quiet) return;
  run.Screen.Print("Queue Load/Unload Utility for IBM MQ\n  Version V%s Build date:%s\n\n", kVersion, __DATE__);
  run.Screen.LinesShown += 3;
  run.Screen.BannerShown = true;
}

void ShowShortUsage(Parameters& run) {
  ShowHelpLines(run, [](std::size_t i) { return i == 0 || !SameOption(i, i - 1); });
}

void ShowFullUsage(Parameters& run) {
  ShowHelpLines(run, [](std::size_t) { return true; });
}

void ShowOptionHelp(Parameters& run, char letter) {
  ShowHelpLines(run, [letter](std::size_t i) { return HelpLines[i].Key == letter; });
}

void ShowHelpTopic(Parameters& run, std::string_view topic) {
  ShowBanner(run);
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
      if (!ShowHelpLine(run, HelpLines[row])) return;
      ++row;
    } while (row < kHelpLineCount && SameOption(row, i));
    i = row;
  }
  if (!found) {
    run.Screen.Print("Options relating to '%.*s' not found\n", static_cast<int>(topic.size()), topic.data());
    ++run.Screen.LinesShown;
  }
}

void HelpPrompt(Parameters& run) {
  ShowBanner(run);
  std::string topic;
  for (;;) {
    const Pause pause = PauseAtPageEnd(run);
    if (run.Screen.AnswerInterrupted) return;
    if (pause != Pause::HelpAsked) {
      run.Screen.Print("Help - Enter topic:\n");
      ++run.Screen.LinesShown;
    }
    if (!run.Screen.ReadAnswer(topic, kTopicAnswer) || topic.empty()) return;
    run.Screen.LinesShown = 0;
    ShowHelpTopic(run, topic);
  }
}
