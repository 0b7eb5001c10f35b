#include "logmode/log_source.h"

#include <algorithm>
#include <cstdlib>
#include <string>

#include "cmdline/parameters.h"
#include "common/paths.h"
#include "logmode/log_messages.h"
#include "logmode/log_reader.h"

namespace {

constexpr std::size_t kLongestLsn = 49;
constexpr std::string_view kSeparators = ":/\\";  // of either system, since a log may come from the other

// An argument of the formatter's command line, which is split at blanks.
std::string Argument(std::string_view text) {
  const bool quotes = text.find(' ') != std::string_view::npos && text.find('"') == std::string_view::npos;
  return quotes ? '"' + std::string(text) + '"' : std::string(text);
}

// Numbers with colons between them, or nothing where the range is open on that side.
bool IsLsn(std::string_view text) {
  return text.size() <= kLongestLsn && text.find_first_not_of("0123456789ABCDEFabcdef:") == std::string_view::npos &&
         !text.starts_with(':') && !text.ends_with(':') && text.find("::") == std::string_view::npos;
}

// "start[-end])". False when the form is another one, or no LSN stands in it.
bool SplitRange(std::string_view text, std::string_view& start, std::string_view& end) {
  if (!text.ends_with(')')) return false;
  text.remove_suffix(1);
  if (text.find(')') != std::string_view::npos) return false;
  const std::size_t dash = text.find('-');
  start = text.substr(0, dash);
  if (dash != std::string_view::npos) end = text.substr(dash + 1);
  return IsLsn(start) && IsLsn(end) && !(start.empty() && end.empty());
}

bool ContainsIgnoringCase(std::string_view text, std::string_view upper) {
  const auto same = [](char a, char b) { return (a >= 'a' && a <= 'z' ? a - 'a' + 'A' : a) == b; };
  return std::search(text.begin(), text.end(), upper.begin(), upper.end(), same) != text.end();
}

std::string FormatterPath(const char* installation) {
  const std::string directory = installation;
  return NativePathStyle() == PathStyle::Windows ? directory + "\\bin64\\dmpmqlog.exe" : directory + "/bin/dmpmqlog";
}

MQLONG StartFormatter(Parameters& run) {
  const char* const installation = std::getenv("MQ_INSTALLATION_PATH");
  if (installation == nullptr) {
    run.Screen.Print("Environment variable MQ_INSTALLATION_PATH not set.\n");
    return MQRC_OPTIONS_ERROR;
  }
  const std::string program = FormatterPath(installation);
  const std::string& command = run.Asked.Log.FormatterCommand;
  run.Screen.Print("Issuing command %s %s\n", program.c_str(), command.c_str() + command.find(' ') + 1);
  const ChildProcess::Failure failure = run.Log.Reader->Lines.StartFormatter(program, command);
  const char* const text = failure.text.c_str();
  switch (failure.step) {
    case ChildProcess::Step::None:
      return 0;
    case ChildProcess::Step::Pipe:
      run.Screen.Print("Can't create redirection pipe RC(%d) %s\n", failure.error, text);
      break;
    case ChildProcess::Step::HandleInformation:
      run.Screen.Print("Can't set handle information on read pipe RC(%d) %s\n", failure.error, text);
      break;
    case ChildProcess::Step::Create:
      run.Screen.Print("Create Process failed RC(%d) %s\n", failure.error, text);
      break;
    case ChildProcess::Step::CloseHandle:
      run.Screen.Print("Close Handle failed RC(%d) %s\n", failure.error, text);
      break;
  }
  return MQRC_UNEXPECTED_ERROR;
}

MQLONG OpenDumpFile(Parameters& run, const std::string& name) {
  const std::size_t separator = name.find_last_of(kSeparators);
  const std::string_view baseName = std::string_view(name).substr(separator + 1);  // npos + 1 is 0
  if (ContainsIgnoringCase(baseName, ".LOG")) {
    run.Screen.Print(".LOG file are not supported. Please format using DMPMQLOG.\n");
    return MQRC_OPTIONS_ERROR;
  }
  if (const int error = run.Log.Reader->Lines.OpenFile(name.c_str()); error != 0) {
    run.Screen.PrintText(WithCause("Can not access MQ log file.\n", error));
    return MQRC_FILE_SYSTEM_ERROR;
  }
  run.Files.AddInput(IdentityOf(name));
  run.Log.File = name;
  run.Log.ReadingDumpFile = true;
  run.Screen.Prefix = [&log = run.Log] {
    return log.DumpLineNumber != 0 ? FormatText("Line No. %u: ", log.DumpLineNumber) : std::string();
  };
  return 0;
}

}  // namespace

bool ParseLogParameter(Parameters& run, std::string_view text) {
  const std::size_t bracket = text.find('(');
  std::string_view file = text.substr(0, bracket);
  if (file == "*") file = {};
  std::string_view start, end;
  const bool rangeGood = bracket == std::string_view::npos || SplitRange(text.substr(bracket + 1), start, end);
  constexpr std::size_t kLongestName = 255;
  if (!rangeGood || file.size() > kLongestName) {
    run.Screen.Print("Unrecognised log file parameter format.\n");
    return false;
  }
  run.Asked.Log.File = file;
  std::string command = "dmpmqlog ";
  if (const auto& qmgr = run.Asked.QMgrs[run.Asked.Input.QMgr].Name; !qmgr.empty()) command += "-m " + qmgr + ' ';
  if (!file.empty()) command += "-f " + Argument(file) + ' ';
  command += start.empty() ? "-b " : "-s " + std::string(start) + ' ';
  if (!end.empty()) command += "-e " + std::string(end) + ' ';
  run.Asked.Log.FormatterCommand = std::move(command);
  return true;
}

MQLONG StartLogReading(Parameters& run, std::string_view queueName) {
  if (queueName.empty()) {
    run.Screen.Print("Please specify the name of the queue to search the log for using the -i parameter.\n");
    return MQRC_OPTIONS_ERROR;
  }
  if (queueName.find_first_of("*?") != std::string_view::npos) {
    run.Screen.Print("Wild cards are not supported in input queue name when in log mode.\n");
    return MQRC_OPTIONS_ERROR;
  }
  run.Screen.Print("Searching for messages logged on queue '%.*s'.\n", static_cast<int>(queueName.size()),
                   queueName.data());
  run.Log.Reader = std::make_shared<LogReader>();
  run.Log.Reader->QueueName = queueName;
  run.Log.Reader->CaseCounts = run.Asked.CaseCounts;
  run.Screen.Redraw = [&run] { ShowLogProgress(run); };
  run.Source = &kLogSource;

  std::string_view name = run.Asked.Log.File;
  name.remove_prefix(std::min(name.find_first_not_of(' '), name.size()));
  const bool isFile =
      name.find('.') != std::string_view::npos && kSeparators.find(name.back()) == std::string_view::npos;
  return isFile ? OpenDumpFile(run, std::string(name)) : StartFormatter(run);
}
