#include "cmdline/open_inputs.h"

#include <algorithm>
#include <iterator>
#include <new>
#include <string>

#include "cmdline/parameters.h"
#include "generic/command_server.h"
#include "mq/option_behind.h"
#include "mq/reasons.h"

namespace {

constexpr std::size_t kConfirmationAnswer = 711;  // characters

bool TracesCalls(const Parameters& run) { return (run.Verbose & VERBOSE_APIS) != 0; }

// Whether a destructive run browses each message and gets only the selected ones, so that the others stay on the queue.
// From here on FLAG_SELECTING says so.
void DecideBrowseFirst(Parameters& run) {
  const bool selects = run.Has(FLAG_SELECTING | kIdentifierFlags) || run.Has2(FLAG2_INVERT);
  run.Flags &= ~FLAG_SELECTING;
  if (selects && run.Has(FLAG_GET) && !run.Has(FLAG_PURGE)) run.Flags |= FLAG_SELECTING;
}

// Asks before queues are emptied into nothing. (With a selection and no target, messages are only looked at.)
bool MayEmpty(Parameters& run) {
  const bool removes = run.Has(FLAG_GET) && !run.Has(FLAG_SELECTING);
  const bool hasTarget = run.HasOutputQueue() || !run.OutputFileName.empty();
  if (!removes || hasTarget || run.Has(FLAG_PURGE | FLAG_QUIET) || !run.Screen.StdinIsTerminal) return true;
  std::string names;
  for (const QueueElement& queue : run.InputList->Elements) {
    if (!names.empty()) names += ", ";
    names += queue.QueueName.view();
  }
  run.Screen.Print("The messages of '%s' will be removed and go nowhere. Continue? (y/n)\n", names.c_str());
  std::string answer;
  return run.Screen.ReadAnswer(answer, kConfirmationAnswer) && answer.starts_with('y');
}

MQLONG OpenOptions(const Parameters& run) {
  const bool exclusive = run.Has2(FLAG2_EXCLUSIVE_INPUT);
  MQLONG options = 0;
  if (run.Has(FLAG_GET)) {
    options |= exclusive ? MQOO_INPUT_EXCLUSIVE : MQOO_INPUT_SHARED;
    if (run.Has(FLAG_SELECTING)) options |= MQOO_BROWSE;
    if (run.Has(FLAG_CTX_PASS_ALL | FLAG_CTX_PASS_IDENTITY)) options |= MQOO_SAVE_ALL_CONTEXT;
  } else {
    options |= MQOO_BROWSE;
    if (exclusive) options |= MQOO_INPUT_EXCLUSIVE;
  }
  if (!run.Has2(FLAG2_NO_BACKOUT)) options |= MQOO_INQUIRE;
  return options;
}

// Opens one queue. `options` loses MQOO_INQUIRE, for this queue and the ones after it, where that is not allowed.
MQLONG OpenInputQueue(Parameters& run, QueueElement& queue, MQLONG& options) {
  QMgrConn& conn = InputConn(run);
  MQOD descriptor;
  FillField(descriptor.ObjectName, sizeof descriptor.ObjectName, queue.QueueName, '\0');
  if (MayFeedItself(run)) descriptor.Version = MQOD_VERSION_3;
  if (run.Selector != nullptr) {
    descriptor.Version = MQOD_VERSION_4;
    descriptor.SelectionString.VSPtr = run.Selector->data();
    descriptor.SelectionString.VSLength = static_cast<MQLONG>(run.Selector->size());
  }
  for (;;) {
    MQLONG code = MQCC_FAILED;
    MQLONG reason = 0;
    conn.Api.MQOPEN(conn.Hconn, &descriptor, options, &queue.Hobj, &code, &reason);
    if (code == MQCC_FAILED && reason == MQRC_NOT_AUTHORIZED && (options & MQOO_INQUIRE) != 0) {
      run.Flags2 |= FLAG2_NO_BACKOUT;
      options &= ~MQOO_INQUIRE;
      run.Screen.Print(
          "Cannot open queue '%s' for inquire. Backout requeue processing is disabled, TARVO will "
          "continue.\n",
          queue.QueueName.c_str());
      continue;
    }
    if (code == MQCC_FAILED) {
      ReportFailedCall(run, MqStep::OpenInput, "MQOPEN", conn.QMgrName, queue.QueueName, reason);
      return reason;
    }
    if (TracesCalls(run)) ReportMqCall(run.Screen, "MQOPEN", conn.QMgrName, queue.QueueName, reason);
    queue.LocalName.Assign(NameInField(descriptor.ResolvedQName, sizeof descriptor.ResolvedQName));
    return 0;
  }
}

// Limits that the queue manager cannot tell (an alias answers with -1 and asterisks) stay unknown.
void InquireInputQueue(Parameters& run, QueueElement& queue) {
  QMgrConn& conn = InputConn(run);
  const MQLONG selectors[] = {MQCA_BACKOUT_REQ_Q_NAME, MQIA_BACKOUT_THRESHOLD, MQIA_MAX_Q_DEPTH, MQIA_MAX_MSG_LENGTH};
  MQLONG integers[3] = {};  // in the order of their selectors
  MQLONG code = MQCC_FAILED;
  MQLONG reason = 0;
  conn.Api.MQINQ(conn.Hconn, queue.Hobj, static_cast<MQLONG>(std::size(selectors)), selectors,
                 static_cast<MQLONG>(std::size(integers)), integers, sizeof queue.BackoutQueueName,
                 queue.BackoutQueueName, &code, &reason);
  if (reason != 0 || TracesCalls(run)) ReportMqCall(run.Screen, "MQINQ", conn.QMgrName, queue.QueueName, reason);

  const char first = queue.BackoutQueueName[0];
  const bool hasBackoutQueue = first != ' ' && first != '\0' && first != '*';
  queue.BackoutThreshold = hasBackoutQueue ? std::max(integers[0], 0) : 0;
  queue.MaxDepth = std::max(integers[1], 0);
  queue.MaxMsgLength = std::max(integers[2], 0);
}

// One element a queue, in the order of the list.
MQLONG CreateElements(Parameters& run) {
  QueueList& list = *run.InputList;
  try {
    list.Elements.resize(list.Entries.size());
  } catch (const std::bad_alloc&) {
    run.Screen.Print("Can not allocate queue element array. Max queues = %d\n", list.Count());
    return MQRC_STORAGE_NOT_AVAILABLE;
  }
  for (std::size_t i = 0; i < list.Entries.size(); ++i) {
    const MQCHAR48& name = list.Entries[i].ObjectName;
    list.Elements[i].QueueName.Assign(NameInField(name, sizeof name));
  }
  return 0;
}

}  // namespace

MQLONG OpenInputQueues(Parameters& run) {
  DecideBrowseFirst(run);
  if (run.Has(FLAG_CTX_PASS_ALL | FLAG_CTX_PASS_IDENTITY) && !run.Has(FLAG_GET)) {
    run.Screen.Print("To pass context you must GET the source message not browse\n");
    return MQRC_CONTEXT_NOT_AVAILABLE;
  }
  if (const MQLONG reason = CreateElements(run); reason != 0) return reason;
  if (!MayEmpty(run)) return MQRC_OBJECT_ALREADY_EXISTS;

  MQLONG options = OpenOptions(run);
  for (QueueElement& queue : run.InputList->Elements) {
    if (const MQLONG reason = OpenInputQueue(run, queue, options); reason != 0) return reason;
    if (!run.Has2(FLAG2_NO_BACKOUT)) InquireInputQueue(run, queue);
  }
  if (run.Has(FLAG_SUMMARY) && !run.Has2(FLAG2_NO_QSTATUS)) InquireQueueStatus(run, run.InputList->Elements);
  return 0;
}
