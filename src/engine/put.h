#pragma once

// Output queues as the target of a transfer.

#include "engine/async_puts.h"
#include "engine/target.h"
#include "mq/connection.h"
#include "mq/output_queues.h"

class QueuesTarget : public Target {
 public:
  // `queues` are open on `conn`.
  QueuesTarget(const Options& asked, OutputQueues& queues, QMgrConn& conn, AsyncPuts& async)
      : asked_(asked), queues_(queues), conn_(conn), async_(async) {}

  // 0 when all destinations took the message, else the reason of the first one that did not.
  Result Take(CurrentMessage& message, const MessagePlace& place, bool atOnce) override;
  Result Settle() override;
  Tally put() const override { return put_; }

 private:
  // A destination as the put sees it; the names serve messages only and may have 48 characters without a terminator.
  struct Destination {
    MQHOBJ Hobj;
    const char* QMgr;
    const char* Queue;
    std::string Name() const { return DestinationText(QMgr, Queue); }
  };
  // What became of one message.
  struct Delivered {
    MQLONG Destinations = 0;  // that have it
    Result End;               // with the first destination that failed
  };

  bool InUnits() const { return asked_.Units.MessageLimit != 0; }
  static Destination ListDestination(const QueueList& list, std::size_t index);
  MQPMO PutOptions(const CurrentMessage& message);
  void Finish(CurrentMessage& message) const;
  bool MayRepeat(const CallEnd& end, MQPMO& options, CurrentMessage& message);
  CallEnd PutTo(const Destination& destination, MQPMO& options, CurrentMessage& message);
  Result Failure(const Destination& destination, MQLONG reason) const;
  Delivered PutToSingle(MQPMO& options, CurrentMessage& message);
  Delivered PutToList(MQPMO& options, CurrentMessage& message);
  Delivered PutToEach(MQPMO& options, CurrentMessage& message);

  const Options& asked_;
  OutputQueues& queues_;
  QMgrConn& conn_;
  AsyncPuts& async_;
  Tally put_;
};

// The version of the MQCFH at the start of the data, read in the message's byte order; 0 when the data is too short.
MQLONG CfhVersion(const MQMD& descriptor, const MQBYTE* data, MQLONG length);
