#pragma once

// Whole queue managers by wildcard: every matching queue into a file of its own, and a set of such files back onto
// their queues. Each queue's messages are moved by the transfer loop, one queue after the other; a failure with one
// queue is written on its line and never touches the next one's unit of work.

#include "files/naming.h"
#include "generic/queue_files.h"
#include "mq/mqi.h"

struct Parameters;

struct GenericState {
  QueueFileNames FileNames;        // of the queue in hand
  GenericQueueList Queues;         // queues to unload, or files to load
  GenericQueueList ExistingFiles;  // unload: queue files that the directory holds already
};

// Return 0, the reason of a check that ended the run before its first queue, or the reason of the first queue that
// failed.
MQLONG GenericUnload(Parameters& run);
MQLONG GenericLoad(Parameters& run);
