#include "mq/opened_queue.h"

#include "common/text.h"

MQOD QueueObject(std::string_view queue, std::string_view qmgr, const std::optional<std::string>& selector) {
  MQOD object;
  if (selector) {
    object.Version = MQOD_VERSION_4;
    object.SelectionString.VSPtr = const_cast<char*>(selector->data());
    object.SelectionString.VSLength = static_cast<MQLONG>(selector->size());
  }
  FillField(object.ObjectName, sizeof object.ObjectName, queue);
  FillField(object.ObjectQMgrName, sizeof object.ObjectQMgrName, qmgr);
  return object;
}

OpenedQueue::OpenedQueue(QMgrConn& conn, MQOD& object, MQLONG options) : conn_(conn) {
  conn.Api.MQOPEN(conn.Hconn, &object, options | MQOO_FAIL_IF_QUIESCING, &hobj_, &end_.CompCode, &end_.Reason);
}

OpenedQueue::~OpenedQueue() {
  if (hobj_ == MQHO_UNUSABLE_HOBJ) return;
  CallEnd closed;
  conn_.Api.MQCLOSE(conn_.Hconn, &hobj_, MQCO_NONE, &closed.CompCode, &closed.Reason);
}
