#include "engine/get.h"

#include <algorithm>
#include <cstdint>
#include <ctime>
#include <limits>

#include "cmdline/parameters.h"
#include "common/clock.h"
#include "engine/transfer.h"
#include "mq/option_behind.h"
#include "mq/reasons.h"

namespace {

constexpr std::int64_t kEmptiedQueuePause = 100;  // milliseconds

// Whether a get with this reason has certainly left every message where it was.
bool TookNothing(MQLONG reason) {
  return reason == MQRC_NO_MSG_AVAILABLE || reason == MQRC_NO_MSG_UNDER_CURSOR || reason == MQRC_TRUNCATED_MSG_FAILED;
}

bool UnitPending(const Parameters& run) { return run.Uow.UowCount != 0 && run.Asked.Units.MessageLimit != -1; }

// Lets the next get wait for what is left of the wait interval, or of the output file's age when that is less; a file
// that has reached its age is closed. Nothing waits while something is uncommitted or not flushed.
MQLONG AddWait(Parameters& run, MQGMO& options) {
  if (run.Asked.Input.WaitInterval == 0 || UnitPending(run) || run.Outputs->Pending()) return 0;
  std::int64_t wait = WaitLeft(run);
  if (wait <= 0) return 0;
  if (run.Asked.Limits.Age != 0 && run.Outputs->HoldsMessages()) {
    const std::int64_t left = run.Outputs->AgeLeft();
    if (left > 0) {
      wait = std::min(wait, left);
    } else if (const MQLONG reason = run.Keep(run.Outputs->Close()); reason != 0) {
      return reason;
    }
  }
  options.Options |= MQGMO_WAIT;
  options.WaitInterval = static_cast<MQLONG>(std::min<std::int64_t>(wait, kLongestWait));
  return 0;
}

MQLONG FinishPendingWork(Parameters& run) {
  if (const MQLONG reason = CheckAsyncPuts(run); reason != 0) return reason;
  if (UnitPending(run)) {
    if (const MQLONG reason = CommitAll(run); reason != 0) return reason;
  }
  return run.Outputs->Pending() ? run.Keep(run.Outputs->Flush(false)) : 0;
}

// The queue has no (further) message. Decides whether the get is repeated: with what is left of the wait, or, for a
// required rate with a duration, from the queue's first message on.
MQLONG NoMessage(Parameters& run, MQLONG& getOptions) {
  const bool replay = run.Asked.Pace.Rate != 0 && run.Asked.Pace.RateDuration != 0;
  if (replay && run.MsgsRead == 0) {
    run.MessageText.Format("'Required rate' processing not possible since the source queue is empty.\n");
    run.Finished = true;
    return 0;
  }
  if (replay && (getOptions & MQGMO_BROWSE_FIRST) == 0) {
    getOptions = (getOptions & ~MQGMO_BROWSE_NEXT) | MQGMO_BROWSE_FIRST;
    return 0;
  }
  if (const MQLONG reason = FinishPendingWork(run); reason != 0) return reason;
  if (replay) {
    // Somebody has emptied the queue that is replayed. It may fill again until the rate's end.
    run.Finished = run.Pace.RateEndTime != 0 && std::time(nullptr) > run.Pace.RateEndTime;
    if (!run.Finished) run.Pace.Clock->Sleep(kEmptiedQueuePause);
  } else {
    run.Finished = WaitLeft(run) <= 0;
  }
  if (!run.Finished) EndIfInterrupted(run);
  return 0;
}

}  // namespace

std::int64_t WaitLeft(const Parameters& run) {
  if (run.Asked.Input.WaitInterval == -1) return kEndlessWaitSlice;
  return run.Wait.Since + std::int64_t{run.Asked.Input.WaitInterval} * 1000 - SteadyMillis();
}

MQLONG GetOptions(const Parameters& run, bool underCursor) {
  const MQLONG syncpoint = run.Asked.Units.MessageLimit != 0 ? MQGMO_SYNCPOINT : MQGMO_NO_SYNCPOINT;
  MQLONG options = syncpoint;
  if (underCursor) {
    options |= MQGMO_MSG_UNDER_CURSOR;
  } else if (run.BrowseFirst || !run.Asked.Input.Remove) {
    options = MQGMO_BROWSE_NEXT | MQGMO_NO_SYNCPOINT;
  }
  const bool properties = run.QMgrs[run.Asked.Input.QMgr].KnowsProperties();
  if (!run.Asked.Input.NoForcedRfh2 && properties) options |= MQGMO_PROPERTIES_FORCE_MQRFH2;
  return options;
}

void AddMatchAndConversion(const Parameters& run, MQMD& descriptor, MQGMO& options) {
  if (run.Asked.Input.Convert) {
    options.Options |= MQGMO_CONVERT;
    descriptor.CodedCharSetId = run.Asked.Input.ConvertCcsid;
    descriptor.Encoding = run.Asked.Input.ConvertEncoding;
  }
  // An inverted selection wants the messages that do not match.
  const SelectionOptions& selection = run.Asked.Selection;
  if (selection.Invert) return;
  if (selection.MsgId) std::copy(selection.MsgId->begin(), selection.MsgId->end(), descriptor.MsgId);
  if (selection.CorrelId) std::copy(selection.CorrelId->begin(), selection.CorrelId->end(), descriptor.CorrelId);
  if (selection.GroupId) {
    std::copy(selection.GroupId->begin(), selection.GroupId->end(), descriptor.GroupId);
    options.Version = std::max(options.Version, MQGMO_VERSION_2);
    options.MatchOptions |= MQMO_MATCH_GROUP_ID;
  }
}

MQLONG GetQueueMessage(Parameters& run, QueueElement& queue, bool underCursor) {
  QMgrConn& conn = InputConn(run);
  CurrentMessage& message = run.Message;
  const bool descriptorOnly = run.DescriptorOnly;
  MQLONG getOptions = GetOptions(run, underCursor) | (descriptorOnly ? MQGMO_ACCEPT_TRUNCATED_MSG : 0);
  for (;;) {
    // Identifiers and code pages of the last message must not select or convert the next one.
    message.Descriptor = DefaultDescriptor();
    MQGMO options;
    options.Options = getOptions;
    if (!underCursor) {
      if (const MQLONG reason = AddWait(run, options); reason != 0) return reason;
    }
    AddMatchAndConversion(run, message.Descriptor, options);
    const std::size_t bufferSize = descriptorOnly ? 0 : message.Buffer.size();
    const auto room = static_cast<MQLONG>(std::min<std::size_t>(bufferSize, std::numeric_limits<MQLONG>::max()));
    MQLONG length = 0;
    MQLONG compCode = MQCC_FAILED;
    MQLONG reason = MQRC_NONE;
    // A get whose outcome is not known (the connection broke) may have taken its message into the unit.
    const bool unitWasOpen = conn.UnitOpen;
    if ((options.Options & MQGMO_SYNCPOINT) != 0) conn.UnitOpen = true;
    conn.Api.MQGET(conn.Hconn, queue.Hobj, &message.Descriptor, &options, room, message.Buffer.data(), &length,
                   &compCode, &reason);
    conn.Trace("MQGET", queue.QueueName, reason);
    if (TookNothing(reason)) conn.UnitOpen = unitWasOpen;

    if (reason == MQRC_TRUNCATED_MSG_FAILED && length > room) {
      if (const MQLONG failure = run.Keep(message.Buffer.Grow(static_cast<std::size_t>(length))); failure != 0)
        return failure;
      continue;
    }
    // A warning (not converted, format errors) comes with the message as it is on the queue.
    const bool arrived = compCode != MQCC_FAILED && reason != MQRC_TRUNCATED_MSG_FAILED;
    if (arrived && (descriptorOnly || length <= room)) {
      message.Data = message.Buffer.data();
      message.Length = std::max<MQLONG>(length, 0);
      message.Delivered = std::min(message.Length, room);
      run.Wait.Since = SteadyMillis();
      return 0;
    }
    if (underCursor && reason == MQRC_NO_MSG_UNDER_CURSOR) return reason;
    if (!underCursor && reason == MQRC_NO_MSG_AVAILABLE) {
      if (const MQLONG failure = NoMessage(run, getOptions); failure != 0 || run.Finished) return failure;
      continue;
    }
    run.MessageText.Format("MQGET(%s) failed RC(%d) %s%s", queue.QueueName.c_str(), reason, ReasonText(reason),
                           OptionLine(run.Asked, MqStep::Get, reason).c_str());
    return reason != 0 ? reason : MQRC_UNEXPECTED_ERROR;
  }
}
