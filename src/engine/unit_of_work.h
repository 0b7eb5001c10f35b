#pragma once

// Units of work. What a target has taken is safe before a unit that removed messages is committed; the output queue
// manager is committed before the input queue manager, so that a failure in between can double messages, never lose
// them. Whoever gets or puts under syncpoint sets QMgrConn::UnitOpen; only a commit or backout that succeeded clears
// it.

#include "engine/outcome.h"
#include "engine/target.h"
#include "mq/connection.h"
#include "options/options.h"

class UnitOfWork {
 public:
  // `input` and `output` may be the same. `read`: what the transfer has read so far.
  UnitOfWork(const Options& asked, QMgrConn& input, QMgrConn& output, Target& target, const Tally& read)
      : asked_(asked), input_(input), output_(output), target_(target), read_(read) {}

  // From here on the transfer works in units of work. Before, there is nothing to commit or to back out.
  void Begin() { active_ = true; }

  // Counts a message, and commits the unit when it is full.
  Result Add();
  // Counts a message that ends the transfer.
  void AddLast() { count_ += active_ ? 1 : 0; }
  // Whether something waits for a commit that is made by count.
  bool Pending() const { return count_ != 0 && asked_.Units.MessageLimit != -1; }

  // Settles the target, makes safe what it took when the unit removed messages, commits the open unit on the output
  // queue manager and, where it is another one and messages are removed, on the input queue manager. Returns 0 (also
  // without units of work), or the reason of the first step that failed.
  Result Commit();
  // Backs out every open unit of a failed transfer, each whatever became of the other. What they wrote into files goes
  // at the run's end (OutputChanges::Finish), but not after a commit of unknown outcome: then the file may be the only
  // place that has the messages. Returns the first failure.
  Result BackOut();
  // Commits what a good transfer has done, or backs out the open unit of a failed one, so that no disconnect decides.
  Result End(Result result);

  bool active() const { return active_; }
  bool rolled_back() const { return rolledBack_; }
  Tally UncommittedRead() const { return read_ - committedRead_; }
  Tally UncommittedPut() const { return target_.put() - committedPut_; }

 private:
  Result CommitOn(QMgrConn& conn);

  const Options& asked_;
  bool active_ = false;
  QMgrConn& input_;
  QMgrConn& output_;
  Target& target_;
  const Tally& read_;
  Tally committedRead_, committedPut_;
  int count_ = 0;             // messages handled in the open unit
  MQLONG commitFailure_ = 0;  // the reason of a commit that has failed
  bool rolledBack_ = false;
};
