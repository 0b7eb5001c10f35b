#include "engine/put.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <ctime>
#include <string>

#include "cmdline/parameters.h"
#include "mq/option_behind.h"
#include "mq/reasons.h"

namespace {

struct ContextOption {
  PutContext Context;
  MQLONG Option;
};
constexpr ContextOption kContextOptions[] = {
    {PutContext::SetAll, MQPMO_SET_ALL_CONTEXT},
    {PutContext::SetAllTimes, MQPMO_SET_ALL_CONTEXT},
    {PutContext::SetIdentity, MQPMO_SET_IDENTITY_CONTEXT},
    {PutContext::PassAll, MQPMO_PASS_ALL_CONTEXT},
    {PutContext::PassIdentity, MQPMO_PASS_IDENTITY_CONTEXT},
    {PutContext::Default, MQPMO_DEFAULT_CONTEXT},
    {PutContext::None, MQPMO_NO_CONTEXT},
};

// The outcome of one or several puts.
struct PutOutcome {
  MQLONG CompCode = MQCC_OK;
  MQLONG Reason = MQRC_NONE;
};

// A destination as the put sees it; the names serve messages only and may have 48 characters without a terminator.
struct Destination {
  MQHOBJ Hobj;
  const char* QMgr;
  const char* Queue;
  std::string Name() const { return DestinationText(QMgr, Queue); }
};

// Asks the queue manager of the output for the outcomes that it has collected. Returns the reason of a failure.
MQLONG AskAsyncPuts(Parameters& run, MQSTS& status) {
  const QMgrConn& conn = OutputConn(run);
  CallEnd end;
  conn.Api.MQSTAT(conn.Hconn, MQSTAT_TYPE_ASYNC_ERROR, &status, &end.CompCode, &end.Reason);
  conn.Trace("MQSTAT", {}, end.Reason);
  return end.Failure();
}

void TellNormalPuts(Parameters& run, const std::string& why) {
  if (!run.Asked.Display.ShowDestinations) return;
  run.Screen.Print("Messages are not put asynchronously: %s\n\n", why.c_str());
}

// Asynchronous puts need somebody who tells what became of them, and a place where their messages still are.
bool DecideAsync(Parameters& run) {
  if (run.Asked.Input.Remove && run.Asked.Units.MessageLimit == 0) {
    TellNormalPuts(run, "without units of work a message whose put fails would be lost");
    return false;
  }
  MQSTS earlier;
  const MQLONG reason = AskAsyncPuts(run, earlier);
  if (reason != 0) TellNormalPuts(run, FormatText("MQSTAT failed RC(%d) %s", reason, ReasonText(reason)));
  return reason == 0;
}

bool PutsAsynchronously(Parameters& run) {
  if (!run.Asked.Output.AsyncPut) return false;
  if (!run.Async.Decided) run.Async = {.Decided = true, .InUse = DecideAsync(run)};
  return run.Async.InUse;
}

MQPMO PutOptions(Parameters& run, const QueueElement* queue) {
  MQPMO options;
  options.Options = run.Asked.Units.MessageLimit != 0 ? MQPMO_SYNCPOINT : MQPMO_NO_SYNCPOINT;
  for (const ContextOption& context : kContextOptions) {
    if (run.Asked.Output.Context == context.Context) {
      options.Options |= context.Option;
      break;
    }
  }
  if (PutsAsynchronously(run)) options.Options |= MQPMO_ASYNC_RESPONSE;
  options.Context = queue != nullptr ? queue->Hobj : MQHO_UNUSABLE_HOBJ;
  return options;
}

bool IntegersReversed(const MQMD& descriptor) {
  return (descriptor.Encoding & MQENC_INTEGER_MASK) != MQENC_INTEGER_REVERSED;
}

// With -OS(CFH3): command messages of an older header version are put as version 3.
void RepairCfh(CurrentMessage& message) {
  const MQMD& descriptor = message.Descriptor;
  if (!IsFormat(descriptor.Format, MQFMT_ADMIN) && !IsFormat(descriptor.Format, MQFMT_PCF)) return;
  if (message.Length < MQCFH_STRUC_LENGTH) return;
  const MQLONG version = CfhVersion(descriptor, message.Data, message.Length);
  if (version >= MQCFH_VERSION_3) return;
  PrintOutput("\nMQCFH updated from %d to %d\n", version, MQCFH_VERSION_3);
  const std::uint32_t value = MQCFH_VERSION_3;
  const std::uint32_t stored = IntegersReversed(descriptor) ? __builtin_bswap32(value) : value;
  std::memcpy(message.Data + offsetof(MQCFH, Version), &stored, sizeof stored);
}

// Stamps the current time in UTC into the descriptor, as the queue manager does for a new message.
void SetPutTime(MQMD& descriptor) {
  const std::time_t now = std::time(nullptr);
  const std::tm* utc = std::gmtime(&now);
  if (utc == nullptr) return;
  char text[32];
  if (std::strftime(text, sizeof text, "%Y%m%d%H%M%S00", utc) != 16) return;
  std::memcpy(descriptor.PutDate, text, sizeof descriptor.PutDate);
  std::memcpy(descriptor.PutTime, text + 8, sizeof descriptor.PutTime);
}

void OverrideFields(MQMD& descriptor, const OverrideOptions& values) {
  if (values.CodedCharSetId) descriptor.CodedCharSetId = *values.CodedCharSetId;
  if (values.Priority) descriptor.Priority = *values.Priority;
  if (values.MsgType) descriptor.MsgType = *values.MsgType;
  if (values.Expiry) descriptor.Expiry = *values.Expiry;
  if (values.ReplyTo) {
    FillField(descriptor.ReplyToQ, sizeof descriptor.ReplyToQ, values.ReplyTo->Queue, '\0');
    FillField(descriptor.ReplyToQMgr, sizeof descriptor.ReplyToQMgr, values.ReplyTo->QMgr, '\0');
  }
  if (values.Format) FillField(descriptor.Format, sizeof descriptor.Format, *values.Format);
}

// A queue manager refuses an old command header together with a version-2 descriptor. Version 1 loses nothing when the
// version-2 fields hold their defaults.
bool LowerDescriptorVersion(CurrentMessage& message) {
  static constexpr MQBYTE24 kNoGroup{};
  MQMD& descriptor = message.Descriptor;
  const bool possible = descriptor.Version >= MQMD_VERSION_2 && message.Length >= MQCFH_STRUC_LENGTH &&
                        CfhVersion(descriptor, message.Data, message.Length) < MQCFH_VERSION_3 &&
                        std::memcmp(descriptor.GroupId, kNoGroup, sizeof kNoGroup) == 0 &&
                        descriptor.MsgSeqNumber == 1 && descriptor.Offset == 0 && descriptor.MsgFlags == 0;
  if (possible) descriptor.Version = MQMD_VERSION_1;
  return possible;
}

PutOutcome PutToQueue(Parameters& run, const Destination& destination, MQPMO& options) {
  QMgrConn& conn = OutputConn(run);
  CurrentMessage& message = run.Message;
  if (run.Asked.Output.RaiseCfhVersion) RepairCfh(message);
  if (run.Asked.Output.Context == PutContext::SetAllTimes) SetPutTime(message.Descriptor);
  OverrideFields(message.Descriptor, run.Asked.Output.Override);
  // A put that fails may still have reached some destinations of a list, or its outcome may be unknown.
  if ((options.Options & MQPMO_SYNCPOINT) != 0) conn.UnitOpen = true;
  for (;;) {
    PutOutcome outcome;
    conn.Api.MQPUT(conn.Hconn, destination.Hobj, &message.Descriptor, &options, message.Length, message.Data,
                   &outcome.CompCode, &outcome.Reason);
    if (conn.TracesCalls()) conn.Trace("MQPUT", destination.Name(), outcome.Reason);
    const bool async = (options.Options & MQPMO_ASYNC_RESPONSE) != 0;
    if (outcome.CompCode != MQCC_FAILED) {
      run.Async.Outstanding = run.Async.Outstanding || async;
      return outcome;
    }
    if (outcome.Reason == MQRC_OPTIONS_ERROR && async) {
      run.Async.InUse = false;
      options.Options &= ~MQPMO_ASYNC_RESPONSE;
      continue;
    }
    if (outcome.Reason == MQRC_CFH_ERROR && LowerDescriptorVersion(message)) continue;
    return outcome;
  }
}

void SetPutFailure(Parameters& run, const std::string& destination, MQLONG reason) {
  run.MessageText.Format("MQPUT(%s) failed RC(%d) %s%s", destination.c_str(), reason, ReasonText(reason),
                         OptionLine(run.Asked, MqStep::Put, reason).c_str());
}

Destination ListDestination(const QueueList& list, std::size_t index) {
  const MQHOBJ hobj = index < list.Elements.size() ? list.Elements[index].Hobj : MQHO_UNUSABLE_HOBJ;
  return {hobj, list.Entries[index].ObjectQMgrName, list.Entries[index].ObjectName};
}

PutOutcome PutToSingle(Parameters& run, MQPMO& options) {
  const Destination destination{run.TargetQueues->hobj(), run.TargetQueues->name().QMgr.c_str(),
                                run.TargetQueues->name().Queue.c_str()};
  const PutOutcome outcome = PutToQueue(run, destination, options);
  if (outcome.CompCode == MQCC_FAILED) {
    SetPutFailure(run, destination.Name(), outcome.Reason);
  } else {
    run.Put.PutMsgs = 1;
  }
  return outcome;
}

// One put to a distribution list. A destination that failed makes the whole put a failure, with that destination's
// reason, also where the queue manager only warns.
PutOutcome PutToList(Parameters& run, MQPMO& options) {
  QueueList& list = *run.TargetQueues->list();
  std::fill(list.Responses.begin(), list.Responses.end(), MQRR{});
  options.Version = std::max(options.Version, MQPMO_VERSION_2);
  options.RecsPresent = static_cast<MQLONG>(list.Responses.size());
  options.ResponseRecPtr = list.Responses.data();
  run.Put.PutMsgs = list.Count();
  PutOutcome outcome = PutToQueue(run, {run.TargetQueues->hobj(), "", "<Distribution List>"}, options);
  if (outcome.CompCode != MQCC_FAILED && outcome.Reason != MQRC_MULTIPLE_REASONS) return outcome;

  run.MessageText.clear();
  const PutOutcome whole = outcome;
  for (std::size_t i = 0; i < list.Responses.size(); ++i) {
    if (list.Responses[i].CompCode != MQCC_FAILED) continue;
    --run.Put.PutMsgs;
    if (!run.MessageText.empty()) continue;
    outcome = {MQCC_FAILED, list.Responses[i].Reason};
    SetPutFailure(run, ListDestination(list, i).Name(), outcome.Reason);
  }
  if (whole.CompCode == MQCC_FAILED && run.MessageText.empty()) {
    SetPutFailure(run, ListDestination(list, 0).Name(), whole.Reason);
    run.Put.PutMsgs = 0;
  }
  return outcome;
}

// One put per destination, each tried whatever became of the others. The first failure is the one that is told.
PutOutcome PutToEach(Parameters& run, MQPMO& options) {
  const QueueList& list = *run.TargetQueues->list();
  run.MessageText.clear();
  PutOutcome first;
  for (std::size_t i = 0; i < list.Entries.size(); ++i) {
    const Destination destination = ListDestination(list, i);
    const PutOutcome outcome = PutToQueue(run, destination, options);
    if (outcome.CompCode != MQCC_FAILED) {
      ++run.Put.PutMsgs;
    } else if (run.MessageText.empty()) {
      first = outcome;
      SetPutFailure(run, destination.Name(), outcome.Reason);
    }
  }
  return first;
}

}  // namespace

MQLONG CfhVersion(const MQMD& descriptor, const MQBYTE* data, MQLONG length) {
  std::uint32_t version = 0;
  constexpr std::size_t kEnd = offsetof(MQCFH, Version) + sizeof version;
  if (length < static_cast<MQLONG>(kEnd)) return 0;
  std::memcpy(&version, data + offsetof(MQCFH, Version), sizeof version);
  return std::bit_cast<MQLONG>(IntegersReversed(descriptor) ? __builtin_bswap32(version) : version);
}

MQLONG PutMessage(Parameters& run, const QueueElement* queue) {
  MQPMO options = PutOptions(run, queue);
  const PutOutcome outcome = run.TargetQueues->list() == nullptr ? PutToSingle(run, options)
                             : run.Asked.Output.Individually     ? PutToEach(run, options)
                                                                 : PutToList(run, options);
  const MQLONG failure = outcome.CompCode == MQCC_FAILED ? outcome.Reason : 0;
  // The unit of work is backed out: no destination keeps the message.
  if (failure != 0 && run.Uow.SyncpointActive) return failure;
  run.Put.PutBytes = static_cast<std::int64_t>(run.Put.PutMsgs) * run.Message.Length;
  run.MsgsPut += run.Put.PutMsgs;
  run.UowMsgsPut += run.Put.PutMsgs;
  run.BytesPut += run.Put.PutBytes;
  run.UowBytesPut += run.Put.PutBytes;
  return failure;
}

MQLONG CheckAsyncPuts(Parameters& run) {
  if (!run.Async.Outstanding) return 0;
  run.Async.Outstanding = false;
  MQSTS status;
  const bool textFree = run.MessageText.empty();
  if (const MQLONG reason = AskAsyncPuts(run, status); reason != 0) {
    if (textFree) {
      run.MessageText.Format("MQSTAT(%s) failed RC(%d) %s", OutputConn(run).QMgrName.c_str(), reason,
                             ReasonText(reason));
    }
    return reason;
  }
  // Some destination of a distribution list failed when a warning speaks of several reasons.
  const bool failed = status.CompCode == MQCC_FAILED || status.PutFailureCount > 0;
  if (!failed && status.Reason != MQRC_MULTIPLE_REASONS) return 0;
  if (textFree) {
    const std::string qmgr(NameInField(status.ObjectQMgrName, sizeof status.ObjectQMgrName));
    const std::string queue(NameInField(status.ObjectName, sizeof status.ObjectName));
    run.MessageText.Format("MQPUT(%s) failed RC(%d) %s (asynchronous puts that failed: %d)",
                           DestinationText(qmgr.c_str(), queue.c_str()).c_str(), status.Reason,
                           ReasonText(status.Reason), status.PutFailureCount);
  }
  // Outside units of work the others stay where they are. What the failed ones measured is not known.
  if (!run.Uow.SyncpointActive) run.MsgsPut -= std::min<std::int64_t>(status.PutFailureCount, run.MsgsPut);
  return status.Reason != 0 ? status.Reason : MQRC_UNEXPECTED_ERROR;
}
