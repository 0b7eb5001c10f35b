#include "localmq/dispatch.h"

#include "localmq/consumers.h"

namespace localmq {

namespace {

// A connection that is not shared is for the thread that made it, and for the callbacks.
bool MayUse(const Connection& connection) {
  return connection.ShareOption != MQCNO_HANDLE_SHARE_NONE || connection.Owner == std::this_thread::get_id() ||
         connection.Consuming->OnCallbackThread();
}

}  // namespace

Outcome ControlConsumers(MQHCONN handle, MQLONG operation, const MQCTLO* options) {
  const std::shared_ptr<Connection> connection = FindConnection(handle);
  if (connection == nullptr || !MayUse(*connection)) return Failed(MQRC_HCONN_ERROR);
  return connection->Consuming->Control(operation, options);
}

Outcome EndConnection(MQHCONN* handle) {
  if (handle == nullptr) return Failed(MQRC_HCONN_ERROR);
  const std::shared_ptr<Connection> connection = FindConnection(*handle);
  if (connection == nullptr || !MayUse(*connection)) return Failed(MQRC_HCONN_ERROR);
  if (connection->Consuming->OnCallbackThread()) return Failed(MQRC_HCONN_ASYNC_ACTIVE);
  connection->Consuming->Stop();
  const Admission admission = Admit(*handle);
  if (admission.Reason != MQRC_NONE) return Failed(admission.Reason);
  *handle = MQHC_UNUSABLE_HCONN;
  return Disconnect(*connection);
}

Admission Admit(MQHCONN handle) {
  Admission admission;
  admission.Admitted = FindConnection(handle);
  if (admission.Admitted == nullptr) {
    admission.Reason = MQRC_HCONN_ERROR;
    return admission;
  }
  Connection& connection = *admission.Admitted;
  if (!MayUse(connection)) {
    admission.Reason = MQRC_HCONN_ERROR;
    return admission;
  }
  if (!connection.Consuming->Admits()) {
    admission.Reason = MQRC_HCONN_ASYNC_ACTIVE;
    return admission;
  }
  admission.Lock = std::unique_lock(connection.Mutex, std::defer_lock);
  if (connection.ShareOption == MQCNO_HANDLE_SHARE_NO_BLOCK) {
    if (!admission.Lock.try_lock()) {
      admission.Reason = MQRC_CALL_IN_PROGRESS;
      return admission;
    }
  } else {
    admission.Lock.lock();
  }
  // Another thread may have disconnected while this one waited.
  if (connection.Closed) admission.Reason = MQRC_HCONN_ERROR;
  return admission;
}

}  // namespace localmq
