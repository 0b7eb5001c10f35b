#include "engine/handle.h"

#include "cmdline/parameters.h"
#include "engine/strip_headers.h"

namespace {

// Only a message that this run takes off its queue is requeued; one that is browsed stays where it is.
bool BelongsOnBackoutQueue(const Parameters& run, const QueueElement* queue) {
  return !run.Asked.Input.NoBackoutQueue && run.Asked.Input.Remove && queue != nullptr && queue->BackoutThreshold > 0 &&
         run.Message.Descriptor.BackoutCount >= queue->BackoutThreshold;
}

// A message whose data was not fetched must not go anywhere with bytes that are not its own.
MQLONG CheckWhole(Parameters& run) {
  const CurrentMessage& message = run.Message;
  if (message.Delivered == message.Length) return 0;
  run.MessageText.Format("Only %d of %d bytes of the message were fetched", message.Delivered, message.Length);
  return MQRC_UNEXPECTED_ERROR;
}

MQLONG WriteMessage(Parameters& run) {
  const CurrentMessage& message = run.Message;
  if (run.Asked.Display.Count) {
    run.Outputs->Count(message.Length);
    return 0;
  }
  const auto there = static_cast<std::size_t>(std::min(message.Delivered, message.Length));
  return run.Keep(run.Outputs->Write({.Descriptor = message.Descriptor,
                                      .Data = DataBytes(message.Data, there),
                                      .Length = message.Length,
                                      .Position = run.MessageIndex,
                                      .Ordinal = run.SelectedCount,
                                      .Now = run.StartTime,
                                      .LeavesQueue = run.Asked.Input.Remove}));
}

}  // namespace

MQLONG HandleMessage(Parameters& run, QueueElement* queue) {
  if (run.Asked.Pace.Delay != 0 || run.Asked.Pace.DelayRelative) run.Pause->Before(run.Message.Descriptor);
  const bool summary = run.Asked.Display.Summary;
  // The backout queue gets the message as it was on its queue, headers included.
  if (!summary && BelongsOnBackoutQueue(run, queue)) {
    if (const MQLONG reason = CheckWhole(run); reason != 0) return reason;
    const CurrentMessage& message = run.Message;
    return RequeueToBackout(run, *queue, message.Descriptor, message.Data, message.Length);
  }
  if (run.Asked.Output.StripHeaders) StripHeaders(run.Message);
  if (summary) {
    run.Summary->Add(run.Message.Descriptor, run.Message.Length);
    return 0;
  }
  if (run.Asked.Output.HasQueues()) {
    if (const MQLONG reason = CheckWhole(run); reason != 0) return reason;
    return PutMessage(run, queue);
  }
  return WriteMessage(run);
}
