#include "localmq/dispatch.h"

namespace localmq {

Admission Admit(MQHCONN handle) {
  Admission admission;
  admission.Admitted = FindConnection(handle);
  if (admission.Admitted == nullptr) {
    admission.Reason = MQRC_HCONN_ERROR;
    return admission;
  }
  Connection& connection = *admission.Admitted;
  if (connection.ShareOption == MQCNO_HANDLE_SHARE_NONE && connection.Owner != std::this_thread::get_id()) {
    admission.Reason = MQRC_HCONN_ERROR;
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
