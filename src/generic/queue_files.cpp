#include "generic/queue_files.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <new>

#include "common/console.h"
#include "common/wildcard.h"

namespace {

constexpr char kIndexMark = '$';
constexpr char kTwinMark = '#';
constexpr char kDeviceMark = '~';
constexpr std::size_t kFileTypeLimit = 20;
constexpr std::size_t kQueueNameLimit = 48;

char Upper(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; }

std::string UpperCase(std::string_view text) {
  std::string upper(text);
  std::transform(upper.begin(), upper.end(), upper.begin(), Upper);
  return upper;
}

// Whether Windows takes a name with this stem for a device, whatever stands behind its first dot.
bool IsDeviceStem(std::string_view stem) {
  constexpr std::array<std::string_view, 4> kDevices = {"CON", "PRN", "AUX", "NUL"};
  const std::string upper = UpperCase(stem);
  if (std::find(kDevices.begin(), kDevices.end(), upper) != kDevices.end()) return true;
  const bool port = upper.starts_with("COM") || upper.starts_with("LPT");
  return port && upper.size() == 4 && upper[3] >= '0' && upper[3] <= '9';
}

// The base name of a queue's file before it is told apart from others.
std::string PlainBaseName(std::string_view queue) {
  std::string name(queue);
  std::replace(name.begin(), name.end(), '/', '!');
  const std::string_view stem = queue.substr(0, queue.find('.'));
  if (IsDeviceStem(stem)) name.insert(stem.size(), 1, kDeviceMark);
  return name;
}

// The queue whose plain base name is `name`.
std::string QueueOfBaseName(std::string_view name) {
  std::string queue(name);
  const std::size_t mark = queue.find(kDeviceMark);
  const bool device = mark != std::string::npos && name.substr(0, name.find('.')).size() == mark + 1 &&
                      IsDeviceStem(name.substr(0, mark));
  if (device) queue.erase(mark, 1);
  std::replace(queue.begin(), queue.end(), '!', '/');
  return queue;
}

bool IsLetterOrDigit(char c) { return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); }

// A number of its own: not nothing, no text behind it, within 32 bits, no sign.
bool ReadIndex(std::string_view text, int& index) {
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, index);
  return error == std::errc() && stop == end && text.front() != '-';
}

MQLONG Refuse(Console& screen, const char* text) {
  screen.PrintText(text);
  return MQRC_OPTIONS_ERROR;
}

}  // namespace

MQLONG GenericQueueList::Add(GenericQueueEntry entry) try {
  Key key(entry.QueueName, entry.BaseName, entry.Index);
  entries_.emplace(std::move(key), std::move(entry));
  return 0;
} catch (const std::bad_alloc&) {
  return MQRCCF_NO_STORAGE;
}

void GenericQueueList::NameFiles(std::string_view directory, std::string_view fileType,
                                 const GenericQueueList& existing) {
  std::map<std::string, std::string> owners;  // by base name in upper case: a file system may not tell cases apart
  for (const auto& [key, file] : existing.entries_) owners.emplace(UpperCase(file.BaseName), file.QueueName);
  const auto isFree = [&owners](const GenericQueueEntry& queue) {
    return owners.emplace(UpperCase(queue.BaseName), queue.QueueName).first->second == queue.QueueName;
  };
  for (auto& [key, queue] : entries_) {
    const std::string name = PlainBaseName(queue.QueueName);
    queue.BaseName = name;
    for (int twin = 1; !isFree(queue); ++twin) queue.BaseName = name + kTwinMark + std::to_string(twin);
    queue.FilePath = std::string(directory) + queue.BaseName + std::string(fileType);
  }
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

MQLONG ParseGenericFileSpec(Console& screen, std::string_view text, QueueFileNames& names, PathStyle style) {
  std::size_t directoryEnd = text.size();
  while (directoryEnd > 0 && !IsSeparator(text[directoryEnd - 1], style)) --directoryEnd;
  names.Directory = directoryEnd > 0 ? std::string(text.substr(0, directoryEnd)) : std::string(1, '.');
  if (directoryEnd == 0) names.Directory += Separator(style);
  const std::string_view rest = text.substr(directoryEnd);
  if (rest == "*") {
    names.FileType = ".tvo";
    return 0;
  }
  if (rest.size() < 3 || rest.substr(0, 2) != "*.") {
    return Refuse(screen, "Expected a generic output file specification.\n");
  }
  const std::string_view type = rest.substr(1);
  if (type.size() >= kFileTypeLimit) return Refuse(screen, "Generic file type too long.\n");
  if (!std::all_of(type.begin() + 1, type.end(), IsLetterOrDigit)) {
    return Refuse(screen, "Invalid generic file type.\n");
  }
  names.FileType = type;
  return 0;
}

std::optional<GenericQueueEntry> ParseQueueFileName(const QueueFileNames& names, std::string_view name) {
  const std::string& type = names.FileType;
  if (!name.ends_with(type)) return std::nullopt;
  GenericQueueEntry entry;
  entry.FilePath = names.Directory + std::string(name);
  name.remove_suffix(type.size());
  const std::size_t mark = name.find(kIndexMark);
  if (mark != std::string_view::npos) {
    if (!ReadIndex(name.substr(mark + 1), entry.Index)) entry.Fault = "its index is no number";
    entry.HasIndex = true;
    name = name.substr(0, mark);
  }
  entry.BaseName = name;
  const std::size_t twin = name.find(kTwinMark);
  entry.QueueName = QueueOfBaseName(name.substr(0, twin));
  int ordinal = 0;
  if (twin != std::string_view::npos && !ReadIndex(name.substr(twin + 1), ordinal)) {
    entry.Fault = "what follows the '#' is no number";
  }
  if (entry.QueueName.empty()) entry.Fault = "it names no queue";
  if (entry.QueueName.size() > kQueueNameLimit) entry.Fault = "its queue name is longer than 48 characters";
  if (entry.FilePath.size() > kPathLimit) entry.Fault = "its path is longer than 255 characters";
  return entry;
}

QueueFileNames NamesOf(QueueFileNames names, const GenericQueueEntry& queue) {
  names.BaseName = queue.BaseName;
  return names;
}

bool QueuePatterns::Match(std::string_view queueName) const {
  const auto matches = CaseCounts ? WildcardMatch : WildcardMatchNoCase;
  return std::any_of(Names.begin(), Names.end(),
                     [&](const QueueName& pattern) { return matches(queueName, pattern.Queue); });
}

bool IsSystemQueue(std::string_view queueName) {
  constexpr std::array<std::string_view, 2> kUserQueues = {"SYSTEM.CLUSTER.TRANSMIT.QUEUE", "SYSTEM.DEAD.LETTER.QUEUE"};
  return queueName.starts_with("SYSTEM.") &&
         std::find(kUserQueues.begin(), kUserQueues.end(), queueName) == kUserQueues.end();
}
