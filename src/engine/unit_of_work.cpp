#include "engine/unit_of_work.h"

#include "cmdline/parameters.h"
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

}  // namespace

MQLONG Commit(Parameters& run, QMgrConn& conn) {
  const CallEnd end = conn.Commit();
  if (end.CompCode == MQCC_OK) return 0;
  run.Uow.CommitFailure = end.Reason != MQRC_NONE ? end.Reason : MQRC_UNEXPECTED_ERROR;
  run.MessageText.Format("MQCMIT(%s) failed RC(%d) %s", conn.QMgrName.c_str(), end.Reason, ReasonText(end.Reason));
  run.Finished = true;
  return end.Reason;
}

MQLONG Backout(Parameters& run, QMgrConn& conn) {
  const CallEnd end = conn.Backout();
  if (!end.failed()) return 0;
  if (run.MessageText.empty()) {
    run.MessageText.Format("MQBCK(%s) failed RC(%d) %s", conn.QMgrName.c_str(), end.Reason, ReasonText(end.Reason));
  }
  return end.Reason;
}

MQLONG CommitAll(Parameters& run) {
  if (const MQLONG reason = CheckAsyncPuts(run); reason != 0) return reason;
  if (!run.Uow.SyncpointActive) return 0;
  // The messages leave their queue with the commit: from then on the file is the only place that has them.
  if (run.Asked.Input.Remove) {
    Result result = run.Outputs->Flush(true);
    if (!result.failed()) result = run.Outputs->changes().Place();
    if (result.failed()) return run.Keep(result);
  }
  if (const MQLONG reason = Commit(run, OutputConn(run)); reason != 0) return reason;
  run.UowMsgsPut = 0;
  run.UowBytesPut = 0;
  if (run.Asked.Input.QMgr != run.Asked.Output.QMgr && run.Asked.Input.Remove) {
    if (const MQLONG reason = Commit(run, InputConn(run)); reason != 0) return reason;
  }
  if (run.Asked.Input.Remove) run.Outputs->changes().Keep();
  run.UowMsgsRead = 0;
  run.UowBytesRead = 0;
  run.Uow.UowCount = 0;
  return 0;
}

void BackOutRun(Parameters& run) {
  run.RolledBack = true;
  QMgrConn& output = OutputConn(run);
  QMgrConn& input = InputConn(run);
  // A unit that stays open on one side would be committed by the disconnect, whatever became of the other side.
  bool clean = true;
  if (output.UnitOpen) clean = Backout(run, output) == 0;
  if (&input != &output && input.UnitOpen) clean = Backout(run, input) == 0 && clean;
  if (clean) run.Uow.UowCount = 0;
  if (CertainlyBackedOut(run.Uow.CommitFailure, clean)) return;
  if (!run.Outputs->changes().files().empty()) {
    run.Screen.PrintText(
        "It is not known whether the last unit of work was committed: its messages stay in the file\n");
  }
  run.Outputs->changes().Keep();
}
