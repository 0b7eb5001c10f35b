#include "engine/delivery.h"

#include <algorithm>
#include <string>

#include "engine/backout_requeue.h"
#include "engine/strip_headers.h"
#include "files/hex.h"
#include "platform/interrupt.h"

Delivery::Delivery(const Options& asked, const RunStations& run, Source& source, Target& target)
    : Asked(asked),
      Goal(target),
      Unit(asked, run.Input, run.Output, target, Read),
      run_(run),
      source_(source),
      selection_(asked.Selection, asked.Display.TraceTimes ? &run.Screen : nullptr) {}

void Delivery::Begin() {
  const bool possible = (source_.ReadsQueue() && Asked.Input.Remove) || Asked.Output.HasQueues();
  if (possible && Asked.Units.MessageLimit != 0) Unit.Begin();
}

void Delivery::NextPosition() { run_.Place = {++position_, selected_ + 1}; }

bool Delivery::EndIfInterrupted() {
  if (InterruptSignal() == 0) return false;
  Finished = true;
  CutShort = true;
  return true;
}

Result Delivery::FinishPending() {
  if (Result settled = Goal.Settle(); settled.failed()) return settled;
  if (Unit.Pending()) {
    if (Result committed = Unit.Commit(); committed.failed()) return committed;
  }
  return Goal.Pending() ? Goal.Flush() : Result();
}

// A message that a failure has left in hand, and that is on no queue any more.
Result Delivery::TellInHand(Result failure) {
  std::string text(failure.text());
  while (text.ends_with('\n')) text.pop_back();
  std::string id(2 * sizeof(MQBYTE24), '0');
  EncodeHex(id.data(), Message.Descriptor.MsgId, sizeof Message.Descriptor.MsgId);
  text += (text.empty() ? "The message with MsgId " : "; the message with MsgId ") + id + " has left its queue";
  if (const std::string file = Goal.Leave(); !file.empty()) text += ", what was written is in '" + file + '\'';
  return {failure.reason(), text};
}

// Only a message that this run takes off its queue is requeued; one that is browsed stays where it is. A summary takes
// nothing.
bool Delivery::BelongsOnBackoutQueue() const {
  const QueueElement* const queue = Message.From;
  return !Asked.Display.Summary && !Asked.Input.NoBackoutQueue && Asked.Input.Remove && queue != nullptr &&
         queue->BackoutThreshold > 0 && Message.Descriptor.BackoutCount >= queue->BackoutThreshold;
}

// Hands on a message that is the run's to deliver.
Result Delivery::HandOn() {
  ++selected_;
  if (Asked.Pace.Delay != 0 || Asked.Pace.DelayRelative) run_.Pause.Before(Message.Descriptor);
  // The backout queue gets the message as it was on its queue, headers included.
  if (BelongsOnBackoutQueue()) {
    if (Result whole = CheckWhole(Message); whole.failed()) return whole;
    return RequeueToBackout(run_.Input, Message, Asked.Units.MessageLimit != 0);
  }
  if (Asked.Output.StripHeaders) StripHeaders(Message);
  return Goal.Take(Message, {position_, selected_}, TakesAtOnce());
}

// What happens to a message that passed selection.
Result Delivery::Deliver() {
  if (Result checked = source_.Check(Message); checked.failed()) return checked;
  const bool browsed = source_.BrowsesFirst() && Asked.Input.Remove;
  if (!Goal.HasRoom(Message)) {
    Result room = Goal.MakeRoom(run_.Place, source_.names());
    if (room.failed()) return TakesAtOnce() && !browsed ? TellInHand(std::move(room)) : std::move(room);
  }
  if (browsed) {
    bool gone = false;
    Result removed = source_.Remove(Message, gone);
    if (removed.failed() || gone) return removed;
  }
  Result result = HandOn();
  return result.failed() && TakesAtOnce() ? TellInHand(std::move(result)) : std::move(result);
}

Result Delivery::Process() {
  run_.Status.Count();
  Read.Add(1, Message.Length);
  if (Goal.Wanted()) {
    if (selection_.Takes(Message, position_)) {
      Result delivered = Deliver();
      if (delivered.failed()) return delivered;
    }
    if (selection_.EndsAt(position_)) {
      Finished = true;
      Unit.AddLast();
      return {};
    }
  }
  return Unit.Add();
}
