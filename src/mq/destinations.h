#pragma once

// The queues of a run: those that are read, those that are written, and how their names are shown.

#include <string>
#include <vector>

#include "common/cs.h"
#include "common/text.h"
#include "mq/mqi.h"
#include "options/options.h"

class Console;

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

// The -vd listing.
void ShowDestinations(Console& screen, const std::vector<QueueName>& queues);

// A destination as users write it: "QMGR/QUEUE", or "QUEUE" when the queue manager name is empty.
std::string DestinationText(const MQCHAR48 qmgr, const MQCHAR48 queue);
std::string DestinationText(const QueueName& name);
// The record of a queue in a distribution list.
MQOR ObjectRecord(const QueueName& name);
