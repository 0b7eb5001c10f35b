#include "engine/put.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <ctime>
#include <string>

#include "common/console.h"
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

// Whether integers of the message stand in the other byte order than the processor's.
bool InOtherOrder(const MQMD& descriptor) {
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
  const std::uint32_t stored = InOtherOrder(descriptor) ? __builtin_bswap32(value) : value;
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

}  // namespace

QueuesTarget::Destination QueuesTarget::ListDestination(const QueueList& list, std::size_t index) {
  const MQHOBJ hobj = index < list.Elements.size() ? list.Elements[index].Hobj : MQHO_UNUSABLE_HOBJ;
  return {hobj, list.Entries[index].ObjectQMgrName, list.Entries[index].ObjectName};
}

MQPMO QueuesTarget::PutOptions(const CurrentMessage& message) {
  MQPMO options;
  options.Options = InUnits() ? MQPMO_SYNCPOINT : MQPMO_NO_SYNCPOINT;
  for (const ContextOption& context : kContextOptions) {
    if (asked_.Output.Context != context.Context) continue;
    options.Options |= context.Option;
    break;
  }
  if (async_.InUse()) options.Options |= MQPMO_ASYNC_RESPONSE;
  options.Context = message.From != nullptr ? message.From->Hobj : MQHO_UNUSABLE_HOBJ;
  return options;
}

// Changes the message as the user asked for.
void QueuesTarget::Finish(CurrentMessage& message) const {
  if (asked_.Output.RaiseCfhVersion) RepairCfh(message);
  if (asked_.Output.Context == PutContext::SetAllTimes) SetPutTime(message.Descriptor);
  OverrideFields(message.Descriptor, asked_.Output.Override);
}

// Whether a put that ended so is worth another try, which it then gets with other options or another descriptor.
bool QueuesTarget::MayRepeat(const CallEnd& end, MQPMO& options, CurrentMessage& message) {
  if (!end.failed()) return false;
  if (end.Reason == MQRC_OPTIONS_ERROR && (options.Options & MQPMO_ASYNC_RESPONSE) != 0) {
    async_.Refused();
    options.Options &= ~MQPMO_ASYNC_RESPONSE;
    return true;
  }
  return end.Reason == MQRC_CFH_ERROR && LowerDescriptorVersion(message);
}

CallEnd QueuesTarget::PutTo(const Destination& destination, MQPMO& options, CurrentMessage& message) {
  Finish(message);
  // A put that fails may still have reached some destinations of a list, or its outcome may be unknown.
  if ((options.Options & MQPMO_SYNCPOINT) != 0) conn_.UnitOpen = true;
  CallEnd end;
  do {
    end = {};
    conn_.Api.MQPUT(conn_.Hconn, destination.Hobj, &message.Descriptor, &options, message.Length, message.Data,
                    &end.CompCode, &end.Reason);
    if (conn_.TracesCalls()) conn_.Trace("MQPUT", destination.Name(), end.Reason);
  } while (MayRepeat(end, options, message));
  if (!end.failed() && (options.Options & MQPMO_ASYNC_RESPONSE) != 0) async_.Made();
  return end;
}

Result QueuesTarget::Failure(const Destination& destination, MQLONG reason) const {
  return {reason, FormatText("MQPUT(%s) failed RC(%d) %s%s", destination.Name().c_str(), reason, ReasonText(reason),
                             OptionLine(asked_, MqStep::Put, reason).c_str())};
}

QueuesTarget::Delivered QueuesTarget::PutToSingle(MQPMO& options, CurrentMessage& message) {
  const QueueName& name = queues_.name();
  const Destination destination{queues_.hobj(), name.QMgr.c_str(), name.Queue.c_str()};
  const CallEnd end = PutTo(destination, options, message);
  if (end.failed()) return {0, Failure(destination, end.Failure())};
  return {1, {}};
}

// One put to a distribution list. A destination that failed makes the whole put a failure, with that destination's
// reason, also where the queue manager only warns.
QueuesTarget::Delivered QueuesTarget::PutToList(MQPMO& options, CurrentMessage& message) {
  QueueList& list = *queues_.list();
  std::fill(list.Responses.begin(), list.Responses.end(), MQRR{});
  options.Version = std::max(options.Version, MQPMO_VERSION_2);
  options.RecsPresent = static_cast<MQLONG>(list.Responses.size());
  options.ResponseRecPtr = list.Responses.data();
  const CallEnd end = PutTo({queues_.hobj(), "", "<Distribution List>"}, options, message);
  Delivered delivered{list.Count(), {}};
  if (!end.failed() && end.Reason != MQRC_MULTIPLE_REASONS) return delivered;

  for (std::size_t i = 0; i < list.Responses.size(); ++i) {
    const CallEnd response{list.Responses[i].CompCode, list.Responses[i].Reason};
    if (!response.failed()) continue;
    --delivered.Destinations;
    if (!delivered.End.failed()) delivered.End = Failure(ListDestination(list, i), response.Failure());
  }
  if (end.failed() && !delivered.End.failed()) return {0, Failure(ListDestination(list, 0), end.Failure())};
  return delivered;
}

// One put per destination, each tried whatever became of the others. The first failure is the one that is told.
QueuesTarget::Delivered QueuesTarget::PutToEach(MQPMO& options, CurrentMessage& message) {
  const QueueList& list = *queues_.list();
  Delivered delivered;
  for (std::size_t i = 0; i < list.Entries.size(); ++i) {
    const Destination destination = ListDestination(list, i);
    const CallEnd end = PutTo(destination, options, message);
    if (!end.failed()) {
      ++delivered.Destinations;
    } else if (!delivered.End.failed()) {
      delivered.End = Failure(destination, end.Failure());
    }
  }
  return delivered;
}

Result QueuesTarget::Take(CurrentMessage& message, const MessagePlace&, bool) {
  if (Result whole = CheckWhole(message); whole.failed()) return whole;
  MQPMO options = PutOptions(message);
  Delivered delivered = queues_.list() == nullptr    ? PutToSingle(options, message)
                        : asked_.Output.Individually ? PutToEach(options, message)
                                                     : PutToList(options, message);
  // In a unit of work that is backed out no destination keeps the message.
  if (!delivered.End.failed() || !InUnits()) {
    put_.Add(delivered.Destinations, std::int64_t{delivered.Destinations} * message.Length);
  }
  return std::move(delivered.End);
}

Result QueuesTarget::Settle() {
  MQLONG failures = 0;
  Result settled = async_.Settle(failures);
  // Outside units of work the others stay where they are. What the failed ones measured is not known.
  if (!InUnits()) put_.Msgs -= std::min<std::int64_t>(failures, put_.Msgs);
  return settled;
}

MQLONG CfhVersion(const MQMD& descriptor, const MQBYTE* data, MQLONG length) {
  std::uint32_t version = 0;
  constexpr std::size_t kEnd = offsetof(MQCFH, Version) + sizeof version;
  if (length < static_cast<MQLONG>(kEnd)) return 0;
  std::memcpy(&version, data + offsetof(MQCFH, Version), sizeof version);
  return std::bit_cast<MQLONG>(InOtherOrder(descriptor) ? __builtin_bswap32(version) : version);
}
