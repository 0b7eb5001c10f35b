#include "engine/async_puts.h"

#include "common/console.h"
#include "mq/destinations.h"
#include "mq/reasons.h"

// Asks the queue manager for the outcomes that it has collected. Returns the reason of a failure.
MQLONG AsyncPuts::Ask(MQSTS& status) {
  CallEnd end;
  conn_.Api.MQSTAT(conn_.Hconn, MQSTAT_TYPE_ASYNC_ERROR, &status, &end.CompCode, &end.Reason);
  conn_.Trace("MQSTAT", {}, end.Reason);
  return end.Failure();
}

void AsyncPuts::TellNormalPuts(const std::string& why) const {
  if (!asked_.Display.ShowDestinations) return;
  conn_.screen().Print("Messages are not put asynchronously: %s\n\n", why.c_str());
}

bool AsyncPuts::Decide() {
  if (asked_.Input.Remove && asked_.Units.MessageLimit == 0) {
    TellNormalPuts("without units of work a message whose put fails would be lost");
    return false;
  }
  MQSTS earlier;
  const MQLONG reason = Ask(earlier);
  if (reason != 0) TellNormalPuts(FormatText("MQSTAT failed RC(%d) %s", reason, ReasonText(reason)));
  return reason == 0;
}

bool AsyncPuts::InUse() {
  if (!asked_.Output.AsyncPut) return false;
  if (!decided_) {
    decided_ = true;
    inUse_ = Decide();
  }
  return inUse_;
}

Result AsyncPuts::Settle(MQLONG& failures) {
  failures = 0;
  if (!outstanding_) return {};
  outstanding_ = false;
  MQSTS status;
  if (const MQLONG reason = Ask(status); reason != 0) {
    return {reason, FormatText("MQSTAT(%s) failed RC(%d) %s", conn_.QMgrName.c_str(), reason, ReasonText(reason))};
  }
  // Some destination of a distribution list failed when a warning speaks of several reasons.
  const bool failed = status.CompCode == MQCC_FAILED || status.PutFailureCount > 0;
  if (!failed && status.Reason != MQRC_MULTIPLE_REASONS) return {};
  failures = status.PutFailureCount;
  const std::string qmgr(NameInField(status.ObjectQMgrName, sizeof status.ObjectQMgrName));
  const std::string queue(NameInField(status.ObjectName, sizeof status.ObjectName));
  return {status.Reason != 0 ? status.Reason : MQRC_UNEXPECTED_ERROR,
          FormatText("MQPUT(%s) failed RC(%d) %s (asynchronous puts that failed: %d)",
                     DestinationText(qmgr.c_str(), queue.c_str()).c_str(), status.Reason, ReasonText(status.Reason),
                     status.PutFailureCount)};
}
