#include "mq/destinations.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <new>
#include <system_error>

#include "cmdline/parameters.h"
#include "common/console.h"

namespace {

constexpr std::size_t kNameWidth = sizeof(MQCHAR48);
constexpr std::size_t kLinePiece =
    499;  // a longer line of a destination file is taken in pieces of this many characters
constexpr std::string_view kFilePrefix = "file:";

struct FileCloser {
  void operator()(std::FILE* file) const { std::fclose(file); }
};

bool SkipQuotes(std::string_view& text) {
  if (!text.starts_with('\'')) return false;
  text.remove_prefix(1);
  if (text.ends_with('\'')) text.remove_suffix(1);
  return true;
}

bool NamesFile(std::string_view text) {
  const auto sameLetter = [](char a, char b) { return a == std::tolower(static_cast<unsigned char>(b)); };
  return text.size() >= kFilePrefix.size() &&
         std::equal(kFilePrefix.begin(), kFilePrefix.end(), text.begin(), sameLetter);
}

std::size_t FindSeparator(std::string_view text, char separator) {
  if (separator != 0) return text.find(separator);
  for (const char candidate : {'#', ',', '\\', '/'}) {
    if (const std::size_t at = text.find(candidate); at != std::string_view::npos) return at;
  }
  return std::string_view::npos;
}

std::vector<QueueName>& QueuesOf(Parameters& run, ListKind kind) {
  return kind == ListKind::Output ? run.Asked.Output.Queues : run.Asked.Input.Queues;
}

// The chain of inclusions that leads to a record, from the outermost file inwards.
void ShowIncludeChain(Parameters& run, const IncludeRecord& record) {
  if (record.Including == nullptr) return;
  ShowIncludeChain(run, *record.Including);
  run.Screen.Print("  File '%s' includes file '%s' on line %d.\n", record.Including->Path.FullPath.c_str(),
                   record.Path.FullPath.c_str(), record.Including->LineNumber);
}

// Whether an outer file is this one, by whatever name.
bool IsRecursive(const IncludeRecord& record) {
  const std::string& path = record.Path.FullPath;
  for (const IncludeRecord* outer = record.Including; outer != nullptr; outer = outer->Including) {
    std::error_code error;
    if (outer->Path.FullPath == path || std::filesystem::equivalent(outer->Path.FullPath, path, error)) return true;
  }
  return false;
}

// The next line of a destination file, or the next piece of a long one, with its line end. Empty at the end.
std::string_view ReadPiece(std::FILE* file, char (&piece)[kLinePiece]) {
  std::size_t n = 0;
  for (int c = 0; n < kLinePiece && c != '\n' && (c = std::getc(file)) != EOF;) piece[n++] = static_cast<char>(c);
  return {piece, n};
}

std::string_view Trimmed(std::string_view line) {
  constexpr std::string_view kSpace = " \n\r\t";
  const std::size_t first = line.find_first_not_of(kSpace);
  if (first == std::string_view::npos) return {};
  return line.substr(first, line.find_last_not_of(kSpace) - first + 1);
}

bool ReadDestinations(Parameters& run, IncludeRecord& record, ListKind kind) {
  const char* path = record.Path.FullPath.c_str();
  if (IsRecursive(record)) {
    run.Screen.Print("Recursive use of file '%s'.\n", path);
    ShowIncludeChain(run, record);
    return false;
  }
  const std::unique_ptr<std::FILE, FileCloser> file(std::fopen(path, "r"));
  if (file == nullptr) {
    run.Screen.PrintText(WithCause(FormatText("Can not open file '%s'.\n", path), errno));
    return false;
  }
  char piece[kLinePiece];
  for (;;) {
    const std::string_view line = ReadPiece(file.get(), piece);
    if (line.empty()) break;
    ++record.LineNumber;
    const std::string_view destination = Trimmed(line);
    if (destination.empty() || destination.front() == '*') continue;
    if (!AddDestination(run, destination, kind)) return false;
  }
  if (std::ferror(file.get()) != 0) {
    run.Screen.PrintText(WithCause(FormatText("Can not read file '%s'.\n", path), errno));
    return false;
  }
  return true;
}

bool ReadDestinationFile(Parameters& run, std::string_view name, ListKind kind) {
  const std::size_t before = QueuesOf(run, kind).size();
  if (kind == ListKind::Output) run.Asked.Output.AsList = true;
  IncludeRecord record;
  record.Including = run.IncludeChain;
  record.Path = ResolveIncludedPath(name, record.Including != nullptr ? &record.Including->Path : nullptr);
  run.IncludeChain = &record;
  const bool read = ReadDestinations(run, record, kind);
  run.IncludeChain = record.Including;
  if (!read) return false;
  // An included file may well be empty, but whoever names a file on the command line wants its queues: without one of
  // them the run would take messages that it can put nowhere.
  if (record.Including == nullptr && QueuesOf(run, kind).size() == before) {
    run.Screen.Print("There are no destinations in file '%s'.\n", record.Path.FullPath.c_str());
    return false;
  }
  return true;
}

}  // namespace

bool SplitNames(Parameters& run, char separator, std::string_view text, const char* what, QueueNames& names) {
  names = QueueNames();
  SkipQuotes(text);
  const std::string whole(text);
  const std::size_t at = FindSeparator(text, separator);
  const bool hasQMgr = at != std::string_view::npos;
  const std::string_view qmgr = hasQMgr ? text.substr(0, at) : std::string_view();
  const std::string_view queue = hasQMgr ? text.substr(at + 1) : text;
  if (qmgr.size() > kNameWidth) {
    run.Screen.Print("The Queue Manager part of %s '%s' is too long.\n", what, whole.c_str());
    return false;
  }
  if (queue.size() > kNameWidth) {
    if (hasQMgr) {
      run.Screen.Print("The Queue name part of %s '%s' is too long.\n", what, whole.c_str());
    } else {
      run.Screen.Print("The Queue name '%s' is too long.\n", whole.c_str());
    }
    return false;
  }
  FillField(names.QMgr, kNameWidth, qmgr, '\0');
  FillField(names.Queue, kNameWidth, queue, '\0');
  return true;
}

bool SplitQueueName(Parameters& run, char separator, std::string_view text, QueueNames& names, ListKind kind) {
  std::string_view name = text;
  if (SkipQuotes(name)) run.Asked.CaseCounts = true;
  if (NamesFile(name)) {
    names = QueueNames();
    names.NamedFile = true;
    return ReadDestinationFile(run, name.substr(kFilePrefix.size()), kind);
  }
  return SplitNames(run, separator, text, "destination", names);
}

bool AddDestination(Parameters& run, std::string_view text, ListKind kind) {
  QueueNames names;
  if (!SplitQueueName(run, run.QueueSeparator, text, names, kind)) return false;
  if (names.NamedFile) return true;
  if (names.Queue[0] == '\0') {
    run.Screen.Print("The Queue name part of destination '%s' is missing.\n", std::string(text).c_str());
    return false;
  }
  std::vector<QueueName>& queues = QueuesOf(run, kind);
  if (kind == ListKind::Output && !queues.empty()) run.Asked.Output.AsList = true;
  try {
    queues.push_back(
        {std::string(TextInField(names.QMgr, kNameWidth)), std::string(TextInField(names.Queue, kNameWidth))});
  } catch (const std::bad_alloc&) {
    run.Screen.Print("Can not allocate queue list array. Max Destinations = %d\n", static_cast<int>(2 * queues.size()));
    return false;
  }
  return true;
}

std::string DestinationText(const MQCHAR48 qmgr, const MQCHAR48 queue) {
  std::string text(TextInField(qmgr, kNameWidth));
  if (!text.empty()) text += '/';
  return text.append(TextInField(queue, kNameWidth));
}

std::string DestinationText(const QueueName& name) {
  return name.QMgr.empty() ? name.Queue : name.QMgr + '/' + name.Queue;
}

MQOR ObjectRecord(const QueueName& name) {
  MQOR record;
  FillField(record.ObjectName, kNameWidth, name.Queue, '\0');
  FillField(record.ObjectQMgrName, kNameWidth, name.QMgr, '\0');
  return record;
}

void ShowDestinations(Parameters& run) {
  const auto& queues = run.Asked.Output.Queues;
  const char* label = queues.size() > 1 ? "Output Destinations :" : "Output Destination :";
  for (const QueueName& queue : queues) {
    run.Screen.Print("%s %s\n", label, DestinationText(queue).c_str());
    label = "                    :";
  }
  if (!queues.empty()) run.Screen.Print("\n");
}
