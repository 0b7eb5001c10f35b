#include "logmode/log_source.h"

#include <algorithm>
#include <cstdlib>
#include <new>
#include <string>

#include "common/paths.h"

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

}  // namespace

MQLONG LogSource::StartFormatter() {
  const char* const installation = std::getenv("MQ_INSTALLATION_PATH");
  if (installation == nullptr) {
    screen_.Print("Environment variable MQ_INSTALLATION_PATH not set.\n");
    return MQRC_OPTIONS_ERROR;
  }
  const std::string program = FormatterPath(installation);
  const std::string& command = asked_.FormatterCommand;
  screen_.Print("Issuing command %s %s\n", program.c_str(), command.c_str() + command.find(' ') + 1);
  const ChildProcess::Failure failure = log_.Lines.StartFormatter(program, command);
  const char* const text = failure.text.c_str();
  switch (failure.step) {
    case ChildProcess::Step::None:
      return 0;
    case ChildProcess::Step::Pipe:
      screen_.Print("Can't create redirection pipe RC(%d) %s\n", failure.error, text);
      break;
    case ChildProcess::Step::HandleInformation:
      screen_.Print("Can't set handle information on read pipe RC(%d) %s\n", failure.error, text);
      break;
    case ChildProcess::Step::Create:
      screen_.Print("Create Process failed RC(%d) %s\n", failure.error, text);
      break;
    case ChildProcess::Step::CloseHandle:
      screen_.Print("Close Handle failed RC(%d) %s\n", failure.error, text);
      break;
  }
  return MQRC_UNEXPECTED_ERROR;
}

MQLONG LogSource::OpenDumpFile(RunFiles& files, const std::string& name) {
  const std::size_t separator = name.find_last_of(kSeparators);
  const std::string_view baseName = std::string_view(name).substr(separator + 1);  // npos + 1 is 0
  if (ContainsIgnoringCase(baseName, ".LOG")) {
    screen_.Print(".LOG file are not supported. Please format using DMPMQLOG.\n");
    return MQRC_OPTIONS_ERROR;
  }
  if (const int error = log_.Lines.OpenFile(name.c_str()); error != 0) {
    screen_.PrintText(WithCause("Can not access MQ log file.\n", error));
    return MQRC_FILE_SYSTEM_ERROR;
  }
  files.AddInput(IdentityOf(name));
  file_ = name;
  screen_.Prefix = [this] {
    return log_.LineNumber != 0 ? FormatText("Line No. %u: ", log_.LineNumber) : std::string();
  };
  return 0;
}

bool ParseLogParameter(LogOptions& asked, const std::string& qmgr, Console& screen, std::string_view text) {
  const std::size_t bracket = text.find('(');
  std::string_view file = text.substr(0, bracket);
  if (file == "*") file = {};
  std::string_view start, end;
  const bool rangeGood = bracket == std::string_view::npos || SplitRange(text.substr(bracket + 1), start, end);
  constexpr std::size_t kLongestName = 255;
  if (!rangeGood || file.size() > kLongestName) {
    screen.Print("Unrecognised log file parameter format.\n");
    return false;
  }
  asked.File = file;
  std::string command = "dmpmqlog ";
  if (!qmgr.empty()) command += "-m " + qmgr + ' ';
  if (!file.empty()) command += "-f " + Argument(file) + ' ';
  command += start.empty() ? "-b " : "-s " + std::string(start) + ' ';
  if (!end.empty()) command += "-e " + std::string(end) + ' ';
  asked.FormatterCommand = std::move(command);
  return true;
}

LogSource::LogSource(const LogOptions& asked, WantedQueue queue, Console& screen, std::function<std::int64_t()> written)
    : asked_(asked), queue_(std::move(queue)), screen_(screen), log_(screen, std::move(written)) {}

MQLONG LogSource::Open(RunFiles& files) {
  if (queue_.Name.empty()) {
    screen_.Print("Please specify the name of the queue to search the log for using the -i parameter.\n");
    return MQRC_OPTIONS_ERROR;
  }
  if (queue_.Name.find_first_of("*?") != std::string::npos) {
    screen_.Print("Wild cards are not supported in input queue name when in log mode.\n");
    return MQRC_OPTIONS_ERROR;
  }
  screen_.Print("Searching for messages logged on queue '%s'.\n", queue_.Name.c_str());
  screen_.Redraw = [this] { log_.ShowProgress(); };

  std::string_view name = asked_.File;
  name.remove_prefix(std::min(name.find_first_not_of(' '), name.size()));
  const bool isFile =
      name.find('.') != std::string_view::npos && kSeparators.find(name.back()) == std::string_view::npos;
  return isFile ? OpenDumpFile(files, std::string(name)) : StartFormatter();
}

LogSource::~LogSource() {
  if (started_) End();
  screen_.Prefix = nullptr;
  screen_.Redraw = nullptr;
}

void LogSource::End() {
  screen_.Prefix = nullptr;
  log_.End();
}

Result LogSource::Start(bool& empty) {
  empty = false;
  started_ = true;
  bool found = false;
  Result result = FindFirstLogRecord(log_, found);
  if (log_.CutShort) return {};
  if (result.failed()) {
    screen_.Print("No MQ log records found.\n");
    if (!file_.empty()) screen_.Print("Are you sure file '%s' is the output from DMPMQLOG ?\n", file_.c_str());
  }
  return found ? std::move(result) : EndOfLogLines(log_, std::move(result));
}

Result LogSource::Next(CurrentMessage& message, std::int64_t, Arrival& arrival) {
  Result result;
  bool end = false;
  try {
    result = ReadLogMessage(log_, queue_, message, end);
  } catch (const std::bad_alloc&) {
    result = MQRCCF_NO_STORAGE;
  }
  arrival = end ? Arrival::End : Arrival::Message;
  if (log_.CutShort) {
    arrival = Arrival::Interrupted;
    result = {};
  }
  if (result.failed() || arrival != Arrival::Message) End();
  return result;
}

Result LogSource::Check(CurrentMessage& message) {
  Result checked = CheckLogMessage(log_, message);
  if (checked.failed()) End();
  return checked;
}
