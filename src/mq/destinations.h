#pragma once

// Queue arguments and destination files: turning texts into queue manager and queue names, and the lists that hold
// several input or output queues.

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "common/cs.h"
#include "common/paths.h"
#include "common/text.h"
#include "mq/mqi.h"
#include "options/options.h"

struct Parameters;

// One opened queue.
struct QueueElement {
  MQHOBJ Hobj = MQHO_UNUSABLE_HOBJ;
  Text<48> QueueName;
  Text<48> LocalName;      // the queue that the name leads to, where the run may feed itself
  bool EmptySeen = false;  // consumer: has reported "no message available"
  bool Active = false;     // consumer: has delivered a message since it last reported empty
  MQCHAR48 BackoutQueueName{};
  MQLONG BackoutThreshold = 0;  // 0 when there is no backout queue
  MQHOBJ BackoutHobj = MQHO_UNUSABLE_HOBJ;
  MQLONG MaxDepth = 0;      // 0: not known
  MQLONG MaxMsgLength = 0;  // 0: not known
  MQLONG FileSize = 0;      // megabytes, 0: not known
  MQLONG MaxFileSize = 0;   // megabytes, 0: not known
};

enum class ListKind { Output = 0, Input = 1 };

// Several output queues: the records of a distribution list.
struct QueueList {
  std::vector<MQOR, CSAllocator<MQOR>> Entries;
  std::vector<MQRR, CSAllocator<MQRR>> Responses;                 // one per entry, set at open
  std::vector<QueueElement, CSAllocator<QueueElement>> Elements;  // those that are opened one by one

  MQLONG Count() const { return static_cast<MQLONG>(Entries.size()); }
};

// The input queues of a run.
struct InputQueues {
  std::vector<QueueElement, CSAllocator<QueueElement>> Elements;
  int QueuesEmptied = 0;  // that have reported empty
  int QueuesActive = 0;   // delivering since then
};

// A destination file that is being read, linked to the file that includes it.
struct IncludeRecord {
  IncludeRecord* Including = nullptr;
  IncludedPath Path;
  int LineNumber = 0;
};

// Where a queue name and a queue manager name go: 48 bytes each, NUL-padded.
struct QueueNames {
  MQCHAR48 QMgr{};
  MQCHAR48 Queue{};
  bool NamedFile = false;  // the text named a destination file, whose queues are in the list; the names are empty
};

// Splits `text`, without the single quotes around it, at the separator (`separator`, or when 0 the first of '#', ',',
// '\' and '/' that occurs). `what` is what the messages call it. Returns false after printing why.
bool SplitNames(Parameters& run, char separator, std::string_view text, const char* what, QueueNames& names);
// The same for a queue of the run. A text in single quotes sets Options::CaseCounts. "file:<name>" reads that
// destination file into the list of `kind` and leaves the queue name empty.
bool SplitQueueName(Parameters& run, char separator, std::string_view text, QueueNames& names, ListKind kind);
// Adds the queue of `text` (or the queues of the file it names) to the queues of `kind`. False after printing why, also
// for a text without a queue name.
bool AddDestination(Parameters& run, std::string_view text, ListKind kind);

// The -vd listing.
void ShowDestinations(Parameters& run);

// A destination as users write it: "QMGR/QUEUE", or "QUEUE" when the queue manager name is empty.
std::string DestinationText(const MQCHAR48 qmgr, const MQCHAR48 queue);
std::string DestinationText(const QueueName& name);
// The record of a queue in a distribution list.
MQOR ObjectRecord(const QueueName& name);
