#include "cmdline/open_inputs.h"

#include <algorithm>
#include <iterator>
#include <new>
#include <string>

#include "cmdline/parameters.h"
#include "generic/command_server.h"
#include "mq/option_behind.h"

namespace {

constexpr std::size_t kConfirmationAnswer = 711;  // characters

// Whether a destructive run browses each message and gets only the selected ones, so that the others stay on the queue.
bool BrowsesFirst(const Options& asked) {
  const bool selects = asked.Selection.Active || asked.Selection.HasIdentifier() || asked.Selection.Invert;
  return selects && asked.Input.Remove && !asked.Input.Purge;
}

// Asks before queues are emptied into nothing. (With a selection and no target, messages are only looked at.)
bool MayEmpty(Parameters& run) {
  const bool removes = run.Asked.Input.Remove && !run.Gets.BrowseFirst;
  const bool hasTarget = run.Asked.Output.HasQueues() || !run.Asked.Output.FileName.empty();
  if (!removes || hasTarget || run.Asked.Input.Purge || run.Asked.Display.Quiet || !run.Screen.StdinIsTerminal)
    return true;
  std::string names;
  for (const QueueElement& queue : run.Inputs.Elements) {
    if (!names.empty()) names += ", ";
    names += queue.QueueName.view();
  }
  run.Screen.Print("The messages of '%s' will be removed and go nowhere. Continue? (y/n)\n", names.c_str());
  std::string answer;
  return run.Screen.ReadAnswer(answer, kConfirmationAnswer) && answer.starts_with('y');
}

MQLONG OpenOptions(const Parameters& run) {
  const bool exclusive = run.Asked.Input.Exclusive;
  MQLONG options = 0;
  if (run.Asked.Input.Remove) {
    options |= exclusive ? MQOO_INPUT_EXCLUSIVE : MQOO_INPUT_SHARED;
    if (run.Gets.BrowseFirst) options |= MQOO_BROWSE;
    if (run.Asked.Output.PassesContext()) options |= MQOO_SAVE_ALL_CONTEXT;
  } else {
    options |= MQOO_BROWSE;
    if (exclusive) options |= MQOO_INPUT_EXCLUSIVE;
  }
  if (!run.Asked.Input.NoBackoutQueue) options |= MQOO_INQUIRE;
  return options;
}

// Opens one queue. `options` loses MQOO_INQUIRE, for this queue and the ones after it, where that is not allowed.
MQLONG OpenInputQueue(Parameters& run, QueueElement& queue, MQLONG& options) {
  QMgrConn& conn = InputConn(run);
  MQOD descriptor;
  FillField(descriptor.ObjectName, sizeof descriptor.ObjectName, queue.QueueName, '\0');
  if (MayFeedItself(run.Asked, NamesOf(run))) descriptor.Version = MQOD_VERSION_3;
  if (run.Asked.Selection.Selector) {
    descriptor.Version = MQOD_VERSION_4;
    descriptor.SelectionString.VSPtr = const_cast<char*>(run.Asked.Selection.Selector->data());
    descriptor.SelectionString.VSLength = static_cast<MQLONG>(run.Asked.Selection.Selector->size());
  }
  for (;;) {
    CallEnd end;
    conn.Api.MQOPEN(conn.Hconn, &descriptor, options, &queue.Hobj, &end.CompCode, &end.Reason);
    if (end.failed() && end.Reason == MQRC_NOT_AUTHORIZED && (options & MQOO_INQUIRE) != 0) {
      options &= ~MQOO_INQUIRE;
      run.Screen.Print(
          "Cannot open queue '%s' for inquire. Backout requeue processing is disabled, TARVO will "
          "continue.\n",
          queue.QueueName.c_str());
      continue;
    }
    conn.Report("MQOPEN", queue.QueueName, end, OptionBehind(run.Asked, MqStep::OpenInput, end.Reason));
    if (end.failed()) return end.Reason;
    queue.LocalName.Assign(NameInField(descriptor.ResolvedQName, sizeof descriptor.ResolvedQName));
    return 0;
  }
}

// Limits that the queue manager cannot tell (an alias answers with -1 and asterisks) stay unknown.
void InquireInputQueue(Parameters& run, QueueElement& queue) {
  QMgrConn& conn = InputConn(run);
  const MQLONG selectors[] = {MQCA_BACKOUT_REQ_Q_NAME, MQIA_BACKOUT_THRESHOLD, MQIA_MAX_Q_DEPTH, MQIA_MAX_MSG_LENGTH};
  MQLONG integers[3] = {};  // in the order of their selectors
  CallEnd end;
  conn.Api.MQINQ(conn.Hconn, queue.Hobj, static_cast<MQLONG>(std::size(selectors)), selectors,
                 static_cast<MQLONG>(std::size(integers)), integers, sizeof queue.BackoutQueueName,
                 queue.BackoutQueueName, &end.CompCode, &end.Reason);
  conn.Trace("MQINQ", queue.QueueName, end.Reason, end.Reason != 0);

  const char first = queue.BackoutQueueName[0];
  const bool hasBackoutQueue = first != ' ' && first != '\0' && first != '*';
  queue.BackoutThreshold = hasBackoutQueue ? std::max(integers[0], 0) : 0;
  queue.MaxDepth = std::max(integers[1], 0);
  queue.MaxMsgLength = std::max(integers[2], 0);
}

// One element a queue, in the order of the list.
MQLONG CreateElements(Parameters& run) {
  const auto& queues = run.Asked.Input.Queues;
  auto& elements = run.Inputs.Elements;
  try {
    elements.resize(queues.size());
  } catch (const std::bad_alloc&) {
    run.Screen.Print("Can not allocate queue element array. Max queues = %d\n", static_cast<int>(queues.size()));
    return MQRC_STORAGE_NOT_AVAILABLE;
  }
  for (std::size_t i = 0; i < queues.size(); ++i) {
    const std::string& name = queues[i].Queue;
    elements[i].QueueName.Assign(NameInField(name.data(), name.size()));
  }
  return 0;
}

}  // namespace

MQLONG OpenInputQueues(Parameters& run) {
  run.Gets.BrowseFirst = BrowsesFirst(run.Asked);
  if (run.Asked.Output.PassesContext() && !run.Asked.Input.Remove) {
    run.Screen.Print("To pass context you must GET the source message not browse\n");
    return MQRC_CONTEXT_NOT_AVAILABLE;
  }
  if (const MQLONG reason = CreateElements(run); reason != 0) return reason;
  if (!MayEmpty(run)) return MQRC_OBJECT_ALREADY_EXISTS;

  MQLONG options = OpenOptions(run);
  for (QueueElement& queue : run.Inputs.Elements) {
    if (const MQLONG reason = OpenInputQueue(run, queue, options); reason != 0) return reason;
    if ((options & MQOO_INQUIRE) != 0) InquireInputQueue(run, queue);
  }
  // Where one queue may not be asked, no message is requeued.
  if ((options & MQOO_INQUIRE) == 0) {
    for (QueueElement& queue : run.Inputs.Elements) queue.BackoutThreshold = 0;
  }
  if (run.Asked.Display.Summary && !run.Asked.Display.NoQueueStatus) {
    CommandServer(InputConn(run)).InquireSizes(run.Inputs.Elements);
  }
  return 0;
}
