#include "engine/backout_requeue.h"

#include <cstring>

namespace {

// Reports a call on the backout queue when it is traced or did not go smoothly; returns the reason of a failure.
MQLONG Report(const QMgrConn& conn, const char* call, const QueueElement& queue, const CallEnd& end) {
  conn.Trace(call, NameInField(queue.BackoutQueueName, sizeof queue.BackoutQueueName), end.Reason,
             end.CompCode != MQCC_OK);
  return end.Failure();
}

MQLONG OpenBackoutQueue(QMgrConn& conn, QueueElement& queue) {
  MQOD object;
  std::memcpy(object.ObjectName, queue.BackoutQueueName, sizeof object.ObjectName);
  CallEnd end;
  conn.Api.MQOPEN(conn.Hconn, &object, MQOO_OUTPUT | MQOO_SET_ALL_CONTEXT, &queue.BackoutHobj, &end.CompCode,
                  &end.Reason);
  return Report(conn, "MQOPEN", queue, end);
}

}  // namespace

Result RequeueToBackout(QMgrConn& conn, const CurrentMessage& message, bool inUnit) {
  QueueElement& queue = *message.From;
  if (queue.BackoutHobj == MQHO_UNUSABLE_HOBJ) {
    if (const MQLONG reason = OpenBackoutQueue(conn, queue); reason != 0) return reason;
  }
  MQMD copy = message.Descriptor;
  MQPMO options;
  options.Options = MQPMO_SET_ALL_CONTEXT | (inUnit ? MQPMO_SYNCPOINT : MQPMO_NO_SYNCPOINT);
  if (inUnit) conn.UnitOpen = true;
  CallEnd end;
  conn.Api.MQPUT(conn.Hconn, queue.BackoutHobj, &copy, &options, message.Length, message.Data, &end.CompCode,
                 &end.Reason);
  return Report(conn, "MQPUT", queue, end);
}
