#include <cstring>

#include "cmdline/parameters.h"
#include "engine/put.h"

namespace {

// Reports a call on the backout queue when it is traced or did not go smoothly; returns the reason of a failure.
MQLONG Outcome(const QMgrConn& conn, const char* call, const QueueElement& queue, const CallEnd& end) {
  conn.Trace(call, NameInField(queue.BackoutQueueName, sizeof queue.BackoutQueueName), end.Reason,
             end.CompCode != MQCC_OK);
  return end.Failure();
}

MQLONG OpenBackoutQueue(Parameters& run, QueueElement& queue) {
  QMgrConn& conn = InputConn(run);
  MQOD object;
  std::memcpy(object.ObjectName, queue.BackoutQueueName, sizeof object.ObjectName);
  CallEnd end;
  conn.Api.MQOPEN(conn.Hconn, &object, MQOO_OUTPUT | MQOO_SET_ALL_CONTEXT, &queue.BackoutHobj, &end.CompCode,
                  &end.Reason);
  return Outcome(conn, "MQOPEN", queue, end);
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
  CallEnd end;
  conn.Api.MQPUT(conn.Hconn, queue.BackoutHobj, &copy, &options, length, data, &end.CompCode, &end.Reason);
  return Outcome(conn, "MQPUT", queue, end);
}
