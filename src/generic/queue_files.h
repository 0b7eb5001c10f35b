#pragma once

// Which queue a file belongs to: the sorted list of queues and files that generic processing works through, and the
// names of queue files ("Q1.tvo", "Q1$2.tvo", "a!b#1.tvo", "NUL~.tvo"; docs/file-format.md tells what the marks mean).

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include "common/paths.h"
#include "files/naming.h"
#include "mq/mqi.h"
#include "options/options.h"

class Console;

inline constexpr std::size_t kPathLimit = 255;  // characters of a queue file's path

struct GenericQueueEntry {
  std::string QueueName;        // at most 48 characters
  MQLONG Depth = 0;             // unload: current depth as the command server reports it
  std::string BaseName;         // without directory, index and file type
  std::string FilePath;         // directory, base name, index part, file type
  const char* Fault = nullptr;  // why the file's name is none that an unload gives; null: it is one
  bool HasIndex = false;        // the file name carries an index
  bool GroupStart = false;      // the first file of a group of indexed files, or a file without index
  bool QueueListed = false;     // unload: a queue of the same name is in the queue list
  int Index = 0;
  int LowestIndex = 0;   // over the group, kept in its group start; files without index do not count
  int HighestIndex = 0;  //
};

// Sorted by queue name (bytes, case counting); the files of one queue by base name, then index.
class GenericQueueList {
 public:
  using Key = std::tuple<std::string, std::string, int>;

  // Returns 0, or MQRCCF_NO_STORAGE and leaves the list as it was.
  MQLONG Add(GenericQueueEntry entry);
  // Names the file of each queue: directory, base name, file type. No two queues get the same base name, ignoring case,
  // and none that of another queue's existing file.
  void NameFiles(std::string_view directory, std::string_view fileType, const GenericQueueList& existing);
  // Marks the group starts and records the lowest and highest index of each group.
  void FormGroups();
  bool HasQueue(std::string_view queueName) const;

  bool empty() const { return entries_.empty(); }
  auto begin() const { return entries_.begin(); }
  auto end() const { return entries_.end(); }

 private:
  std::multimap<Key, GenericQueueEntry> entries_;
};

// Splits "<directory>*[.<type>]" into directory and file type. Returns 0, or MQRC_OPTIONS_ERROR after printing why.
MQLONG ParseGenericFileSpec(Console& screen, std::string_view text, QueueFileNames& names,
                            PathStyle style = NativePathStyle());

// Reads the name of a file in the directory of `names`. None when it has another file type. What cannot belong to a
// queue has a fault, and the other fields hold what could be read.
std::optional<GenericQueueEntry> ParseQueueFileName(const QueueFileNames& names, std::string_view name);

// The names of one queue's files, where all have the directory and the type of `names`.
QueueFileNames NamesOf(QueueFileNames names, const GenericQueueEntry& queue);

// The queues that a generic run is for: the queue arguments, taken as patterns.
struct QueuePatterns {
  const std::vector<QueueName>& Names;
  bool CaseCounts;  // any was given in single quotes

  bool Match(std::string_view queueName) const;
};

// SYSTEM queues, except the cluster transmission queue and the dead-letter queue, which hold users' messages.
bool IsSystemQueue(std::string_view queueName);
