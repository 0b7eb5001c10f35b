#pragma once

// The questions that are put to a queue manager's command server: which local queues match the patterns of a generic
// unload, and how large a queue's file is. Each sends one request to the command queue and reads the replies from a
// temporary dynamic queue.

#include <span>

#include "generic/pcf.h"
#include "generic/queue_files.h"
#include "mq/connection.h"
#include "mq/destinations.h"

class CommandServer {
 public:
  // `conn` is connected.
  explicit CommandServer(QMgrConn& conn) : conn_(conn) {}

  // Adds the non-empty local queues that match. Returns 0 or a reason after printing why; 0 with a part of the queues
  // when an interrupt came.
  MQLONG ListQueues(const QueuePatterns& wanted, GenericQueueList& queues);

  // Sets each queue's current and maximum file size (megabytes; as they were when unknown). Failures are reported and
  // harmless; a command server that does not answer is asked once.
  void InquireSizes(std::span<QueueElement> queues);

 private:
  MQLONG AskForQueues(MQHOBJ commandQueue, const QueuePatterns& wanted, GenericQueueList& queues);
  MQLONG TakeQueues(PcfReply& reply, const QueuePatterns& wanted, GenericQueueList& queues);
  bool AskForSizes(QueueElement& queue);
  bool TakeSizes(PcfReply& reply, QueueElement& queue);

  QMgrConn& conn_;
};
