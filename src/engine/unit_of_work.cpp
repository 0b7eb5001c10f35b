#include "engine/unit_of_work.h"

#include "common/console.h"
#include "mq/reasons.h"

namespace {

// Whether nothing of the unit can have been committed, so that its messages are on their queue again. A commit that
// failed for most reasons, a lost connection above all, may have been made all the same.
bool CertainlyBackedOut(MQLONG commitFailure, bool backedOut) {
  switch (commitFailure) {
    case MQRC_NONE:  // none was tried
    case MQRC_BACKED_OUT:
      return true;
    case MQRC_CALL_IN_PROGRESS:
    case MQRC_HCONN_ERROR:
    case MQRC_RESOURCE_PROBLEM:
    case MQRC_STORAGE_NOT_AVAILABLE:
      return backedOut;
    default:
      return false;
  }
}

Result BackOutOn(QMgrConn& conn) {
  if (!conn.UnitOpen) return {};
  const CallEnd end = conn.Backout();
  if (!end.failed()) return {};
  return {end.Failure(),
          FormatText("MQBCK(%s) failed RC(%d) %s", conn.QMgrName.c_str(), end.Reason, ReasonText(end.Reason))};
}

}  // namespace

Result UnitOfWork::Add() {
  if (!active_) return {};
  ++count_;
  const int limit = asked_.Units.MessageLimit;
  return limit != -1 && count_ >= limit ? Commit() : Result();
}

Result UnitOfWork::CommitOn(QMgrConn& conn) {
  const CallEnd end = conn.Commit();
  if (end.CompCode == MQCC_OK) return {};
  commitFailure_ = end.Reason != MQRC_NONE ? end.Reason : MQRC_UNEXPECTED_ERROR;
  return {commitFailure_,
          FormatText("MQCMIT(%s) failed RC(%d) %s", conn.QMgrName.c_str(), end.Reason, ReasonText(end.Reason))};
}

Result UnitOfWork::Commit() {
  if (Result settled = target_.Settle(); settled.failed()) return settled;
  if (!active_) return {};
  // The messages leave their queue with the commit: from then on the target is the only place that has them.
  const bool removes = asked_.Input.Remove;
  if (removes) {
    if (Result secured = target_.Secure(); secured.failed()) return secured;
  }
  if (Result committed = CommitOn(output_); committed.failed()) return committed;
  committedPut_ = target_.put();
  if (&input_ != &output_ && removes) {
    if (Result committed = CommitOn(input_); committed.failed()) return committed;
  }
  if (removes) target_.Keep();
  committedRead_ = read_;
  count_ = 0;
  return {};
}

Result UnitOfWork::BackOut() {
  rolledBack_ = true;
  // A unit that stays open on one side would be committed by the disconnect, whatever became of the other side.
  Result result = BackOutOn(output_);
  if (&input_ != &output_) result.Add(BackOutOn(input_));
  if (!result.failed()) count_ = 0;
  if (CertainlyBackedOut(commitFailure_, !result.failed())) return result;
  if (target_.KeepsMessages()) {
    output_.screen().PrintText(
        "It is not known whether the last unit of work was committed: its messages stay in the file\n");
  }
  target_.Keep();
  return result;
}

Result UnitOfWork::End(Result result) {
  result.Add(target_.Settle());
  if (!active_) return result;
  const bool open = count_ != 0 || input_.UnitOpen || output_.UnitOpen;
  if (!result.failed() && open) {
    Result committed = Commit();
    if (committed.failed()) result = std::move(committed);
  }
  if (result.failed()) result.Add(BackOut());
  return result;
}
