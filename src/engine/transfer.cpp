#include "engine/transfer.h"

#include <algorithm>

namespace {

constexpr std::int64_t kEmptiedQueuePause = 100;  // milliseconds

// Whether there are options that only show something in the output file.
bool ShowsInFile(const Options& asked) {
  const LayoutOptions& layout = asked.Layout;
  return layout.AsciiLines || layout.AsciiColumns || layout.Index || layout.TimeOnQueue || asked.Display.Summary ||
         layout.Printable || layout.TextLines || layout.Raw || layout.NoDescriptor || layout.NoHeader;
}

// A queue whose messages are put again and again, at a required rate, for a time.
bool Replays(const PaceOptions& asked) { return asked.Rate != 0 && asked.RateDuration != 0; }

}  // namespace

Result CheckTransfer(const Options& asked) {
  const bool readsQueue = asked.Input.HasQueues() && !asked.Log.Given;
  if (!readsQueue && asked.Output.PassesContext()) {
    return {MQRC_CONTEXT_NOT_AVAILABLE, "An input queue must be supplied to pass context"};
  }
  if (!asked.Output.HasFile() && ShowsInFile(asked)) {
    return {MQRC_OPTIONS_ERROR, "Display options require an output file"};
  }
  if (!readsQueue && !asked.Log.Given && asked.Plain.Given && !asked.Output.OwnContext()) {
    return {MQRCCF_PARM_VALUE_ERROR, "A non-TARVO file should be loaded with either DEFAULT or NO context.\n"};
  }
  return {};
}

Transfer::Transfer(const Options& asked, const RunStations& run, Source& source, Target& target, OutputQueues* queues,
                   ProgressLine& progress)
    : asked_(asked),
      run_(run),
      source_(source),
      target_(target),
      queues_(queues),
      progress_(progress),
      delivery_(asked, run, source, target),
      wait_(asked.Input) {}

Outcome Transfer::Run() {
  Outcome outcome;
  outcome.End = CheckTransfer(asked_);
  if (!outcome.End.failed() && delivery_.TakesAtOnce()) outcome.End = target_.CheckAtOnce();
  if (!outcome.End.failed()) outcome.End = delivery_.Unit.End(Move());
  outcome.Loss = source_.loss();
  outcome.Read = delivery_.Read;
  outcome.Put = target_.put();
  outcome.UncommittedRead = delivery_.Unit.UncommittedRead();
  outcome.UncommittedPut = delivery_.Unit.UncommittedPut();
  outcome.Began = began_;
  outcome.RolledBack = delivery_.Unit.rolled_back();
  outcome.CutShort = delivery_.CutShort;
  outcome.Silent = delivery_.Silent;
  return outcome;
}

Result Transfer::Move() {
  MessageBuffer& buffer = delivery_.Message.Buffer;
  buffer.Trace(MemoryTrace(asked_.Display.TraceMemory ? &run_.Screen : nullptr));
  if (Result grown = buffer.Grow(static_cast<std::size_t>(asked_.Input.InitialBufferSize)); grown.failed())
    return grown;
  bool empty = false;
  if (Result ready = source_.Start(empty); ready.failed() || empty) return ready;
  if (Result begun = target_.Begin(source_.names()); begun.failed()) return begun;
  began_ = true;
  delivery_.Begin();
  wait_.Restart();
  if (asked_.Pace.Rate != 0) pace_.emplace(asked_.Pace, asked_.Display.RateDetails, *queues_);
  return source_.DeliversItself() ? source_.DeliverAll(delivery_) : Loop();
}

Result Transfer::Loop() {
  while (!delivery_.EndIfInterrupted()) {
    delivery_.NextPosition();
    if (asked_.Display.Status) run_.Status.Check(delivery_.Read.Msgs, target_.taken());
    if (Result next = Next(); next.failed() || delivery_.Finished) return next;
    if (Result done = delivery_.Process(); done.failed() || delivery_.Finished) return done;
    if (pace_) {
      bool ended = false;
      if (Result paced = pace_->After(delivery_.Unit, ended); paced.failed() || ended) return paced;
    }
    progress_.Show();
  }
  return {};
}

// The next message, waited for as long as was asked for. Sets Finished when none comes any more.
Result Transfer::Next() {
  bool rewound = false;
  for (;;) {
    std::int64_t wait = 0;
    if (asked_.Input.WaitInterval != 0) {
      if (Result allowed = AllowedWait(wait); allowed.failed()) return allowed;
    }
    Arrival arrival = Arrival::Nothing;
    if (Result next = source_.Next(delivery_.Message, wait, arrival); next.failed()) return next;
    switch (arrival) {
      case Arrival::Message:
        wait_.Restart();
        return {};
      case Arrival::End:
        delivery_.Finished = true;
        return {};
      case Arrival::Interrupted:
        delivery_.EndIfInterrupted();
        delivery_.Finished = true;
        return {};
      case Arrival::Nothing:
        if (Result nothing = NoMessage(rewound); nothing.failed() || delivery_.Finished) return nothing;
    }
  }
}

// How long the source may wait: what is left of the wait interval, or of the target's age when that is less; a target
// that has reached its age is closed. Nothing waits while something is uncommitted or not flushed.
Result Transfer::AllowedWait(std::int64_t& wait) {
  wait = 0;
  if (!source_.ReadsQueue() || delivery_.Pending()) return {};
  const std::int64_t left = wait_.Left();
  if (left <= 0) return {};
  std::int64_t age = target_.AgeLeft();
  if (age <= 0) {
    if (Result closed = target_.CloseAged(); closed.failed()) return closed;
    age = left;
  }
  wait = std::min({left, age, std::int64_t{kLongestWait}});
  return {};
}

// The queue has no (further) message. Decides whether it is asked again: with what is left of the wait, or, where it is
// replayed, from its first message on.
Result Transfer::NoMessage(bool& rewound) {
  const bool replays = Replays(asked_.Pace);
  if (replays && delivery_.Read.Msgs == 0) {
    delivery_.Finished = true;
    return {0, "'Required rate' processing not possible since the source queue is empty.\n"};
  }
  if (replays && !rewound) {
    rewound = true;
    source_.Rewind();
    return {};
  }
  if (Result finished = delivery_.FinishPending(); finished.failed()) return finished;
  if (replays) {
    // Somebody has emptied the queue that is replayed. It may fill again until the rate's end.
    delivery_.Finished = pace_->over();
    if (!delivery_.Finished) pace_->Sleep(kEmptiedQueuePause);
  } else {
    delivery_.Finished = wait_.Left() <= 0;
  }
  if (!delivery_.Finished) delivery_.EndIfInterrupted();
  return {};
}
