#include "engine/transfer.h"

#include <string>

#include "cmdline/parameters.h"
#include "common/clock.h"
#include "engine/consumer.h"
#include "engine/get.h"
#include "files/hex.h"
#include "files/reader.h"
#include "files/writer.h"
#include "platform/interrupt.h"

namespace {

// Whether there are options that only show something in the output file.
bool ShowsInFile(const Options& asked) {
  const LayoutOptions& layout = asked.Layout;
  return layout.AsciiLines || layout.AsciiColumns || layout.Index || layout.TimeOnQueue || asked.Display.Summary ||
         layout.Printable || layout.TextLines || layout.Raw || layout.NoDescriptor || layout.NoHeader;
}

// Several input queues are read through the queue manager's callbacks. (A recovery log names a queue, but reads none.)
bool ReadsSeveralQueues(const Parameters& run) { return run.Source == nullptr && run.Inputs.Elements.size() > 1; }

bool HasTarget(const Parameters& run) { return run.TargetQueues || !run.Asked.Output.FileName.empty(); }

MQLONG ReadMessages(Parameters& run, const MessageSource& source, QueueElement* queue, bool terminal) {
  while (!EndIfInterrupted(run)) {
    ++run.MessageIndex;
    if (run.Asked.Display.Status) CheckStatus(run);
    if (const MQLONG reason = source.Read(run, queue); reason != 0 || run.Finished) return reason;
    if (const MQLONG reason = ProcessMessage(run, queue, terminal); reason != 0 || run.Finished) return reason;
    if (run.Asked.Pace.Rate != 0) {
      bool ended = false;
      if (const MQLONG reason = PaceMessage(run, ended); reason != 0 || ended) return reason;
    }
    run.Progress.Show();
  }
  return 0;
}

// The names of a queue that is read.
HeaderNames NamesOf(const Parameters& run, const QueueElement* queue) {
  if (queue == nullptr || queue->Hobj == MQHO_UNUSABLE_HOBJ) return {};
  return {run.QMgrs[run.Asked.Input.QMgr].QMgrName, queue->QueueName};
}

MQLONG Transfer(Parameters& run, QueueElement* queue, bool terminal) {
  MessageBuffer& buffer = run.Message.Buffer;
  buffer.Trace(run.Memory());
  const Result grown = buffer.Grow(static_cast<std::size_t>(run.Asked.Input.InitialBufferSize));
  if (grown.failed()) return run.Keep(grown);
  run.Reader.emplace(*run.In, run.Screen, run.Memory());
  if (const Result allocated = run.Reader->Allocate(); allocated.failed()) return run.Keep(allocated);
  const MessageSource& source = ChooseSource(run, queue);
  bool empty = false;
  if (const MQLONG reason = source.Prepare(run, empty); reason != 0 || empty) return reason;
  if (run.Outputs->is_open()) {
    if (const MQLONG reason = run.Keep(run.Outputs->WriteHeader(NamesOf(run, queue))); reason != 0) return reason;
  }
  const bool unitsPossible = (queue != nullptr && run.Asked.Input.Remove) || run.Asked.Output.HasQueues();
  run.Uow.SyncpointActive = unitsPossible && run.Asked.Units.MessageLimit != 0;
  run.MessageIndex = 0;
  run.SelectedCount = 0;
  run.Wait.Since = SteadyMillis();
  if (run.Asked.Pace.Rate != 0) StartRate(run);
  if (ReadsSeveralQueues(run)) return ConsumeQueues(run);
  return ReadMessages(run, source, queue, terminal);
}

// Commits what a good run has done, or backs out the open unit of a failed one, so that no disconnect decides it.
MQLONG EndUnit(Parameters& run, MQLONG result) {
  if (const MQLONG failure = CheckAsyncPuts(run); result == 0) result = failure;
  if (!run.Uow.SyncpointActive) return result;
  const bool open = run.Uow.UowCount != 0 || InputConn(run).UnitOpen || OutputConn(run).UnitOpen;
  if (result == 0 && open) result = CommitAll(run);
  if (result != 0) BackOutRun(run);
  return result;
}

// A message that a failure has left in hand, and that is on no queue any more.
MQLONG TellInHand(Parameters& run, MQLONG reason) {
  std::string text(run.MessageText.view());
  while (text.ends_with('\n')) text.pop_back();
  std::string id(2 * sizeof(MQBYTE24), '0');
  EncodeHex(id.data(), run.Message.Descriptor.MsgId, sizeof run.Message.Descriptor.MsgId);
  text += (text.empty() ? "The message with MsgId " : "; the message with MsgId ") + id + " has left its queue";
  if (const std::string file = run.Outputs->changes().Leave(); !file.empty())
    text += ", what was written is in '" + file + '\'';
  run.MessageText.Assign(text);
  return reason;
}

// A message is written only into a file that is open and has room for it.
MQLONG SeeToOutputFile(Parameters& run, const QueueElement* queue, bool terminal) {
  if (run.Outputs->HasRoom(run.Message.Length)) return 0;
  Result result = run.Outputs->OpenNext({.MayAsk = terminal, .Place = run.NextPlace()});
  if (!result.failed()) result = run.Outputs->WriteHeader(NamesOf(run, queue));
  return run.Keep(result);
}

// The target's part for a message that is the run's to deliver.
MQLONG HandOn(Parameters& run, QueueElement* queue, bool leavesAtOnce) {
  ++run.SelectedCount;
  run.Put = {};
  MQLONG reason = HandleMessage(run, queue);
  if (reason == 0 && leavesAtOnce) reason = run.Keep(run.Outputs->changes().HandOver());
  if (reason == 0 && run.Asked.Output.FileInserts) reason = run.Keep(run.Outputs->RollOver());
  return reason;
}

// What happens to a message that passed selection.
MQLONG DeliverMessage(Parameters& run, QueueElement* queue, bool terminal) {
  if (run.Source != nullptr && run.Source->Check != nullptr) {
    if (const MQLONG reason = run.Source->Check(run); reason != 0) return reason;
  }
  // Without units of work a message is gone from its queue as soon as it is got.
  const bool leavesAtOnce = queue != nullptr && run.Asked.Input.Remove && run.Asked.Units.MessageLimit == 0;
  if (!run.Asked.Output.FileName.empty() && !run.Asked.Display.Count) {
    const MQLONG reason = SeeToOutputFile(run, queue, terminal);
    if (reason != 0) return leavesAtOnce && !run.BrowseFirst ? TellInHand(run, reason) : reason;
  }
  if (queue != nullptr && run.BrowseFirst && run.Asked.Input.Remove) {
    // The message was only browsed so far. Somebody else may have taken it meanwhile.
    const MQLONG reason = GetQueueMessage(run, *queue, true);
    if (reason == MQRC_NO_MSG_UNDER_CURSOR) return 0;
    if (reason != 0 || run.Finished) return reason;
  }
  const MQLONG reason = HandOn(run, queue, leavesAtOnce);
  return reason != 0 && leavesAtOnce ? TellInHand(run, reason) : reason;
}

}  // namespace

MQLONG CheckTransfer(Parameters& run, const QueueElement* queue) {
  if (queue == nullptr && run.Asked.Output.PassesContext()) {
    run.MessageText.Format("An input queue must be supplied to pass context");
    return MQRC_CONTEXT_NOT_AVAILABLE;
  }
  if (run.Asked.Output.FileName.empty() && ShowsInFile(run.Asked)) {
    run.MessageText.Format("Display options require an output file");
    return MQRC_OPTIONS_ERROR;
  }
  const bool writesFile = run.Asked.Output.HasFile() && !run.Outputs->IsNull();
  if (queue != nullptr && run.Asked.Input.Remove && run.Asked.Units.MessageLimit == 0 && writesFile &&
      MayLoseBytes(run.Asked.Layout)) {
    run.MessageText.Format("Without units of work (-t0) no message can be kept from a layout that loses some of it");
    return MQRC_OPTIONS_ERROR;
  }
  const bool readsPlain = queue == nullptr && run.Source == nullptr && run.Asked.Plain.Given;
  if (readsPlain && !run.Asked.Output.OwnContext()) {
    run.MessageText.Format("A non-TARVO file should be loaded with either DEFAULT or NO context.\n");
    return MQRCCF_PARM_VALUE_ERROR;
  }
  return 0;
}

MQLONG TransferMessages(Parameters& run, QueueElement* queue, bool terminal) {
  if (queue == nullptr && ReadsSeveralQueues(run)) queue = &run.Inputs.Elements.front();
  run.Uow = {};
  run.Chosen.emplace(run.Asked.Selection, run.Asked.Display.TraceTimes ? &run.Screen : nullptr);
  run.Loss = 0;
  MQLONG result = CheckTransfer(run, queue);
  if (result == 0) {
    result = EndUnit(run, Transfer(run, queue, terminal));
    run.Message.Buffer.Release();
    if (run.PlainReader) run.Loss = run.PlainReader->loss();
    run.PlainReader.reset();
    if (run.Reader && run.Reader->loss() != 0) run.Loss = run.Reader->loss();
    run.Reader.reset();
  }
  return result;
}

bool EndIfInterrupted(Parameters& run) {
  if (InterruptSignal() == 0) return false;
  run.Finished = true;
  run.CutShort = true;
  return true;
}

MQLONG ProcessMessage(Parameters& run, QueueElement* queue, bool terminal) {
  const MQLONG length = run.Message.Length;
  ++run.Status.StatusMsgs;
  ++run.MsgsRead;
  ++run.UowMsgsRead;
  run.BytesRead += length;
  run.UowBytesRead += length;
  if (HasTarget(run) || run.Asked.Display.Count) {
    if (run.Chosen->Takes(run.Message, run.MessageIndex)) {
      if (const MQLONG reason = DeliverMessage(run, queue, terminal); reason != 0 || run.Finished) return reason;
    }
    if (run.Chosen->EndsAt(run.MessageIndex)) {
      run.Finished = true;
      if (run.Uow.SyncpointActive) ++run.Uow.UowCount;
      return 0;
    }
  }
  if (!run.Uow.SyncpointActive) return 0;
  ++run.Uow.UowCount;
  const bool full = run.Asked.Units.MessageLimit != -1 && run.Uow.UowCount >= run.Asked.Units.MessageLimit;
  return full ? CommitAll(run) : 0;
}
