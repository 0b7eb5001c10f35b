#include <cstring>

#include "cmdline/parameters.h"
#include "engine/put.h"
#include "mq/reasons.h"

namespace {

// Reports a call on the backout queue when it is traced or did not go smoothly; returns the reason of a failure.
MQLONG Outcome(Parameters& run, const char* call, const QueueElement& queue, MQLONG compCode, MQLONG reason) {
  if (compCode != MQCC_OK || run.Asked.Display.TraceCalls) {
    ReportMqCall(run.Screen, call, InputConn(run).QMgrName,
                 NameInField(queue.BackoutQueueName, sizeof queue.BackoutQueueName), reason);
  }
  if (compCode != MQCC_FAILED) return 0;
  return reason != 0 ? reason : MQRC_UNEXPECTED_ERROR;
}

MQLONG OpenBackoutQueue(Parameters& run, QueueElement& queue) {
  QMgrConn& conn = InputConn(run);
  MQOD object;
  std::memcpy(object.ObjectName, queue.BackoutQueueName, sizeof object.ObjectName);
  MQLONG compCode = MQCC_FAILED;
  MQLONG reason = MQRC_NONE;
  conn.Api.MQOPEN(conn.Hconn, &object, MQOO_OUTPUT | MQOO_SET_ALL_CONTEXT, &queue.BackoutHobj, &compCode, &reason);
  return Outcome(run, "MQOPEN", queue, compCode, reason);
}

}  // namespace

MQLONG RequeueToBackout(Parameters& run, QueueElement& queue, const MQMD& descriptor, const MQBYTE* data,
                        MQLONG length) {
  if (queue.BackoutHobj == MQHO_UNUSABLE_HOBJ) {
    if (const MQLONG reason = OpenBackoutQueue(run, queue); reason != 0) return reason;
  }
  QMgrConn& conn = InputConn(run);
  MQMD copy = descriptor;
  MQPMO options;
  options.Options = MQPMO_SET_ALL_CONTEXT | (run.Asked.Units.MessageLimit != 0 ? MQPMO_SYNCPOINT : MQPMO_NO_SYNCPOINT);
  if ((options.Options & MQPMO_SYNCPOINT) != 0) conn.UnitOpen = true;
  MQLONG compCode = MQCC_FAILED;
  MQLONG reason = MQRC_NONE;
  conn.Api.MQPUT(conn.Hconn, queue.BackoutHobj, &copy, &options, length, data, &compCode, &reason);
  return Outcome(run, "MQPUT", queue, compCode, reason);
}
