#include "generic/queue_run.h"

#include <cstdio>
#include <filesystem>

#include "mq/reasons.h"

namespace {

constexpr std::size_t kAnswerLimit = 100;

}  // namespace

MQLONG ScanDirectory(Console& screen, const std::string& directory, std::set<std::string>& names) {
  std::error_code error;
  std::filesystem::directory_iterator at(directory, error);
  for (const std::filesystem::directory_iterator end; !error && at != end; at.increment(error)) {
    std::error_code unknown;
    if (!at->is_directory(unknown)) names.insert(at->path().filename().string());
  }
  if (!error) return 0;
  screen.PrintText(WithCause("Can not scan for files.\n", error));
  return MQRC_NOT_AUTHORIZED;
}

bool AskTerminal(Console& screen, std::string& answer) {
  if (screen.StdinIsTerminal) return screen.ReadAnswer(answer, kAnswerLimit);
  screen.PrintText("No, because standard input is no terminal.\n");
  return false;
}

bool Confirm(Console& screen, bool forced, const char* question) {
  if (forced) return true;
  screen.PrintText(question);
  std::string answer;
  const bool yes = AskTerminal(screen, answer) && (answer.starts_with('Y') || answer.starts_with('y'));
  if (yes) screen.PrintText("\n");
  return yes;
}

void QueueFailures::EndLine(MQLONG reason) {
  PrintOutput("RC(%d) %s\n", reason, ReasonText(reason));
  Add(reason);
}

void QueueFailures::EndLineOfFile(int error) {
  WriteStandardOutput(WithCause(FormatText("File Error RC(%d)\n", error), error));
  Add(MQRC_FILE_SYSTEM_ERROR);
}

void ShowText(Console& screen, std::string_view text) {
  if (text.empty()) return;
  std::fflush(stdout);
  screen.PrintText(std::string(text) + '\n');
}
