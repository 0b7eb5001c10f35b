#include "generic/queue_files.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <new>

#include "cmdline/parameters.h"

namespace {

constexpr char kIndexMark = '$';
constexpr char kTwinMark = '#';
constexpr std::size_t kFileTypeLimit = 20;
constexpr std::size_t kQueueNameLimit = 48;
constexpr std::size_t kPathLimit = decltype(Parameters::InputFileName)::kCapacity;

char Upper(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; }

std::string UpperCase(std::string_view text) {
  std::string upper(text);
  std::transform(upper.begin(), upper.end(), upper.begin(), Upper);
  return upper;
}

bool IsLetterOrDigit(char c) { return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); }

// A number of its own: not nothing, no text behind it, within 32 bits, no sign.
bool ReadIndex(std::string_view text, int& index) {
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, index);
  return error == std::errc() && stop == end && text.front() != '-';
}

MQLONG Refuse(Parameters& run, const char* text) {
  PrintDiagnosticText(run, text);
  return MQRC_OPTIONS_ERROR;
}

}  // namespace

MQLONG GenericQueueList::Add(GenericQueueEntry entry, std::string_view directory, std::string_view fileType) try {
  if (entry.FilePath.empty()) {
    entry.DuplicateCount = sameIgnoringCase_[UpperCase(entry.QueueName)]++;
    entry.BaseName = entry.QueueName;
    std::replace(entry.BaseName.begin(), entry.BaseName.end(), '/', '!');
    if (entry.DuplicateCount != 0) entry.BaseName += kTwinMark + std::to_string(entry.DuplicateCount);
    entry.FilePath = std::string(directory) + entry.BaseName + std::string(fileType);
  }
  Key key(entry.QueueName, entry.BaseName, entry.Index);
  entries_.emplace(std::move(key), std::move(entry));
  return 0;
} catch (const std::bad_alloc&) {
  return MQRCCF_NO_STORAGE;
}

void GenericQueueList::FormGroups() {
  GenericQueueEntry* start = nullptr;
  for (auto& [key, entry] : entries_) {
    if (start == nullptr || !entry.HasIndex || entry.BaseName != start->BaseName ||
        entry.QueueName != start->QueueName) {
      start = &entry;
      entry.GroupStart = true;
      entry.LowestIndex = 999999999;
      entry.HighestIndex = 0;
    }
    if (entry.HasIndex) {
      start->LowestIndex = std::min(start->LowestIndex, entry.Index);
      start->HighestIndex = std::max(start->HighestIndex, entry.Index);
    }
  }
}

bool GenericQueueList::HasQueue(std::string_view queueName) const {
  const auto at = entries_.lower_bound(Key(std::string(queueName), std::string(), 0));
  return at != entries_.end() && at->second.QueueName == queueName;
}

MQLONG ParseGenericFileSpec(Parameters& run, std::string_view text, PathStyle style) {
  std::size_t directoryEnd = text.size();
  while (directoryEnd > 0 && !IsSeparator(text[directoryEnd - 1], style)) --directoryEnd;
  run.Naming.Directory = directoryEnd > 0 ? std::string(text.substr(0, directoryEnd)) : std::string(1, '.');
  if (directoryEnd == 0) run.Naming.Directory += Separator(style);
  const std::string_view rest = text.substr(directoryEnd);
  if (rest == "*") {
    run.Naming.FileType = ".tvo";
    return 0;
  }
  if (rest.size() < 3 || rest.substr(0, 2) != "*.") {
    return Refuse(run, "Expected a generic output file specification.\n");
  }
  const std::string_view type = rest.substr(1);
  if (type.size() >= kFileTypeLimit) return Refuse(run, "Generic file type too long.\n");
  if (!std::all_of(type.begin() + 1, type.end(), IsLetterOrDigit)) return Refuse(run, "Invalid generic file type.\n");
  run.Naming.FileType = type;
  return 0;
}

bool ParseQueueFileName(const Parameters& run, std::string_view name, GenericQueueEntry& entry) {
  const std::string& type = run.Naming.FileType;
  if (!name.ends_with(type)) return false;
  entry = GenericQueueEntry{};
  entry.FilePath = run.Naming.Directory + std::string(name);
  name.remove_suffix(type.size());
  const std::size_t mark = name.find(kIndexMark);
  if (mark != std::string_view::npos) {
    if (!ReadIndex(name.substr(mark + 1), entry.Index)) entry.Fault = "its index is no number";
    entry.HasIndex = true;
    name = name.substr(0, mark);
  }
  entry.BaseName = name;
  const std::size_t twin = name.find(kTwinMark);
  const std::string_view queue = name.substr(0, twin);
  entry.QueueName = queue;
  int ordinal = 0;
  if (twin != std::string_view::npos && !ReadIndex(name.substr(twin + 1), ordinal)) {
    entry.Fault = "what follows the '#' is no number";
  }
  if (queue.empty()) entry.Fault = "it names no queue";
  if (queue.size() > kQueueNameLimit) entry.Fault = "its queue name is longer than 48 characters";
  if (entry.FilePath.size() > kPathLimit) entry.Fault = "its path is longer than 255 characters";
  std::replace(entry.QueueName.begin(), entry.QueueName.end(), '!', '/');
  return true;
}

bool MatchesPattern(const Parameters& run, std::string_view queueName, std::string_view pattern) {
  return run.Has2(FLAG2_QUOTED_NAME) ? WildcardMatch(queueName, pattern) : WildcardMatchNoCase(queueName, pattern);
}

bool IsSystemQueue(std::string_view queueName) {
  constexpr std::array<std::string_view, 2> kUserQueues = {"SYSTEM.CLUSTER.TRANSMIT.QUEUE", "SYSTEM.DEAD.LETTER.QUEUE"};
  return queueName.starts_with("SYSTEM.") &&
         std::find(kUserQueues.begin(), kUserQueues.end(), queueName) == kUserQueues.end();
}
