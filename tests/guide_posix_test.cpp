// The guide's commands, run as they are written, answer as they are shown.

#include <filesystem>

#include "preload_posix.h"

namespace {

constexpr std::int64_t kDayOfTheGuide = 1763461800;  // 18 November 2025, 10:30 UTC
const std::filesystem::path kTree = TARVO_TREE;      // CMakeLists.txt: the folder of the sources

struct Step {
  std::string Command;
  std::vector<std::string> Shown;
};

void CutBlanks(std::string& line) { line.erase(line.find_last_not_of(' ') + 1); }

// The commands of all console blocks, each with the lines below it.
std::vector<Step> StepsOf(const std::string& guide) {
  std::vector<Step> steps;
  bool console = false;
  for (const auto& line : Lines(guide)) {
    if (line.starts_with("```")) {
      console = line == "```console";
    } else if (console && line.starts_with("$ ")) {
      steps.push_back({line.substr(2), {}});
    } else if (console && !steps.empty()) {
      steps.back().Shown.push_back(line);
    }
  }
  return steps;
}

using Line = std::vector<std::string>::const_iterator;

// Whether the lines are those shown, where "..." stands for any number of lines.
bool Matches(Line shown, Line shownEnd, Line line, Line end) {
  if (shown == shownEnd) return line == end;
  if (*shown == "...") {
    return Matches(shown + 1, shownEnd, line, end) || (line != end && Matches(shown, shownEnd, line + 1, end));
  }
  return line != end && *shown == *line && Matches(shown + 1, shownEnd, line + 1, end);
}

class Guide : public Sandbox {};

TEST_F(Guide, CommandsAnswerAsShown) {
  std::filesystem::copy(kTree / "examples" / "messages.tvo", Path("messages.tvo"));
  std::filesystem::copy(kTree / "docs" / "guide.md", Path("guide.md"));
  harness::Environment variables = environment();
  variables["PATH"] = harness::ProgramFolder().string() + ":/usr/bin:/bin";
  variables["TZ"] = "UTC";
  harness::StopClock(variables, kDayOfTheGuide);
  const std::vector<Step> steps = StepsOf(ReadText("guide.md"));
  EXPECT_GT(steps.size(), 20U);
  for (const Step& step : steps) {
    // The shell ends by itself, not in the place of its last command: it then takes the shared memory away that stands
    // for the clock.
    const std::string script = "exec 2>&1; " + step.Command + "\nexit";
    const Outcome outcome = harness::RunProcess({"/bin/bash", {"-c", script}, Path("."), variables, {}, {}});
    EXPECT_EQ(outcome.Exit, 0) << step.Command;
    std::vector<std::string> lines = Lines(outcome.Out);
    if (!lines.empty() && lines[0] == "Queue Load/Unload Utility for IBM MQ")
      lines.erase(lines.begin(), lines.begin() + 3);
    for (auto& line : lines) CutBlanks(line);
    std::vector<std::string> shown = step.Shown;
    for (auto& line : shown) CutBlanks(line);
    EXPECT_TRUE(Matches(shown.begin(), shown.end(), lines.begin(), lines.end())) << "$ " << step.Command << "\n"
                                                                                 << outcome.Out;
  }
}

}  // namespace
