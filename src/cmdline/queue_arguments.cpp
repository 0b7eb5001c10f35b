#include "cmdline/queue_arguments.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <new>
#include <string>
#include <system_error>
#include <vector>

#include "common/console.h"
#include "common/paths.h"
#include "common/text.h"

namespace {

constexpr std::size_t kLongestName = 48;
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

std::vector<QueueName>& QueuesOf(Options& asked, ListKind kind) {
  return kind == ListKind::Output ? asked.Output.Queues : asked.Input.Queues;
}

// A destination file that is being read, linked to the file that includes it.
struct IncludeRecord {
  const IncludeRecord* Including = nullptr;  // null: the command line named the file
  IncludedPath Path;
  int LineNumber = 0;
};

// The chain of inclusions that leads to a record, from the outermost file inwards.
void ShowIncludeChain(Console& screen, const IncludeRecord& record) {
  if (record.Including == nullptr) return;
  ShowIncludeChain(screen, *record.Including);
  screen.Print("  File '%s' includes file '%s' on line %d.\n", record.Including->Path.FullPath.c_str(),
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

bool AddQueues(const QueueArguments& arguments, std::string_view text, ListKind kind, const IncludeRecord* including);

bool ReadDestinations(const QueueArguments& arguments, IncludeRecord& record, ListKind kind) {
  Console& screen = arguments.Screen;
  const char* path = record.Path.FullPath.c_str();
  if (IsRecursive(record)) {
    screen.Print("Recursive use of file '%s'.\n", path);
    ShowIncludeChain(screen, record);
    return false;
  }
  const std::unique_ptr<std::FILE, FileCloser> file(std::fopen(path, "r"));
  if (file == nullptr) {
    screen.PrintText(WithCause(FormatText("Can not open file '%s'.\n", path), errno));
    return false;
  }
  char piece[kLinePiece];
  for (;;) {
    const std::string_view line = ReadPiece(file.get(), piece);
    if (line.empty()) break;
    ++record.LineNumber;
    const std::string_view destination = Trimmed(line);
    if (destination.empty() || destination.front() == '*') continue;
    if (!AddQueues(arguments, destination, kind, &record)) return false;
  }
  if (std::ferror(file.get()) != 0) {
    screen.PrintText(WithCause(FormatText("Can not read file '%s'.\n", path), errno));
    return false;
  }
  return true;
}

bool ReadDestinationFile(const QueueArguments& arguments, std::string_view name, ListKind kind,
                         const IncludeRecord* including) {
  const std::vector<QueueName>& queues = QueuesOf(arguments.Asked, kind);
  const std::size_t before = queues.size();
  if (kind == ListKind::Output) arguments.Asked.Output.AsList = true;
  IncludeRecord record;
  record.Including = including;
  record.Path = ResolveIncludedPath(name, including != nullptr ? &including->Path : nullptr);
  if (!ReadDestinations(arguments, record, kind)) return false;
  // An included file may well be empty, but whoever names a file on the command line wants its queues: without one of
  // them the run would take messages that it can put nowhere.
  if (including == nullptr && queues.size() == before) {
    arguments.Screen.Print("There are no destinations in file '%s'.\n", record.Path.FullPath.c_str());
    return false;
  }
  return true;
}

// The queue of `text`, or the queues of the file it names, to which `including` leads.
bool AddQueues(const QueueArguments& arguments, std::string_view text, ListKind kind, const IncludeRecord* including) {
  std::string_view name = text;
  if (SkipQuotes(name)) arguments.Asked.CaseCounts = true;
  if (NamesFile(name)) return ReadDestinationFile(arguments, name.substr(kFilePrefix.size()), kind, including);

  const std::optional<QueueName> queue = SplitNames(arguments, text, "destination");
  if (!queue) return false;
  if (queue->Queue.empty()) {
    arguments.Screen.Print("The Queue name part of destination '%s' is missing.\n", std::string(text).c_str());
    return false;
  }
  std::vector<QueueName>& queues = QueuesOf(arguments.Asked, kind);
  if (kind == ListKind::Output && !queues.empty()) arguments.Asked.Output.AsList = true;
  try {
    queues.push_back(*queue);
  } catch (const std::bad_alloc&) {
    arguments.Screen.Print("Can not allocate queue list array. Max Destinations = %d\n",
                           static_cast<int>(2 * queues.size()));
    return false;
  }
  return true;
}

// A name as it can be given to the queue manager: what stands behind a NUL is no part of it.
std::string UpToNul(std::string_view name) { return std::string(TextInField(name.data(), name.size())); }

}  // namespace

std::optional<QueueName> SplitNames(const QueueArguments& arguments, std::string_view text, const char* what) {
  SkipQuotes(text);
  const std::string whole(text);
  const std::size_t at = FindSeparator(text, arguments.Separator);
  const bool hasQMgr = at != std::string_view::npos;
  const std::string_view qmgr = hasQMgr ? text.substr(0, at) : std::string_view();
  const std::string_view queue = hasQMgr ? text.substr(at + 1) : text;
  if (qmgr.size() > kLongestName) {
    arguments.Screen.Print("The Queue Manager part of %s '%s' is too long.\n", what, whole.c_str());
    return std::nullopt;
  }
  if (queue.size() > kLongestName) {
    if (hasQMgr) {
      arguments.Screen.Print("The Queue name part of %s '%s' is too long.\n", what, whole.c_str());
    } else {
      arguments.Screen.Print("The Queue name '%s' is too long.\n", whole.c_str());
    }
    return std::nullopt;
  }
  return QueueName{UpToNul(qmgr), UpToNul(queue)};
}

bool AddDestination(const QueueArguments& arguments, std::string_view text, ListKind kind) {
  return AddQueues(arguments, text, kind, nullptr);
}
