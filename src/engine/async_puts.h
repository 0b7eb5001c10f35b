#pragma once

// Asynchronous puts (-Oa): a put returns before its outcome is known, which the queue manager is asked for later.

#include <string>

#include "common/result.h"
#include "mq/connection.h"
#include "options/options.h"

// One for all puts of a run on one connection.
class AsyncPuts {
 public:
  // `conn` is the queue manager of the output queues.
  AsyncPuts(const Options& asked, QMgrConn& conn) : asked_(asked), conn_(conn) {}

  // Whether puts are asynchronous. Decided at the first put: asynchronous puts need somebody who tells what became of
  // them, and a place where their messages still are.
  bool InUse();
  // The queue manager has refused one: from now on puts are normal ones.
  void Refused() { inUse_ = false; }
  // One was made whose outcome is open.
  void Made() { outstanding_ = true; }

  // Asks what became of the puts since the last time. Returns the reason of the first one that failed, with its queue,
  // or 0. `failures` is how many are known to have failed.
  Result Settle(MQLONG& failures);

 private:
  bool Decide();
  void TellNormalPuts(const std::string& why) const;
  MQLONG Ask(MQSTS& status);

  const Options& asked_;
  QMgrConn& conn_;
  bool decided_ = false;
  bool inUse_ = false;
  bool outstanding_ = false;
};
