#pragma once

// Ending units of work. The file's bytes are on the disk before a unit that removed messages is committed; the output
// queue manager is committed before the input queue manager, so that a failure in between can double messages, never
// lose them. Whoever gets or puts under syncpoint sets QMgrConn::UnitOpen; only a commit or backout that succeeded
// clears it.

#include "mq/mqi.h"

struct Parameters;
class QMgrConn;

struct UnitOfWork {
  bool SyncpointActive = false;  // the transfer works in units of work
  int UowCount = 0;              // messages handled in the open unit
  MQLONG CommitFailure = 0;      // the reason of a commit that has failed
};

// MQCMIT on one queue manager. Anything but MQCC_OK is a failure: MessageText, Finished, and the reason.
MQLONG Commit(Parameters& run, QMgrConn& conn);
// MQBACK on one queue manager. Returns the reason of a failure; a message that MessageText already holds is kept.
MQLONG Backout(Parameters& run, QMgrConn& conn);
// Asks what became of asynchronous puts, flushes the output file to disk when the unit removed messages, commits the
// open unit on the output queue manager and, where it is another one and messages are removed, on the input queue
// manager; resets the uncommitted counters. Returns 0 (also when the run has no units of work), or the reason of the
// first step that failed.
MQLONG CommitAll(Parameters& run);
// Backs out every open unit of a failed run, each whatever became of the other, and sets RolledBack. What they wrote
// into files goes at the run's end (OutputChanges::Finish), but not after a commit of unknown outcome: then the file
// may be the only place that has the messages.
void BackOutRun(Parameters& run);
